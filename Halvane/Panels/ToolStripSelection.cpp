#include "Halvane/Panels/ToolStripSelection.h"

namespace halvane::panels {

std::vector<ToolStripSelection::ButtonChange> ToolStripSelection::selectTool(std::optional<MediaTool> tool) {
  const std::optional<MediaTool> previous = selectedTool_;
  selectedTool_ = tool;
  std::vector<ButtonChange> changes;
  if (previous) changes.push_back({*previous, false, 1.0});
  if (tool) changes.push_back({*tool, true, kSelectedScale});
  return changes;
}

bool isVideoOnlyTool(MediaTool tool) { return tool == MediaTool::trim || tool == MediaTool::audio; }

bool ToolStripSelection::isVisible(MediaTool tool) const { return videoToolsVisible_ || !isVideoOnlyTool(tool); }

std::vector<MediaTool> ToolStripSelection::visibleTools() const {
  std::vector<MediaTool> tools;
  for (MediaTool tool : kAllMediaTools)
    if (isVisible(tool)) tools.push_back(tool);
  return tools;
}

}  // namespace halvane::panels
