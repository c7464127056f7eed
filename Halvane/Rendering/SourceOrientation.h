#pragma once
// The one-time bake of a photo's orientation: the state that turns a source stored in
// a given orientation upright, or none when it already is; or, for a single render,
// the orientation folded into the edit itself.
#include <cstdint>
#include <optional>

#include "Halvane/Model/EditState.h"

namespace halvane {

// `rawOrientation` is 0 up, 1 down, 2 left, 3 right, 4 upMirrored, 5 downMirrored,
// 6 leftMirrored, 7 rightMirrored. Out-of-range values are treated as up.
std::optional<EditState> orientationBakeState(int rawOrientation);

// `state`, an edit of the upright picture, as one edit of the source stored in
// `rawOrientation` at sourceWidth by sourceHeight: its crop carried back through the
// orientation, its turns and mirror composed with it. One geometry pass then gives the
// pixels that baking the source upright and editing that give, without the bake's pass
// over the whole picture.
EditState foldOrientation(const EditState& state, int rawOrientation, std::uint32_t sourceWidth,
                          std::uint32_t sourceHeight);

}  // namespace halvane
