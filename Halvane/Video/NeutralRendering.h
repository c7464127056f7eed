#pragma once
// Whether an edit leaves the picture of a video untouched, so that no GPU pass is run
// for it. Trim and audio change the timeline and the sound, never a pixel.
#ifndef HALVANE_INSIDE_HalvaneVideo
#error "a private header of Halvane/Video: include its public headers"
#endif
#include "Halvane/Model/EditState.h"

namespace halvane {

// The state equals the default once version, trimStart, trimEnd, audioVolume and
// audioMuted are put back to their defaults.
bool isNeutralForRendering(const EditState& state);

}  // namespace halvane
