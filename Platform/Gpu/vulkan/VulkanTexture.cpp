#include "Platform/Gpu/vulkan/VulkanTexture.h"

#include <cstring>

#include "Platform/Gpu/vulkan/VulkanUtil.h"

namespace platform::gpu::vulkan {
namespace {

constexpr VkImageSubresourceRange kColorRange{VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};

// Copies host data into the image from its resting GENERAL layout and back, ordered
// after all earlier work on the queue and before all later work.
void recordUpload(VkCommandBuffer commandBuffer, VkImage image, VkBuffer buffer, const VkBufferImageCopy& copy) {
  VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
  barrier.srcAccessMask = VK_ACCESS_MEMORY_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
  barrier.oldLayout = VK_IMAGE_LAYOUT_GENERAL;
  barrier.newLayout = VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
  barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.image = image;
  barrier.subresourceRange = kColorRange;
  vkCmdPipelineBarrier(commandBuffer, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT, 0, 0, nullptr,
                       0, nullptr, 1, &barrier);
  vkCmdCopyBufferToImage(commandBuffer, buffer, image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &copy);
  barrier.srcAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
  barrier.oldLayout = VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
  barrier.newLayout = VK_IMAGE_LAYOUT_GENERAL;
  vkCmdPipelineBarrier(commandBuffer, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 0, nullptr,
                       0, nullptr, 1, &barrier);
}

}  // namespace

std::shared_ptr<TextureImpl> TextureImpl::create(const std::shared_ptr<Context>& context,
                                                 const TextureDescriptor& descriptor) {
  const uint32_t maxDimension = context->capabilities().maxTextureDimension;
  const VkFormat format = vulkanFormat(descriptor.pixelFormat);
  if (format == VK_FORMAT_UNDEFINED || descriptor.width == 0 || descriptor.height == 0 ||
      descriptor.width > maxDimension || descriptor.height > maxDimension)
    return nullptr;
  if (descriptor.storageMode != StorageMode::shared && descriptor.storageMode != StorageMode::privateStorage)
    return nullptr;

  std::shared_ptr<TextureImpl> texture(new TextureImpl(context, descriptor));
  VkDevice device = context->device();

  VkImageCreateInfo image{VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
  image.imageType = VK_IMAGE_TYPE_2D;
  image.format = format;
  image.extent = {descriptor.width, descriptor.height, 1};
  image.mipLevels = 1;
  image.arrayLayers = 1;
  image.samples = VK_SAMPLE_COUNT_1_BIT;
  image.tiling = VK_IMAGE_TILING_OPTIMAL;
  image.usage = kTextureImageUsage;
  image.sharingMode = VK_SHARING_MODE_EXCLUSIVE;
  image.initialLayout = VK_IMAGE_LAYOUT_UNDEFINED;
  if (vkCreateImage(device, &image, nullptr, &texture->image_) != VK_SUCCESS) return nullptr;

  VkMemoryRequirements requirements;
  vkGetImageMemoryRequirements(device, texture->image_, &requirements);
  const bool shared = descriptor.storageMode == StorageMode::shared;
  const uint64_t stagingBytes =
      shared ? uint64_t(descriptor.width) * descriptor.height * bytesPerPixel(descriptor.pixelFormat) : 0;
  if (!context->reserveTextureBytes(requirements.size + stagingBytes)) return nullptr;
  texture->accountedBytes_ = requirements.size + stagingBytes;

  int32_t type = context->findMemoryType(requirements.memoryTypeBits, 0, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
  if (type < 0) return nullptr;
  VkMemoryAllocateInfo allocate{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
  allocate.allocationSize = requirements.size;
  allocate.memoryTypeIndex = static_cast<uint32_t>(type);
  if (vkAllocateMemory(device, &allocate, nullptr, &texture->memory_) != VK_SUCCESS) return nullptr;
  if (vkBindImageMemory(device, texture->image_, texture->memory_, 0) != VK_SUCCESS) return nullptr;

  VkImageViewCreateInfo view{VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
  view.image = texture->image_;
  view.viewType = VK_IMAGE_VIEW_TYPE_2D;
  view.format = format;
  view.subresourceRange = kColorRange;
  if (vkCreateImageView(device, &view, nullptr, &texture->view_) != VK_SUCCESS) return nullptr;

  if (shared) {
    texture->staging_ = context->createHostBuffer(stagingBytes,
                                                  VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT,
                                                  /*forReading=*/true);
    if (!texture->staging_) return nullptr;
  }

  // The first layout change rides on the next submission, so making a texture never
  // waits for the GPU.
  context->enqueuePrologue(
      texture,
      [](VkCommandBuffer commandBuffer, TextureImpl& t) {
        VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
        barrier.srcAccessMask = 0;
        barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
        barrier.oldLayout = VK_IMAGE_LAYOUT_UNDEFINED;
        barrier.newLayout = VK_IMAGE_LAYOUT_GENERAL;
        barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
        barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
        barrier.image = t.image();
        barrier.subresourceRange = kColorRange;
        vkCmdPipelineBarrier(commandBuffer, VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 0,
                             nullptr, 0, nullptr, 1, &barrier);
      },
      nullptr);
  return texture;
}

TextureImpl::~TextureImpl() {
  VkDevice device = context_->device();
  if (framebuffer_) vkDestroyFramebuffer(device, framebuffer_, nullptr);
  if (view_) vkDestroyImageView(device, view_, nullptr);
  if (image_) vkDestroyImage(device, image_, nullptr);
  if (memory_) vkFreeMemory(device, memory_, nullptr);
  staging_.reset();
  if (accountedBytes_) context_->releaseTextureBytes(accountedBytes_);
}

bool TextureImpl::contains(const Region& region) const {
  return region.origin.x <= descriptor_.width && region.origin.y <= descriptor_.height &&
         region.width <= descriptor_.width - region.origin.x && region.height <= descriptor_.height - region.origin.y;
}

void TextureImpl::getBytes(void* destination, size_t bytesPerRow, Region region) const {
  const size_t pixelBytes = bytesPerPixel(descriptor_.pixelFormat), rowBytes = size_t(region.width) * pixelBytes;
  if (!staging_ || !destination || !contains(region) || bytesPerRow < rowBytes) return;
  const uint8_t* source = staging_->data();
  auto* target = static_cast<uint8_t*>(destination);
  for (uint32_t row = 0; row < region.height; ++row)
    std::memcpy(target + row * bytesPerRow,
                source + (size_t(region.origin.y + row) * descriptor_.width + region.origin.x) * pixelBytes, rowBytes);
}

void TextureImpl::replaceRegion(Region region, const void* source, size_t bytesPerRow) {
  const size_t pixelBytes = bytesPerPixel(descriptor_.pixelFormat), rowBytes = size_t(region.width) * pixelBytes;
  if (!source || !contains(region) || region.width == 0 || region.height == 0 || bytesPerRow < rowBytes) return;
  const auto* bytes = static_cast<const uint8_t*>(source);
  VkBufferImageCopy copy{};
  copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
  copy.imageOffset = {int32_t(region.origin.x), int32_t(region.origin.y), 0};
  copy.imageExtent = {region.width, region.height, 1};

  if (staging_) {
    // The staging buffer mirrors the image, so getBytes sees the new bytes at once.
    for (uint32_t row = 0; row < region.height; ++row)
      std::memcpy(staging_->data() + (size_t(region.origin.y + row) * descriptor_.width + region.origin.x) * pixelBytes,
                  bytes + row * bytesPerRow, rowBytes);
    copy.bufferOffset = (VkDeviceSize(region.origin.y) * descriptor_.width + region.origin.x) * pixelBytes;
    copy.bufferRowLength = descriptor_.width;
    context_->enqueuePrologue(
        weak_from_this(),
        [copy](VkCommandBuffer commandBuffer, TextureImpl& t) {
          recordUpload(commandBuffer, t.image(), t.stagingBuffer(), copy);
        },
        nullptr);
    return;
  }

  std::shared_ptr<HostBuffer> upload =
      context_->createHostBuffer(rowBytes * region.height, VK_BUFFER_USAGE_TRANSFER_SRC_BIT, /*forReading=*/false);
  if (!upload) return;
  for (uint32_t row = 0; row < region.height; ++row)
    std::memcpy(upload->data() + row * rowBytes, bytes + row * bytesPerRow, rowBytes);
  VkBuffer buffer = upload->buffer();
  context_->enqueuePrologue(
      weak_from_this(),
      [copy, buffer](VkCommandBuffer commandBuffer, TextureImpl& t) { recordUpload(commandBuffer, t.image(), buffer, copy); },
      std::move(upload));
}

VkFramebuffer TextureImpl::framebuffer() {
  std::lock_guard lock(framebufferMutex_);
  if (!framebuffer_) {
    VkFramebufferCreateInfo info{VK_STRUCTURE_TYPE_FRAMEBUFFER_CREATE_INFO};
    info.renderPass = context_->compatibleRenderPass();
    info.attachmentCount = 1;
    info.pAttachments = &view_;
    info.width = descriptor_.width;
    info.height = descriptor_.height;
    info.layers = 1;
    if (vkCreateFramebuffer(context_->device(), &info, nullptr, &framebuffer_) != VK_SUCCESS)
      framebuffer_ = VK_NULL_HANDLE;
  }
  return framebuffer_;
}

}  // namespace platform::gpu::vulkan
