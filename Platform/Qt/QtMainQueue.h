#pragma once
// The main queue of the application: its work runs on the Qt GUI thread, in turns
// taken by the Qt event loop, so input and painting go on between turns. Delayed work
// waits in a heap ordered by due time on the steady clock, behind one precise timer
// armed for the earliest due time; work that is due runs in (due time, queue order).
// A turn runs the due work queued before it began; work queued during a turn runs in
// the next, after the event loop has had its say.
//
// Make it on the GUI thread once the QCoreApplication exists; destroy it before the
// application object. async and asyncAfter are safe from any thread; the last owner
// may let go of it on any thread. Work still queued when it goes is dropped unrun.
#include <memory>

#include "Platform/Dispatch/MainQueue.h"

namespace platform::qt {

class QtMainQueue final : public dispatch::MainQueue {
 public:
  // Stops the program without a QCoreApplication, or when called off its thread.
  QtMainQueue();
  ~QtMainQueue() override;
  QtMainQueue(const QtMainQueue&) = delete;
  QtMainQueue& operator=(const QtMainQueue&) = delete;

  using MainQueue::async;
  using MainQueue::asyncAfter;
  void async(std::function<void()> work) override;
  void asyncAfter(Duration delay, std::function<void()> work) override;
  // True only on the GUI thread.
  bool isCurrentThread() const override;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform::qt
