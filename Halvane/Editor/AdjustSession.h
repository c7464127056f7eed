#pragma once
// The adjust tool between its entry and exit: connects the panel's tool grid and the
// shared slider to the session's workingState and preview, and holds the temperature's
// label and its Kelvin presets. Nothing reaches the history before the tool is
// confirmed. Owned by its EditorSession; main thread only.
#include <optional>
#include <string>

#include "Halvane/Model/AdjustTool.h"

namespace halvane {

class EditorSession;

// The temperature slider's label: "  +25 · 7469 K  ", or "  6500 K  " at a rounded 0.
std::string kelvinText(float slider);

class AdjustSession {
 public:
  explicit AdjustSession(EditorSession& session) : session_(session) {}

  std::optional<AdjustTool> selectedTool() const { return adjustSelectedTool_; }

  // Connects the panel's and the slider's events, holding the session weakly.
  void wire();
  // The tool's own set-up at entry and its step at exit.
  void toolDidEnter();
  void toolDidExit() { adjustSelectedTool_.reset(); }

  void toolSelected(std::optional<AdjustTool> tool);
  void sliderChanged();
  void trackingEnded();
  void resetToolTapped();
  void resetAll();
  void kelvinPresetTapped(int kelvin);

 private:
  void writeSliderValue();
  void showWorkingState();
  void putSliderAt(float value);

  EditorSession& session_;
  std::optional<AdjustTool> adjustSelectedTool_;
};

}  // namespace halvane
