#pragma once
// The adjust panel's state without widgets: which tool is selected (a tap on the
// selected one deselects it) and which tools differ from the default state. No Qt.
#include <array>
#include <optional>

#include "Halvane/Model/AdjustTool.h"

namespace halvane::panels {

// The Kelvin values of the temperature presets, in the row's order.
inline constexpr std::array<int, 4> kKelvinPresets = {3200, 5500, 6500, 7500};

class AdjustPanelState {
 public:
  std::optional<AdjustTool> selectedTool() const { return selectedTool_; }
  // A tap on a tool button; returns the new selection.
  std::optional<AdjustTool> tap(AdjustTool tool);
  // Highlights without a tap.
  void select(std::optional<AdjustTool> tool) { selectedTool_ = tool; }

 private:
  std::optional<AdjustTool> selectedTool_;
};

// Per tool in panel order: its field differs, exactly, from the default state's. A
// value brought back by hand close to the default keeps its dot.
std::array<bool, kAdjustTools.size()> modifiedAdjustTools(const EditState& state);

}  // namespace halvane::panels
