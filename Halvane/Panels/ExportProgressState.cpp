#include "Halvane/Panels/ExportProgressState.h"

#include <algorithm>
#include <cmath>

namespace halvane::panels {

void ExportProgressState::setProgress(double value) {
  isIndeterminate_ = false;
  progress_ = std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 1.0);
}

std::string ExportProgressState::percentText() const {
  return std::to_string(static_cast<int>(progress_ * 100.0)) + "%";
}

bool ExportProgressState::beginDismiss() {
  if (isDismissing_) return false;
  isDismissing_ = true;
  return true;
}

}  // namespace halvane::panels
