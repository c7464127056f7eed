#pragma once
// A texture with no GPU behind it, for logic that only looks at sizes and identity.
#include <memory>

#include "Platform/Gpu/Texture.h"

namespace halvane::testing {

class FakeTexture : public platform::gpu::Texture {
 public:
  explicit FakeTexture(const platform::gpu::TextureDescriptor& descriptor) : descriptor_(descriptor) {}
  static std::shared_ptr<platform::gpu::Texture> make(uint32_t width, uint32_t height,
                                                      platform::gpu::StorageMode storage =
                                                          platform::gpu::StorageMode::privateStorage,
                                                      uint32_t usage = 3) {
    platform::gpu::TextureDescriptor descriptor;
    descriptor.width = width;
    descriptor.height = height;
    descriptor.storageMode = storage;
    descriptor.usage = usage;
    return std::make_shared<FakeTexture>(descriptor);
  }
  uint32_t width() const override { return descriptor_.width; }
  uint32_t height() const override { return descriptor_.height; }
  platform::gpu::PixelFormat pixelFormat() const override { return descriptor_.pixelFormat; }
  platform::gpu::StorageMode storageMode() const override { return descriptor_.storageMode; }
  uint32_t usage() const override { return descriptor_.usage; }
  void getBytes(void*, size_t, platform::gpu::Region) const override {}
  void replaceRegion(platform::gpu::Region, const void*, size_t) override {}

 private:
  platform::gpu::TextureDescriptor descriptor_;
};

}  // namespace halvane::testing
