#include "Halvane/Video/DispatchGroup.h"

#include "Platform/Base/Fatal.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

void DispatchGroup::enter() {
  std::lock_guard lock(mutex_);
  ++count_;
}

void DispatchGroup::leave() {
  std::unique_lock lock(mutex_);
  if (count_ == 0) platform::fatalError("DispatchGroup::leave without enter");
  --count_;
  scheduleIfDone(lock);
}

void DispatchGroup::notify(std::function<void()> block) {
  std::unique_lock lock(mutex_);
  block_ = std::move(block);
  scheduleIfDone(lock);
}

void DispatchGroup::scheduleIfDone(std::unique_lock<std::mutex>& lock) {
  if (count_ != 0 || !block_) return;
  auto block = std::move(block_);
  block_ = nullptr;
  lock.unlock();
  auto main = platform::dispatch::MainQueue::shared();
  if (!main) platform::fatalError("DispatchGroup::notify needs a main queue");
  main->async(std::move(block));
}

}  // namespace halvane
