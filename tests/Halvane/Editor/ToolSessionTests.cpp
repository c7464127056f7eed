// Tool sessions: what reaches the history, undo around them, the host's calls, guards,
// transitions and the views each tool shows; the adjust tool's slider, tool grid,
// temperature label and presets and resets against workingState.
#include "EditorSessionFakes.h"
#include "Halvane/Panels/AdjustPanelState.h"

namespace halvane::editor_test {
namespace {

using ToolSessionTest = EditorSessionTest;
using AdjustSessionTest = EditorSessionTest;

TEST_F(ToolSessionTest, OnlyAConfirmedChangeReachesTheHistory) {
  // exposures set one after the other inside the session, confirmed, undo and redo sizes, shown
  const std::tuple<const char*, std::vector<float>, bool, size_t, size_t, float> cases[] = {
      {"confirm without a change", {}, true, 0, 1, 0},
      {"a change taken back", {1, 0}, true, 0, 1, 0},
      {"many changes, one entry", {0.1f, 0.2f, 0.3f}, true, 1, 0, 0.3f},
      {"cancel after many changes", {1, 2, -1}, false, 0, 1, 0},
  };
  for (const auto& [name, exposures, confirm, undoSize, redoSize, shown] : cases) {
    SCOPED_TRACE(name);
    auto session = openPhoto();
    commit(*session, withExposure(0.5f));
    session->undoTapped();  // a redo stack to keep or clear
    session->enterFilterTool();
    for (float exposure : exposures) {
      session->setWorkingState(withExposure(exposure));
      session->applyPreviewState(session->workingState());
    }
    confirm ? panel(MediaTool::filter).onConfirm() : panel(MediaTool::filter).onCancel();
    const auto& history = session->editHistory();
    EXPECT_EQ(std::tuple(history.undoStack().size(), history.redoStack().size(), undoRedoBar->undoEnabled,
                         undoRedoBar->redoEnabled),
              std::tuple(undoSize, redoSize, undoSize > 0, redoSize > 0));
    EXPECT_EQ(previewState(), withExposure(shown));
  }
}

TEST_F(ToolSessionTest, UndoAroundAToolSession) {
  // After a cancel, undo goes to the step before the session.
  auto session = openPhoto();
  commit(*session, withExposure(0.5f));
  session->enterFocusTool();
  session->setWorkingState(withExposure(2));
  panel(MediaTool::focus).onCancel();
  EXPECT_EQ(previewState(), withExposure(0.5f));
  session->undoTapped();
  EXPECT_EQ(previewState(), EditState{});
  session->redoTapped();
  EXPECT_EQ(previewState(), withExposure(0.5f));

  // An undo during the enter transition is served, and the tool keeps its entry state:
  // confirming without a change compares with that, not with the history's.
  screen->window = true;
  session->enterAdjustTool();
  session->undoTapped();
  EXPECT_EQ(previewState(), EditState{});
  EXPECT_EQ(session->stateBeforeAdjust(), withExposure(0.5f));
  panel(MediaTool::adjust).onConfirm();
  EXPECT_EQ(session->editHistory().currentState(), EditState{});
  EXPECT_TRUE(session->editHistory().canRedo());
}

TEST_F(ToolSessionTest, EveryToolTellsTheHostAndEndsInIdle) {
  auto session = openVideo(tempFolder / "clip.mov");
  videoLoader->video->loaded = true;
  for (MediaTool tool : kAllMediaTools) {
    for (bool applied : {true, false}) {
      const std::string name(mediaToolInfo(tool).rawValue);
      SCOPED_TRACE(name);
      delegate->calls.clear();
      session->toolSelected(tool);
      ASSERT_EQ(session->activeTool(), tool);
      EXPECT_FALSE(delegate->toolWasActiveAtOpen);  // told before any state is touched
      EXPECT_FALSE(toolStrip->interactive);
      EXPECT_EQ(screen->previewBottom, tool);
      for (MediaTool other : kAllMediaTools) EXPECT_EQ(panelHidden(other), other != tool);
      EXPECT_TRUE(topBar->hidden);  // no window: at once
      applied ? panel(tool).onConfirm() : panel(tool).onCancel();
      EXPECT_FALSE(session->isToolActive() || toolStrip->selected || screen->previewBottom);
      EXPECT_TRUE(panelHidden(tool) && toolStrip->interactive);
      EXPECT_FALSE(topBar->hidden || undoRedoBar->hidden || toolStrip->hidden);
      EXPECT_EQ(delegate->calls,
                (std::vector<std::string>{"open " + name, "close " + name + (applied ? " applied" : "")}));
    }
  }
}

TEST_F(ToolSessionTest, AGuardThatFailsChangesNothing) {
  for (const auto& [name, video, tool] :
       {std::tuple("trim on a photo", false, MediaTool::trim), std::tuple("audio on a photo", false, MediaTool::audio),
        std::tuple("trim before the track's properties", true, MediaTool::trim)}) {
    SCOPED_TRACE(name);
    auto session = video ? openVideo(tempFolder / "clip.mov") : openPhoto();
    session->toolSelected(tool);
    EXPECT_TRUE(!session->isToolActive() && delegate->calls.empty() && panelHidden(tool) && toolStrip->interactive);
  }
}

TEST_F(ToolSessionTest, ASecondToolDuringTheEnterTransitionDoesNothingAndInterruptionsHideNothing) {
  auto session = openPhoto();
  screen->window = true;
  session->toolSelected(MediaTool::filter);
  ASSERT_TRUE(screen->transitions.at(0)->running);
  delegate->calls.clear();
  session->toolSelected(MediaTool::adjust);
  EXPECT_TRUE(delegate->calls.empty());
  EXPECT_EQ(session->activeTool(), MediaTool::filter);
  EXPECT_TRUE(panelHidden(MediaTool::adjust));
  EXPECT_EQ(screen->transitions.size(), 1u);

  panel(MediaTool::filter).onCancel();  // interrupts the enter
  session->enterFilterTool();           // interrupts the exit
  ASSERT_EQ(screen->transitions.size(), 3u);
  EXPECT_FALSE(screen->transitions[0]->running || screen->transitions[1]->running);
  EXPECT_FALSE(topBar->hidden || undoRedoBar->hidden || toolStrip->hidden || panelHidden(MediaTool::filter));
  screen->transitions[2]->end(true);  // the last one decides
  EXPECT_TRUE(topBar->hidden && undoRedoBar->hidden && toolStrip->hidden && !panelHidden(MediaTool::filter));
  EXPECT_EQ(panelAlpha(MediaTool::filter), 1);
}

TEST_F(ToolSessionTest, AnExitFadesAndThenHidesTheToolsOwnViews) {
  const std::pair<MediaTool, std::vector<Fake<FadingView>*>> cases[] = {
      {MediaTool::adjust, {adjustSliderBar.get(), adjustPresetRow.get()}},
      {MediaTool::filter, {filterSliderBar.get()}},
      {MediaTool::focus, {focusControls.get()}},
      {MediaTool::transform, {}}};
  auto session = openPhoto();
  screen->window = true;
  for (const auto& [tool, side] : cases) {
    SCOPED_TRACE(mediaToolInfo(tool).rawValue);
    session->enterTool(tool);
    for (auto* view : side) view->hidden = false;
    screen->transitions.back()->end(true);
    panel(tool).onConfirm();
    EXPECT_EQ(std::pair(topBar->alpha, panelAlpha(tool)), std::pair(1.0, 0.0));
    for (auto* view : side) EXPECT_EQ(view->alpha, 0);
    EXPECT_FALSE(panelHidden(tool));
    screen->transitions.back()->end(true);
    EXPECT_TRUE(panelHidden(tool));
    for (auto* view : side) EXPECT_TRUE(view->hidden);
  }
}

TEST_F(ToolSessionTest, TransformShowsTheWholeFrameWhileTheCropIsEdited) {
  auto session = openPhoto();
  const EditState cropped{.cropRect = Rect{0.25, 0.25, 0.5, 0.5}};
  commit(*session, cropped, MediaTool::transform);
  session->userZoom = 3;
  session->enterTransformTool();
  EXPECT_EQ(
      std::tuple(previewState().cropRect, session->workingState().cropRect, cropOverlay->hidden, session->userZoom),
      std::tuple(Rect{0, 0, 1, 1}, cropped.cropRect, false, 1.0));
  session->previewView()->displayOverscale = 2;
  panel(MediaTool::transform).onCancel();
  EXPECT_EQ(std::tuple(previewState(), cropOverlay->hidden, session->previewView()->displayOverscale),
            std::tuple(cropped, true, 1.0f));
}

TEST_F(ToolSessionTest, AVideoShowsTheStateAndPlaysAtItsVolume) {
  auto session = openVideo(tempFolder / "clip.mov");
  EditState state{.audioVolume = 0.4f};
  session->applyPreviewState(state);
  EXPECT_EQ(videoLoader->video->shown, state);
  EXPECT_FLOAT_EQ(videoLoader->video->volume, 0.4f);
  state.audioMuted = true;
  session->applyPreviewState(state);
  EXPECT_EQ(videoLoader->video->volume, 0);
}

TEST_F(ToolSessionTest, AHostMayLetGoOfTheSessionInsideItsCall) {
  // The session finishes its own steps first (checked by the memory tools), then goes.
  const std::function<void(EditorSession&)> actions[] = {
      [this](EditorSession& session) {
        session.enterAdjustTool();
        panel(MediaTool::adjust).onConfirm();
      },
      [](EditorSession& session) { session.shareTapped(); },
      [](EditorSession& session) { session.closeTapped(); },
  };
  for (const auto& action : actions) {
    auto session = openPhoto();
    std::weak_ptr<EditorSession> weak = session;
    delegate->onFinishOrClose = [&session] { session.reset(); };
    action(*session);
    EXPECT_TRUE(weak.expired() && !topBar->hidden && !toolStrip->hidden);
  }
  delegate->onFinishOrClose = nullptr;
}

TEST(KelvinText, NeutralHasNoMiddlePartAndSignsComeFromTheRoundedValue) {
  const std::pair<float, const char*> cases[] = {
      {0, "  6500 K  "},           {0.4f, "  6516 K  "},       {50, "  +50 · 8375 K  "},   {25, "  +25 · 7469 K  "},
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
    auto session = openPhoto();
    commit(*session, {.temperature = kelvin});
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
    EXPECT_EQ(std::pair(adjustSlider->value(), previewState().temperature), std::pair(0.0f, 6500.0f));
    adjustPanel->onToolSelected(AdjustTool::tint);
    EXPECT_TRUE(adjustPresetRow->hidden && !adjustSlider->label);
    adjustPanel->onCancel();
  }
}

TEST_F(AdjustSessionTest, ResetsRestoreTheDefaultsExactlyAndLeaveOtherFieldsAlone) {
  // Every adjustment moved, and fields of other tools that the resets must keep.
  const EditState kept{.filterType = 12, .focusMode = 3, .cropRect = Rect{0.1f, 0.1f, 0.5f, 0.5f}};
  EditState edited = kept;
  for (const AdjustToolInfo& info : kAdjustTools) edited.*info.field = info.sliderMax * 0.3f + 0.1f;
  edited.temperature = 8000;
  auto session = openPhoto();
  commit(*session, edited);
  session->enterAdjustTool();

  adjustPanel->onToolSelected(AdjustTool::temperature);
  adjustSlider->onResetTapped();
  EXPECT_EQ(std::tuple(session->workingState().temperature, adjustSlider->value(), adjustPanel->dotsFrom->temperature),
            std::tuple(6500.0f, 0.0f, 6500.0f));

  adjustPanel->onToolSelected(AdjustTool::contrast);
  adjustPanel->onResetAll();
  EXPECT_EQ(std::pair(session->workingState(), previewState()), std::pair(kept, kept));
  EXPECT_EQ(adjustSlider->value(), 1) << "the selected tool's slider goes to its default";
  EXPECT_EQ(adjustPanel->dotsFrom, kept);
  EXPECT_EQ(session->editHistory().undoStack().size(), 1u);
}

}  // namespace
}  // namespace halvane::editor_test
