// The main queue on the Qt event loop: order of immediate and delayed work, work from
// other threads, cancellation of delayed items, the GUI thread as the only main thread,
// and what happens to queued work when the queue goes.
#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Dispatch/WorkItem.h"
#include "Platform/Qt/QtMainQueue.h"
#include "QtTestSupport.h"

namespace platform::qt {
namespace {

using namespace std::chrono_literals;
using testing::runEventsUntil;

// What ran, in order, and whether each ran on the GUI thread.
class Record {
 public:
  void add(std::string entry) {
    std::lock_guard lock(mutex_);
    offGui_ += std::this_thread::get_id() != gui_;
    entries_.push_back(std::move(entry));
  }
  std::vector<std::string> entries() const {
    std::lock_guard lock(mutex_);
    return entries_;
  }
  size_t size() const { return entries().size(); }
  int offGui() const {
    std::lock_guard lock(mutex_);
    return offGui_;
  }

 private:
  mutable std::mutex mutex_;
  std::thread::id gui_ = std::this_thread::get_id();
  std::vector<std::string> entries_;
  int offGui_ = 0;
};

TEST(QtMainQueue, RunsImmediateWorkInOrderAndDelayedWorkByDueTime) {
  struct Step {
    std::string name;
    std::chrono::milliseconds delay;  // negative: async
  };
  const std::vector<Step> steps = {
      {"late", 200ms}, {"a", -1ms}, {"soon", 100ms}, {"b", -1ms}, {"zero", 0ms}, {"past", -50ms}, {"c", -1ms}};
  // Immediate work first in the order queued ("past" counts as due now), then by due time.
  const std::vector<std::string> expected = {"a", "b", "zero", "past", "c", "soon", "late"};
  auto queue = std::make_shared<QtMainQueue>();
  Record record;
  for (const auto& step : steps) {
    auto work = [&record, name = step.name] { record.add(name); };
    if (step.delay == -1ms) {
      queue->async(work);
    } else {
      queue->asyncAfter(step.delay, work);
    }
  }
  ASSERT_TRUE(runEventsUntil([&] { return record.size() == steps.size(); }));
  EXPECT_EQ(record.entries(), expected);
}

TEST(QtMainQueue, WorkQueuedByWorkRunsAfterWhatWasAlreadyQueued) {
  auto queue = std::make_shared<QtMainQueue>();
  Record record;
  queue->async([&] {
    record.add("first");
    queue->async([&] { record.add("queued by first"); });
  });
  queue->async([&] { record.add("second"); });
  ASSERT_TRUE(runEventsUntil([&] { return record.size() == 3; }));
  EXPECT_EQ(record.entries(), (std::vector<std::string>{"first", "second", "queued by first"}));
}

TEST(QtMainQueue, WorkThatOpensANestedEventLoopDoesNotHoldUpTheWorkBehindIt) {
  auto queue = std::make_shared<QtMainQueue>();
  Record record;
  queue->async([&] {
    record.add("opens a loop");
    // As a modal dialog does: it waits on an event loop for work queued behind it.
    ASSERT_TRUE(runEventsUntil([&] { return record.size() == 3; }));
    record.add("loop closed");
  });
  queue->async([&] { record.add("queued before"); });
  queue->asyncAfter(5ms, [&] { record.add("delayed"); });
  ASSERT_TRUE(runEventsUntil([&] { return record.size() == 4; }));
  EXPECT_EQ(record.entries(), (std::vector<std::string>{"opens a loop", "queued before", "delayed", "loop closed"}));
}

TEST(QtMainQueue, WorkFromOtherThreadsRunsOnTheGuiThreadInEachThreadsOrder) {
  auto queue = std::make_shared<QtMainQueue>();
  EXPECT_TRUE(queue->isCurrentThread());
  Record record;
  constexpr int kThreads = 4;
  constexpr int kEach = 200;
  std::vector<std::thread> threads;
  std::vector<int> offThreadAnswers(kThreads, -1);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      offThreadAnswers[t] = queue->isCurrentThread();
      for (int i = 0; i < kEach; ++i) {
        // Some delayed by nothing, to mix both paths into one order.
        auto work = [&record, entry = std::to_string(t) + ":" + std::to_string(i)] { record.add(entry); };
        if (i % 3 == 0) {
          queue->asyncAfter(0ms, work);
        } else {
          queue->async(work);
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(runEventsUntil([&] { return record.size() == kThreads * kEach; }));
  EXPECT_EQ(record.offGui(), 0);
  EXPECT_EQ(offThreadAnswers, std::vector<int>(kThreads, 0));
  std::vector<int> next(kThreads, 0);
  for (const auto& entry : record.entries()) {
    const int thread = std::stoi(entry.substr(0, entry.find(':')));
    const int index = std::stoi(entry.substr(entry.find(':') + 1));
    EXPECT_EQ(index, next[thread]++) << entry;
  }
}

TEST(QtMainQueue, ACancelledDelayedItemNeverRuns) {
  auto queue = std::make_shared<QtMainQueue>();
  Record record;
  auto cancelledHere = std::make_shared<dispatch::WorkItem>([&] { record.add("cancelled on the GUI thread"); });
  auto cancelledThere = std::make_shared<dispatch::WorkItem>([&] { record.add("cancelled on another thread"); });
  auto kept = std::make_shared<dispatch::WorkItem>([&] { record.add("kept"); });
  queue->asyncAfter(5ms, cancelledHere);
  queue->asyncAfter(5ms, kept);
  queue->asyncAfter(5ms, cancelledThere);
  queue->asyncAfter(20ms, [&] { record.add("end"); });
  cancelledHere->cancel();
  std::thread([&] { cancelledThere->cancel(); }).join();
  ASSERT_TRUE(runEventsUntil([&] { return record.size() == 2; }));
  EXPECT_EQ(record.entries(), (std::vector<std::string>{"kept", "end"}));
}

TEST(QtMainQueue, DropsQueuedWorkUnrunWhenItGoesEvenFromAnotherThread) {
  for (const bool lastOwnerElsewhere : {false, true}) {
    SCOPED_TRACE(lastOwnerElsewhere ? "released on another thread" : "released on the GUI thread");
    auto queue = std::make_shared<QtMainQueue>();
    auto captured = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = captured;
    bool ran = false;
    queue->async([&ran, captured] { ran = true; });
    queue->asyncAfter(10ms, [&ran, captured] { ran = true; });
    captured.reset();
    if (lastOwnerElsewhere) {
      std::thread([owned = std::move(queue)]() mutable { owned.reset(); }).join();
    } else {
      queue.reset();
    }
    EXPECT_TRUE(watch.expired()) << "the queued work is released with the queue";
    // Events the queue had posted find it gone and do nothing.
    auto later = std::make_shared<QtMainQueue>();
    bool after = false;
    later->asyncAfter(15ms, [&] { after = true; });
    ASSERT_TRUE(runEventsUntil([&] { return after; }));
    EXPECT_FALSE(ran);
  }
}

}  // namespace
}  // namespace platform::qt
