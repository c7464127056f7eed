#pragma once
// The CPU reference of the focus pass.
#include "Halvane/Model/EditState.h"
#include "Platform/Media/Image.h"

namespace halvane::testing {

using platform::media::Image;

// The focus modes on the CPU by their definitions, in double precision: every pixel's
// own kernel (a gaussian of sigma 0.012 x shorter side x strength x its blur fraction
// truncated at 3 sigma, a disc of radius 0.03 x the same, the iris's polygon of the
// disc's area, edge protection's range weight, a streak's mean) gathered texel by texel
// in linear light and renormalised inside the picture, the lens modes' highlights
// expanded. Only the pixels at multiples of `step` in x and y, as a picture of those.
Image referenceFocus(const Image& input, const EditState& state, int step = 1);
// The pixels at multiples of `step`, as referenceFocus gives them.
Image everyNth(const Image& image, int step);

}  // namespace halvane::testing
