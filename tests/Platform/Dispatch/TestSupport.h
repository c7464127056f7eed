#pragma once
// Helpers of the dispatch tests. Waits are guards against a hang, never measurements:
// their limit is far beyond anything a slow machine needs.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Dispatch/RunLoopMainQueue.h"

namespace platform::dispatch::testing {

inline constexpr auto kHangGuard = std::chrono::seconds(60);

// A one-way gate that threads wait on until a test opens it.
class Gate {
 public:
  // Notifies under the lock: a waiter may destroy the gate as soon as it sees it open.
  void open() {
    std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  // Returns false if the gate stayed shut for the whole guard.
  bool wait() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kHangGuard, [this] { return open_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

// A thread-safe record of events, in the order they happened.
class Log {
 public:
  void add(std::string entry) {
    std::lock_guard lock(mutex_);
    entries_.push_back(std::move(entry));
    changed_.notify_all();
  }
  std::vector<std::string> entries() const {
    std::lock_guard lock(mutex_);
    return entries_;
  }
  // Returns false if fewer than `count` entries came within the guard.
  bool waitForCount(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kHangGuard, [&] { return entries_.size() >= count; });
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> entries_;
};

// Runs `queue` on the calling thread until it stops; a watchdog stops it (and fails the
// test) if it would hang.
inline void runGuarded(RunLoopMainQueue& queue) {
  Gate returned;
  std::thread watchdog([&] {
    if (!returned.wait()) {
      ADD_FAILURE() << "the run loop did not stop";
      queue.stop();
    }
  });
  queue.run();
  returned.open();
  watchdog.join();
}

}  // namespace platform::dispatch::testing
