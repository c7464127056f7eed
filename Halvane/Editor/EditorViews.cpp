#include "Halvane/Editor/EditorViews.h"

namespace halvane {

bool EditorViews::isComplete() const {
  for (size_t i = 0; i < panels.size(); ++i)
    if (!panels[i] || panels[i]->tool != kAllMediaTools[i]) return false;
  if (!dynamic_cast<AdjustPanel*>(panels[static_cast<size_t>(MediaTool::adjust)].get())) return false;
  return adjustSlider && topBar && undoRedoBar && toolStrip && filterSliderBar && adjustSliderBar &&
         adjustPresetRow && focusControls && focusOverlay && cropOverlay;
}

}  // namespace halvane
