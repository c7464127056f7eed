// RunLoopMainQueue: order, delayed work, wake-ups from other threads, clean stops.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "Platform/Dispatch/RunLoopMainQueue.h"
#include "Platform/Dispatch/WorkItem.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST(RunLoopMainQueue, RunsWorkInQueueOrderOnTheRunningThread) {
  RunLoopMainQueue queue;
  std::vector<int> order;
  bool onMain = true;
  for (int i = 0; i < 5; ++i) {
    queue.async([&, i] {
      order.push_back(i);
      onMain = onMain && queue.isCurrentThread();
    });
  }
  queue.async([&] { queue.stop(); });
  testing::runGuarded(queue);
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_TRUE(onMain);
}

TEST(RunLoopMainQueue, DelayedWorkRunsInDueOrder) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  // Queued latest-due first; the gaps between due times only need to exceed the time
  // between two calls here, so they say nothing about speed.
  queue.asyncAfter(150ms, [&] {
    order.push_back("150ms");
    queue.stop();
  });
  queue.asyncAfter(100ms, [&] { order.push_back("100ms"); });
  queue.asyncAfter(50ms, [&] { order.push_back("50ms"); });
  queue.async([&] { order.push_back("now"); });
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("now", "50ms", "100ms", "150ms"));
}

TEST(RunLoopMainQueue, CancelledWorkItemsNeverRun) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  auto cancelled = std::make_shared<WorkItem>([&] { order.push_back("cancelled"); });
  auto kept = std::make_shared<WorkItem>([&] { order.push_back("kept"); });
  queue.asyncAfter(10ms, cancelled);
  queue.asyncAfter(20ms, kept);
  queue.asyncAfter(30ms, [&] { queue.stop(); });
  cancelled->cancel();
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("kept"));
}

TEST(RunLoopMainQueue, WakesForWorkFromAnotherThread) {
  RunLoopMainQueue queue;
  testing::Gate looping;
  queue.async([&] { looping.open(); });
  std::thread producer([&] {
    ASSERT_TRUE(looping.wait());
    std::this_thread::sleep_for(20ms);  // let the loop go to sleep with nothing queued
    queue.async([&] { queue.stop(); });
  });
  testing::runGuarded(queue);
  producer.join();
  SUCCEED() << "the loop woke for the new work and stopped";
}

TEST(RunLoopMainQueue, NewWorkWakesALoopWaitingForLaterDelayedWork) {
  RunLoopMainQueue queue;
  bool delayedRan = false;
  queue.asyncAfter(1h, [&] { delayedRan = true; });
  std::thread producer([&] { queue.async([&] { queue.stop(); }); });
  testing::runGuarded(queue);
  producer.join();
  EXPECT_FALSE(delayedRan);
}

TEST(RunLoopMainQueue, StopFromAnotherThreadEndsRun) {
  RunLoopMainQueue queue;
  testing::Gate looping;
  queue.async([&] { looping.open(); });
  std::thread stopper([&] {
    ASSERT_TRUE(looping.wait());
    queue.stop();
  });
  testing::runGuarded(queue);
  stopper.join();
}

TEST(RunLoopMainQueue, StopLeavesTheRestOfTheTurnQueuedForTheNextRun) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  queue.async([&] {
    order.push_back("first");
    queue.stop();
  });
  queue.async([&] { order.push_back("second"); });
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("first"));

  queue.async([&] { queue.stop(); });
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("first", "second"));
}

TEST(RunLoopMainQueue, StopBeforeRunMakesTheNextRunReturnAtOnce) {
  RunLoopMainQueue queue;
  bool ran = false;
  queue.async([&] { ran = true; });
  queue.stop();
  testing::runGuarded(queue);
  EXPECT_FALSE(ran);
  queue.async([&] { queue.stop(); });
  testing::runGuarded(queue);  // the earlier stop was used up
  EXPECT_TRUE(ran);
}

TEST(RunLoopMainQueue, WorkQueuedByWorkRunsInALaterTurn) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  queue.async([&] {
    order.push_back("a");
    queue.async([&] {
      order.push_back("queued by a");
      queue.stop();
    });
  });
  queue.async([&] { order.push_back("b"); });
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("a", "b", "queued by a"));
}

TEST(RunLoopMainQueue, IsCurrentThreadIsTheRunningThread) {
  RunLoopMainQueue queue;
  EXPECT_TRUE(queue.isCurrentThread());
  bool onRunner = false;
  std::thread runner([&] {
    queue.async([&] {
      onRunner = queue.isCurrentThread();
      queue.stop();
    });
    testing::runGuarded(queue);
  });
  runner.join();
  EXPECT_TRUE(onRunner);
  EXPECT_FALSE(queue.isCurrentThread());
}

TEST(RunLoopMainQueue, DestructionDropsQueuedWork) {
  bool ran = false;
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  {
    RunLoopMainQueue queue;
    queue.asyncAfter(1h, [&ran, capture] { ran = true; });
    queue.async([&ran, capture] { ran = true; });
    capture.reset();
  }
  EXPECT_FALSE(ran);
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace platform::dispatch
