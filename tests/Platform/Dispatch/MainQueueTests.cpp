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

// Restores the shared main queue to none after each test that sets one.
class SharedMainQueue : public ::testing::Test {
 protected:
  void TearDown() override { MainQueue::setShared(nullptr); }
};

TEST(ManualMainQueue, RunsAsyncWorkInQueueOrder) {
  ManualMainQueue queue;
  std::vector<int> order;
  for (int i = 0; i < 5; ++i) queue.async([&order, i] { order.push_back(i); });
  EXPECT_TRUE(order.empty()) << "nothing runs before the queue is pumped";
  EXPECT_EQ(queue.runPending(), 5u);
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_EQ(queue.pendingCount(), 0u);
}

TEST(ManualMainQueue, WorkQueuedDuringATurnWaitsForTheNextTurn) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  queue.async([&] {
    order.push_back("first");
    queue.async([&] { order.push_back("queued by first"); });
  });
  queue.async([&] { order.push_back("second"); });

  EXPECT_EQ(queue.runPending(), 2u);
  EXPECT_THAT(order, ElementsAre("first", "second"));
  EXPECT_EQ(queue.pendingCount(), 1u);

  EXPECT_EQ(queue.runPending(), 1u);
  EXPECT_THAT(order, ElementsAre("first", "second", "queued by first"));
  EXPECT_EQ(queue.runPending(), 0u);
}

TEST(ManualMainQueue, WorkQueuedFromOtherThreadsRunsOnThePumpingThread) {
  ManualMainQueue queue;
  const auto pumping = std::this_thread::get_id();
  std::vector<std::thread::id> ranOn;
  std::vector<std::thread> producers;
  for (int i = 0; i < 4; ++i) {
    producers.emplace_back([&] {
      for (int j = 0; j < 100; ++j) queue.async([&] { ranOn.push_back(std::this_thread::get_id()); });
    });
  }
  for (auto& producer : producers) producer.join();
  EXPECT_EQ(queue.runPending(), 400u);
  ASSERT_EQ(ranOn.size(), 400u);
  for (const auto id : ranOn) EXPECT_EQ(id, pumping);
}

TEST(ManualMainQueue, OneProducersWorkKeepsItsOrderAmongOthers) {
  ManualMainQueue queue;
  std::vector<std::pair<int, int>> ran;  // (producer, index)
  std::vector<std::thread> producers;
  for (int p = 0; p < 3; ++p) {
    producers.emplace_back([&, p] {
      for (int i = 0; i < 200; ++i) queue.async([&ran, p, i] { ran.emplace_back(p, i); });
    });
  }
  for (auto& producer : producers) producer.join();
  queue.runPending();
  std::vector<int> next(3, 0);
  for (const auto& [producer, index] : ran) EXPECT_EQ(index, next[producer]++);
  EXPECT_EQ(next, (std::vector<int>{200, 200, 200}));
}

TEST(ManualMainQueue, DelayedWorkWaitsForTheFakeClockAndRunsInDueOrder) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  queue.asyncAfter(30ms, [&] { order.push_back("30ms"); });
  queue.asyncAfter(10ms, [&] { order.push_back("10ms"); });
  queue.asyncAfter(20ms, [&] { order.push_back("20ms a"); });
  queue.asyncAfter(20ms, [&] { order.push_back("20ms b"); });
  queue.async([&] { order.push_back("now"); });

  EXPECT_EQ(queue.runPending(), 1u);
  EXPECT_THAT(order, ElementsAre("now"));

  queue.advance(15ms);
  EXPECT_EQ(queue.runPending(), 1u);
  EXPECT_THAT(order, ElementsAre("now", "10ms"));

  queue.advance(1h);
  EXPECT_EQ(queue.runPending(), 3u);
  EXPECT_THAT(order, ElementsAre("now", "10ms", "20ms a", "20ms b", "30ms"));
  EXPECT_EQ(queue.now(), 15ms + 1h);
}

TEST(ManualMainQueue, DelayedWorkThatBecameDueEarlierRunsBeforeNewWork) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  queue.asyncAfter(5ms, [&] { order.push_back("delayed"); });
  queue.advance(10ms);
  queue.async([&] { order.push_back("immediate"); });
  queue.runPending();
  EXPECT_THAT(order, ElementsAre("delayed", "immediate"));
}

TEST(ManualMainQueue, NegativeDelayCountsAsNone) {
  ManualMainQueue queue;
  bool ran = false;
  queue.asyncAfter(-5s, [&] { ran = true; });
  EXPECT_EQ(queue.runPending(), 1u);
  EXPECT_TRUE(ran);
}

TEST(ManualMainQueue, AdvanceAloneRunsNothing) {
  ManualMainQueue queue;
  bool ran = false;
  queue.asyncAfter(1s, [&] { ran = true; });
  queue.advance(2s);
  EXPECT_FALSE(ran);
  queue.runPending();
  EXPECT_TRUE(ran);
}

TEST(ManualMainQueue, RunUntilIdleRunsChainedWorkAndStopsAtItsLimit) {
  ManualMainQueue queue;
  int depth = 0;
  std::function<void()> chain = [&] {
    if (++depth < 5) queue.async(chain);
  };
  queue.async(chain);
  EXPECT_EQ(queue.runUntilIdle(), 5u);
  EXPECT_EQ(depth, 5);

  std::function<void()> forever = [&] { queue.async(forever); };
  queue.async(forever);
  EXPECT_EQ(queue.runUntilIdle(10), 10u);
  EXPECT_EQ(queue.pendingCount(), 1u);
}

TEST(ManualMainQueue, CancelledWorkItemsNeverRun) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  auto kept = std::make_shared<WorkItem>([&] { order.push_back("kept"); });
  auto cancelled = std::make_shared<WorkItem>([&] { order.push_back("cancelled"); });
  auto cancelledDelayed = std::make_shared<WorkItem>([&] { order.push_back("cancelled delayed"); });
  auto cancelledByEarlierWork = std::make_shared<WorkItem>([&] { order.push_back("cancelled by earlier work"); });

  queue.async(kept);
  queue.async(cancelled);
  queue.asyncAfter(1s, cancelledDelayed);
  queue.async([&] { cancelledByEarlierWork->cancel(); });
  queue.async(cancelledByEarlierWork);
  cancelled->cancel();
  cancelledDelayed->cancel();

  queue.advance(2s);
  queue.runUntilIdle();
  EXPECT_THAT(order, ElementsAre("kept"));
  EXPECT_TRUE(cancelled->isCancelled());
  EXPECT_FALSE(kept->isCancelled());
}

TEST(ManualMainQueue, WorkItemCancelledFromAnotherThreadDoesNotRun) {
  ManualMainQueue queue;
  bool ran = false;
  auto item = std::make_shared<WorkItem>([&] { ran = true; });
  queue.asyncAfter(1s, item);
  std::thread([item] { item->cancel(); }).join();
  queue.advance(1s);
  queue.runPending();
  EXPECT_FALSE(ran);
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

TEST(ManualMainQueue, DestructionDropsQueuedWorkWithoutRunningIt) {
  bool ran = false;
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  {
    ManualMainQueue queue;
    queue.async([&ran, capture] { ran = true; });
    capture.reset();
  }
  EXPECT_FALSE(ran);
  EXPECT_TRUE(watch.expired()) << "queued work's captures are released";
}

TEST(ManualMainQueue, CapturesAreReleasedOnceTheWorkHasRun) {
  ManualMainQueue queue;
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  queue.async([capture] {});
  capture.reset();
  queue.runPending();
  EXPECT_TRUE(watch.expired());
}

TEST_F(SharedMainQueue, SetSharedInstallsAndClearsTheQueue) {
  EXPECT_EQ(MainQueue::shared(), nullptr);
  auto queue = std::make_shared<ManualMainQueue>();
  MainQueue::setShared(queue);
  EXPECT_EQ(MainQueue::shared(), queue);
  std::shared_ptr<MainQueue> seenElsewhere;
  std::thread([&] { seenElsewhere = MainQueue::shared(); }).join();
  EXPECT_EQ(seenElsewhere, queue);
  MainQueue::setShared(nullptr);
  EXPECT_EQ(MainQueue::shared(), nullptr);
}

TEST_F(SharedMainQueue, AssertMainQueuePassesOnTheMainThread) {
  auto queue = std::make_shared<ManualMainQueue>();
  MainQueue::setShared(queue);
  assertMainQueue();
  bool ran = false;
  queue->async([&] {
    assertMainQueue();
    ran = true;
  });
  queue->runPending();
  EXPECT_TRUE(ran);
}

using AssertMainQueueDeathTest = SharedMainQueue;

TEST_F(AssertMainQueueDeathTest, StopsTheProgramOffTheMainThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        MainQueue::setShared(std::make_shared<ManualMainQueue>());
        std::thread([] { assertMainQueue(); }).join();
      },
      "assertMainQueue: called off the main queue's thread; called at .*MainQueueTests.cpp");
}

TEST_F(AssertMainQueueDeathTest, StopsTheProgramInWorkOfAnotherQueue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        auto main = std::make_shared<ManualMainQueue>();
        MainQueue::setShared(main);
        ManualMainQueue other;
        std::thread([&] {
          other.async([] { assertMainQueue(); });
          other.runPending();
        }).join();
      },
      "called off the main queue's thread");
}

TEST_F(AssertMainQueueDeathTest, StopsTheProgramWhenNoMainQueueIsSet) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        MainQueue::setShared(nullptr);
        assertMainQueue();
      },
      "no main queue is set");
}

}  // namespace
}  // namespace platform::dispatch
