#include "Platform/Gpu/ReadBack.h"

namespace platform::gpu {

bool readBackBGRA8(const Texture& texture, void* destination, size_t bytesPerRow) {
  if (!destination || texture.pixelFormat() != PixelFormat::bgra8Unorm ||
      texture.storageMode() != StorageMode::shared || texture.width() == 0 || texture.height() == 0 ||
      bytesPerRow < size_t(texture.width()) * 4) {
    return false;
  }
  texture.getBytes(destination, bytesPerRow, Region{{0, 0}, texture.width(), texture.height()});
  return true;
}

std::shared_ptr<Texture> encodeHostReadableCopy(Device& device, CommandBuffer& commandBuffer,
                                                const std::shared_ptr<Texture>& texture) {
  if (!texture) return nullptr;
  TextureDescriptor descriptor;
  descriptor.width = texture->width();
  descriptor.height = texture->height();
  descriptor.pixelFormat = texture->pixelFormat();
  descriptor.storageMode = StorageMode::shared;
  descriptor.usage = TextureUsage::shaderRead;
  auto readable = device.newTexture(descriptor);
  if (!readable) return nullptr;
  auto blit = commandBuffer.blitCommandEncoder();
  if (!blit) return nullptr;
  blit->copyFromTexture(texture, Origin{}, Size{texture->width(), texture->height(), 1}, readable, Origin{});
  blit->endEncoding();
  return readable;
}

}  // namespace platform::gpu
