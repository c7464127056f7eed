// The focus modes: their order, titles and the values each starts with.
#include <gtest/gtest.h>

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

// Every mode recentres and makes the region round, sets its own row, and leaves what
// its row does not name as it was.
TEST(FocusMode, DefaultsSetTheModesRowAndLeaveTheRest) {
  EditState used;
  used.focusCenterX = 0.1f, used.focusCenterY = 0.9f, used.focusAspect = 2;
  used.focusRadius = 0.6f, used.focusFeather = 0.9f, used.focusAngle = 45, used.focusStrength = 0.2f;
  used.focusBokehHighlights = 0.8f, used.irisBlades = 9, used.depthMix = 0.1f, used.edgeProtect = 0.9f;

  struct Row {
    FocusMode mode;
    float radius, feather, angle, strength;  // < 0: left as it was
  };
  const Row rows[] = {
      {FocusMode::off, -1, -1, -1, -1},          {FocusMode::radial, 0.25f, 0.5f, 0, 0.75f},
      {FocusMode::linear, 0.15f, 0.5f, 0, 0.75f}, {FocusMode::mirrored, 0.15f, 0.5f, 0, 0.75f},
      {FocusMode::gaussian, -1, -1, -1, 0.5f},   {FocusMode::zoom, -1, -1, -1, 0.5f},
      {FocusMode::motion, -1, -1, 0, 0.5f},      {FocusMode::bokeh, 0.25f, 0.5f, 0, 0.75f},
      {FocusMode::irisBlades, 0.25f, 0.5f, 0, 0.75f}, {FocusMode::depth, 0.25f, 0.5f, 0, 0.75f},
      {FocusMode::edgeProtect, -1, -1, -1, 0.5f},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(focusModeTitle(row.mode).defaultText);
    EditState state = used;
    focusDefaults(state, row.mode);
    EXPECT_EQ(state.focusMode, used.focusMode);  // the caller sets the mode
    EXPECT_EQ(state.focusCenterX, 0.5f);
    EXPECT_EQ(state.focusCenterY, 0.5f);
    EXPECT_EQ(state.focusAspect, 1.0f);
    EXPECT_EQ(state.focusRadius, row.radius < 0 ? used.focusRadius : row.radius);
    EXPECT_EQ(state.focusFeather, row.feather < 0 ? used.focusFeather : row.feather);
    EXPECT_EQ(state.focusAngle, row.angle < 0 ? used.focusAngle : row.angle);
    EXPECT_EQ(state.focusStrength, row.strength < 0 ? used.focusStrength : row.strength);
    EXPECT_EQ(state.focusBokehHighlights, row.mode == FocusMode::bokeh ? 0.3f : used.focusBokehHighlights);
    EXPECT_EQ(state.irisBlades, row.mode == FocusMode::irisBlades ? 6 : used.irisBlades);
    EXPECT_EQ(state.depthMix, row.mode == FocusMode::depth ? 0.5f : used.depthMix);
    EXPECT_EQ(state.edgeProtect, row.mode == FocusMode::edgeProtect ? 0.5f : used.edgeProtect);
  }
}
