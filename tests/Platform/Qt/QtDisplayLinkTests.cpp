// Display links on the Qt event loop: the rate a link runs at on screens of several
// refresh rates, the timer that runs exactly while a link runs, frames on the refresh
// grid, and a change of screen rate.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "Platform/Dispatch/DisplayLink.h"
#include "Platform/Qt/QtDisplayLink.h"
#include "QtTestSupport.h"

namespace platform::qt {
namespace {

using dispatch::DisplayLink;
using dispatch::FrameRateRange;
using testing::runEventsUntil;

TEST(RefreshesPerFrame, ChoosesTheWholeFractionOfTheScreenRateThatFitsTheRange) {
  struct Case {
    double screen;
    FrameRateRange range;
    int expected;
  };
  const Case cases[] = {
      {60, {30, 120, 60}, 1},   // the photo preview on a common screen
      {120, {30, 120, 60}, 2},  // ... and on a fast one
      {144, {30, 120, 60}, 2},  // 72 and 48 are as close to 60: the faster wins
      {60, {24, 60, 30}, 2},    // the video preview
      {120, {24, 60, 30}, 4},
      {75, {24, 60, 30}, 3},    // 25 is closer to 30 than 37.5
      {50, {24, 60, 30}, 2},
      {60, {10, 15, 15}, 4},    // the trim playback line
      {60, {}, 1},              // no wish: every refresh
      {144, {0, 60, 0}, 3},     // no preference: as fast as the range allows
      {60, {90, 120, 0}, 1},    // nothing fits: the screen's own rate
      {30, {0, 0, 240}, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(refreshesPerFrame(c.screen, c.range), c.expected)
        << c.screen << " Hz, range " << c.range.minimum << "-" << c.range.maximum << " preferred " << c.range.preferred;
  }
}

class QtDisplayLinkTest : public ::testing::Test {
 protected:
  void TearDown() override { dispatch::setDisplayLinkFactory(nullptr); }

  std::shared_ptr<QtDisplayLinkDriver> makeDriver(double rate) {
    screenRate_ = std::make_shared<double>(rate);
    return QtDisplayLinkDriver::create([rate = screenRate_] { return *rate; });
  }
  void setScreenRate(double rate) { *screenRate_ = rate; }

 private:
  std::shared_ptr<double> screenRate_;
};

struct Frames {
  std::vector<double> timestamps;
  std::vector<double> durations;
  DisplayLink::Target target() {
    return [this](double timestamp, double targetTimestamp) {
      timestamps.push_back(timestamp);
      durations.push_back(targetTimestamp - timestamp);
    };
  }
};

TEST_F(QtDisplayLinkTest, TheTimerRunsExactlyWhileSomeLinkRuns) {
  auto driver = makeDriver(60);
  dispatch::setDisplayLinkFactory(driver->factory());
  Frames first;
  Frames second;
  auto a = dispatch::makeDisplayLink(first.target());
  auto b = dispatch::makeDisplayLink(second.target());
  struct Step {
    const char* what;
    std::function<void()> act;
    bool ticking;
  };
  const std::vector<Step> steps = {
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
  for (const auto& step : steps) {
    step.act();
    EXPECT_EQ(driver->isTicking(), step.ticking) << step.what;
  }
  // A target that ends its own link during a refresh: the driver idles at once.
  int calls = 0;
  std::shared_ptr<DisplayLink> self = driver->makeLink([&](double, double) {
    ++calls;
    self->invalidate();
  });
  self->addToMainQueue();
  ASSERT_TRUE(runEventsUntil([&] { return calls > 0; }));
  EXPECT_FALSE(driver->isTicking());
  testing::runPendingEvents();
  EXPECT_EQ(calls, 1);
}

TEST_F(QtDisplayLinkTest, FramesLieOnTheRefreshGridAtTheChosenRateAndFollowTheScreen) {
  auto driver = makeDriver(144);
  Frames frames;
  auto link = driver->makeLink(frames.target());
  link->setPreferredFrameRateRange(30, 120, 60);
  link->addToMainQueue();
  ASSERT_TRUE(runEventsUntil([&] { return frames.timestamps.size() >= 3; }));
  for (size_t i = 0; i < frames.timestamps.size(); ++i) {
    EXPECT_NEAR(frames.durations[i], 2.0 / 144, 1e-9) << "72 frames a second: every second refresh";
    if (i == 0) continue;
    const double refreshes = (frames.timestamps[i] - frames.timestamps[i - 1]) * 144;
    EXPECT_NEAR(refreshes, std::round(refreshes), 1e-6) << "on the grid";
    EXPECT_GE(std::round(refreshes), 2.0);
  }
  EXPECT_NEAR(link->duration(), 2.0 / 144, 1e-9);

  // A screen of 60 Hz: every refresh, from the next frame on.
  setScreenRate(60);
  const size_t before = frames.timestamps.size();
  ASSERT_TRUE(runEventsUntil([&] { return frames.timestamps.size() >= before + 2; }));
  EXPECT_NEAR(frames.durations.back(), 1.0 / 60, 1e-9);

  // A new range takes effect at once.
  link->setPreferredFrameRateRange(24, 60, 30);
  const size_t changed = frames.timestamps.size();
  ASSERT_TRUE(runEventsUntil([&] { return frames.timestamps.size() > changed; }));
  EXPECT_NEAR(frames.durations.back(), 2.0 / 60, 1e-9);
}

}  // namespace
}  // namespace platform::qt
