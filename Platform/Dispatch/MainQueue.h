#pragma once
// The queue of the main thread, which owns sessions, history, panels and the preview.
// Implementations: ManualMainQueue (pumped by tests), RunLoopMainQueue (the command
// line tool) and a Qt-backed one in the application. async and asyncAfter are safe
// from any thread; the work runs on the main thread in the order it was queued
// (delayed work in order of its due time).
#include <chrono>
#include <functional>
#include <memory>

#include "Platform/Dispatch/WorkItem.h"

namespace platform::dispatch {

class MainQueue {
 public:
  using Duration = std::chrono::steady_clock::duration;
  virtual ~MainQueue() = default;

  virtual void async(std::function<void()> work) = 0;
  virtual void asyncAfter(Duration delay, std::function<void()> work) = 0;
  void async(const std::shared_ptr<WorkItem>& item) {
    async([item] { item->perform(); });
  }
  void asyncAfter(Duration delay, const std::shared_ptr<WorkItem>& item) {
    asyncAfter(delay, [item] { item->perform(); });
  }
  // True on the thread that runs this queue's work.
  virtual bool isCurrentThread() const = 0;

  // The process's main queue, set once at start-up by the host (or by a test, which
  // may replace it or clear it with nullptr). Both are safe from any thread.
  static void setShared(std::shared_ptr<MainQueue> queue);
  static std::shared_ptr<MainQueue> shared();
};

// Stops the program (a line on stderr naming the caller, then std::abort) when called
// off the shared main queue's thread, or when no main queue has been set. Call it with
// no arguments: the defaults name the caller (GCC and Clang builtins, since Clang's
// std::source_location needs a newer standard library than this project's).
void assertMainQueue(const char* file = __builtin_FILE(), int line = __builtin_LINE(),
                     const char* function = __builtin_FUNCTION());

}  // namespace platform::dispatch
