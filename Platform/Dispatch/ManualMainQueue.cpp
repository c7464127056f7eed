#include "Platform/Dispatch/ManualMainQueue.h"

#include <algorithm>

namespace platform::dispatch {

ManualMainQueue::ManualMainQueue() : owner_(std::this_thread::get_id()) {}

ManualMainQueue::~ManualMainQueue() {
  std::vector<std::function<void()>> dropped;
  {
    std::lock_guard lock(mutex_);
    dropped = work_.takeAll();
  }
}

void ManualMainQueue::async(std::function<void()> work) { asyncAfter(Duration::zero(), std::move(work)); }

void ManualMainQueue::asyncAfter(Duration delay, std::function<void()> work) {
  std::lock_guard lock(mutex_);
  work_.push(now_ + std::max(delay, Duration::zero()), std::move(work));
}

bool ManualMainQueue::isCurrentThread() const {
  std::lock_guard lock(mutex_);
  return owner_ == std::this_thread::get_id();
}

std::size_t ManualMainQueue::runPending() {
  std::unique_lock lock(mutex_);
  owner_ = std::this_thread::get_id();
  const auto limit = work_.turnLimit();
  const auto now = now_;
  std::size_t ran = 0;
  while (auto work = work_.popDue(now, limit)) {
    lock.unlock();
    if (*work) (*work)();
    work.reset();  // the work's captures die before the next piece runs
    ++ran;
    lock.lock();
  }
  return ran;
}

std::size_t ManualMainQueue::runUntilIdle(std::size_t maxTurns) {
  std::size_t total = 0;
  for (std::size_t turn = 0; turn < maxTurns; ++turn) {
    const auto ran = runPending();
    if (ran == 0) break;
    total += ran;
  }
  return total;
}

void ManualMainQueue::advance(Duration duration) {
  std::lock_guard lock(mutex_);
  now_ += std::max(duration, Duration::zero());
}

MainQueue::Duration ManualMainQueue::now() const {
  std::lock_guard lock(mutex_);
  return now_;
}

std::size_t ManualMainQueue::pendingCount() const {
  std::lock_guard lock(mutex_);
  return work_.size();
}

}  // namespace platform::dispatch
