#include "Platform/Media/BackgroundTask.h"

#include <vector>

namespace platform::media {

BackgroundTaskIdentifier DesktopBackgroundTaskService::beginBackgroundTask(std::function<void()>) {
  std::lock_guard lock(mutex_);
  return next_++;
}

void DesktopBackgroundTaskService::endBackgroundTask(BackgroundTaskIdentifier) {}

BackgroundTaskIdentifier ManualBackgroundTaskService::beginBackgroundTask(std::function<void()> expirationHandler) {
  std::lock_guard lock(mutex_);
  const BackgroundTaskIdentifier identifier = next_++;
  running_[identifier] = std::move(expirationHandler);
  return identifier;
}

void ManualBackgroundTaskService::endBackgroundTask(BackgroundTaskIdentifier identifier) {
  std::lock_guard lock(mutex_);
  running_.erase(identifier);
  ++ends_[identifier];
}

void ManualBackgroundTaskService::expire() {
  std::vector<std::function<void()>> handlers;
  {
    std::lock_guard lock(mutex_);
    for (auto& [identifier, handler] : running_)
      if (handler) handlers.push_back(handler);
  }
  for (auto& handler : handlers) handler();  // outside the lock: handlers end their task
}

std::size_t ManualBackgroundTaskService::runningCount() const {
  std::lock_guard lock(mutex_);
  return running_.size();
}

std::size_t ManualBackgroundTaskService::beginCount() const {
  std::lock_guard lock(mutex_);
  return std::size_t(next_ - 1);
}

std::size_t ManualBackgroundTaskService::endCount(BackgroundTaskIdentifier identifier) const {
  std::lock_guard lock(mutex_);
  auto found = ends_.find(identifier);
  return found == ends_.end() ? 0 : found->second;
}

}  // namespace platform::media
