#include "Platform/Media/PixelBuffer.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace platform::media {

PixelBuffer::PixelBuffer(int width, int height, std::size_t bytesPerRow, std::shared_ptr<std::uint8_t> memory,
                         MediaTime presentationTime)
    : width_(width), height_(height), bytesPerRow_(bytesPerRow), memory_(std::move(memory)),
      presentationTime_(presentationTime) {}

PixelBuffer PixelBuffer::allocate(int width, int height, MediaTime presentationTime) {
  if (width <= 0 || height <= 0) return {};
  const std::size_t bytesPerRow = (std::size_t(width) * 4 + 31) / 32 * 32;
  // 64-byte alignment suits every SIMD path of swscale, and the 64 bytes beyond the
  // last row take its vector loads that run past the final pixel.
  constexpr std::size_t kReadSlack = 64;
  const std::size_t size = (bytesPerRow * std::size_t(height) + kReadSlack + 63) / 64 * 64;
  auto* raw = static_cast<std::uint8_t*>(std::aligned_alloc(64, size));
  if (!raw) throw std::bad_alloc();
  std::memset(raw, 0, size);
  return PixelBuffer(width, height, bytesPerRow, std::shared_ptr<std::uint8_t>(raw, [](std::uint8_t* p) { std::free(p); }),
                     presentationTime);
}

PixelBufferPool::PixelBufferPool(int width, int height) : width_(width), height_(height) {}

PixelBuffer PixelBufferPool::makePixelBuffer() {
  std::lock_guard lock(mutex_);
  for (auto& memory : memories_) {
    // Held by the pool alone: free to hand out again.
    if (memory.use_count() == 1) {
      const std::size_t bytesPerRow = (std::size_t(width_) * 4 + 31) / 32 * 32;
      return PixelBuffer(width_, height_, bytesPerRow, memory);
    }
  }
  PixelBuffer buffer = PixelBuffer::allocate(width_, height_);
  if (buffer) memories_.push_back(buffer.memory());
  return buffer;
}

}  // namespace platform::media
