#pragma once
// A BGRA8 image with one view. Shared textures also own a host-visible staging buffer
// that mirrors the image: every command buffer that writes the texture copies the image
// into it at its end, and replaceRegion writes it first and uploads from it. Images are
// made with every usage the layer needs (sampled, storage, colour attachment, transfer)
// whatever the descriptor's usage says, which is only reported back, so a pooled texture
// with "less" usage than asked still works. Its layout between command buffers is always
// GENERAL; command buffers move it to the layouts of their passes and back.
#ifndef HALVANE_INSIDE_PlatformGpu
#error "a private header of Platform/Gpu: include its public headers"
#endif
#include <vulkan/vulkan.h>

#include <memory>
#include <mutex>

#include "Platform/Gpu/Texture.h"
#include "Platform/Gpu/vulkan/VulkanContext.h"

namespace platform::gpu::vulkan {

class TextureImpl final : public Texture, public std::enable_shared_from_this<TextureImpl> {
 public:
  // None when the size is out of range, the budget would be passed or Vulkan is out of memory.
  static std::shared_ptr<TextureImpl> create(const std::shared_ptr<Context>& context, const TextureDescriptor& descriptor);
  ~TextureImpl() override;

  uint32_t width() const override { return descriptor_.width; }
  uint32_t height() const override { return descriptor_.height; }
  PixelFormat pixelFormat() const override { return descriptor_.pixelFormat; }
  StorageMode storageMode() const override { return descriptor_.storageMode; }
  uint32_t usage() const override { return descriptor_.usage; }
  void getBytes(void* destination, size_t bytesPerRow, Region region) const override;
  void replaceRegion(Region region, const void* source, size_t bytesPerRow) override;

  VkImage image() const { return image_; }
  VkImageView view() const { return view_; }
  bool isShared() const { return staging_ != nullptr; }
  VkBuffer stagingBuffer() const { return staging_ ? staging_->buffer() : VK_NULL_HANDLE; }
  // Made on first use as a render target, against the context's compatible render pass.
  VkFramebuffer framebuffer();

 private:
  TextureImpl(std::shared_ptr<Context> context, const TextureDescriptor& descriptor)
      : context_(std::move(context)), descriptor_(descriptor) {}
  bool contains(const Region& region) const;

  std::shared_ptr<Context> context_;
  TextureDescriptor descriptor_;
  VkImage image_ = VK_NULL_HANDLE;
  VkDeviceMemory memory_ = VK_NULL_HANDLE;
  VkImageView view_ = VK_NULL_HANDLE;
  std::unique_ptr<HostBuffer> staging_;
  uint64_t accountedBytes_ = 0;
  std::mutex framebufferMutex_;
  VkFramebuffer framebuffer_ = VK_NULL_HANDLE;
};

}  // namespace platform::gpu::vulkan
