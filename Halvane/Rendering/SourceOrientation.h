#pragma once
// The one-time bake of a photo's orientation: the state that turns a source stored in
// a given orientation upright, or none when it already is.
#include <optional>

#include "Halvane/Model/EditState.h"

namespace halvane {

// `rawOrientation` is 0 up, 1 down, 2 left, 3 right, 4 upMirrored, 5 downMirrored,
// 6 leftMirrored, 7 rightMirrored. Out-of-range values are treated as up.
std::optional<EditState> orientationBakeState(int rawOrientation);

}  // namespace halvane
