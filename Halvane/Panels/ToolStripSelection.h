#pragma once
// The tool strip's state without its widgets: which tool is selected, which tools are
// shown, and the button animations a change of selection asks for. Main thread only.
#include <optional>
#include <vector>

#include "Halvane/Model/MediaTool.h"

namespace halvane::panels {

class ToolStripSelection {
public:
  // One button's change: its selected state, and the scale it springs to.
  struct ButtonChange {
    MediaTool tool;
    bool selected;
    double scale;

    bool operator==(const ButtonChange&) const = default;
  };

  static constexpr double kSelectedScale = 1.03;

  std::optional<MediaTool> selectedTool() const { return selectedTool_; }

  // Stores the new selection and returns the changes in the order they are applied: the
  // previous button back to rest, then the new one raised. Reselecting a tool gives both
  // changes on the same button, the raise last; no tool over no selection gives none.
  std::vector<ButtonChange> selectTool(std::optional<MediaTool> tool);

  // Trim and audio are shown exactly while video tools are visible; the rest always.
  void setVideoToolsVisible(bool visible) { videoToolsVisible_ = visible; }
  bool isVisible(MediaTool tool) const;
  std::vector<MediaTool> visibleTools() const;

private:
  std::optional<MediaTool> selectedTool_;
  bool videoToolsVisible_ = true;
};

bool isVideoOnlyTool(MediaTool tool);

}  // namespace halvane::panels
