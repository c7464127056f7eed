#pragma once
// Asks the host to keep the process running while a long job (an export) finishes
// after the user has left. begin returns an identifier; the job calls end with it when
// done. If the host runs out of patience first it calls the expiration handler, after
// which the job should stop and end the task. Thread-safe.
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace platform::media {

using BackgroundTaskIdentifier = std::uint64_t;
inline constexpr BackgroundTaskIdentifier invalidBackgroundTask = 0;

class BackgroundTaskService {
 public:
  virtual ~BackgroundTaskService() = default;
  virtual BackgroundTaskIdentifier beginBackgroundTask(std::function<void()> expirationHandler) = 0;
  virtual void endBackgroundTask(BackgroundTaskIdentifier identifier) = 0;
};

// A desktop process is never suspended: tasks never expire.
class DesktopBackgroundTaskService final : public BackgroundTaskService {
 public:
  BackgroundTaskIdentifier beginBackgroundTask(std::function<void()> expirationHandler) override;
  void endBackgroundTask(BackgroundTaskIdentifier identifier) override;

 private:
  std::mutex mutex_;
  BackgroundTaskIdentifier next_ = 1;
};

// For tests: expire() runs the handlers of the tasks still running, on the calling
// thread; every begin and end is counted.
class ManualBackgroundTaskService final : public BackgroundTaskService {
 public:
  BackgroundTaskIdentifier beginBackgroundTask(std::function<void()> expirationHandler) override;
  void endBackgroundTask(BackgroundTaskIdentifier identifier) override;

  void expire();
  std::size_t runningCount() const;
  std::size_t beginCount() const;
  // How often end was called with this identifier (a well-behaved job: exactly once).
  std::size_t endCount(BackgroundTaskIdentifier identifier) const;

 private:
  mutable std::mutex mutex_;
  BackgroundTaskIdentifier next_ = 1;
  std::map<BackgroundTaskIdentifier, std::function<void()>> running_;
  std::map<BackgroundTaskIdentifier, std::size_t> ends_;
};

}  // namespace platform::media
