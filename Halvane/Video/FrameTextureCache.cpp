#include "Halvane/Video/FrameTextureCache.h"

namespace halvane {

using namespace platform::gpu;

std::shared_ptr<FrameTextureCache> FrameTextureCache::create(std::shared_ptr<Device> device) {
  if (!device) return nullptr;
  return std::shared_ptr<FrameTextureCache>(new FrameTextureCache(std::move(device)));
}

std::shared_ptr<Texture> FrameTextureCache::reuse(std::shared_ptr<Texture>& slot, int width, int height,
                                                  uint32_t usage) {
  if (width <= 0 || height <= 0) return nullptr;
  if (slot && slot->width() == uint32_t(width) && slot->height() == uint32_t(height)) return slot;
  TextureDescriptor descriptor;
  descriptor.width = uint32_t(width);
  descriptor.height = uint32_t(height);
  descriptor.pixelFormat = PixelFormat::bgra8Unorm;
  descriptor.storageMode = StorageMode::shared;  // host-visible: the frame crosses here
  descriptor.usage = usage;
  slot = device_->newTexture(descriptor);
  return slot;
}

std::shared_ptr<Texture> FrameTextureCache::makeSourceTexture(const platform::media::PixelBuffer& buffer) {
  if (!buffer) return nullptr;
  auto texture = reuse(source_, buffer.width(), buffer.height(), TextureUsage::shaderRead);
  if (!texture) return nullptr;
  texture->replaceRegion(Region{{0, 0}, texture->width(), texture->height()}, buffer.data(), buffer.bytesPerRow());
  return texture;
}

std::shared_ptr<Texture> FrameTextureCache::makeTargetTexture(const platform::media::PixelBuffer& buffer) {
  if (!buffer) return nullptr;
  return reuse(target_, buffer.width(), buffer.height(), TextureUsage::shaderRead | TextureUsage::shaderWrite);
}

void FrameTextureCache::copyBack(const Texture& texture, const platform::media::PixelBuffer& buffer) {
  if (!buffer || texture.width() != uint32_t(buffer.width()) || texture.height() != uint32_t(buffer.height())) return;
  texture.getBytes(buffer.data(), buffer.bytesPerRow(), Region{{0, 0}, texture.width(), texture.height()});
}

}  // namespace halvane
