// The tool state machine of EditorSession: entering and leaving a tool, the rule of
// what reaches the history, and the panel transitions.
#include "Halvane/Editor/EditorSession.h"

namespace halvane {

void EditorSession::toolSelected(MediaTool tool) { enterTool(tool); }

void EditorSession::enterTool(MediaTool tool) {
  if (isToolActive()) return;
  if (tool == MediaTool::trim &&
      !(videoRenderer_ && videoRenderer_->trackPropertiesLoaded() && videoRenderer_->hasAsset()))
    return;
  if (tool == MediaTool::audio && !videoRenderer_) return;

  // The host may let go of the session inside a delegate call.
  const auto keepAlive = shared_from_this();
  if (auto delegate = this->delegate()) delegate->mediaViewControllerDidOpenTool(*this, tool);
  views_.toolStrip->setInteractive(false);
  const EditState committed = editHistory_.currentState();
  stateBeforeSlot(tool) = committed;
  workingState_ = committed;

  auto& panel = views_.panel(tool);
  panel.toolWillOpen(committed);
  if (tool == MediaTool::adjust) adjustSession_.toolDidEnter();
  for (MediaTool other : kAllMediaTools)
    if (other != tool) views_.panel(other).setHidden(true);
  panel.setHidden(false);
  panel.setAlpha(0);
  if (tool == MediaTool::filter) views_.filterSliderBar->setAlpha(0);
  if (tool == MediaTool::focus) views_.focusControls->setAlpha(0);
  screen_->tiePreviewBottom(tool);
  runEnterTransition(tool);

  if (tool == MediaTool::transform) {
    userZoom = 1.0;
    views_.cropOverlay->setHidden(false);
    // The whole picture shows while the crop is edited; workingState keeps the crop.
    EditState wholeFrame = workingState_;
    wholeFrame.cropRect = Rect{0, 0, 1, 1};
    applyPreviewState(wholeFrame);
    screen_->updateFraming(false);
  }
}

void EditorSession::exitTool(MediaTool tool, bool applied) {
  const auto keepAlive = shared_from_this();  // across the host's call
  auto& panel = views_.panel(tool);
  panel.toolWillClose(applied);
  auto& before = stateBeforeSlot(tool);
  if (applied) {
    const EditState state = workingState_;
    // One entry per confirmed session, and none when nothing changed: the redo stack
    // then stays as it was.
    if (!before || state != *before) editHistory_.push(state);
    applyPreviewState(state);
    refreshUndoRedoButtons();
  } else if (before) {
    // workingState keeps the abandoned edits; the next entry overwrites it.
    applyPreviewState(*before);
    refreshUndoRedoButtons();
  }

  before.reset();
  panel.toolDidClose();
  if (tool == MediaTool::adjust) adjustSession_.toolDidExit();
  if (tool == MediaTool::focus) views_.focusOverlay->setHidden(true);
  if (auto delegate = this->delegate()) delegate->mediaViewControllerDidCloseTool(*this, tool, applied);
  views_.toolStrip->setSelectedTool(std::nullopt);
  if (tool == MediaTool::transform) {
    screen_->stopFillAnimation();
    views_.cropOverlay->setHidden(true);
    screen_->clearCropLockedRatio();
    if (previewView_) {
      previewView_->displayOverscale = 1;
      previewView_->displayOffsetX = 0;
      previewView_->displayOffsetY = 0;
    }
    markPreviewDirty();
  }
  screen_->tiePreviewBottom(std::nullopt);
  const std::array<FadingView*, 3> bars = {views_.topBar.get(), views_.undoRedoBar.get(), views_.toolStrip.get()};
  for (FadingView* bar : bars) bar->setHidden(false);
  views_.toolStrip->setInteractive(true);
  for (FadingView* bar : bars) bar->setAlpha(0);
  runExitTransition(tool);
}

void EditorSession::runToolTransition(std::function<void()> changes, std::function<void()> atEnd) {
  std::weak_ptr<EditorSession> weakSelf = weak_from_this();
  auto block = [weakSelf, changes = std::move(changes)] {
    auto self = weakSelf.lock();
    if (!self) return;
    changes();
    self->screen_->layoutIfNeeded();
  };
  if (!screen_->hasWindow()) {
    block();
    atEnd();
    return;
  }
  if (toolTransitionAnimator_ && toolTransitionAnimator_->isRunning()) toolTransitionAnimator_->stopAtCurrentPosition();
  toolTransitionAnimator_.reset();
  // An interrupted transition's completion does nothing: the one that follows decides
  // what stays visible.
  toolTransitionAnimator_ =
      screen_->startTransition(kPanelSpring, std::move(block), [atEnd = std::move(atEnd)](bool reachedEnd) {
        if (reachedEnd) atEnd();
      });
}

void EditorSession::runEnterTransition(MediaTool tool) {
  const EditorViews views = views_;
  runToolTransition(
      [views, tool] {
        views.panel(tool).setAlpha(1);
        if (tool == MediaTool::filter && !views.filterSliderBar->isHidden()) views.filterSliderBar->setAlpha(1);
        if (tool == MediaTool::focus && !views.focusControls->isHidden()) views.focusControls->setAlpha(1);
        views.topBar->setAlpha(0);
        views.undoRedoBar->setAlpha(0);
        views.toolStrip->setAlpha(0);
      },
      [views] {
        views.topBar->setHidden(true);
        views.undoRedoBar->setHidden(true);
        views.toolStrip->setHidden(true);
      });
}

void EditorSession::runExitTransition(MediaTool tool) {
  const EditorViews& views = views_;
  std::vector<std::shared_ptr<FadingView>> leaving = {views.panels[static_cast<size_t>(tool)]};
  if (tool == MediaTool::adjust) leaving = {leaving[0], views.adjustSliderBar, views.adjustPresetRow};
  if (tool == MediaTool::filter) leaving.push_back(views.filterSliderBar);
  if (tool == MediaTool::focus) leaving.push_back(views.focusControls);
  std::vector<std::shared_ptr<FadingView>> bars = {views.topBar, views.undoRedoBar, views.toolStrip};
  runToolTransition(
      [bars, leaving] {
        for (const auto& bar : bars) bar->setAlpha(1);
        for (const auto& view : leaving) view->setAlpha(0);
      },
      [leaving] {
        for (const auto& view : leaving) view->setHidden(true);
      });
}

}  // namespace halvane
