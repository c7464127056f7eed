// The memory pressure monitor over a fake source (a pipe: a byte is a report, closing
// the writer is a failed source): one call per report on its own thread, a prompt stop,
// an end on a failed source; and the kernel's trigger file.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "Platform/System/MemoryPressureMonitor.h"

namespace platform::system {
namespace {

using namespace std::chrono_literals;

class PipeSource final : public MemoryPressureSource {
 public:
  explicit PipeSource(int reader) : reader_(reader) {}
  ~PipeSource() override { close(reader_); }
  int descriptor() const override { return reader_; }
  short events() const override { return POLLIN; }
  void consume() override {
    char byte;
    (void)!read(reader_, &byte, 1);
  }

 private:
  int reader_;
};

// The reports seen, and the thread of the last.
struct Reports {
  std::mutex lock;
  std::condition_variable changed;
  int count = 0;
  std::thread::id thread;

  void add() {
    std::lock_guard guard(lock);
    ++count, thread = std::this_thread::get_id();
    changed.notify_all();
  }
  bool waitFor(int wanted) {
    std::unique_lock guard(lock);
    return changed.wait_for(guard, 10s, [&] { return count >= wanted; });
  }
};

struct FakeSource {
  int writer = -1;
  std::unique_ptr<MemoryPressureSource> source;

  FakeSource() {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    writer = ends[1];
    source = std::make_unique<PipeSource>(ends[0]);
  }
  ~FakeSource() { hangUp(); }
  void report() const { EXPECT_EQ(write(writer, "!", 1), 1); }
  void hangUp() {
    if (writer >= 0) close(std::exchange(writer, -1));
  }
};

// One call per report, on the monitor's thread; stopped while it waits, it returns at
// once (the guard of 5 s only catches a hang).
TEST(MemoryPressureMonitor, CallsOncePerReportOnItsOwnThreadAndStopsPromptly) {
  FakeSource fake;
  Reports reports;
  auto monitor = std::make_unique<MemoryPressureMonitor>(std::move(fake.source), [&] { reports.add(); });
  fake.report();
  ASSERT_TRUE(reports.waitFor(1));
  EXPECT_NE(reports.thread, std::this_thread::get_id());
  fake.report();
  fake.report();
  ASSERT_TRUE(reports.waitFor(3));
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(monitor->isWatching());
  const auto began = std::chrono::steady_clock::now();
  monitor.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - began, 5s);
  EXPECT_EQ(reports.count, 3);
}

TEST(MemoryPressureMonitor, EndsWhenTheSourceFailsAfterTheReportsItHad) {
  FakeSource fake;
  Reports reports;
  MemoryPressureMonitor monitor(std::move(fake.source), [&] { reports.add(); });
  fake.report();
  fake.hangUp();
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (monitor.isWatching() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(5ms);
  EXPECT_FALSE(monitor.isWatching());
  EXPECT_EQ(reports.count, 1);
}

TEST(MemoryPressureTrigger, SaysWhyWhenTheKernelHasNoneOrRefusesIt) {
  const auto missing = openMemoryPressureTrigger("/proc/pressure/no-such-resource");
  ASSERT_FALSE(missing);
  EXPECT_NE(missing.error().find("/proc/pressure/no-such-resource"), std::string::npos);
  if (!std::filesystem::exists("/proc/pressure/memory")) GTEST_SKIP() << "this kernel reports no pressure";
  // A window the kernel never takes (above 10 s).
  EXPECT_FALSE(openMemoryPressureTrigger("/proc/pressure/memory", {100ms, 60s}));
  auto trigger = openMemoryPressureTrigger();
  if (!trigger) GTEST_SKIP() << trigger.error();
  // The kernel's trigger is waited on without failing.
  MemoryPressureMonitor monitor(std::move(trigger.value()), [] {});
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(monitor.isWatching());
}

}  // namespace
}  // namespace platform::system
