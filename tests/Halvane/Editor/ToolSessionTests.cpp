#include "EditorSessionFakes.h"

namespace halvane::editor_test {
namespace {

using ToolSessionTest = EditorSessionTest;

TEST_F(ToolSessionTest, ConfirmWithoutAChangeAddsNoStepAndKeepsTheRedoStack) {
  auto session = openPhoto();
  commit(*session, withExposure(0.5f));
  session->undoTapped();
  ASSERT_EQ(session->editHistory().redoStack().size(), 1u);

  for (MediaTool tool : {MediaTool::transform, MediaTool::filter, MediaTool::adjust, MediaTool::focus}) {
    session->enterTool(tool);
    panel(tool).onConfirm();
    EXPECT_TRUE(session->editHistory().undoStack().empty()) << mediaToolInfo(tool).rawValue;
    EXPECT_EQ(session->editHistory().redoStack().size(), 1u);
    EXPECT_TRUE(undoRedoBar->redoEnabled);
  }
}

TEST_F(ToolSessionTest, AChangeMadeAndTakenBackIsNoChange) {
  auto session = openPhoto();
  session->enterAdjustTool();
  session->setWorkingState(withExposure(1));
  session->applyPreviewState(session->workingState());
  session->setWorkingState(EditState{});
  panel(MediaTool::adjust).onConfirm();
  EXPECT_FALSE(session->editHistory().canUndo());
  EXPECT_FALSE(undoRedoBar->undoEnabled);
}

TEST_F(ToolSessionTest, ConfirmPushesOnceAndClearsTheRedoStack) {
  auto session = openPhoto();
  commit(*session, withExposure(0.5f));
  session->undoTapped();
  session->enterFilterTool();
  for (float exposure : {0.1f, 0.2f, 0.3f}) session->setWorkingState(withExposure(exposure));
  panel(MediaTool::filter).onConfirm();
  EXPECT_EQ(session->editHistory().undoStack().size(), 1u);
  EXPECT_FALSE(session->editHistory().canRedo());
  EXPECT_EQ(previewState(), withExposure(0.3f));
  EXPECT_TRUE(undoRedoBar->undoEnabled);
  EXPECT_FALSE(undoRedoBar->redoEnabled);
}

TEST_F(ToolSessionTest, CancelShowsTheStateAtEntryAndUndoGoesToTheStepBeforeIt) {
  auto session = openPhoto();
  commit(*session, withExposure(0.5f));
  session->enterFocusTool();
  for (float exposure : {1.0f, 2.0f, -1.0f}) {
    session->setWorkingState(withExposure(exposure));
    session->applyPreviewState(session->workingState());
  }
  panel(MediaTool::focus).onCancel();
  EXPECT_EQ(previewState(), withExposure(0.5f));
  EXPECT_EQ(session->editHistory().undoStack().size(), 1u);
  session->undoTapped();
  EXPECT_EQ(previewState(), EditState{});
  EXPECT_TRUE(undoRedoBar->redoEnabled);
  session->redoTapped();
  EXPECT_EQ(previewState(), withExposure(0.5f));
}

TEST_F(ToolSessionTest, EnteringTellsTheHostFirstAndEveryToolEndsInIdle) {
  auto session = openVideo(tempFolder / "clip.mov");
  videoLoader->video->loaded = true;
  for (MediaTool tool : kAllMediaTools) {
    for (bool applied : {true, false}) {
      delegate->calls.clear();
      session->toolSelected(tool);
      ASSERT_EQ(session->activeTool(), tool);
      EXPECT_FALSE(delegate->toolWasActiveAtOpen);
      EXPECT_FALSE(toolStrip->interactive);
      EXPECT_EQ(screen->previewBottom, tool);
      for (MediaTool other : kAllMediaTools) EXPECT_EQ(panel(other).hidden, other != tool);
      EXPECT_TRUE(topBar->hidden);  // no window: at once
      applied ? panel(tool).onConfirm() : panel(tool).onCancel();
      EXPECT_FALSE(session->isToolActive());
      EXPECT_TRUE(panel(tool).hidden);
      EXPECT_FALSE(topBar->hidden || undoRedoBar->hidden || toolStrip->hidden);
      EXPECT_EQ(topBar->alpha, 1);
      EXPECT_TRUE(toolStrip->interactive);
      EXPECT_FALSE(toolStrip->selected);
      EXPECT_FALSE(screen->previewBottom);
      const std::string name(mediaToolInfo(tool).rawValue);
      EXPECT_EQ(delegate->calls, (std::vector<std::string>{"open " + name, "close " + name + (applied ? " applied" : "")}));
    }
  }
}

TEST_F(ToolSessionTest, AGuardThatFailsChangesNothing) {
  struct Case {
    const char* name;
    bool video;
    bool trackLoaded;
    MediaTool tool;
  };
  const Case cases[] = {
      {"trim on a photo", false, false, MediaTool::trim},
      {"audio on a photo", false, false, MediaTool::audio},
      {"trim before the track's properties", true, false, MediaTool::trim},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    delegate->calls.clear();
    auto session = c.video ? openVideo(tempFolder / "clip.mov") : openPhoto();
    videoLoader->video->loaded = c.trackLoaded;
    session->toolSelected(c.tool);
    EXPECT_FALSE(session->isToolActive());
    EXPECT_TRUE(delegate->calls.empty());
    EXPECT_TRUE(panel(c.tool).hidden);
    EXPECT_TRUE(toolStrip->interactive);
  }
}

TEST_F(ToolSessionTest, ASecondToolDuringTheEnterTransitionDoesNothing) {
  auto session = openPhoto();
  screen->window = true;
  session->toolSelected(MediaTool::filter);
  ASSERT_EQ(screen->transitions.size(), 1u);
  ASSERT_TRUE(screen->transitions[0]->running);
  delegate->calls.clear();
  session->toolSelected(MediaTool::adjust);
  EXPECT_TRUE(delegate->calls.empty());
  EXPECT_EQ(session->activeTool(), MediaTool::filter);
  EXPECT_TRUE(panel(MediaTool::adjust).hidden);
  EXPECT_EQ(screen->transitions.size(), 1u);
}

TEST_F(ToolSessionTest, InterruptedTransitionsHideNothing) {
  auto session = openPhoto();
  screen->window = true;
  session->enterAdjustTool();                  // first transition
  panel(MediaTool::adjust).onCancel();         // interrupts it
  session->enterAdjustTool();                  // interrupts the exit
  ASSERT_EQ(screen->transitions.size(), 3u);
  EXPECT_FALSE(screen->transitions[0]->running);
  EXPECT_FALSE(screen->transitions[1]->running);
  // Neither the enter's hiding of the bars nor the exit's hiding of the panel happened.
  EXPECT_FALSE(topBar->hidden || undoRedoBar->hidden || toolStrip->hidden);
  EXPECT_FALSE(panel(MediaTool::adjust).hidden);
  // The last one decides.
  screen->transitions[2]->end(true);
  EXPECT_TRUE(topBar->hidden && undoRedoBar->hidden && toolStrip->hidden);
  EXPECT_FALSE(panel(MediaTool::adjust).hidden);
  EXPECT_EQ(panel(MediaTool::adjust).alpha, 1);
}

TEST_F(ToolSessionTest, ExitTransitionsFadeAndHideTheToolsOwnViews) {
  struct Case {
    MediaTool tool;
    std::vector<Fake<FadingView>*> side;  // besides the panel
  };
  const Case cases[] = {{MediaTool::adjust, {adjustSliderBar.get(), adjustPresetRow.get()}},
                        {MediaTool::filter, {filterSliderBar.get()}},
                        {MediaTool::focus, {focusControls.get()}},
                        {MediaTool::transform, {}}};
  auto session = openPhoto();
  screen->window = true;
  for (const auto& c : cases) {
    SCOPED_TRACE(mediaToolInfo(c.tool).rawValue);
    session->enterTool(c.tool);
    for (auto* view : c.side) view->hidden = false;
    screen->transitions.back()->end(true);
    panel(c.tool).onConfirm();
    for (auto* view : c.side) EXPECT_EQ(view->alpha, 0);
    EXPECT_EQ(panel(c.tool).alpha, 0);
    EXPECT_FALSE(panel(c.tool).hidden);
    screen->transitions.back()->end(true);
    EXPECT_TRUE(panel(c.tool).hidden);
    for (auto* view : c.side) EXPECT_TRUE(view->hidden);
    EXPECT_EQ(topBar->alpha, 1);
  }
}

TEST_F(ToolSessionTest, TransformShowsTheWholeFrameWhileTheCropIsEdited) {
  auto session = openPhoto();
  EditState cropped;
  cropped.cropRect = Rect{0.25, 0.25, 0.5, 0.5};
  commit(*session, cropped, MediaTool::transform);
  session->userZoom = 3;
  session->enterTransformTool();
  EXPECT_EQ(previewState().cropRect, (Rect{0, 0, 1, 1}));
  EXPECT_EQ(session->workingState().cropRect, cropped.cropRect);
  EXPECT_FALSE(cropOverlay->hidden);
  EXPECT_EQ(session->userZoom, 1);
  session->previewView()->displayOverscale = 2;
  panel(MediaTool::transform).onCancel();
  EXPECT_EQ(previewState(), cropped);
  EXPECT_TRUE(cropOverlay->hidden);
  EXPECT_EQ(session->previewView()->displayOverscale, 1);
}

TEST_F(ToolSessionTest, AVideoShowsTheStateAndItsVolume) {
  auto session = openVideo(tempFolder / "clip.mov");
  auto& video = *videoLoader->video;
  EditState state;
  state.audioVolume = 0.4f;
  session->applyPreviewState(state);
  EXPECT_EQ(video.shown, state);
  EXPECT_FLOAT_EQ(video.volume, 0.4f);
  state.audioMuted = true;
  session->applyPreviewState(state);
  EXPECT_EQ(video.volume, 0);
}

TEST_F(ToolSessionTest, UndoDuringTheEnterTransitionIsServedAndTheToolKeepsItsEntryState) {
  auto session = openPhoto();
  commit(*session, withExposure(0.5f));
  screen->window = true;
  session->enterAdjustTool();
  session->undoTapped();
  EXPECT_EQ(previewState(), EditState{});
  EXPECT_EQ(session->stateBeforeAdjust(), withExposure(0.5f));
  // Confirming without a change compares with the entry state, not the history's.
  panel(MediaTool::adjust).onConfirm();
  EXPECT_EQ(session->editHistory().currentState(), EditState{});
  EXPECT_TRUE(session->editHistory().canRedo());
}

}  // namespace
}  // namespace halvane::editor_test
