#pragma once
// Carries preview frames from the GPU's completion thread to the GUI thread. present()
// reads the finished drawable back into an image and keeps it as the newest frame;
// the GUI thread gets the newest one through onFrame, one delivery however many
// frames came meanwhile. Neither side waits for the other beyond a short lock.
//
// present() is safe from any thread; onFrame is set and called on the main queue's
// thread. The owner of the surface that shows the frames clears onFrame when it goes;
// frames presented later are dropped.
#include <QImage>

#include <functional>
#include <memory>
#include <mutex>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Gpu/Texture.h"

namespace platform::qt {

class FrameHandoff : public std::enable_shared_from_this<FrameHandoff> {
 public:
  // Its deliveries hold it weakly, so it must be owned by a shared_ptr: hence create().
  static std::shared_ptr<FrameHandoff> create(std::shared_ptr<dispatch::MainQueue> mainQueue);

  // Reads back a host-readable BGRA8 drawable. Any other drawable is dropped.
  void present(const gpu::Texture& drawable);

  std::function<void(const QImage& frame)> onFrame;

 private:
  explicit FrameHandoff(std::shared_ptr<dispatch::MainQueue> mainQueue);
  void deliver();

  std::shared_ptr<dispatch::MainQueue> mainQueue_;
  std::mutex lock_;
  QImage newest_;
  bool deliveryQueued_ = false;
};

}  // namespace platform::qt
