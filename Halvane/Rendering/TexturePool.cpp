#include "Halvane/Rendering/TexturePool.h"

#include <algorithm>

namespace halvane {

using namespace platform::gpu;

TexturePool::TexturePool(const std::shared_ptr<Device>& device)
    : allocate_([device](const TextureDescriptor& descriptor) { return device->newTexture(descriptor); }) {}

TexturePool::TexturePool(Allocator allocator) : allocate_(std::move(allocator)) {}

std::string TexturePool::key(uint32_t width, uint32_t height, PixelFormat pixelFormat, StorageMode storageMode) {
  return std::to_string(width) + "x" + std::to_string(height) + "_" +
         std::to_string(static_cast<uint32_t>(pixelFormat)) + "_" + std::to_string(static_cast<uint32_t>(storageMode));
}

std::shared_ptr<Texture> TexturePool::acquire(int64_t width, int64_t height, PixelFormat pixelFormat, uint32_t usage) {
  const auto w = static_cast<uint32_t>(std::clamp<int64_t>(width, 1, UINT32_MAX));
  const auto h = static_cast<uint32_t>(std::clamp<int64_t>(height, 1, UINT32_MAX));
  {
    std::lock_guard guard(lock_);
    auto found = pool_.find(key(w, h, pixelFormat, StorageMode::privateStorage));
    if (found != pool_.end() && !found->second.empty()) {
      auto texture = std::move(found->second.back());
      found->second.pop_back();
      return texture;
    }
  }
  TextureDescriptor descriptor;
  descriptor.width = w;
  descriptor.height = h;
  descriptor.pixelFormat = pixelFormat;
  descriptor.storageMode = StorageMode::privateStorage;
  descriptor.usage = usage;
  return allocate_(descriptor);
}

void TexturePool::release(const std::shared_ptr<Texture>& texture) {
  if (!texture) return;
  std::lock_guard guard(lock_);
  auto& list = pool_[key(texture->width(), texture->height(), texture->pixelFormat(), texture->storageMode())];
  if (list.size() >= maxTexturesPerKey) return;
  if (std::find(list.begin(), list.end(), texture) != list.end()) return;
  list.push_back(texture);
}

void TexturePool::purge() {
  std::lock_guard guard(lock_);
  pool_.clear();
}

size_t TexturePool::pooledCount(const std::string& poolKey) const {
  std::lock_guard guard(lock_);
  auto found = pool_.find(poolKey);
  return found == pool_.end() ? 0 : found->second.size();
}

void releaseWhenCompleted(const std::shared_ptr<TexturePool>& pool, platform::gpu::CommandBuffer& commandBuffer,
                          std::vector<std::shared_ptr<platform::gpu::Texture>> textures) {
  if (textures.empty()) return;
  commandBuffer.addCompletedHandler([pool, textures = std::move(textures)](platform::gpu::CommandBuffer&) {
    for (const auto& texture : textures) pool->release(texture);
  });
}

std::shared_ptr<platform::gpu::Texture> PoolLoans::acquire(int64_t width, int64_t height,
                                                           platform::gpu::PixelFormat pixelFormat, uint32_t usage) {
  auto texture = pool_->acquire(width, height, pixelFormat, usage);
  if (texture) taken_.push_back(texture);
  return texture;
}

}  // namespace halvane
