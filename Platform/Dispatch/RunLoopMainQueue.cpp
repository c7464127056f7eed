#include "Platform/Dispatch/RunLoopMainQueue.h"

#include <algorithm>

namespace platform::dispatch {

RunLoopMainQueue::RunLoopMainQueue() : owner_(std::this_thread::get_id()) {}

RunLoopMainQueue::~RunLoopMainQueue() {
  std::vector<std::function<void()>> dropped;
  {
    std::lock_guard lock(mutex_);
    dropped = work_.takeAll();
  }
}

void RunLoopMainQueue::async(std::function<void()> work) { asyncAfter(Duration::zero(), std::move(work)); }

void RunLoopMainQueue::asyncAfter(Duration delay, std::function<void()> work) {
  {
    std::lock_guard lock(mutex_);
    work_.push(Clock::now() + std::max(delay, Duration::zero()), std::move(work));
  }
  wake_.notify_one();
}

bool RunLoopMainQueue::isCurrentThread() const {
  std::lock_guard lock(mutex_);
  return owner_ == std::this_thread::get_id();
}

void RunLoopMainQueue::run() {
  std::unique_lock lock(mutex_);
  owner_ = std::this_thread::get_id();
  while (!stopRequested_) {
    const auto now = Clock::now();
    const auto limit = work_.turnLimit();
    bool ranAny = false;
    while (!stopRequested_) {
      auto work = work_.popDue(now, limit);
      if (!work) break;
      ranAny = true;
      lock.unlock();
      if (*work) (*work)();
      work.reset();  // captures die on the main thread, before the next piece runs
      lock.lock();
    }
    if (ranAny || stopRequested_) continue;  // take the time again before sleeping
    if (const auto due = work_.nextDue()) {
      wake_.wait_until(lock, *due);
    } else {
      wake_.wait(lock);
    }
  }
  stopRequested_ = false;
}

void RunLoopMainQueue::stop() {
  {
    std::lock_guard lock(mutex_);
    stopRequested_ = true;
  }
  wake_.notify_one();
}

}  // namespace platform::dispatch
