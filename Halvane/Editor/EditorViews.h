#pragma once
// The views an editing session shows and hides, as the session sees them: whether each
// is hidden and its alpha, plus the few extra controls of the tool strip, the undo bar
// and the tool panels. The widget layer implements them over its widgets; tests use
// recording fakes. Main thread only.
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Halvane/Model/AdjustTool.h"
#include "Halvane/Model/EditState.h"
#include "Halvane/Model/MediaTool.h"

namespace halvane {

// The fixed height of each tool's panel, in points.
inline constexpr double toolPanelHeight(MediaTool tool) {
  switch (tool) {
    case MediaTool::transform: return 148;
    case MediaTool::filter: return 192;
    case MediaTool::adjust: return 176;
    case MediaTool::focus: return 100;
    case MediaTool::trim: return 168;
    case MediaTool::audio: return 152;
  }
  return 0;
}

class FadingView {
 public:
  virtual ~FadingView() = default;
  virtual void setHidden(bool hidden) = 0;
  virtual bool isHidden() const = 0;
  // 0 (transparent) to 1. Inside a transition's change block it is the value animated to.
  virtual void setAlpha(double alpha) = 0;
};

// A tool's panel. The session wires onConfirm and onCancel to the tool's exit and calls
// the hooks at the points of a tool session where the tool's own steps run.
class ToolPanel : public FadingView {
 public:
  explicit ToolPanel(MediaTool tool) : tool(tool) {}

  const MediaTool tool;
  LocalizedText title() const { return mediaToolInfo(tool).title; }
  double height() const { return toolPanelHeight(tool); }

  // The tool's own set-up at entry, with the committed state the session starts from.
  virtual void toolWillOpen(const EditState& /*state*/) {}
  // Before the confirm or cancel branch (the trim tool stops its playback here).
  virtual void toolWillClose(bool /*applied*/) {}
  // After the tool's marker has been cleared: the tool's own close steps.
  virtual void toolDidClose() {}
  // While this panel's tool is open: the editor screen appears again, or goes away
  // (covered, dismissed, or at the session's end; the last two may both come).
  virtual void sessionWillAppear() {}
  virtual void sessionWillDisappear() {}

  std::function<void()> onConfirm;
  std::function<void()> onCancel;
};

// The adjust tool's panel: the grid of its sixteen tools with their modified dots.
class AdjustPanel : public ToolPanel {
 public:
  AdjustPanel() : ToolPanel(MediaTool::adjust) {}

  // Highlights one button, or none, without reporting it.
  virtual void selectTool(std::optional<AdjustTool> tool) = 0;
  // Shows the dot of each tool whose field differs from the default state's.
  virtual void updateModifiedDots(const EditState& state) = 0;

  // A tool was selected, or with none deselected.
  std::function<void(std::optional<AdjustTool>)> onToolSelected;
  std::function<void()> onResetAll;
};

// The adjust tool's shared ruler with its reset button, and the row of Kelvin presets
// shown above it for the temperature.
class AdjustSliderView {
 public:
  virtual ~AdjustSliderView() = default;
  // New ends and neutral value, laid out at once; a setValue follows.
  virtual void configure(float minimum, float maximum, float defaultValue) = 0;
  // Moves the ruler without reporting it.
  virtual void setValue(float value) = 0;
  virtual float value() const = 0;
  // Replaces the built-in label; none brings it back.
  virtual void setLabelFormatter(std::function<std::string(float)> formatter) = 0;

  // The user moved the ruler.
  std::function<void()> onValueChanged;
  // A drag, and any glide after it, has finished.
  std::function<void()> onTrackingEnded;
  std::function<void()> onResetTapped;
  std::function<void(int kelvin)> onKelvinPresetTapped;
};

class ToolStripView : public FadingView {
 public:
  virtual void setInteractive(bool interactive) = 0;
  // Marks `tool` selected (none: no selection); a deselection springs the button back.
  virtual void setSelectedTool(std::optional<MediaTool> tool) = 0;
  // Trim and audio are offered for a video only.
  virtual void setContentIsVideo(bool isVideo) = 0;
};

class UndoRedoView : public FadingView {
 public:
  virtual void setUndoEnabled(bool enabled) = 0;
  virtual void setRedoEnabled(bool enabled) = 0;
};

// Every view the session touches. All must be set.
struct EditorViews {
  std::shared_ptr<FadingView> topBar;
  std::shared_ptr<UndoRedoView> undoRedoBar;
  std::shared_ptr<ToolStripView> toolStrip;
  // In the order of kAllMediaTools; the adjust tool's is an AdjustPanel.
  std::array<std::shared_ptr<ToolPanel>, 6> panels;
  std::shared_ptr<AdjustSliderView> adjustSlider;
  std::shared_ptr<FadingView> filterSliderBar;
  std::shared_ptr<FadingView> adjustSliderBar;
  std::shared_ptr<FadingView> adjustPresetRow;
  std::shared_ptr<FadingView> focusControls;
  std::shared_ptr<FadingView> focusOverlay;
  std::shared_ptr<FadingView> cropOverlay;

  ToolPanel& panel(MediaTool tool) const { return *panels[static_cast<size_t>(tool)]; }
  AdjustPanel& adjustPanel() const { return static_cast<AdjustPanel&>(panel(MediaTool::adjust)); }
  bool isComplete() const;
};

}  // namespace halvane
