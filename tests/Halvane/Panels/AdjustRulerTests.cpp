// The adjust slider's ruler without widgets: value and offset, the feedback guard,
// clicks and their hysteresis, dots and the mark, labels; and the panel's modified dots.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Halvane/Panels/AdjustPanelState.h"
#include "Halvane/Panels/AdjustRuler.h"

namespace halvane::panels {
namespace {

constexpr double kWidth = 300;

// A ruler wired as the widget wires it: a programmatic scroll comes straight back as a
// scroll callback, which the guard must swallow.
struct Wired {
  explicit Wired(float min, float max, float defaultValue) {
    ruler.configure(min, max, defaultValue);
    ruler.onScrollTo = [this](double offset) {
      this->offset = offset;
      ruler.scrolled(offset);
    };
    ruler.onValueChanged = [this] { ++changes; };
    ruler.onTrackingEnded = [this] { ++trackingEnds; };
    ruler.onClick = [this] { ++clicks; };
  }
  void drag(float value) { ruler.scrolled(ruler.offsetFor(value)); }
  AdjustRuler ruler;
  double offset = std::numeric_limits<double>::quiet_NaN();
  int changes = 0, trackingEnds = 0, clicks = 0;
};

TEST(AdjustRuler, ValuesAndOffsetsRoundTripOverEachRange) {
  for (const AdjustToolInfo& info : kAdjustTools) {
    SCOPED_TRACE(info.name);
    Wired wired(info.sliderMin, info.sliderMax, info.sliderDefault);
    wired.ruler.layout(kWidth);
    EXPECT_DOUBLE_EQ(wired.ruler.contentWidth(), (info.sliderMax - info.sliderMin) * 80.0);
    EXPECT_DOUBLE_EQ(wired.ruler.offsetFor(info.sliderMin), -kWidth / 2) << "the low end stands under the centre";
    for (float share : {0.0f, 0.13f, 0.5f, 0.77f, 1.0f}) {
      const float v = info.sliderMin + share * (info.sliderMax - info.sliderMin);
      EXPECT_NEAR(wired.ruler.valueAt(wired.ruler.offsetFor(v)), v, 1e-5f);
    }
    EXPECT_EQ(wired.ruler.valueAt(-1e6), info.sliderMin);
    EXPECT_EQ(wired.ruler.valueAt(1e6), info.sliderMax);
  }
}

TEST(AdjustRuler, AProgrammaticSetClampsWaitsForLayoutAndNeverReportsItself) {
  Wired wired(-3, 3, 0);
  wired.ruler.setValue(1.5f);
  EXPECT_TRUE(std::isnan(wired.offset)) << "no scroll before the first layout";
  wired.ruler.layout(kWidth);
  EXPECT_DOUBLE_EQ(wired.offset, 4.5 * 80 - kWidth / 2);
  wired.ruler.setValue(7);
  EXPECT_EQ(wired.ruler.value(), 3);
  wired.ruler.setValue(0);  // onto the click point
  EXPECT_EQ(wired.changes + wired.clicks + wired.trackingEnds, 0);
  EXPECT_FALSE(wired.ruler.isSetting());

  // Reconfiguring drops the layout until the next one.
  wired.offset = 0;
  wired.ruler.configure(0.5f, 2, 1);
  wired.ruler.setValue(1.2f);
  EXPECT_EQ(wired.offset, 0);
  wired.ruler.layout(kWidth);
  EXPECT_NEAR(wired.offset, 0.7 * 80 - kWidth / 2, 1e-4);
}

TEST(AdjustRuler, ClicksOnArrivalAndAgainOnlyAfterLeavingTheBand) {
  struct Case {
    const char* name;
    std::vector<float> drag;  // brightness, -1 to 1: click window 0.04, re-arm beyond 0.08
    int clicks;
  };
  const Case cases[] = {
      {"arrives once", {0.5f, 0.2f, 0.03f, 0.01f, -0.02f}, 1},
      {"back and forth inside the band", {0.5f, 0.01f, 0.06f, 0.0f, -0.07f, 0.02f}, 1},
      {"leaves beyond twice the window and comes back", {0.5f, 0.0f, 0.09f, 0.01f}, 2},
      {"leaves to the other side", {0.5f, 0.0f, -0.3f, 0.0f, 0.3f, 0.0f}, 3},
      {"never arrives", {0.5f, 0.041f, -0.041f}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Wired wired(-1, 1, 0);
    wired.ruler.layout(kWidth);
    for (float v : c.drag) wired.drag(v);
    EXPECT_EQ(wired.clicks, c.clicks);
    EXPECT_EQ(wired.changes, int(c.drag.size()));
    EXPECT_EQ(wired.trackingEnds, 0);
  }
}

TEST(AdjustRuler, StepsMoveAShareOfTheRangeAndEndTracking) {
  Wired wired(0.2f, 5, 1);
  wired.ruler.layout(kWidth);
  wired.ruler.setValue(4.9f);
  wired.ruler.step(0.05f);
  EXPECT_EQ(wired.ruler.value(), 5);
  wired.ruler.step(-0.05f);
  EXPECT_NEAR(wired.ruler.value(), 4.76f, 1e-5f);
  EXPECT_EQ(wired.changes, 2);
  EXPECT_EQ(wired.trackingEnds, 2);
  EXPECT_DOUBLE_EQ(wired.offset, wired.ruler.offsetFor(wired.ruler.value()));
}

TEST(AdjustRuler, DotsAndTheMark) {
  struct Case {
    float min, max, defaultValue;
    size_t count;        // all dots, the mark included
    double markX;        // NaN: no mark
  };
  const double none = std::numeric_limits<double>::quiet_NaN();
  const Case cases[] = {
      {-1, 1, 0, 101, 80},         // one dot a fiftieth
      {-3, 3, 0, 201, 240},        // held to 200
      {0.2f, 5, 1, 201, 33 * 4.8 / 200 * 80},  // the nearest dot within 0.6 of a step
      {0.45f, 0.55f, 0.5f, 21, 4},  // held to 20
      {-1, 1, 1.5f, 101, none},     // off the ruler
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.max - c.min);
    AdjustRuler ruler;
    ruler.configure(c.min, c.max, c.defaultValue);
    const RulerDots dots = ruler.dots();
    EXPECT_EQ(dots.dots.size() + (dots.mark ? 1 : 0), c.count);
    EXPECT_EQ(dots.dots.front().radius, AdjustRuler::kLargeDotRadius);
    EXPECT_EQ(dots.dots[1].radius, AdjustRuler::kSmallDotRadius);
    EXPECT_NEAR(dots.dots.back().x, (c.max - c.min) * 80.0, 1e-9);
    if (std::isnan(c.markX)) {
      EXPECT_FALSE(dots.mark);
    } else {
      ASSERT_TRUE(dots.mark);
      EXPECT_NEAR(dots.mark->x, c.markX, 1e-4);
    }
  }
}

TEST(AdjustRuler, Labels) {
  struct Case {
    float value, min, max, defaultValue;
    const char* text;
  };
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const Case cases[] = {
      {0.5f, -1, 1, 0, "  +50  "},      {-0.5f, -1, 1, 0, "  -50  "},    {0.004f, -1, 1, 0, "  0  "},
      {0.006f, -1, 1, 0, "  +1  "},     {1.5f, 0, 2, 1, "  +50  "},      {1.25f, -3, 3, 0, "  1.2  "},
      {1.26f, 0.5f, 2, 1, "  1.3  "},   {-7.64f, -10, 10, 0, "  -7.6  "}, {-37.6f, -100, 100, 0, "  -38  "},
      {250.4f, 0, 500, 0, "  250  "},
      {nan, 1, 1, 1, "  0  "},          {2.6f, 1, 1, 1, "  3  "},
  };
  for (const Case& c : cases)
    EXPECT_EQ(AdjustRuler::builtInLabel(c.value, c.min, c.max, c.defaultValue), c.text) << c.value;

  AdjustRuler ruler;
  ruler.customLabelFormatter = [](float v) { return "v=" + std::to_string(int(v)); };
  EXPECT_EQ(ruler.labelText(), "v=0") << "a formatter's text stands as it is";
}

TEST(AdjustPanelState, ModifiedMeansExactlyDifferentFromTheDefault) {
  EXPECT_EQ(modifiedAdjustTools(EditState::defaultState()), (std::array<bool, 16>{}));
  EditState state;
  state.gamma = std::nextafter(1.0f, 2.0f);
  state.temperature = 6500;
  state.vignetteRadius = 0;
  state.filterType = 7;  // not an adjustment
  const auto modified = modifiedAdjustTools(state);
  for (const AdjustToolInfo& info : kAdjustTools)
    EXPECT_EQ(modified[size_t(info.tool)], info.tool == AdjustTool::gamma || info.tool == AdjustTool::vignetteSize)
        << info.name;
}

}  // namespace
}  // namespace halvane::panels
