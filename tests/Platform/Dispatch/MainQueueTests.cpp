// ManualMainQueue's order and turns, work items, the shared queue and assertMainQueue.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/WorkItem.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST(ManualMainQueue, RunsWorkInQueueOrderWorkQueuedDuringATurnInTheNextAndChainsUntilIdle) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  queue.async([&] {
    order.push_back("first");
    queue.async([&] { order.push_back("queued by first"); });
  });
  queue.async([&] { order.push_back("second"); });
  EXPECT_TRUE(order.empty()) << "nothing runs before the queue is pumped";
  EXPECT_EQ(queue.runPending(), 2u);
  EXPECT_THAT(order, ElementsAre("first", "second"));
  EXPECT_EQ(queue.pendingCount(), 1u);
  EXPECT_EQ(queue.runPending(), 1u);
  EXPECT_THAT(order, ElementsAre("first", "second", "queued by first"));
  EXPECT_EQ(queue.runPending(), 0u);
  // runUntilIdle runs chained work to its end, or up to its limit.
  int depth = 0;
  std::function<void()> chain = [&] {
    if (++depth < 5) queue.async(chain);
  };
  queue.async(chain);
  EXPECT_EQ(queue.runUntilIdle(), 5u);
  std::function<void()> forever = [&] { queue.async(forever); };
  queue.async(forever);
  EXPECT_EQ(queue.runUntilIdle(10), 10u);
  EXPECT_EQ(queue.pendingCount(), 1u);
}

TEST(ManualMainQueue, WorkFromOtherThreadsRunsOnThePumpingThreadInEachProducersOrder) {
  ManualMainQueue queue;
  std::vector<std::pair<int, int>> ran;  // (producer, index)
  std::vector<std::thread::id> ranOn;
  std::vector<std::thread> producers;
  for (int p = 0; p < 3; ++p) {
    producers.emplace_back([&, p] {
      for (int i = 0; i < 200; ++i) queue.async([&, p, i] {
        ran.emplace_back(p, i);
        ranOn.push_back(std::this_thread::get_id());
      });
    });
  }
  for (auto& producer : producers) producer.join();
  EXPECT_EQ(queue.runPending(), 600u);
  std::vector<int> next(3, 0);
  for (const auto& [producer, index] : ran) EXPECT_EQ(index, next[producer]++);
  EXPECT_EQ(next, (std::vector<int>{200, 200, 200}));
  for (const auto id : ranOn) EXPECT_EQ(id, std::this_thread::get_id());
}

TEST(ManualMainQueue, DelayedWorkWaitsForTheFakeClockAndRunsInDueOrder) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  queue.asyncAfter(30ms, [&] { order.push_back("30ms"); });
  queue.asyncAfter(10ms, [&] { order.push_back("10ms"); });
  queue.asyncAfter(20ms, [&] { order.push_back("20ms a"); });
  queue.asyncAfter(20ms, [&] { order.push_back("20ms b"); });
  queue.asyncAfter(-5s, [&] { order.push_back("negative"); });  // counts as no delay
  queue.async([&] { order.push_back("now"); });
  EXPECT_EQ(queue.runPending(), 2u);
  queue.advance(15ms);
  EXPECT_THAT(order, ElementsAre("negative", "now")) << "advancing alone runs nothing";
  queue.async([&] { order.push_back("after advance"); });
  EXPECT_EQ(queue.runPending(), 2u);
  EXPECT_THAT(order, ElementsAre("negative", "now", "10ms", "after advance")) << "work due earlier runs first";
  queue.advance(1h);
  EXPECT_EQ(queue.runPending(), 3u);
  EXPECT_THAT(order, ElementsAre("negative", "now", "10ms", "after advance", "20ms a", "20ms b", "30ms"));
  EXPECT_EQ(queue.now(), 15ms + 1h);
}

TEST(ManualMainQueue, CancelledWorkItemsNeverRun) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  auto item = [&](const char* name) { return std::make_shared<WorkItem>([&order, name] { order.push_back(name); }); };
  auto kept = item("kept"), cancelled = item("cancelled"), delayed = item("delayed"), byWork = item("by work"),
       byThread = item("by thread");
  queue.async(kept);
  queue.async(cancelled);
  queue.asyncAfter(1s, delayed);
  queue.asyncAfter(1s, byThread);
  queue.async([&] { byWork->cancel(); });
  queue.async(byWork);
  cancelled->cancel();
  delayed->cancel();
  std::thread([byThread] { byThread->cancel(); }).join();
  queue.advance(2s);
  queue.runUntilIdle();
  EXPECT_THAT(order, ElementsAre("kept"));
  EXPECT_TRUE(cancelled->isCancelled());
  EXPECT_FALSE(kept->isCancelled());
}

TEST(ManualMainQueue, IsCurrentThreadFollowsThePumpingThread) {
  ManualMainQueue queue;
  EXPECT_TRUE(queue.isCurrentThread()) << "the creating thread counts before any pump";
  bool otherBeforePump = true;
  std::thread([&] { otherBeforePump = queue.isCurrentThread(); }).join();
  EXPECT_FALSE(otherBeforePump);
  bool insideWork = false;
  std::thread([&] {
    queue.async([&] { insideWork = queue.isCurrentThread(); });
    queue.runPending();
  }).join();
  EXPECT_TRUE(insideWork);
  EXPECT_FALSE(queue.isCurrentThread()) << "the other thread pumped last";
  queue.runPending();
  EXPECT_TRUE(queue.isCurrentThread());
}

TEST(ManualMainQueue, CapturesAreReleasedOnceRunOrWithTheQueueUnrun) {
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  bool ran = false;
  {
    ManualMainQueue queue;
    queue.async([capture] {});
    queue.runPending();
    queue.async([&ran, capture] { ran = true; });
    capture.reset();
    EXPECT_FALSE(watch.expired());
  }
  EXPECT_FALSE(ran);
  EXPECT_TRUE(watch.expired());
}

TEST(SharedMainQueue, IsSeenFromEveryThreadAndAssertMainQueuePassesOnItsThread) {
  EXPECT_EQ(MainQueue::shared(), nullptr);
  auto queue = std::make_shared<ManualMainQueue>();
  MainQueue::setShared(queue);
  std::shared_ptr<MainQueue> seenElsewhere;
  std::thread([&] { seenElsewhere = MainQueue::shared(); }).join();
  EXPECT_EQ(seenElsewhere, queue);
  assertMainQueue();
  bool ran = false;
  queue->async([&] { assertMainQueue(), ran = true; });
  queue->runPending();
  EXPECT_TRUE(ran);
  MainQueue::setShared(nullptr);
  EXPECT_EQ(MainQueue::shared(), nullptr);
}

TEST(AssertMainQueueDeathTest, StopsTheProgramOffTheMainQueue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        MainQueue::setShared(std::make_shared<ManualMainQueue>());
        std::thread([] { assertMainQueue(); }).join();
      },
      "assertMainQueue: called off the main queue's thread; called at .*MainQueueTests.cpp");
  EXPECT_DEATH(
      {
        MainQueue::setShared(std::make_shared<ManualMainQueue>());
        ManualMainQueue other;
        std::thread([&] {
          other.async([] { assertMainQueue(); });
          other.runPending();
        }).join();
      },
      "called off the main queue's thread");
  EXPECT_DEATH(
      {
        MainQueue::setShared(nullptr);
        assertMainQueue();
      },
      "no main queue is set");
}

}  // namespace
}  // namespace platform::dispatch
