#pragma once
// Tells when the system runs short of memory: the desktop's memory warning. The source
// is the kernel's pressure stall information (PSI): a trigger written to
// /proc/pressure/memory makes the file report, at most once per window, that tasks
// spent longer than the threshold of that window stalled on memory (reclaim, refaults,
// swap-in). The monitor's own thread waits on the source and calls onPressure there;
// the application turns that into its memory-warning notification.
//
// Linux only. Every member is safe from any thread; the destructor wakes the thread
// and joins it, and after it returns onPressure is not called again.
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "Platform/Base/Expected.h"

namespace platform::system {

// A descriptor that becomes ready when memory is short.
class MemoryPressureSource {
 public:
  virtual ~MemoryPressureSource() = default;
  virtual int descriptor() const = 0;
  // The poll events that mean a report: POLLPRI for a PSI trigger.
  virtual short events() const = 0;
  // Takes one report off the descriptor once it was ready (a PSI trigger needs nothing).
  virtual void consume() {}
};

struct PressureTrigger {
  // Stall time, within each window, that makes a report.
  std::chrono::microseconds threshold;
  std::chrono::microseconds window;
};

// Some task stalled on memory for 200 ms of 2 s: reclaim is costing real time. The
// kernel lets unprivileged processes watch only windows of whole multiples of 2 s.
inline constexpr PressureTrigger kDefaultPressureTrigger{std::chrono::milliseconds(200), std::chrono::seconds(2)};

// Opens `path` and writes the trigger. The error says why when the kernel has no PSI
// (the file is missing), or refuses the trigger (permission, a malformed window).
Expected<std::unique_ptr<MemoryPressureSource>, std::string> openMemoryPressureTrigger(
    const std::string& path = "/proc/pressure/memory", PressureTrigger trigger = kDefaultPressureTrigger);

class MemoryPressureMonitor {
 public:
  // Starts waiting at once; `onPressure` runs on the monitor's thread, once per report.
  MemoryPressureMonitor(std::unique_ptr<MemoryPressureSource> source, std::function<void()> onPressure);
  ~MemoryPressureMonitor();
  MemoryPressureMonitor(const MemoryPressureMonitor&) = delete;
  MemoryPressureMonitor& operator=(const MemoryPressureMonitor&) = delete;

  // False once the source has failed or hung up (its cgroup removed, say): the thread
  // has ended and no report will come.
  bool isWatching() const { return watching_; }

 private:
  void watch();

  std::unique_ptr<MemoryPressureSource> source_;
  const std::function<void()> onPressure_;
  int wake_ = -1;  // an eventfd that ends the wait
  std::atomic<bool> watching_{true};
  std::thread thread_;
};

}  // namespace platform::system
