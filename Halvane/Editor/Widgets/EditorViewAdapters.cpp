#include "Halvane/Editor/Widgets/EditorViewAdapters.h"

#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/Panels/Widgets/AdjustSlider.h"
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

AdjustPanelAdapter::AdjustPanelAdapter(panels::AdjustPanelView* view, panels::AdjustSliderBar* sliderBar,
                                       EditorTransitions& transitions)
    : view_(view), sliderBar_(sliderBar), fade_(view, transitions) {
  view->onToolSelected = [this](std::optional<AdjustTool> tool) {
    nameSlider(tool);
    if (onToolSelected) onToolSelected(tool);
  };
  view->onResetAll = [this] {
    if (onResetAll) onResetAll();
  };
  view->onCancel = [this] {
    if (onCancel) onCancel();
  };
  view->onConfirm = [this] {
    if (onConfirm) onConfirm();
  };
}

AdjustPanelAdapter::~AdjustPanelAdapter() {
  if (!view_) return;
  view_->onToolSelected = nullptr;
  view_->onResetAll = nullptr;
  view_->onCancel = nullptr;
  view_->onConfirm = nullptr;
}

void AdjustPanelAdapter::toolWillOpen(const EditState&) {
  if (onOpenChanged) onOpenChanged(true);
}

void AdjustPanelAdapter::toolDidClose() {
  if (onOpenChanged) onOpenChanged(false);
}

void AdjustPanelAdapter::selectTool(std::optional<AdjustTool> tool) {
  if (view_) view_->selectTool(tool);
  nameSlider(tool);
}

void AdjustPanelAdapter::updateModifiedDots(const EditState& state) {
  if (view_) view_->updateModifiedDots(state);
}

void AdjustPanelAdapter::nameSlider(std::optional<AdjustTool> tool) {
  if (!sliderBar_ || !tool) return;
  const AdjustToolInfo& info = adjustToolInfo(*tool);
  sliderBar_->slider()->setAccessibleName(DSL10n::localized(info.key, info.defaultText, info.comment));
}

AdjustSliderAdapter::AdjustSliderAdapter(panels::AdjustSliderBar* bar, panels::KelvinPresetRow* presets)
    : bar_(bar), presets_(presets) {
  bar->slider()->onValueChanged = [this] {
    if (onValueChanged) onValueChanged();
  };
  bar->slider()->onTrackingEnded = [this] {
    if (onTrackingEnded) onTrackingEnded();
  };
  bar->onResetTapped = [this] {
    if (onResetTapped) onResetTapped();
  };
  presets->onPresetTapped = [this](int kelvin) {
    if (onKelvinPresetTapped) onKelvinPresetTapped(kelvin);
  };
}

AdjustSliderAdapter::~AdjustSliderAdapter() {
  if (bar_) {
    bar_->slider()->onValueChanged = nullptr;
    bar_->slider()->onTrackingEnded = nullptr;
    bar_->onResetTapped = nullptr;
  }
  if (presets_) presets_->onPresetTapped = nullptr;
}

void AdjustSliderAdapter::configure(float minimum, float maximum, float defaultValue) {
  if (bar_) bar_->slider()->configure(minimum, maximum, defaultValue);
}

void AdjustSliderAdapter::setValue(float value) {
  if (bar_) bar_->slider()->setValue(value);
}

float AdjustSliderAdapter::value() const { return bar_ ? bar_->slider()->value() : 0.0f; }

void AdjustSliderAdapter::setLabelFormatter(std::function<std::string(float)> formatter) {
  if (bar_) bar_->slider()->setCustomLabelFormatter(std::move(formatter));
}

}  // namespace halvane::editor
