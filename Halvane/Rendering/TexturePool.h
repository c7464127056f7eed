#pragma once
// Recycles the intermediate textures of the pass chain, so a warm frame of preview or
// export allocates nothing. Keys are "<width>x<height>_<format>_<storage mode>", up to
// four textures a key, last in first out. Safe from any thread: the lock guards the
// map only and is never held while a texture is allocated.
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "Platform/Gpu/CommandBuffer.h"
#include "Platform/Gpu/Device.h"

namespace halvane {

class TexturePool {
 public:
  using Allocator = std::function<std::shared_ptr<platform::gpu::Texture>(const platform::gpu::TextureDescriptor&)>;
  static constexpr size_t maxTexturesPerKey = 4;

  explicit TexturePool(const std::shared_ptr<platform::gpu::Device>& device);
  // Tests hand in an allocator that can be made to fail.
  explicit TexturePool(Allocator allocator);

  // A private texture of at least 1 by 1; none when the device refuses.
  std::shared_ptr<platform::gpu::Texture> acquire(int64_t width, int64_t height, platform::gpu::PixelFormat pixelFormat,
                                                  uint32_t usage);
  void release(const std::shared_ptr<platform::gpu::Texture>& texture);
  void purge();

  static std::string key(uint32_t width, uint32_t height, platform::gpu::PixelFormat pixelFormat,
                         platform::gpu::StorageMode storageMode);
  size_t pooledCount(const std::string& key) const;

 private:
  const Allocator allocate_;
  mutable std::mutex lock_;
  std::unordered_map<std::string, std::vector<std::shared_ptr<platform::gpu::Texture>>> pool_;
};

// Gives `textures` back to `pool` once `commandBuffer` has completed, when the GPU is
// done with them.
void releaseWhenCompleted(const std::shared_ptr<TexturePool>& pool, platform::gpu::CommandBuffer& commandBuffer,
                          std::vector<std::shared_ptr<platform::gpu::Texture>> textures);

// The intermediates one pass takes from the pool for one command buffer: each goes back
// when the buffer has completed, however the encoding ended.
class PoolLoans {
 public:
  PoolLoans(std::shared_ptr<TexturePool> pool, platform::gpu::CommandBuffer& commandBuffer)
      : pool_(std::move(pool)), commandBuffer_(commandBuffer) {}
  ~PoolLoans() { releaseWhenCompleted(pool_, commandBuffer_, std::move(taken_)); }
  PoolLoans(const PoolLoans&) = delete;
  PoolLoans& operator=(const PoolLoans&) = delete;

  // As TexturePool::acquire.
  std::shared_ptr<platform::gpu::Texture> acquire(int64_t width, int64_t height, platform::gpu::PixelFormat pixelFormat,
                                                  uint32_t usage);

 private:
  const std::shared_ptr<TexturePool> pool_;
  platform::gpu::CommandBuffer& commandBuffer_;
  std::vector<std::shared_ptr<platform::gpu::Texture>> taken_;
};

}  // namespace halvane
