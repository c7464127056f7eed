// The main queues: ManualMainQueue's order and turns, RunLoopMainQueue's order, delayed
// work, wake-ups from other threads and clean stops; work items, the shared queue and
// assertMainQueue.
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/WorkItem.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using namespace testing;

TEST(ManualMainQueue, RunsWorkInQueueOrderWorkQueuedDuringATurnInTheNextAndChainsUntilIdle) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  queue.async([&] { order.push_back("first"), queue.async([&] { order.push_back("queued by first"); }); });
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
  std::function<void()> chain = [&] { if (++depth < 5) queue.async(chain); };
  queue.async(chain);
  EXPECT_EQ(queue.runUntilIdle(), 5u);
  std::function<void()> forever = [&] { queue.async(forever); };
  queue.async(forever);
  EXPECT_EQ(queue.runUntilIdle(10), 10u);
  EXPECT_EQ(queue.pendingCount(), 1u);
}

TEST(ManualMainQueue, WorkFromOtherThreadsRunsOnThePumpingThreadInEachProducersOrder) {
  ManualMainQueue queue;
  const std::thread::id pumping = std::this_thread::get_id();
  std::vector<int> next(3, 0);
  std::vector<std::thread> producers;
  for (int p = 0; p < 3; ++p)
    producers.emplace_back([&, p] {
      for (int i = 0; i < 200; ++i)
        queue.async([&, p, i] { EXPECT_EQ(i, next[p]++); EXPECT_EQ(std::this_thread::get_id(), pumping); });
    });
  for (auto& producer : producers) producer.join();
  EXPECT_EQ(queue.runPending(), 600u);
  EXPECT_EQ(next, (std::vector<int>{200, 200, 200}));
}

TEST(ManualMainQueue, DelayedWorkWaitsForTheFakeClockAndRunsInDueOrder) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  auto note = [&](const char* name) { return [&order, name] { order.push_back(name); }; };
  queue.asyncAfter(30ms, note("30ms"));
  queue.asyncAfter(10ms, note("10ms"));
  queue.asyncAfter(20ms, note("20ms a"));
  queue.asyncAfter(20ms, note("20ms b"));
  queue.asyncAfter(-5s, note("negative"));  // counts as no delay
  queue.async(note("now"));
  EXPECT_EQ(queue.runPending(), 2u);
  queue.advance(15ms);
  EXPECT_THAT(order, ElementsAre("negative", "now")) << "advancing alone runs nothing";
  queue.async(note("after advance"));
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
  bool otherBeforePump = true, insideWork = false;
  std::thread([&] { otherBeforePump = queue.isCurrentThread(); }).join();
  EXPECT_FALSE(otherBeforePump);
  std::thread([&] { queue.async([&] { insideWork = queue.isCurrentThread(); }), queue.runPending(); }).join();
  EXPECT_TRUE(insideWork);
  EXPECT_FALSE(queue.isCurrentThread()) << "the other thread pumped last";
  queue.runPending();
  EXPECT_TRUE(queue.isCurrentThread());
}

TEST(ManualMainQueue, CapturesAreReleasedOnceRunOrWithTheQueueUnrun) {
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  {
    ManualMainQueue queue;
    queue.async([capture] {});
    queue.runPending();
    queue.async([capture] { ADD_FAILURE(); });
    capture.reset();
    EXPECT_FALSE(watch.expired());
  }
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
  ManualMainQueue other;
  const std::pair<std::function<void()>, const char*> offTheMainQueue[] = {
      {[] { std::thread([] { assertMainQueue(); }).join(); },
       "assertMainQueue: called off the main queue's thread; called at .*MainQueueTests.cpp"},
      {[&] { std::thread([&] { other.async([] { assertMainQueue(); }), other.runPending(); }).join(); },
       "called off the main queue's thread"}};
  MainQueue::setShared(std::make_shared<ManualMainQueue>());
  for (const auto& [body, message] : offTheMainQueue) EXPECT_DEATH(body(), message);
  MainQueue::setShared(nullptr);
  EXPECT_DEATH(assertMainQueue(), "no main queue is set");
}

TEST(RunLoopMainQueue, RunsWorkInOrderOnTheRunningThreadAndWorkQueuedByWorkLater) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  bool onRunner = false;
  EXPECT_TRUE(queue.isCurrentThread()) << "the creating thread counts before any run";
  std::thread([&] {
    queue.async([&] {
      order.push_back("a");
      queue.async([&] { order.push_back("queued by a"), onRunner = queue.isCurrentThread(), queue.stop(); });
    });
    queue.async([&] { order.push_back("b"); });
    runGuarded(queue);
  }).join();
  EXPECT_THAT(order, ElementsAre("a", "b", "queued by a"));
  EXPECT_TRUE(onRunner);
  EXPECT_FALSE(queue.isCurrentThread());
}

TEST(RunLoopMainQueue, DelayedWorkRunsInDueOrderAndCancelledItemsNever) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  // Queued latest-due first; the gaps between due times only need to exceed the time
  // between two calls here, so they say nothing about speed.
  queue.asyncAfter(150ms, [&] { order.push_back("150ms"), queue.stop(); });
  queue.asyncAfter(100ms, [&] { order.push_back("100ms"); });
  auto cancelled = std::make_shared<WorkItem>([&] { order.push_back("cancelled"); });
  queue.asyncAfter(75ms, cancelled);
  queue.asyncAfter(50ms, [&] { order.push_back("50ms"); });
  queue.async([&] { order.push_back("now"); });
  cancelled->cancel();
  runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("now", "50ms", "100ms", "150ms"));
}

// The sleeps are not clock waits: they give the loop time to go to sleep with nothing
// due, so that new work, then a stop, from another thread has to wake it.
TEST(RunLoopMainQueue, WakesForWorkAndStopsFromAnotherThreadAndLeavesTheRestForTheNextRun) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  Log looping;
  queue.asyncAfter(1h, [&] { ADD_FAILURE() << "delayed work ran"; });
  queue.async([&] { looping.add("started"); });
  std::thread other([&] {
    EXPECT_TRUE(looping.waitForCount(1));
    std::this_thread::sleep_for(20ms);
    queue.async([&] { looping.add("woken"); });
    EXPECT_TRUE(looping.waitForCount(2));
    std::this_thread::sleep_for(20ms);
    queue.stop();
  });
  runGuarded(queue);
  other.join();

  queue.async([&] { order.push_back("first"), queue.stop(); });
  queue.async([&] { order.push_back("second"); });
  runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("first"));
  queue.stop();  // before run: the next run returns at once
  runGuarded(queue);
  EXPECT_THAT(order, ElementsAre("first"));
  queue.async([&] { queue.stop(); });
  runGuarded(queue);  // the earlier stop was used up
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
