// The panels' behaviour without widgets: the adjust ruler (value and offset, the feedback
// guard, clicks and their hysteresis, dots and the mark, labels), the modified dots, the
// tool strip's selection steps, and the progress card's percent.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

#include "Halvane/Panels/AdjustPanelState.h"
#include "Halvane/Panels/AdjustRuler.h"
#include "Halvane/Panels/ExportProgressState.h"
#include "Halvane/Panels/ToolStripSelection.h"

namespace halvane::panels {
namespace {

constexpr double kWidth = 300, kNaN = std::numeric_limits<double>::quiet_NaN();

// A ruler wired as the widget wires it: a programmatic scroll comes straight back as a
// scroll callback, which the guard must swallow.
struct Wired {
  Wired(float min, float max, float defaultValue, bool laidOut = true) {
    ruler.configure(min, max, defaultValue);
    ruler.onScrollTo = [this](double to) { ruler.scrolled(offset = to); };
    ruler.onValueChanged = [this] { ++changes; };
    ruler.onTrackingEnded = [this] { ++trackingEnds; };
    ruler.onClick = [this] { ++clicks; };
    if (laidOut) ruler.layout(kWidth);
  }
  AdjustRuler ruler;
  double offset = kNaN;
  int changes = 0, trackingEnds = 0, clicks = 0;
};

TEST(AdjustRuler, ValuesAndOffsetsRoundTripOverEachRange) {
  for (const AdjustToolInfo& info : kAdjustTools) {
    SCOPED_TRACE(info.name);
    Wired wired(info.sliderMin, info.sliderMax, info.sliderDefault);
    const AdjustRuler& ruler = wired.ruler;
    EXPECT_DOUBLE_EQ(ruler.contentWidth(), (info.sliderMax - info.sliderMin) * 80.0);
    EXPECT_DOUBLE_EQ(ruler.offsetFor(info.sliderMin), -kWidth / 2) << "the low end stands under the centre";
    for (float share : {0.0f, 0.13f, 0.5f, 0.77f, 1.0f}) {
      const float v = info.sliderMin + share * (info.sliderMax - info.sliderMin);
      EXPECT_NEAR(ruler.valueAt(ruler.offsetFor(v)), v, 1e-5f);
    }
    EXPECT_EQ(ruler.valueAt(-1e6), info.sliderMin);
    EXPECT_EQ(ruler.valueAt(1e6), info.sliderMax);
  }
}

TEST(AdjustRuler, AProgrammaticSetClampsWaitsForLayoutAndNeverReportsItselfAndStepsEndTracking) {
  Wired w(-3, 3, 0, false);
  w.ruler.setValue(1.5f);
  EXPECT_TRUE(std::isnan(w.offset)) << "no scroll before the first layout";
  w.ruler.layout(kWidth);
  EXPECT_DOUBLE_EQ(w.offset, 4.5 * 80 - kWidth / 2);
  w.ruler.setValue(7);
  EXPECT_EQ(w.ruler.value(), 3);
  w.ruler.setValue(0);  // onto the click point
  EXPECT_TRUE(w.changes + w.clicks + w.trackingEnds == 0 && !w.ruler.isSetting());

  // Reconfiguring drops the layout until the next one.
  w.offset = 0;
  w.ruler.configure(0.5f, 2, 1);
  w.ruler.setValue(1.2f);
  EXPECT_EQ(w.offset, 0);
  w.ruler.layout(kWidth);
  EXPECT_NEAR(w.offset, 0.7 * 80 - kWidth / 2, 1e-4);

  // A step moves a share of the range, clamped, and ends tracking.
  w.ruler.configure(0.2f, 5, 1);
  w.ruler.layout(kWidth);
  w.ruler.setValue(4.9f);
  w.ruler.step(0.05f);
  EXPECT_EQ(w.ruler.value(), 5);
  w.ruler.step(-0.05f);
  EXPECT_NEAR(w.ruler.value(), 4.76f, 1e-5f);
  EXPECT_EQ(std::pair(w.changes, w.trackingEnds), std::pair(2, 2));
  EXPECT_DOUBLE_EQ(w.offset, w.ruler.offsetFor(w.ruler.value()));
}

TEST(AdjustRuler, ClicksOnArrivalAndAgainOnlyAfterLeavingTheBand) {
  // Brightness, -1 to 1: click window 0.04, re-arm beyond 0.08.
  const std::tuple<const char*, std::vector<float>, int> cases[] = {
      {"arrives once", {0.5f, 0.2f, 0.03f, 0.01f, -0.02f}, 1},
      {"back and forth inside the band", {0.5f, 0.01f, 0.06f, 0.0f, -0.07f, 0.02f}, 1},
      {"leaves beyond twice the window and comes back", {0.5f, 0.0f, 0.09f, 0.01f}, 2},
      {"leaves to the other side", {0.5f, 0.0f, -0.3f, 0.0f, 0.3f, 0.0f}, 3},
      {"never arrives", {0.5f, 0.041f, -0.041f}, 0},
  };
  for (const auto& [name, drag, clicks] : cases) {
    Wired w(-1, 1, 0);
    for (float v : drag) w.ruler.scrolled(w.ruler.offsetFor(v));
    EXPECT_EQ(std::tuple(w.clicks, w.changes, w.trackingEnds), std::tuple(clicks, int(drag.size()), 0)) << name;
  }
}

TEST(AdjustRuler, DotsAndTheMark) {
  // min, max, default, all dots with the mark, the mark's x (NaN: no mark).
  const std::tuple<float, float, float, size_t, double> cases[] = {
      {-1, 1, 0, 101, 80},                     // one dot a fiftieth
      {-3, 3, 0, 201, 240},                    // held to 200
      {0.2f, 5, 1, 201, 33 * 4.8 / 200 * 80},  // the nearest dot within 0.6 of a step
      {0.45f, 0.55f, 0.5f, 21, 4},             // held to 20
      {-1, 1, 1.5f, 101, kNaN},                // off the ruler
  };
  for (const auto& [min, max, defaultValue, count, markX] : cases) {
    SCOPED_TRACE(max - min);
    AdjustRuler ruler;
    ruler.configure(min, max, defaultValue);
    const RulerDots dots = ruler.dots();
    EXPECT_EQ(dots.dots.size() + (dots.mark ? 1 : 0), count);
    EXPECT_EQ(dots.dots.front().radius, AdjustRuler::kLargeDotRadius);
    EXPECT_EQ(dots.dots[1].radius, AdjustRuler::kSmallDotRadius);
    EXPECT_NEAR(dots.dots.back().x, (max - min) * 80.0, 1e-9);
    ASSERT_EQ(dots.mark.has_value(), !std::isnan(markX));
    if (dots.mark) { EXPECT_NEAR(dots.mark->x, markX, 1e-4); }
  }
}

TEST(AdjustRuler, Labels) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  // value, min, max, default, text
  const std::tuple<float, float, float, float, const char*> cases[] = {
      {0.5f, -1, 1, 0, "  +50  "},    {-0.5f, -1, 1, 0, "  -50  "},     {0.004f, -1, 1, 0, "  0  "},
      {0.006f, -1, 1, 0, "  +1  "},   {1.5f, 0, 2, 1, "  +50  "},       {1.25f, -3, 3, 0, "  1.2  "},
      {1.26f, 0.5f, 2, 1, "  1.3  "}, {-7.64f, -10, 10, 0, "  -7.6  "}, {-37.6f, -100, 100, 0, "  -38  "},
      {250.4f, 0, 500, 0, "  250  "}, {nan, 1, 1, 1, "  0  "},          {2.6f, 1, 1, 1, "  3  "},
  };
  for (const auto& [value, min, max, defaultValue, text] : cases)
    EXPECT_EQ(AdjustRuler::builtInLabel(value, min, max, defaultValue), text) << value;
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

TEST(ToolStripSelection, ChangesOfEachSelectionStep) {
  using Changes = std::vector<ToolStripSelection::ButtonChange>;
  using enum MediaTool;
  constexpr double kRaised = ToolStripSelection::kSelectedScale;
  ToolStripSelection strip;
  EXPECT_EQ(strip.selectTool(std::nullopt), Changes{}) << "no tool over no selection does nothing";
  EXPECT_FALSE(strip.selectedTool());
  EXPECT_EQ(strip.selectTool(filter), (Changes{{filter, true, kRaised}}));
  EXPECT_EQ(strip.selectTool(focus), (Changes{{filter, false, 1.0}, {focus, true, kRaised}}));
  // Reselecting runs both steps on one button, the raise last, so it stays selected.
  EXPECT_EQ(strip.selectTool(focus), (Changes{{focus, false, 1.0}, {focus, true, kRaised}}));
  EXPECT_EQ(strip.selectedTool(), focus);
  EXPECT_EQ(strip.selectTool(std::nullopt), (Changes{{focus, false, 1.0}}));
  EXPECT_FALSE(strip.selectedTool());
}

TEST(ExportProgressState, ClampsAndTruncatesThePercent) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::tuple<double, double, const char*> cases[] = {
      {-0.2, 0.0, "0%"},  {0.0, 0.0, "0%"},   {0.005, 0.005, "0%"}, {0.5, 0.5, "50%"}, {0.999, 0.999, "99%"},
      {1.0, 1.0, "100%"}, {1.5, 1.0, "100%"}, {inf, 1.0, "100%"},   {-inf, 0.0, "0%"}, {kNaN, 0.0, "0%"},
  };
  for (const auto& [value, shown, text] : cases) {
    ExportProgressState state;
    state.setProgress(value);
    EXPECT_EQ(std::pair(state.progress(), state.percentText()), std::pair(shown, std::string(text))) << value;
  }
}

}  // namespace
}  // namespace halvane::panels
