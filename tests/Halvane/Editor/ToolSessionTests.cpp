#include "EditorSessionFakes.h"

namespace halvane::editor_test {
namespace {

using ToolSessionTest = EditorSessionTest;

TEST_F(ToolSessionTest, OnlyAConfirmedChangeReachesTheHistory) {
  struct Case {
    const char* name;
    std::vector<float> exposures;  // set one after the other inside the session
    bool confirm;
    size_t undoSize, redoSize;
    float shown;
  };
  const Case cases[] = {
      {"confirm without a change", {}, true, 0, 1, 0},
      {"a change taken back", {1, 0}, true, 0, 1, 0},
      {"many changes, one entry", {0.1f, 0.2f, 0.3f}, true, 1, 0, 0.3f},
      {"cancel after many changes", {1, 2, -1}, false, 0, 1, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto session = openPhoto();
    commit(*session, withExposure(0.5f));
    session->undoTapped();  // a redo stack to keep or clear
    session->enterFilterTool();
    for (float exposure : c.exposures) {
      session->setWorkingState(withExposure(exposure));
      session->applyPreviewState(session->workingState());
    }
    c.confirm ? panel(MediaTool::filter).onConfirm() : panel(MediaTool::filter).onCancel();
    EXPECT_EQ(session->editHistory().undoStack().size(), c.undoSize);
    EXPECT_EQ(session->editHistory().redoStack().size(), c.redoSize);
    EXPECT_EQ(undoRedoBar->undoEnabled, c.undoSize > 0);
    EXPECT_EQ(undoRedoBar->redoEnabled, c.redoSize > 0);
    EXPECT_EQ(previewState(), withExposure(c.shown));
  }
}

TEST_F(ToolSessionTest, AfterACancelUndoGoesToTheStepBeforeTheSession) {
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
      EXPECT_FALSE(session->isToolActive());
      EXPECT_TRUE(panelHidden(tool));
      EXPECT_FALSE(topBar->hidden || undoRedoBar->hidden || toolStrip->hidden);
      EXPECT_TRUE(toolStrip->interactive);
      EXPECT_FALSE(toolStrip->selected);
      EXPECT_FALSE(screen->previewBottom);
      EXPECT_EQ(delegate->calls,
                (std::vector<std::string>{"open " + name, "close " + name + (applied ? " applied" : "")}));
    }
  }
}

TEST_F(ToolSessionTest, AGuardThatFailsChangesNothing) {
  struct Case {
    const char* name;
    bool video;
    MediaTool tool;
  };
  for (const Case& c :
       {Case{"trim on a photo", false, MediaTool::trim}, Case{"audio on a photo", false, MediaTool::audio},
        Case{"trim before the track's properties", true, MediaTool::trim}}) {
    SCOPED_TRACE(c.name);
    auto session = c.video ? openVideo(tempFolder / "clip.mov") : openPhoto();
    session->toolSelected(c.tool);
    EXPECT_FALSE(session->isToolActive());
    EXPECT_TRUE(delegate->calls.empty());
    EXPECT_TRUE(panelHidden(c.tool));
    EXPECT_TRUE(toolStrip->interactive);
  }
}

TEST_F(ToolSessionTest, ASecondToolDuringTheEnterTransitionDoesNothing) {
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
}

TEST_F(ToolSessionTest, InterruptedTransitionsHideNothing) {
  auto session = openPhoto();
  screen->window = true;
  session->enterAdjustTool();
  panel(MediaTool::adjust).onCancel();  // interrupts the enter
  session->enterAdjustTool();           // interrupts the exit
  ASSERT_EQ(screen->transitions.size(), 3u);
  EXPECT_FALSE(screen->transitions[0]->running || screen->transitions[1]->running);
  EXPECT_FALSE(topBar->hidden || undoRedoBar->hidden || toolStrip->hidden);
  EXPECT_FALSE(panelHidden(MediaTool::adjust));
  screen->transitions[2]->end(true);  // the last one decides
  EXPECT_TRUE(topBar->hidden && undoRedoBar->hidden && toolStrip->hidden);
  EXPECT_FALSE(panelHidden(MediaTool::adjust));
  EXPECT_EQ(panelAlpha(MediaTool::adjust), 1);
}

TEST_F(ToolSessionTest, AnExitFadesAndThenHidesTheToolsOwnViews) {
  struct Case {
    MediaTool tool;
    std::vector<Fake<FadingView>*> side;
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
    EXPECT_EQ(topBar->alpha, 1);
    EXPECT_EQ(panelAlpha(c.tool), 0);
    for (auto* view : c.side) EXPECT_EQ(view->alpha, 0);
    EXPECT_FALSE(panelHidden(c.tool));
    screen->transitions.back()->end(true);
    EXPECT_TRUE(panelHidden(c.tool));
    for (auto* view : c.side) EXPECT_TRUE(view->hidden);
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

TEST_F(ToolSessionTest, AVideoShowsTheStateAndPlaysAtItsVolume) {
  auto session = openVideo(tempFolder / "clip.mov");
  EditState state;
  state.audioVolume = 0.4f;
  session->applyPreviewState(state);
  EXPECT_EQ(videoLoader->video->shown, state);
  EXPECT_FLOAT_EQ(videoLoader->video->volume, 0.4f);
  state.audioMuted = true;
  session->applyPreviewState(state);
  EXPECT_EQ(videoLoader->video->volume, 0);
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
    EXPECT_TRUE(weak.expired());
    EXPECT_FALSE(topBar->hidden || toolStrip->hidden);
  }
  delegate->onFinishOrClose = nullptr;
}

}  // namespace
}  // namespace halvane::editor_test
