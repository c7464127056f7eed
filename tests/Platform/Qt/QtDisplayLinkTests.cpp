// Display links on the Qt event loop: the rate a link runs at on screens of several
// refresh rates, the timer that runs exactly while a link runs, frames on the refresh
// grid, and a change of screen rate.
#include <gtest/gtest.h>

#include <QTest>

#include <cmath>
#include <memory>
#include <tuple>
#include <vector>

#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Qt/QtDisplayLink.h"

namespace platform::qt {
namespace {

constexpr int kHang = 60'000;  // a bound on waits against a hang; it measures nothing

using dispatch::DisplayLink;
using dispatch::FrameRateRange;

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
