#include "Halvane/Panels/AdjustPanelState.h"

namespace halvane::panels {

std::optional<AdjustTool> AdjustPanelState::tap(AdjustTool tool) {
  selectedTool_ = selectedTool_ == tool ? std::nullopt : std::optional(tool);
  return selectedTool_;
}

std::array<bool, kAdjustTools.size()> modifiedAdjustTools(const EditState& state) {
  static const EditState defaults = EditState::defaultState();
  std::array<bool, kAdjustTools.size()> modified{};
  for (size_t i = 0; i < kAdjustTools.size(); ++i) {
    const auto field = kAdjustTools[i].field;
    modified[i] = state.*field != defaults.*field;
  }
  return modified;
}

}  // namespace halvane::panels
