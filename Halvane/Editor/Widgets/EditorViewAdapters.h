#pragma once
// The session's views over the editor's widgets: hidden flag and alpha of any widget
// (the alpha through the editor's transitions, so that a change block animates it),
// the tool strip, the undo and redo bar, and each tool's frame as its panel. Main
// thread only; a widget that has gone makes its adapter inert.
#include <QPointer>
#include <QWidget>

#include <functional>

#include "Halvane/Editor/EditorViews.h"
#include "Halvane/Editor/Widgets/EditorTransitions.h"
#include "Halvane/Editor/Widgets/ToolFrameView.h"
#include "Halvane/Panels/Widgets/AdjustPanelView.h"
#include "Halvane/Panels/Widgets/AdjustSliderBar.h"
#include "Halvane/Panels/Widgets/ToolStripView.h"
#include "Halvane/Panels/Widgets/UndoRedoBar.h"

namespace halvane::editor {

class WidgetFadingView final : public FadingView {
 public:
  WidgetFadingView(QWidget* widget, EditorTransitions& transitions) : widget_(widget), transitions_(transitions) {}

  void setHidden(bool hidden) override;
  bool isHidden() const override { return !widget_ || widget_->isHidden(); }
  void setAlpha(double alpha) override;

 private:
  QPointer<QWidget> widget_;
  EditorTransitions& transitions_;
};

class ToolStripAdapter final : public ToolStripView {
 public:
  ToolStripAdapter(panels::ToolStripView* strip, EditorTransitions& transitions)
      : strip_(strip), fade_(strip, transitions) {}

  void setHidden(bool hidden) override { fade_.setHidden(hidden); }
  bool isHidden() const override { return fade_.isHidden(); }
  void setAlpha(double alpha) override { fade_.setAlpha(alpha); }
  void setInteractive(bool interactive) override;
  void setSelectedTool(std::optional<MediaTool> tool) override;
  void setContentIsVideo(bool isVideo) override;

 private:
  QPointer<panels::ToolStripView> strip_;
  WidgetFadingView fade_;
};

class UndoRedoAdapter final : public UndoRedoView {
 public:
  UndoRedoAdapter(panels::UndoRedoBar* bar, EditorTransitions& transitions) : bar_(bar), fade_(bar, transitions) {}

  void setHidden(bool hidden) override { fade_.setHidden(hidden); }
  bool isHidden() const override { return fade_.isHidden(); }
  void setAlpha(double alpha) override { fade_.setAlpha(alpha); }
  void setUndoEnabled(bool enabled) override;
  void setRedoEnabled(bool enabled) override;

 private:
  QPointer<panels::UndoRedoBar> bar_;
  WidgetFadingView fade_;
};

// A tool's frame as the session's panel: its buttons report as the panel's onCancel
// and onConfirm; onOpenChanged tells the screen when the tool opens and closes.
class ToolFramePanel final : public ToolPanel {
 public:
  ToolFramePanel(ToolFrameView* frame, EditorTransitions& transitions);
  ~ToolFramePanel() override;

  void setHidden(bool hidden) override { fade_.setHidden(hidden); }
  bool isHidden() const override { return fade_.isHidden(); }
  void setAlpha(double alpha) override { fade_.setAlpha(alpha); }
  void toolWillOpen(const EditState& state) override;
  void toolDidClose() override;

  std::function<void(bool open)> onOpenChanged;

 private:
  QPointer<ToolFrameView> frame_;
  WidgetFadingView fade_;
};

// The adjust panel's view as the session's panel. A selection also names the slider
// after the tool, for assistive technology.
class AdjustPanelAdapter final : public AdjustPanel {
 public:
  AdjustPanelAdapter(panels::AdjustPanelView* view, panels::AdjustSliderBar* sliderBar,
                     EditorTransitions& transitions);
  ~AdjustPanelAdapter() override;

  void setHidden(bool hidden) override { fade_.setHidden(hidden); }
  bool isHidden() const override { return fade_.isHidden(); }
  void setAlpha(double alpha) override { fade_.setAlpha(alpha); }
  void toolWillOpen(const EditState&) override;
  void toolDidClose() override;
  void selectTool(std::optional<AdjustTool> tool) override;
  void updateModifiedDots(const EditState& state) override;

  std::function<void(bool open)> onOpenChanged;

 private:
  void nameSlider(std::optional<AdjustTool> tool);

  QPointer<panels::AdjustPanelView> view_;
  QPointer<panels::AdjustSliderBar> sliderBar_;
  WidgetFadingView fade_;
};

// The slider bar and the preset row as the session's adjust slider.
class AdjustSliderAdapter final : public AdjustSliderView {
 public:
  AdjustSliderAdapter(panels::AdjustSliderBar* bar, panels::KelvinPresetRow* presets);
  ~AdjustSliderAdapter() override;

  void configure(float minimum, float maximum, float defaultValue) override;
  void setValue(float value) override;
  float value() const override;
  void setLabelFormatter(std::function<std::string(float)> formatter) override;

 private:
  QPointer<panels::AdjustSliderBar> bar_;
  QPointer<panels::KelvinPresetRow> presets_;
};

}  // namespace halvane::editor
