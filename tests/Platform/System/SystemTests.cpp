// The Qt-free system services. The settings store's shared reading: numbers and truth
// values read from text, missing keys, removal, and keys that a settings file could not
// hold (the in-memory store stands for all; the file store's round trip is in the Qt
// tests). The memory pressure monitor over a fake source (a pipe: a byte is a report,
// closing the writer is a failed source): one call per report on its own thread, a
// prompt stop, an end on a failed source; and the kernel's trigger file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <limits>
#include <mutex>
#include <thread>

#include "Platform/System/InMemorySettingsStore.h"
#include "Platform/System/MemoryPressureMonitor.h"

namespace platform::system {
namespace {

using namespace std::chrono_literals;

TEST(SettingsStore, ReadsNumbersAndTruthValuesFromTextAnythingElseAsZeroAndMissingKeysAsNothing) {
  // The one past the largest is out of range.
  const std::tuple<const char*, std::int64_t, bool> cases[] = {
      {"42", 42, false}, {"-7", -7, false}, {"0", 0, false}, {"1", 1, false}, {"true", 0, true}, {"TRUE", 0, false},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max(), false}, {"9223372036854775808", 0, false},
      {"12abc", 0, false}, {" 12", 0, false}, {"+3", 0, false}, {"1.5", 0, false}, {"", 0, false}};
  InMemorySettingsStore store;
  for (const auto& [stored, integer, boolean] : cases) {
    store.setText("value", stored);
    EXPECT_EQ(store.integer("value"), integer) << '"' << stored << '"';
    EXPECT_EQ(store.boolean("value"), boolean) << '"' << stored << '"';
  }
  // Missing keys read as nothing; removal forgets.
  EXPECT_EQ(store.text("photoPickCounter"), std::nullopt);
  EXPECT_EQ(store.integer("photoPickCounter"), 0);
  EXPECT_FALSE(store.boolean("photoPickCounter"));
  store.setInteger("photoPickCounter", -12);
  store.setBoolean("flag", true);
  EXPECT_EQ(store.text("photoPickCounter"), "-12");
  EXPECT_EQ(store.text("flag"), "true");
  store.remove("photoPickCounter");
  store.remove("never written");
  EXPECT_FALSE(store.contains("photoPickCounter"));
  EXPECT_TRUE(store.contains("flag"));
}

TEST(SettingsStoreDeathTest, AKeyASettingsFileCannotHoldStopsTheProgram) {
  InMemorySettingsStore store;
  for (const std::string key : {"", "group/key", "back\\slash"}) {
    EXPECT_DEATH(store.setText(key, "x"), "SettingsStore: the key") << key;
    EXPECT_DEATH((void)store.integer(key), "SettingsStore: the key") << key;
  }
}

// The reading end of a pipe as a source; the test keeps the writing end.
struct PipeSource final : MemoryPressureSource {
  explicit PipeSource(int reader) : reader(reader) {}
  ~PipeSource() override { close(reader); }
  int descriptor() const override { return reader; }
  short events() const override { return POLLIN; }
  void consume() override { char byte; (void)!read(reader, &byte, 1); }
  const int reader;
};

// A monitor over a pipe, counting its calls and noting the thread of the last.
struct Monitored {
  std::mutex lock;
  std::condition_variable changed;
  int count = 0;
  std::thread::id thread;
  int writer = -1;
  std::unique_ptr<MemoryPressureMonitor> monitor;

  Monitored() {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    writer = ends[1];
    monitor = std::make_unique<MemoryPressureMonitor>(std::make_unique<PipeSource>(ends[0]), [this] {
      std::lock_guard guard(lock);
      ++count, thread = std::this_thread::get_id();
      changed.notify_all();
    });
  }
  ~Monitored() { monitor.reset(), hangUp(); }
  void report() const { EXPECT_EQ(write(writer, "!", 1), 1); }
  void hangUp() { if (writer >= 0) close(std::exchange(writer, -1)); }
  bool waitFor(int wanted) {
    std::unique_lock guard(lock);
    return changed.wait_for(guard, 10s, [&] { return count >= wanted; });
  }
};

// One call per report, on the monitor's thread; stopped while it waits, it returns at
// once (the guard of 5 s only catches a hang). A failed source ends it after the reports
// it had.
TEST(MemoryPressureMonitor, CallsOncePerReportOnItsOwnThreadStopsPromptlyAndEndsWithAFailedSource) {
  Monitored fake, ended;
  fake.report();
  ASSERT_TRUE(fake.waitFor(1));
  EXPECT_NE(fake.thread, std::this_thread::get_id());
  fake.report();
  fake.report();
  ASSERT_TRUE(fake.waitFor(3));
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(fake.monitor->isWatching());
  const auto began = std::chrono::steady_clock::now();
  fake.monitor.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - began, 5s);
  EXPECT_EQ(fake.count, 3);

  ended.report();
  ended.hangUp();
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (ended.monitor->isWatching() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(5ms);
  EXPECT_FALSE(ended.monitor->isWatching());
  EXPECT_EQ(ended.count, 1);
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
  // The kernel's trigger is waited on without ended.
  MemoryPressureMonitor monitor(std::move(trigger.value()), [] {});
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(monitor.isWatching());
}

}  // namespace
}  // namespace platform::system
