// Work on the Qt event loop. The main queue: the order of immediate, delayed and
// re-queued work, work from other threads, a nested event loop, cancellation, and what
// becomes of queued work when the queue goes. Display links: the rate a link runs at on
// screens of several refresh rates, the timer that runs exactly while a link runs, frames
// on the refresh grid, and a change of screen rate.
#include <gtest/gtest.h>

#include <QTest>

#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Dispatch/WorkItem.h"
#include "Platform/Qt/QtDisplayLink.h"
#include "Platform/Qt/QtMainQueue.h"

namespace platform::qt {
namespace {

constexpr int kHang = 60'000;  // a bound on waits against a hang; it measures nothing

using dispatch::DisplayLink;
using dispatch::FrameRateRange;
using namespace std::chrono_literals;
using Log = std::vector<std::string>;

// A queue of its own, and work that logs its name, marked when it runs off the GUI thread.
struct QtMainQueueTest : ::testing::Test {
  std::function<void()> logging(std::string name) {
    return [this, name] { log.push_back(queue->isCurrentThread() ? name : name + " off the GUI thread"); };
  }
  Log log;
  std::shared_ptr<QtMainQueue> queue = std::make_shared<QtMainQueue>();  // goes first, dropping what it holds
};

TEST_F(QtMainQueueTest, RunsWorkInQueueOrderDelayedWorkByDueTimeRequeuedWorkInTheNextTurnAndNoCancelledWork) {
  queue->asyncAfter(200ms, logging("late"));
  queue->async(logging("a"));
  queue->asyncAfter(100ms, logging("soon"));
  queue->async([&] {
    log.push_back("b");
    queue->async(logging("queued by b"));
  });
  queue->asyncAfter(-50ms, logging("past"));  // due at once
  queue->async(logging("c"));
  // Delayed work items run; those cancelled here or from another thread never do.
  auto cancelledHere = std::make_shared<dispatch::WorkItem>(logging("cancelled here"));
  auto cancelledThere = std::make_shared<dispatch::WorkItem>(logging("cancelled elsewhere"));
  queue->asyncAfter(50ms, cancelledHere);
  queue->asyncAfter(50ms, std::make_shared<dispatch::WorkItem>(logging("kept")));
  queue->asyncAfter(50ms, cancelledThere);
  cancelledHere->cancel();
  std::thread([&] { cancelledThere->cancel(); }).join();
  ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == 8; }, kHang));
  EXPECT_EQ(log, (Log{"a", "b", "past", "c", "queued by b", "kept", "soon", "late"}));
}

TEST_F(QtMainQueueTest, RunsWorkFromOtherThreadsOnTheGuiThreadInEachThreadsOrder) {
  constexpr int kThreads = 4, kEach = 200;
  std::vector<std::thread> threads;
  std::vector<int> answeredCurrent(kThreads, -1);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      answeredCurrent[t] = queue->isCurrentThread();
      for (int i = 0; i < kEach; ++i) {
        auto work = logging(std::to_string(t) + " " + std::to_string(i));
        i % 3 ? queue->async(work) : queue->asyncAfter(0ms, work);  // both paths in one order
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == kThreads * kEach; }, kHang));
  EXPECT_EQ(answeredCurrent, std::vector<int>(kThreads, 0));
  std::vector<int> next(kThreads, 0);
  for (const auto& entry : log) {
    const int thread = std::stoi(entry);
    EXPECT_EQ(entry, std::to_string(thread) + " " + std::to_string(next[thread]++));
  }
}

TEST_F(QtMainQueueTest, WorkThatOpensANestedEventLoopDoesNotHoldUpTheWorkBehindIt) {
  queue->async([&] {
    log.push_back("opens a loop");
    // As a modal dialog does: it waits on an event loop for work queued behind it.
    ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == 3; }, kHang));
    log.push_back("loop closed");
  });
  queue->async(logging("queued before"));
  queue->asyncAfter(5ms, logging("delayed"));
  ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == 4; }, kHang));
  EXPECT_EQ(log, (Log{"opens a loop", "queued before", "delayed", "loop closed"}));
}

TEST(QtMainQueue, DropsQueuedWorkUnrunWhenItGoesEvenFromAnotherThread) {
  for (const bool elsewhere : {false, true}) {
    SCOPED_TRACE(elsewhere ? "released on another thread" : "released on the GUI thread");
    auto queue = std::make_shared<QtMainQueue>();
    auto captured = std::make_shared<bool>(false);
    const std::weak_ptr<bool> watch = captured;
    queue->async([captured] { *captured = true; });
    queue->asyncAfter(10ms, [captured] { *captured = true; });
    captured.reset();
    elsewhere ? std::thread([owned = std::move(queue)]() mutable { owned.reset(); }).join() : queue.reset();
    EXPECT_TRUE(watch.expired()) << "the work was released unrun";
    // What the old queue had posted finds it gone; a new queue runs as usual.
    auto next = std::make_shared<QtMainQueue>();
    bool ran = false;
    next->asyncAfter(15ms, [&] { ran = true; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return ran; }, kHang));
  }
}

TEST(RefreshesPerFrame, ChoosesTheWholeFractionOfTheScreenRateThatFitsTheRange) {
  const std::tuple<double, FrameRateRange, int> cases[] = {
      {60, {30, 120, 60}, 1}, {120, {30, 120, 60}, 2},  // the photo preview on a common screen and a fast one
      {144, {30, 120, 60}, 2},                         // 72 and 48 are as close to 60: the faster wins
      {60, {24, 60, 30}, 2},  {120, {24, 60, 30}, 4},  // the video preview
      {50, {24, 60, 30}, 2},  {75, {24, 60, 30}, 3},   // at 75 Hz 25 is closer to 30 than 37.5
      {60, {10, 15, 15}, 4},                           // the trim playback line
      {60, {}, 1},                                     // no wish: every refresh
      {144, {0, 60, 0}, 3},                            // no preference: as fast as the range allows
      {60, {90, 120, 0}, 1},  {30, {0, 0, 240}, 1},    // nothing fits: the screen's own rate
  };
  for (const auto& [screen, range, expected] : cases)
    EXPECT_EQ(refreshesPerFrame(screen, range), expected)
        << screen << " Hz, range " << range.minimum << "-" << range.maximum << " preferred " << range.preferred;
}

// Display links on a driver whose screen runs at `screenRate`.
class QtDisplayLinkTest : public ::testing::Test {
 protected:
  void TearDown() override { dispatch::setDisplayLinkFactory(nullptr); }
  double screenRate = 60;
  std::shared_ptr<QtDisplayLinkDriver> driver = QtDisplayLinkDriver::create([this] { return screenRate; });
};

TEST_F(QtDisplayLinkTest, TheTimerRunsExactlyWhileSomeLinkRuns) {
  dispatch::setDisplayLinkFactory(driver->factory());
  auto a = dispatch::makeDisplayLink([](double, double) {});
  auto b = dispatch::makeDisplayLink([](double, double) {});
  const std::tuple<const char*, std::function<void()>, bool> steps[] = {
      {"made, not added", [] {}, false},
      {"a added", [&] { a->addToMainQueue(); }, true},
      {"a paused", [&] { a->setPaused(true); }, false},
      {"b paused before it is added", [&] { b->setPaused(true); }, false},
      {"b added while paused", [&] { b->addToMainQueue(); }, false},
      {"a resumed", [&] { a->setPaused(false); }, true},
      {"b resumed", [&] { b->setPaused(false); }, true},
      {"a invalidated", [&] { a->invalidate(); }, true},
      {"b destroyed", [&] { b.reset(); }, false},
      {"a resumed after invalidation", [&] { a->setPaused(true), a->setPaused(false); }, false},
  };
  // That a ticking driver delivers frames, and goes on between them, is the next case's.
  for (const auto& [what, act, ticking] : steps) {
    act();
    EXPECT_EQ(driver->isTicking(), ticking) << what;
  }
  // A target that ends its own link during a refresh: the driver idles at once.
  int calls = 0;
  std::shared_ptr<DisplayLink> self = driver->makeLink([&](double, double) {
    ++calls;
    self->invalidate();
  });
  self->addToMainQueue();
  ASSERT_TRUE(QTest::qWaitFor([&] { return calls > 0; }, kHang));
  EXPECT_FALSE(driver->isTicking());
  QCoreApplication::processEvents();
  EXPECT_EQ(calls, 1);
}

TEST_F(QtDisplayLinkTest, FramesLieOnTheRefreshGridAtTheChosenRateAndFollowTheScreen) {
  screenRate = 144;
  std::vector<double> timestamps, durations;
  auto link = driver->makeLink([&](double timestamp, double targetTimestamp) {
    timestamps.push_back(timestamp);
    durations.push_back(targetTimestamp - timestamp);
  });
  link->setPreferredFrameRateRange(30, 120, 60);
  link->addToMainQueue();
  ASSERT_TRUE(QTest::qWaitFor([&] { return timestamps.size() >= 3; }, kHang));
  for (size_t i = 0; i < timestamps.size(); ++i) {
    EXPECT_NEAR(durations[i], 2.0 / 144, 1e-9) << "72 frames a second: every second refresh";
    if (i == 0) continue;
    const double refreshes = (timestamps[i] - timestamps[i - 1]) * 144;
    EXPECT_NEAR(refreshes, std::round(refreshes), 1e-6) << "on the grid";
    EXPECT_GE(std::round(refreshes), 2.0);
  }
  EXPECT_NEAR(link->duration(), 2.0 / 144, 1e-9);

  // A screen of 60 Hz: every refresh, from the next frame on.
  screenRate = 60;
  const size_t before = timestamps.size();
  ASSERT_TRUE(QTest::qWaitFor([&] { return timestamps.size() >= before + 2; }, kHang));
  EXPECT_NEAR(durations.back(), 1.0 / 60, 1e-9);

  // A new range takes effect at once.
  link->setPreferredFrameRateRange(24, 60, 30);
  const size_t changed = timestamps.size();
  ASSERT_TRUE(QTest::qWaitFor([&] { return timestamps.size() > changed; }, kHang));
  EXPECT_NEAR(durations.back(), 2.0 / 60, 1e-9);
}

}  // namespace
}  // namespace platform::qt
