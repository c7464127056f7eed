#include "Halvane/Rendering/SourceOrientation.h"

namespace halvane {

std::optional<EditState> orientationBakeState(int rawOrientation) {
  struct Bake {
    int quarterTurns;
    bool flip;
  };
  static constexpr Bake table[8] = {{0, false}, {2, false}, {3, false}, {1, false},
                                    {0, true},  {2, true},  {1, true},  {3, true}};
  if (rawOrientation <= 0 || rawOrientation > 7) return std::nullopt;
  EditState state;
  state.rotationQuarterTurns = table[rawOrientation].quarterTurns;
  state.flipHorizontal = table[rawOrientation].flip;
  return state;
}

}  // namespace halvane
