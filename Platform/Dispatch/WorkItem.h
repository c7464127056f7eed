#pragma once
// A block of work that can be cancelled before it runs. Thread-safe.
#include <atomic>
#include <functional>
#include <memory>

namespace platform::dispatch {

class WorkItem {
 public:
  explicit WorkItem(std::function<void()> work) : work_(std::move(work)) {}
  void cancel() { cancelled_.store(true); }
  bool isCancelled() const { return cancelled_.load(); }
  // Runs the work unless cancelled.
  void perform() {
    if (!isCancelled() && work_) work_();
  }

 private:
  std::function<void()> work_;
  std::atomic<bool> cancelled_{false};
};

}  // namespace platform::dispatch
