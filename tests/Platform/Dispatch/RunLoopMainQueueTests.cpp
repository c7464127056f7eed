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

TEST(RunLoopMainQueue, RunsWorkInOrderOnTheRunningThreadAndWorkQueuedByWorkLater) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  bool onRunner = false;
  EXPECT_TRUE(queue.isCurrentThread()) << "the creating thread counts before any run";
  std::thread runner([&] {
    queue.async([&] {
      order.push_back("a");
      queue.async([&] {
        order.push_back("queued by a");
        onRunner = queue.isCurrentThread();
        queue.stop();
      });
    });
    queue.async([&] { order.push_back("b"); });
    testing::runGuarded(queue);
  });
  runner.join();
  EXPECT_THAT(order, ElementsAre("a", "b", "queued by a"));
  EXPECT_TRUE(onRunner);
  EXPECT_FALSE(queue.isCurrentThread());
}

TEST(RunLoopMainQueue, DelayedWorkRunsInDueOrderAndCancelledItemsNever) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  // Queued latest-due first; the gaps between due times only need to exceed the time
  // between two calls here, so they say nothing about speed.
  queue.asyncAfter(150ms, [&] {
    order.push_back("150ms");
    queue.stop();
  });
  queue.asyncAfter(100ms, [&] { order.push_back("100ms"); });
  auto cancelled = std::make_shared<WorkItem>([&] { order.push_back("cancelled"); });
  queue.asyncAfter(75ms, cancelled);
  queue.asyncAfter(50ms, [&] { order.push_back("50ms"); });
  queue.async([&] { order.push_back("now"); });
  cancelled->cancel();
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("now", "50ms", "100ms", "150ms"));
}

TEST(RunLoopMainQueue, WakesForWorkFromAnotherThreadWhileWaitingForLaterWork) {
  RunLoopMainQueue queue;
  testing::Gate looping;
  bool delayedRan = false;
  queue.asyncAfter(1h, [&] { delayedRan = true; });
  queue.async([&] { looping.open(); });
  std::thread producer([&] {
    ASSERT_TRUE(looping.wait());
    // Not a clock wait: it gives the loop time to go to sleep with nothing due, so that
    // the new work has to wake it.
    std::this_thread::sleep_for(20ms);
    queue.async([&] { queue.stop(); });
  });
  testing::runGuarded(queue);
  producer.join();
  EXPECT_FALSE(delayedRan);
}

TEST(RunLoopMainQueue, StopEndsTheRunFromAnyThreadAndLeavesTheRestForTheNextRun) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  testing::Gate looping;
  queue.async([&] { looping.open(); });
  std::thread stopper([&] {
    ASSERT_TRUE(looping.wait());
    queue.stop();
  });
  testing::runGuarded(queue);
  stopper.join();

  queue.async([&] {
    order.push_back("first");
    queue.stop();
  });
  queue.async([&] { order.push_back("second"); });
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("first"));
  queue.stop();  // before run: the next run returns at once
  testing::runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("first"));
  queue.async([&] { queue.stop(); });
  testing::runGuarded(queue);  // the earlier stop was used up
  EXPECT_THAT(order, ElementsAre("first", "second"));
}

TEST(RunLoopMainQueue, DestructionDropsQueuedWork) {
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  {
    RunLoopMainQueue queue;
    queue.asyncAfter(1h, [capture] { ADD_FAILURE(); });
    queue.async([capture] { ADD_FAILURE(); });
    capture.reset();
  }
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace platform::dispatch
