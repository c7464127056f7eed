#pragma once
// A 2D texture. Owned by std::shared_ptr; a command buffer that uses a texture keeps
// it alive until the GPU has finished. Identity is the object's address.
// getBytes and replaceRegion may be called from any thread, but not while a command
// buffer that writes the texture is in flight.
#include <cstddef>
#include <cstdint>

#include "Platform/Gpu/Types.h"

namespace platform::gpu {

class Texture {
 public:
  virtual ~Texture() = default;
  virtual uint32_t width() const = 0;
  virtual uint32_t height() const = 0;
  virtual PixelFormat pixelFormat() const = 0;
  virtual StorageMode storageMode() const = 0;
  virtual uint32_t usage() const = 0;

  // Host read of a shared texture, after the writing command buffer completed.
  // Does nothing on a private texture.
  virtual void getBytes(void* destination, size_t bytesPerRow, Region region) const = 0;
  // Host write; immediate, like Metal's replaceRegion. Works on both storage modes.
  virtual void replaceRegion(Region region, const void* source, size_t bytesPerRow) = 0;
};

}  // namespace platform::gpu
