// The chrome's behaviour without widgets: tool selection and its button changes, the
// video-only tools, and the progress card's clamping, truncation and single dismissal.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Halvane/Panels/ExportProgressState.h"
#include "Halvane/Panels/ToolStripSelection.h"

namespace halvane::panels {
namespace {

using Change = ToolStripSelection::ButtonChange;
constexpr double kRaised = ToolStripSelection::kSelectedScale;

TEST(ToolStripSelection, ChangesOfEachSelectionStep) {
  ToolStripSelection strip;
  EXPECT_EQ(strip.selectTool(std::nullopt), std::vector<Change>{}) << "no tool over no selection does nothing";
  EXPECT_FALSE(strip.selectedTool());

  EXPECT_EQ(strip.selectTool(MediaTool::filter), (std::vector<Change>{{MediaTool::filter, true, kRaised}}));
  EXPECT_EQ(strip.selectTool(MediaTool::focus),
            (std::vector<Change>{{MediaTool::filter, false, 1.0}, {MediaTool::focus, true, kRaised}}));
  // Reselecting runs both steps on one button, the raise last, so it stays selected.
  EXPECT_EQ(strip.selectTool(MediaTool::focus),
            (std::vector<Change>{{MediaTool::focus, false, 1.0}, {MediaTool::focus, true, kRaised}}));
  EXPECT_EQ(strip.selectedTool(), MediaTool::focus);

  EXPECT_EQ(strip.selectTool(std::nullopt), (std::vector<Change>{{MediaTool::focus, false, 1.0}}));
  EXPECT_FALSE(strip.selectedTool());
}

TEST(ToolStripSelection, VideoToolsHideAndReturnInOrder) {
  ToolStripSelection strip;
  EXPECT_EQ(strip.visibleTools(), std::vector<MediaTool>(kAllMediaTools.begin(), kAllMediaTools.end()));
  strip.setVideoToolsVisible(false);
  EXPECT_EQ(strip.visibleTools(),
            (std::vector<MediaTool>{MediaTool::transform, MediaTool::filter, MediaTool::adjust, MediaTool::focus}));
  EXPECT_FALSE(strip.isVisible(MediaTool::trim));
  EXPECT_FALSE(strip.isVisible(MediaTool::audio));
  strip.setVideoToolsVisible(true);
  EXPECT_EQ(strip.visibleTools().size(), kAllMediaTools.size());
}

TEST(ExportProgressState, ClampsAndTruncatesThePercent) {
  struct Case {
    double value;
    double shown;
    const char* text;
  };
  const Case cases[] = {
      {-0.2, 0.0, "0%"},   {0.0, 0.0, "0%"},      {0.005, 0.005, "0%"},     {0.5, 0.5, "50%"},
      {0.999, 0.999, "99%"}, {1.0, 1.0, "100%"}, {1.5, 1.0, "100%"},
      {std::numeric_limits<double>::infinity(), 1.0, "100%"},
      {-std::numeric_limits<double>::infinity(), 0.0, "0%"},
      {std::numeric_limits<double>::quiet_NaN(), 0.0, "0%"},
  };
  for (const Case& c : cases) {
    ExportProgressState state;
    state.setProgress(c.value);
    EXPECT_DOUBLE_EQ(state.progress(), c.shown) << c.value;
    EXPECT_EQ(state.percentText(), c.text) << c.value;
  }
}

TEST(ExportProgressState, FirstValueTurnsIndeterminateIntoDeterminate) {
  ExportProgressState state;
  EXPECT_FALSE(state.isIndeterminate()) << "determinate is the default";
  EXPECT_EQ(state.percentText(), "0%");

  state.setIndeterminate();
  EXPECT_TRUE(state.spinnerRunning());
  EXPECT_FALSE(state.showsProgressBar() || state.showsPercent() || state.showsCancel());

  state.setProgress(0.25);
  EXPECT_FALSE(state.isIndeterminate());
  EXPECT_FALSE(state.spinnerRunning());
  EXPECT_TRUE(state.showsProgressBar() && state.showsPercent() && state.showsCancel());
  state.setProgress(0.75);
  EXPECT_FALSE(state.isIndeterminate()) << "never back to indeterminate by itself";
}

TEST(ExportProgressState, DismissesOnce) {
  ExportProgressState state;
  EXPECT_TRUE(state.beginDismiss());
  EXPECT_TRUE(state.isDismissing());
  EXPECT_FALSE(state.beginDismiss());
  EXPECT_FALSE(state.beginDismiss());
}

}  // namespace
}  // namespace halvane::panels
