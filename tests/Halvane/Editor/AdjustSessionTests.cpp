// The adjust tool's session: the slider and the tool grid against workingState, the
// temperature's label and presets, the resets, and what reaches the history.
#include "EditorSessionFakes.h"
#include "Halvane/Panels/AdjustPanelState.h"

namespace halvane::editor_test {
namespace {

using AdjustSessionTest = EditorSessionTest;

TEST(KelvinText, NeutralHasNoMiddlePartAndSignsComeFromTheRoundedValue) {
  const std::pair<float, const char*> cases[] = {
      {0, "  6500 K  "},         {0.4f, "  6516 K  "},  {50, "  +50 · 8375 K  "}, {25, "  +25 · 7469 K  "},
      {-100, "  -100 · 2000 K  "}, {-0.6f, "  -1 · 6476 K  "}, {100, "  +100 · 10000 K  "}};
  for (const auto& [slider, text] : cases) EXPECT_EQ(kelvinText(slider), text) << slider;
}

TEST_F(AdjustSessionTest, ASliderDragReachesThePreviewAndOnlyAConfirmReachesTheHistory) {
  auto session = openPhoto();
  commit(*session, withExposure(1));
  session->enterAdjustTool();
  EXPECT_EQ(adjustPanel->dotsFrom, withExposure(1));
  EXPECT_TRUE(!adjustPanel->selected && adjustSliderBar->hidden);

  adjustPanel->onToolSelected(AdjustTool::exposure);
  EXPECT_EQ(adjustSlider->range, (std::array<float, 3>{-3, 3, 0}));
  EXPECT_EQ(adjustSlider->value(), 1);
  EXPECT_TRUE(!adjustSliderBar->hidden && adjustPresetRow->hidden && !adjustSlider->label);

  adjustSlider->drag(2.5f);
  EXPECT_EQ(previewState().exposure, 2.5f);
  EXPECT_EQ(adjustPanel->dotsFrom, withExposure(1)) << "the markers wait for the end of the drag";
  adjustSlider->onTrackingEnded();
  EXPECT_EQ(adjustPanel->dotsFrom, withExposure(2.5f));
  EXPECT_EQ(session->editHistory().undoStack().size(), 1u);

  // Deselecting hides the slider and keeps the value.
  adjustPanel->onToolSelected(std::nullopt);
  EXPECT_TRUE(adjustSliderBar->hidden);
  adjustSlider->drag(-3);
  EXPECT_EQ(session->workingState().exposure, 2.5f) << "a slider without a tool writes nothing";

  adjustPanel->onConfirm();
  EXPECT_EQ(session->editHistory().undoStack().size(), 2u);
  EXPECT_EQ(session->editHistory().currentState(), withExposure(2.5f));
  session->enterAdjustTool();
  adjustPanel->onToolSelected(AdjustTool::exposure);
  adjustSlider->drag(0);
  adjustPanel->onCancel();
  EXPECT_EQ(session->editHistory().undoStack().size(), 2u);
  EXPECT_EQ(previewState(), withExposure(2.5f));
  EXPECT_FALSE(session->adjustSession().selectedTool()) << "leaving the tool forgets the selection";
}

TEST_F(AdjustSessionTest, TemperatureRunsOnItsCurveWithPresets) {
  // The committed Kelvin, and where the slider opens.
  for (const auto& [kelvin, slider] : {std::pair(6500.0f, 0.0f), {2000, -100}, {1000, -100}, {10000, 100}}) {
    SCOPED_TRACE(kelvin);
    EditState state;
    state.temperature = kelvin;
    auto session = openPhoto();
    commit(*session, state);
    session->enterAdjustTool();
    adjustPanel->onToolSelected(AdjustTool::temperature);
    EXPECT_EQ(adjustSlider->value(), slider);
    ASSERT_TRUE(adjustSlider->label);
    EXPECT_EQ(adjustSlider->label(slider), kelvinText(slider));
    EXPECT_FALSE(adjustPresetRow->hidden);

    for (int preset : panels::kKelvinPresets) {
      adjustSlider->onKelvinPresetTapped(preset);
      EXPECT_NEAR(session->workingState().temperature, preset, 0.5f);
      EXPECT_NEAR(kelvinFromSlider(adjustSlider->value()), preset, 0.5f);
    }
    adjustSlider->onKelvinPresetTapped(6500);
    EXPECT_EQ(adjustSlider->value(), 0);
    EXPECT_EQ(previewState().temperature, 6500);
    adjustPanel->onToolSelected(AdjustTool::tint);
    EXPECT_TRUE(adjustPresetRow->hidden && !adjustSlider->label);
    adjustPanel->onCancel();
  }
}

TEST_F(AdjustSessionTest, ResetsRestoreTheDefaultsExactlyAndLeaveOtherFieldsAlone) {
  EditState edited;
  for (const AdjustToolInfo& info : kAdjustTools) edited.*info.field = info.sliderMax * 0.3f + 0.1f;
  edited.temperature = 8000;
  edited.filterType = 12;
  edited.focusMode = 3;
  edited.cropRect = Rect{0.1f, 0.1f, 0.5f, 0.5f};
  auto session = openPhoto();
  commit(*session, edited);
  session->enterAdjustTool();

  adjustPanel->onToolSelected(AdjustTool::temperature);
  adjustSlider->onResetTapped();
  EXPECT_EQ(session->workingState().temperature, 6500);
  EXPECT_EQ(adjustSlider->value(), 0);
  EXPECT_EQ(adjustPanel->dotsFrom->temperature, 6500);

  adjustPanel->onToolSelected(AdjustTool::contrast);
  adjustPanel->onResetAll();
  EditState expected = EditState::defaultState();
  expected.filterType = 12;
  expected.focusMode = 3;
  expected.cropRect = edited.cropRect;
  EXPECT_EQ(session->workingState(), expected);
  EXPECT_EQ(previewState(), expected);
  EXPECT_EQ(adjustSlider->value(), 1) << "the selected tool's slider goes to its default";
  EXPECT_EQ(adjustPanel->dotsFrom, expected);
  EXPECT_EQ(session->editHistory().undoStack().size(), 1u);
}

}  // namespace
}  // namespace halvane::editor_test
