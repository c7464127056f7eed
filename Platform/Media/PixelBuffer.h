#pragma once
// A BGRA8 frame in shared memory with its presentation time: what the player's output,
// the asset reader and the frame grabber hand out and what the writer takes. A value:
// copies share the pixels (the memory lives while any copy does), so a caller keeps a
// frame alive simply by holding it. Rows run top to bottom, each bytesPerRow long (at
// least 4 x width; the extra is padding). Not synchronised: a buffer filled on one thread
// and handed to another must not be written meanwhile.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "Platform/Media/AssetTypes.h"

namespace platform::media {

class PixelBuffer {
 public:
  PixelBuffer() = default;
  // Wraps memory that holds at least bytesPerRow x height bytes.
  PixelBuffer(int width, int height, std::size_t bytesPerRow, std::shared_ptr<std::uint8_t> memory,
              MediaTime presentationTime = MediaTime::invalid());
  // New zeroed memory with rows padded to 32 bytes.
  static PixelBuffer allocate(int width, int height, MediaTime presentationTime = MediaTime::invalid());

  int width() const { return width_; }
  int height() const { return height_; }
  std::size_t bytesPerRow() const { return bytesPerRow_; }
  std::uint8_t* data() const { return memory_.get(); }
  std::uint8_t* row(int y) const { return memory_.get() + std::size_t(y) * bytesPerRow_; }
  const std::shared_ptr<std::uint8_t>& memory() const { return memory_; }
  bool isEmpty() const { return !memory_; }
  explicit operator bool() const { return !isEmpty(); }

  MediaTime presentationTime() const { return presentationTime_; }
  void setPresentationTime(MediaTime time) { presentationTime_ = time; }

 private:
  int width_ = 0;
  int height_ = 0;
  std::size_t bytesPerRow_ = 0;
  std::shared_ptr<std::uint8_t> memory_;
  MediaTime presentationTime_ = MediaTime::invalid();
};

// Hands out buffers of one size, reusing those that nobody holds any more, so that a
// long export keeps a flat memory use. Thread-safe.
class PixelBufferPool {
 public:
  PixelBufferPool(int width, int height);
  int width() const { return width_; }
  int height() const { return height_; }
  PixelBuffer makePixelBuffer();

 private:
  int width_, height_;
  std::mutex mutex_;
  std::vector<std::shared_ptr<std::uint8_t>> memories_;
};

}  // namespace platform::media
