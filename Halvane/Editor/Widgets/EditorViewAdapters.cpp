#include "Halvane/Editor/Widgets/EditorViewAdapters.h"

#include "Halvane/Panels/Widgets/RoundButton.h"

namespace halvane::editor {

void WidgetFadingView::setHidden(bool hidden) {
  if (widget_) widget_->setHidden(hidden);
}

void WidgetFadingView::setAlpha(double alpha) {
  if (widget_) transitions_.setAlpha(widget_, alpha);
}

void ToolStripAdapter::setInteractive(bool interactive) {
  if (strip_) strip_->setEnabled(interactive);
}

void ToolStripAdapter::setSelectedTool(std::optional<MediaTool> tool) {
  if (strip_) strip_->selectTool(tool);
}

void ToolStripAdapter::setContentIsVideo(bool isVideo) {
  if (strip_) strip_->setVideoToolsVisible(isVideo);
}

void UndoRedoAdapter::setUndoEnabled(bool enabled) {
  if (bar_) bar_->undoButton()->setEnabled(enabled);
}

void UndoRedoAdapter::setRedoEnabled(bool enabled) {
  if (bar_) bar_->redoButton()->setEnabled(enabled);
}

ToolFramePanel::ToolFramePanel(ToolFrameView* frame, EditorTransitions& transitions)
    : ToolPanel(frame->tool()), frame_(frame), fade_(frame, transitions) {
  frame->onCancel = [this] {
    if (onCancel) onCancel();
  };
  frame->onConfirm = [this] {
    if (onConfirm) onConfirm();
  };
}

ToolFramePanel::~ToolFramePanel() {
  if (!frame_) return;
  frame_->onCancel = nullptr;
  frame_->onConfirm = nullptr;
}

void ToolFramePanel::toolWillOpen(const EditState&) {
  if (onOpenChanged) onOpenChanged(true);
}

void ToolFramePanel::toolDidClose() {
  if (onOpenChanged) onOpenChanged(false);
}

}  // namespace halvane::editor
