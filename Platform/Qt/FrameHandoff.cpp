#include "Platform/Qt/FrameHandoff.h"

#include <bit>

#include "Platform/Base/Fatal.h"
#include "Platform/Gpu/ReadBack.h"

namespace platform::qt {

// BGRA8 bytes are QImage's 32-bit pixels 0xAARRGGBB on a little-endian machine; the
// drawable is opaque, so Format_RGB32 paints without blending.
static_assert(std::endian::native == std::endian::little, "BGRA8 drawables are read as QImage::Format_RGB32");

std::shared_ptr<FrameHandoff> FrameHandoff::create(std::shared_ptr<dispatch::MainQueue> mainQueue) {
  if (!mainQueue) platform::fatalError("FrameHandoff::create: no main queue given");
  return std::shared_ptr<FrameHandoff>(new FrameHandoff(std::move(mainQueue)));
}

FrameHandoff::FrameHandoff(std::shared_ptr<dispatch::MainQueue> mainQueue) : mainQueue_(std::move(mainQueue)) {}

void FrameHandoff::present(const gpu::Texture& drawable) {
  QImage frame(int(drawable.width()), int(drawable.height()), QImage::Format_RGB32);
  // No memory for it, or not a drawable: the frame is lost, the last one stays.
  if (frame.isNull() || !gpu::readBackBGRA8(drawable, frame.bits(), size_t(frame.bytesPerLine()))) return;
  bool queue = false;
  {
    std::lock_guard guard(lock_);
    newest_ = std::move(frame);
    queue = !std::exchange(deliveryQueued_, true);
  }
  if (queue) {
    mainQueue_->async([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->deliver();
    });
  }
}

void FrameHandoff::deliver() {
  QImage frame;
  {
    std::lock_guard guard(lock_);
    deliveryQueued_ = false;
    frame = std::move(newest_);
    newest_ = QImage();
  }
  if (!frame.isNull() && onFrame) onFrame(frame);
}

}  // namespace platform::qt
