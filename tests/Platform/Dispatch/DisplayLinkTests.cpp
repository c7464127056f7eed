// Display links: rates, pause, invalidation, weak owners, the run-loop driver and the
// factory the host replaces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/MediaClock.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/RunLoopMainQueue.h"
#include "TestSupport.h"

namespace platform::dispatch {
namespace {

using namespace std::chrono_literals;

struct Frame {
  double timestamp;
  double targetTimestamp;
};

// Puts the process-wide factory and main queue back after each test.
class DisplayLinkTest : public ::testing::Test {
 protected:
  void TearDown() override {
    setDisplayLinkFactory(nullptr);
    MainQueue::setShared(nullptr);
  }
};

// Range rules

TEST(FrameRateRange, ResolvesToThePreferredRate) {
  EXPECT_DOUBLE_EQ((FrameRateRange{30, 120, 60}).resolvedRate(), 60.0);  // the photo preview
  EXPECT_DOUBLE_EQ((FrameRateRange{24, 60, 30}).resolvedRate(), 30.0);   // the video preview
  EXPECT_DOUBLE_EQ((FrameRateRange{10, 15, 15}).resolvedRate(), 15.0);   // the trim playback line
}

TEST(FrameRateRange, WithoutAPreferredRateRunsAtTheDisplayRateWithinTheRange) {
  EXPECT_DOUBLE_EQ((FrameRateRange{}).resolvedRate(), FrameRateRange::kDisplayRate);
  EXPECT_DOUBLE_EQ((FrameRateRange{10, 15, 0}).resolvedRate(), 15.0);
  EXPECT_DOUBLE_EQ((FrameRateRange{90, 120, 0}).resolvedRate(), 90.0);
  EXPECT_DOUBLE_EQ((FrameRateRange{30, 0, 0}).resolvedRate(), 60.0);
}

TEST(FrameRateRange, Validity) {
  EXPECT_TRUE((FrameRateRange{}).isValid());
  EXPECT_TRUE((FrameRateRange{30, 120, 60}).isValid());
  EXPECT_TRUE((FrameRateRange{30, 120, 0}).isValid());
  EXPECT_TRUE((FrameRateRange{30, 0, 240}).isValid()) << "maximum 0 has no upper bound";
  EXPECT_FALSE((FrameRateRange{120, 30, 60}).isValid()) << "minimum above maximum";
  EXPECT_FALSE((FrameRateRange{30, 120, 20}).isValid()) << "preferred below the range";
  EXPECT_FALSE((FrameRateRange{30, 120, 121}).isValid()) << "preferred above the range";
  EXPECT_FALSE((FrameRateRange{-1, 120, 60}).isValid());
  EXPECT_FALSE((FrameRateRange{30, 120, NAN}).isValid());
  EXPECT_FALSE((FrameRateRange{30, INFINITY, 60}).isValid());
}

TEST(DisplayLinkDeathTest, AnInvalidRangeStopsTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        ManualDisplayLink link([](double, double) {});
        link.setPreferredFrameRateRange(120, 30, 60);
      },
      "setPreferredFrameRateRange: invalid range");
}

// ManualDisplayLink

TEST(ManualDisplayLink, CallsNothingBeforeItIsAdded) {
  int calls = 0;
  ManualDisplayLink link([&](double, double) { ++calls; });
  EXPECT_FALSE(link.isRunning());
  EXPECT_FALSE(link.tick(1.0));
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(link.timestamp(), 0.0);
  EXPECT_EQ(link.targetTimestamp(), 0.0);
  EXPECT_EQ(link.duration(), 0.0);
}

TEST(ManualDisplayLink, EachTickCallsTheTargetOnceWithTheFrameTimes) {
  std::vector<Frame> frames;
  ManualDisplayLink link([&](double t, double target) { frames.push_back({t, target}); });
  link.setPreferredFrameRateRange(30, 120, 60);
  link.addToMainQueue();
  link.addToMainQueue();  // a second start changes nothing
  EXPECT_TRUE(link.isRunning());

  EXPECT_TRUE(link.tick(10.0));
  EXPECT_TRUE(link.tick(10.5));
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_DOUBLE_EQ(frames[0].timestamp, 10.0);
  EXPECT_DOUBLE_EQ(frames[0].targetTimestamp, 10.0 + 1.0 / 60.0);
  EXPECT_DOUBLE_EQ(frames[1].timestamp, 10.5);
  EXPECT_DOUBLE_EQ(link.timestamp(), 10.5);
  EXPECT_DOUBLE_EQ(link.targetTimestamp(), 10.5 + 1.0 / 60.0);
  EXPECT_NEAR(link.duration(), 1.0 / 60.0, 1e-12);
}

TEST(ManualDisplayLink, TheFrameIntervalFollowsTheRange) {
  ManualDisplayLink link([](double, double) {});
  link.addToMainQueue();
  link.tick(1.0);
  EXPECT_NEAR(link.duration(), 1.0 / 60.0, 1e-12) << "the display's rate by default";
  link.setPreferredFrameRateRange(24, 60, 30);
  link.tick(2.0);
  EXPECT_NEAR(link.duration(), 1.0 / 30.0, 1e-12);
  link.setPreferredFrameRateRange(10, 15, 15);
  link.tick(3.0);
  EXPECT_NEAR(link.duration(), 1.0 / 15.0, 1e-12);
  EXPECT_EQ(link.preferredFrameRateRange(), (FrameRateRange{10, 15, 15}));
}

TEST(ManualDisplayLink, PausedLinksCallNothing) {
  int calls = 0;
  ManualDisplayLink link([&](double, double) { ++calls; });
  link.addToMainQueue();
  link.setPaused(true);
  EXPECT_TRUE(link.isPaused());
  EXPECT_FALSE(link.tick(1.0));
  EXPECT_EQ(link.timestamp(), 0.0) << "a skipped refresh records nothing";
  link.setPaused(false);
  EXPECT_TRUE(link.tick(2.0));
  EXPECT_EQ(calls, 1);
}

TEST(ManualDisplayLink, InvalidatedLinksNeverCallAgain) {
  int calls = 0;
  ManualDisplayLink link([&](double, double) { ++calls; });
  link.addToMainQueue();
  link.tick(1.0);
  link.invalidate();
  EXPECT_FALSE(link.isValid());
  EXPECT_FALSE(link.tick(2.0));
  link.setPaused(false);
  link.addToMainQueue();
  EXPECT_FALSE(link.tick(3.0)) << "nothing brings an invalidated link back";
  EXPECT_EQ(calls, 1);
}

TEST(ManualDisplayLink, MayBeInvalidatedFromItsOwnTarget) {
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
  EXPECT_FALSE(link.tick(2.0));
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(watch.expired()) << "invalidate released the target";
}

TEST(ManualDisplayLink, InvalidateReleasesTheTarget) {
  auto capture = std::make_shared<int>(0);
  std::weak_ptr<int> watch = capture;
  ManualDisplayLink link([capture](double, double) {});
  capture.reset();
  EXPECT_FALSE(watch.expired());
  link.invalidate();
  EXPECT_TRUE(watch.expired());
}

// Owners held weakly: the pattern every user of a link follows.

struct Owner {
  int ticks = 0;
  std::shared_ptr<DisplayLink> link;

  static std::shared_ptr<Owner> make() {
    auto owner = std::make_shared<Owner>();
    owner->link = makeDisplayLink([weak = std::weak_ptr<Owner>(owner)](double, double) {
      if (const auto self = weak.lock()) ++self->ticks;
    });
    owner->link->addToMainQueue();
    return owner;
  }
};

TEST_F(DisplayLinkTest, ALinkWhoseTargetHoldsItsOwnerWeaklyDoesNotKeepItAlive) {
  ManualDisplayLinkFactory links;
  setDisplayLinkFactory(links.factory());

  auto owner = Owner::make();
  std::weak_ptr<Owner> watch = owner;
  ASSERT_EQ(links.tickAll(1.0), 1u);
  EXPECT_EQ(owner->ticks, 1);
  EXPECT_EQ(owner.use_count(), 1) << "the link holds no strong reference to its owner";

  // Something else keeps the link alive, as a run loop would; the owner still goes.
  const auto keptLink = links.links().at(0);
  owner.reset();
  EXPECT_TRUE(watch.expired());
  EXPECT_TRUE(keptLink->tick(2.0)) << "the target runs and finds its owner gone";
}

TEST_F(DisplayLinkTest, ManualFactoryForgetsLinksThatAreGone) {
  ManualDisplayLinkFactory links;
  setDisplayLinkFactory(links.factory());
  auto first = makeDisplayLink([](double, double) {});
  auto second = makeDisplayLink([](double, double) {});
  EXPECT_NE(dynamic_cast<ManualDisplayLink*>(first.get()), nullptr);
  EXPECT_EQ(links.links().size(), 2u);
  first.reset();
  EXPECT_EQ(links.links().size(), 1u);
  EXPECT_EQ(links.tickAll(1.0), 0u) << "the remaining link was never added";
  second->addToMainQueue();
  EXPECT_EQ(links.tickAll(1.0), 1u);
}

TEST_F(DisplayLinkTest, DefaultFactoryMakesRunLoopLinksOnTheSharedQueue) {
  MainQueue::setShared(std::make_shared<RunLoopMainQueue>());
  auto link = makeDisplayLink([](double, double) {});
  EXPECT_NE(dynamic_cast<RunLoopDisplayLink*>(link.get()), nullptr);
  ManualDisplayLinkFactory manual;
  setDisplayLinkFactory(manual.factory());
  EXPECT_NE(dynamic_cast<ManualDisplayLink*>(makeDisplayLink([](double, double) {}).get()), nullptr);
  setDisplayLinkFactory(nullptr);
  EXPECT_NE(dynamic_cast<RunLoopDisplayLink*>(makeDisplayLink([](double, double) {}).get()), nullptr);
}

TEST_F(DisplayLinkTest, DefaultFactoryWithoutAMainQueueStopsTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(makeDisplayLink([](double, double) {}), "no display link factory and no main queue");
}

// RunLoopDisplayLink

// Each frame time lies on the grid of `interval` that the first one started.
void expectOnOneGrid(const std::vector<Frame>& frames, double interval) {
  for (std::size_t i = 0; i < frames.size(); ++i) {
    EXPECT_NEAR(frames[i].targetTimestamp - frames[i].timestamp, interval, 1e-9);
    if (i == 0) continue;
    const double steps = (frames[i].timestamp - frames[0].timestamp) / interval;
    EXPECT_GT(frames[i].timestamp, frames[i - 1].timestamp);
    EXPECT_NEAR(steps, std::round(steps), 1e-6) << "frame " << i << " is off the grid";
  }
}

TEST(RunLoopDisplayLink, TicksOnTheMainThreadAtThePreferredRateUntilInvalidated) {
  auto queue = std::make_shared<RunLoopMainQueue>();
  std::vector<Frame> frames;
  bool onMain = true;
  std::shared_ptr<RunLoopDisplayLink> link;
  link = RunLoopDisplayLink::create(queue, [&](double t, double target) {
    frames.push_back({t, target});
    onMain = onMain && queue->isCurrentThread();
    if (frames.size() == 5) {
      link->invalidate();
      // Give a stray refresh every chance to come before stopping.
      queue->asyncAfter(100ms, [&] { queue->stop(); });
    }
  });
  link->setPreferredFrameRateRange(30, 120, 60);
  link->addToMainQueue();
  const double started = mediaTime();
  testing::runGuarded(*queue);

  ASSERT_EQ(frames.size(), 5u) << "no call after invalidate";
  EXPECT_TRUE(onMain);
  EXPECT_GT(frames[0].timestamp, started);
  EXPECT_LE(frames.back().timestamp, mediaTime());
  expectOnOneGrid(frames, 1.0 / 60.0);
  EXPECT_NEAR(link->duration(), 1.0 / 60.0, 1e-9);
  EXPECT_DOUBLE_EQ(link->timestamp(), frames.back().timestamp);
}

TEST(RunLoopDisplayLink, FollowsAChangeOfRange) {
  auto queue = std::make_shared<RunLoopMainQueue>();
  std::vector<Frame> slow;
  std::shared_ptr<RunLoopDisplayLink> link;
  int calls = 0;
  link = RunLoopDisplayLink::create(queue, [&](double t, double target) {
    if (++calls == 1) {
      link->setPreferredFrameRateRange(10, 15, 15);
      return;
    }
    slow.push_back({t, target});
    if (slow.size() == 3) {
      link->invalidate();
      queue->stop();
    }
  });
  link->addToMainQueue();
  testing::runGuarded(*queue);
  ASSERT_EQ(slow.size(), 3u);
  expectOnOneGrid(slow, 1.0 / 15.0);
}

TEST(RunLoopDisplayLink, CallsNothingWhilePaused) {
  auto queue = std::make_shared<RunLoopMainQueue>();
  std::shared_ptr<RunLoopDisplayLink> link;
  int calls = 0;
  int callsWhenResumed = -1;
  link = RunLoopDisplayLink::create(queue, [&](double, double) {
    ++calls;
    if (calls == 2) {
      link->setPaused(true);
      // Six frames' worth of paused time, then resume.
      queue->asyncAfter(100ms, [&] {
        callsWhenResumed = calls;
        link->setPaused(false);
      });
    }
    if (calls == 4) {
      link->invalidate();
      queue->stop();
    }
  });
  link->addToMainQueue();
  testing::runGuarded(*queue);
  EXPECT_EQ(callsWhenResumed, 2);
  EXPECT_EQ(calls, 4);
}

TEST(RunLoopDisplayLink, DroppedLinkStopsWithoutKeepingItsOwner) {
  auto queue = std::make_shared<RunLoopMainQueue>();
  MainQueue::setShared(queue);
  auto owner = Owner::make();  // default factory: a RunLoopDisplayLink on the shared queue
  std::weak_ptr<Owner> watchOwner = owner;
  std::weak_ptr<DisplayLink> watchLink = owner->link;
  int ticksSeen = 0;
  // Let the owner see a few frames, then drop it while a refresh is scheduled.
  std::function<void()> poll = [&] {
    if (owner && owner->ticks >= 3) {
      ticksSeen = owner->ticks;
      owner.reset();
      queue->asyncAfter(100ms, [&] { queue->stop(); });
      return;
    }
    queue->asyncAfter(5ms, poll);
  };
  queue->async(poll);
  testing::runGuarded(*queue);
  MainQueue::setShared(nullptr);
  EXPECT_GE(ticksSeen, 3);
  EXPECT_TRUE(watchOwner.expired());
  EXPECT_TRUE(watchLink.expired()) << "the queue's scheduled refresh holds the link weakly";
}

}  // namespace
}  // namespace platform::dispatch
