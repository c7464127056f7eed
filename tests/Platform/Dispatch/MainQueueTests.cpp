// The main queues: ManualMainQueue's order and turns, RunLoopMainQueue's order, delayed
// work, wake-ups from other threads and clean stops; work items, the shared queue and
// assertMainQueue. Display links: rates, pause, invalidation, weak owners, the run-loop
// driver and the factory the host replaces; mediaTime(), the clock the run-loop driver
// reads.
#include <cmath>

#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/MediaClock.h"
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

TEST(ManualMainQueue, DelayedWorkWaitsForTheFakeClockAndRunsInDueOrder) {
  ManualMainQueue queue;
  std::vector<std::string> order;
  auto note = [&](const char* name) { return [&order, name] { order.push_back(name); }; };
  // A negative delay counts as none.
  for (auto [delay, name] :
       {std::pair{30ms, "30ms"}, {10ms, "10ms"}, {20ms, "20ms a"}, {20ms, "20ms b"}, {-5s, "negative"}})
    queue.asyncAfter(delay, note(name));
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

// Work from other threads runs on the pumping thread in each producer's order; the queue's
// thread is the creating one until another pumps.
TEST(ManualMainQueue, WorkFromOtherThreadsRunsOnThePumpingThreadWhichIsTheQueuesThread) {
  ManualMainQueue queue;
  EXPECT_TRUE(queue.isCurrentThread()) << "the creating thread counts before any pump";
  bool otherBeforePump = true, insideWork = false;
  std::thread([&] { otherBeforePump = queue.isCurrentThread(); }).join();
  EXPECT_FALSE(otherBeforePump);
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
  std::thread([&] { queue.async([&] { insideWork = queue.isCurrentThread(); }), queue.runPending(); }).join();
  EXPECT_TRUE(insideWork);
  EXPECT_FALSE(queue.isCurrentThread()) << "the other thread pumped last";
  queue.runPending();
  EXPECT_TRUE(queue.isCurrentThread());
}

// Work that ran lets its captures go; work still queued, delayed or not, goes with its queue.
TEST(MainQueues, ReleaseCapturesOnceRunOrWithTheQueueUnrun) {
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  {
    ManualMainQueue manual;
    RunLoopMainQueue runLoop;
    manual.async([capture] {}), manual.runPending();
    for (MainQueue* queue : std::initializer_list<MainQueue*>{&manual, &runLoop}) {
      queue->asyncAfter(1h, [capture] { ADD_FAILURE(); });
      queue->async([capture] { ADD_FAILURE(); });
    }
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

// Work runs in order on the running thread, work queued by work after what was queued
// before it, delayed work in due order (queued latest-due first, before work due now),
// cancelled items never.
// The gaps between due times only need to exceed the time between two calls here, so they
// say nothing about speed.
TEST(RunLoopMainQueue, RunsWorkInOrderOnTheRunningThreadDelayedWorkInDueOrderAndCancelledItemsNever) {
  RunLoopMainQueue queue;
  std::vector<std::string> order;
  bool onRunner = false;
  EXPECT_TRUE(queue.isCurrentThread()) << "the creating thread counts before any run";
  auto cancelled = std::make_shared<WorkItem>([&] { order.push_back("cancelled"); });
  std::thread([&] {
    queue.async([&] { order.push_back("a"), queue.async([&] { order.push_back("queued by a"); }); });
    queue.async([&] {  // the delayed work is queued here, so that its due times count from this turn
      order.push_back("b");
      queue.asyncAfter(150ms, [&] { order.push_back("150ms"), onRunner = queue.isCurrentThread(), queue.stop(); });
      queue.asyncAfter(100ms, [&] { order.push_back("100ms"); });
      queue.asyncAfter(75ms, cancelled);
      queue.asyncAfter(50ms, [&] { order.push_back("50ms"); });
      queue.async([&] { order.push_back("now"); });
      cancelled->cancel();
    });
    runGuarded(queue);
  }).join();
  EXPECT_THAT(order, ElementsAre("a", "b", "queued by a", "now", "50ms", "100ms", "150ms"));
  EXPECT_TRUE(onRunner);
  EXPECT_FALSE(queue.isCurrentThread());
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

struct Frame {
  double timestamp, targetTimestamp;
};
const auto ignore = [](double, double) {};

TEST(FrameRateRange, ResolvesToThePreferredRateElseTheDisplayRateWithinAValidRange) {
  // clang-format off
  const std::pair<FrameRateRange, double> rates[] = {
      {{30, 120, 60}, 60}, {{24, 60, 30}, 30}, {{10, 15, 15}, 15},  // photo, video, trim line
      {{}, FrameRateRange::kDisplayRate}, {{10, 15, 0}, 15}, {{90, 120, 0}, 90}, {{30, 0, 0}, 60}};
  // Maximum 0 has no upper bound. Invalid: minimum above maximum, preferred outside the
  // range, negative, not a number, infinite.
  const std::pair<FrameRateRange, bool> validity[] = {
      {{}, true}, {{30, 120, 60}, true}, {{30, 120, 0}, true}, {{30, 0, 240}, true}, {{120, 30, 60}, false},
      {{30, 120, 20}, false}, {{30, 120, 121}, false}, {{-1, 120, 60}, false}, {{30, 120, NAN}, false},
      {{30, INFINITY, 60}, false}};
  // clang-format on
  for (const auto& [range, rate] : rates) EXPECT_DOUBLE_EQ(range.resolvedRate(), rate);
  for (const auto& [range, valid] : validity)
    EXPECT_EQ(range.isValid(), valid) << range.minimum << " " << range.maximum << " " << range.preferred;
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(ManualDisplayLink(ignore).setPreferredFrameRateRange(120, 30, 60),
               "setPreferredFrameRateRange: invalid range");
}

TEST(ManualDisplayLink, EachTickOfAnAddedLinkCallsTheTargetOnceWithFrameTimesOfItsRate) {
  std::vector<Frame> frames;
  ManualDisplayLink link([&](double t, double target) { frames.push_back({t, target}); });
  EXPECT_FALSE(link.tick(1.0)) << "nothing before it is added";
  link.addToMainQueue();
  link.addToMainQueue();  // a second start changes nothing
  EXPECT_TRUE(link.isRunning());
  EXPECT_TRUE(link.tick(10.0));
  EXPECT_NEAR(link.duration(), 1.0 / 60.0, 1e-12) << "the display's rate by default";
  link.setPreferredFrameRateRange(24, 60, 30);
  EXPECT_TRUE(link.tick(10.5));
  EXPECT_THAT(frames,
              ElementsAre(FieldsAre(10.0, DoubleEq(10.0 + 1.0 / 60.0)), FieldsAre(10.5, DoubleEq(10.5 + 1.0 / 30.0))));
  EXPECT_DOUBLE_EQ(link.targetTimestamp(), 10.5 + 1.0 / 30.0);
  link.setPaused(true);
  EXPECT_FALSE(link.tick(11.0));
  EXPECT_EQ(link.timestamp(), 10.5) << "a skipped refresh records nothing";
  link.setPaused(false);
  EXPECT_TRUE(link.tick(12.0));
  EXPECT_EQ(frames.size(), 3u);
}

TEST(ManualDisplayLink, InvalidationFromTheTargetReleasesItAndNothingBringsTheLinkBack) {
  int calls = 0;
  auto capture = std::make_shared<int>(42);
  std::weak_ptr<int> watch = capture;
  ManualDisplayLink* self = nullptr;
  ManualDisplayLink link([&, capture](double, double) {
    ++calls;
    self->invalidate();
    EXPECT_EQ(*capture, 42) << "the running target stays alive until it returns";
  });
  self = &link;
  capture.reset();
  link.addToMainQueue();
  EXPECT_TRUE(link.tick(1.0));
  EXPECT_TRUE(watch.expired()) << "invalidate released the target";
  EXPECT_FALSE(link.isValid());
  link.setPaused(false);
  link.addToMainQueue();
  EXPECT_FALSE(link.tick(2.0));
  EXPECT_EQ(calls, 1);
}

// The default factory makes run-loop links on the shared queue, and needs one; a manual
// factory replaces it, ticks only added links and forgets those that are gone. A link
// holds its owner weakly: the pattern every user of a link follows. The test ends with
// neither factory nor queue set, as it began.
TEST(DisplayLinkFactory, DefaultOrReplacedMakesLinksThatHoldTheirOwnersWeakly) {
  MainQueue::setShared(std::make_shared<RunLoopMainQueue>());
  EXPECT_NE(dynamic_cast<RunLoopDisplayLink*>(makeDisplayLink(ignore).get()), nullptr);
  ManualDisplayLinkFactory links;
  setDisplayLinkFactory(links.factory());
  EXPECT_NE(dynamic_cast<ManualDisplayLink*>(makeDisplayLink(ignore).get()), nullptr);

  struct Owner {
    int ticks = 0;
    std::shared_ptr<DisplayLink> link;
  };
  auto owner = std::make_shared<Owner>();
  owner->link = makeDisplayLink([weak = std::weak_ptr<Owner>(owner)](double, double) {
    if (const auto self = weak.lock()) ++self->ticks;
  });
  owner->link->addToMainQueue();
  std::weak_ptr<Owner> watch = owner;
  EXPECT_EQ(links.tickAll(1.0), 1u);
  EXPECT_EQ(owner->ticks, 1);
  EXPECT_EQ(owner.use_count(), 1) << "the link holds no strong reference to its owner";
  // Something else keeps the link alive, as a run loop would; the owner still goes.
  const auto keptLink = links.links().at(0);
  owner.reset();
  EXPECT_TRUE(watch.expired());
  EXPECT_TRUE(keptLink->tick(2.0)) << "the target runs and finds its owner gone";
  auto unadded = makeDisplayLink(ignore);
  EXPECT_EQ(links.links().size(), 2u) << "the first manual link is gone and forgotten";
  keptLink->invalidate();
  EXPECT_EQ(links.tickAll(3.0), 0u) << "the remaining links are invalid or never added";
  unadded->addToMainQueue();
  EXPECT_EQ(links.tickAll(4.0), 1u);
  unadded.reset();
  EXPECT_EQ(links.links().size(), 1u);

  setDisplayLinkFactory(nullptr);
  EXPECT_NE(dynamic_cast<RunLoopDisplayLink*>(makeDisplayLink(ignore).get()), nullptr);
  MainQueue::setShared(nullptr);
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(makeDisplayLink(ignore), "no display link factory and no main queue");
}

// Each frame time lies on the grid of `interval` that the first one started.
void expectOnOneGrid(const std::vector<Frame>& frames, double interval) {
  for (std::size_t i = 0; i < frames.size(); ++i) {
    EXPECT_NEAR(frames[i].targetTimestamp - frames[i].timestamp, interval, 1e-9);
    if (i == 0) continue;
    const double steps = (frames[i].timestamp - frames[0].timestamp) / interval;
    EXPECT_NEAR(steps, std::round(steps), 1e-6) << "frame " << i << " is off the grid";
    EXPECT_GT(frames[i].timestamp, frames[i - 1].timestamp);
  }
}

// Five frames at 60 Hz; then paused for four frames' worth while the range changes, and
// three frames at 15 Hz; then the last owner drops the link while a refresh is scheduled:
// the queue holds it weakly, so it goes and calls nothing more. Frame times are
// mediaTime(), which reads the steady clock.
TEST(RunLoopDisplayLink, TicksOnTheMainThreadAtItsRateExceptWhilePausedUntilDropped) {
  auto queue = std::make_shared<RunLoopMainQueue>();
  std::vector<Frame> fast, slow;
  bool paused = false;
  std::shared_ptr<RunLoopDisplayLink> link;
  link = RunLoopDisplayLink::create(queue, [&](double t, double target) {
    EXPECT_TRUE(queue->isCurrentThread());
    EXPECT_FALSE(paused);
    (fast.size() < 5 ? fast : slow).push_back({t, target});
    if (fast.size() == 5 && slow.empty()) {
      link->setPaused(paused = true);
      link->setPreferredFrameRateRange(10, 15, 15);
      queue->asyncAfter(300ms, [&] { link->setPaused(paused = false); });
    }
    if (slow.size() == 3) {
      queue->async([&] { link.reset(); });
      // Give a stray refresh every chance to come before stopping.
      queue->asyncAfter(100ms, [&] { queue->stop(); });
    }
  });
  const std::weak_ptr<RunLoopDisplayLink> watch = link;
  link->setPreferredFrameRateRange(30, 120, 60);
  link->addToMainQueue();
  const auto steadyNow = [] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  };
  const double started = steadyNow();
  runGuarded(*queue);
  ASSERT_EQ(fast.size(), 5u);
  ASSERT_EQ(slow.size(), 3u) << "no call after the link was dropped";
  EXPECT_TRUE(watch.expired()) << "the queue's scheduled refresh holds the link weakly";
  EXPECT_GT(fast[0].timestamp, started - 1e-6);  // a microsecond of slack for rounding to double
  EXPECT_LE(slow.back().timestamp, steadyNow() + 1e-6);
  expectOnOneGrid(fast, 1.0 / 60.0);
  expectOnOneGrid(slow, 1.0 / 15.0);
}

TEST(MediaClock, NeverGoesBackwards) {
  for (double previous = mediaTime(), i = 0; i < 100000; ++i) {
    const double now = mediaTime();
    ASSERT_GE(now, previous);
    previous = now;
  }
}

}  // namespace
}  // namespace platform::dispatch
