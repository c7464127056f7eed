#pragma once
// Helpers of the dispatch tests. Waits are guards against a hang, never measurements:
// their limit is far beyond anything a slow machine needs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Dispatch/RunLoopMainQueue.h"

namespace platform::dispatch::testing {

using namespace std::chrono_literals;
using ::testing::DoubleEq;
using ::testing::ElementsAre;
using ::testing::FieldsAre;

// A thread-safe record of events, in the order they happened.
class Log {
 public:
  // Notifies under the lock: a waiter may destroy the log as soon as it sees the entry.
  void add(std::string entry) {
    std::lock_guard lock(mutex_);
    entries_.push_back(std::move(entry));
    changed_.notify_all();
  }
  std::vector<std::string> entries() const {
    std::lock_guard lock(mutex_);
    return entries_;
  }
  // False if fewer than `count` entries came within the guard.
  bool waitForCount(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, 60s, [&] { return entries_.size() >= count; });
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> entries_;
};

// A one-way gate that threads wait on until a test opens it; wait() is false if it
// stayed shut for the whole guard.
struct Gate : Log {
  void open() { add("open"); }
  bool wait() { return waitForCount(1); }
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
