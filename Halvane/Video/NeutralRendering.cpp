#include "Halvane/Video/NeutralRendering.h"

namespace halvane {

bool isNeutralForRendering(const EditState& state) {
  const EditState& defaults = EditState::defaultState();
  EditState picture = state;
  picture.version = defaults.version;
  picture.trimStart = defaults.trimStart;
  picture.trimEnd = defaults.trimEnd;
  picture.audioVolume = defaults.audioVolume;
  picture.audioMuted = defaults.audioMuted;
  return picture == defaults;
}

}  // namespace halvane
