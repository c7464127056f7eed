#pragma once
// The focus pass alone, the CPU reference of its modes and small picture helpers.
#include <cstdint>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/FocusMode.h"
#include "Halvane/Rendering/FocusPass.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "Platform/Media/Image.h"
#include "EngineTestSupport.h"
#include "Support/ImageCompare.h"

namespace halvane::testing {

using platform::media::Image;

// A default state in focus mode `mode` with the values the focus tool starts it with.
EditState focusStarted(int mode);

// The focus pass alone (FocusPass, every step of it) over `input` on the shared
// engine's device, with the block the engine builds for a picture of the input's size
// with no crop: the engine skips the pass at strength 0, these tests must not. Empty
// when the pass could not run. Not thread-safe.
Image runFocus(const Image& input, const EditState& state, bool finalOutput);

// Pictures. All opaque, BGRA.
Image makeImage(int width, int height, uint32_t seed);  // smooth shapes plus fine noise
Image makeCheckerboard(int width, int height, int cell, uint8_t dark, uint8_t light);

// The focus modes on the CPU by their definitions, in double precision: every pixel's
// own kernel (a gaussian of sigma 0.012 x shorter side x strength x its blur fraction
// truncated at 3 sigma, a disc of radius 0.03 x the same, the iris's polygon of the
// disc's area, edge protection's range weight, a streak's mean) gathered texel by texel
// in linear light and renormalised inside the picture, the lens modes' highlights
// expanded. Only the pixels at multiples of `step` in x and y, as a picture of those.
Image referenceFocus(const Image& input, const EditState& state, int step = 1);
// The pixels at multiples of `step`, as referenceFocus gives them.
Image everyNth(const Image& image, int step);

using testsupport::maxAbsoluteDifference;
using testsupport::meanAbsoluteDifference;
using testsupport::saveForInspection;

}  // namespace halvane::testing
