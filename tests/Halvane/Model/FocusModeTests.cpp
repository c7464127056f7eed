// The focus modes: their order, titles and the values each starts with.
#include <gtest/gtest.h>

#include <tuple>

#include "Halvane/Model/FocusMode.h"

using namespace halvane;

TEST(FocusMode, RawNumbersAreTheStoredFocusModeAndTitlesAreThePanels) {
  ASSERT_EQ(kAllFocusModes.size(), 11u);
  for (std::size_t i = 0; i < kAllFocusModes.size(); ++i) EXPECT_EQ(int(kAllFocusModes[i]), int(i));
  EXPECT_EQ(focusModeTitle(FocusMode::off).defaultText, "Off");
  EXPECT_EQ(focusModeTitle(FocusMode::irisBlades).key, "focusMode.iris");
  EXPECT_EQ(focusModeTitle(FocusMode::irisBlades).comment, "Iris blades focus mode");
  EXPECT_EQ(focusModeTitle(FocusMode::edgeProtect).defaultText, "Edge");
}

// Every mode recentres and makes the region round and sets its own values; a mode's own
// parameter (highlights, blades, depth, edge protection) is left alone by every other
// mode. The values themselves are the table's; the focus pass tests are built on them.
TEST(FocusMode, DefaultsSetTheModesRowAndLeaveTheRest) {
  EditState used{.focusCenterX = 0.1f, .focusCenterY = 0.9f, .focusAspect = 2, .focusBokehHighlights = 0.8f};
  used.irisBlades = 9, used.depthMix = 0.1f, used.edgeProtect = 0.9f;
  for (FocusMode mode : kAllFocusModes) {
    SCOPED_TRACE(focusModeTitle(mode).defaultText);
    EditState state = used;
    focusDefaults(state, mode);
    EXPECT_EQ(state.focusMode, used.focusMode);  // the caller sets the mode
    EXPECT_EQ(std::tie(state.focusCenterX, state.focusCenterY, state.focusAspect), std::tuple(0.5f, 0.5f, 1.0f));
    EXPECT_EQ(state.focusBokehHighlights == used.focusBokehHighlights, mode != FocusMode::bokeh);
    EXPECT_EQ(state.irisBlades == used.irisBlades, mode != FocusMode::irisBlades);
    EXPECT_EQ(state.depthMix == used.depthMix, mode != FocusMode::depth);
    EXPECT_EQ(state.edgeProtect == used.edgeProtect, mode != FocusMode::edgeProtect);
  }
}
