#pragma once
// Helpers of the colour pass tests: the pass run through the engine on the CPU device,
// test pictures (a grey ramp, a colour chart, a natural photo) and measurements on them.
#include <array>
#include <string>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Rendering/EngineTestSupport.h"
#include "Platform/Media/Image.h"
#include "Support/ImageCompare.h"

namespace halvane::colortest {

using platform::media::Image;

// The picture through the engine's whole chain with `state` (no crop, turn, tilt or
// focus, so only the colour pass acts). The state is marked as an edit (its trim start
// moves), so the pass runs even at neutral colour values.
Image renderColor(RenderingEngine& engine, const Image& image, EditState state);

// The same, expected within `tolerance` code values of the CPU reference, which must
// give no NaN or infinity; both are saved for inspection when they differ by more.
struct Rendered {
  Image gpu, cpu;
};
Rendered renderAgainstReference(RenderingEngine& engine, const Image& image, const EditState& state, int tolerance);

// A ramp of every code value from 0 to 255 along x, `height` rows.
Image makeGreyRamp(int height = 4);
// The 24 patches of the ColorChecker in sRGB, 6 by 4, each `patch` pixels square.
constexpr int kChartPatch = 8;
Image makeColorChart();
// The mean colour (r, g, b in code values) of the centre of a chart patch, 0 to 23 in
// reading order; patches 18 to 23 are the neutrals from white to black.
std::array<double, 3> chartPatch(const Image& chart, int index);
// The flower photo of the sample media, scaled to width by height.
inline Image naturalPhoto(int width, int height) { return testing::loadPhoto("photo/flower.webp", width, height); }
// A flat picture of one colour.
inline Image makeFlat(int width, int height, int r, int g, int b) {
  return testing::makeSolidImage(width, height, uint8_t(b), uint8_t(g), uint8_t(r));
}

// Mean of the three channels at column x of a ramp, over its rows.
double rampLevel(const Image& ramp, int x);
// r, g, b of a pixel.
std::array<int, 3> rgb(const Image& image, int x, int y);
using testsupport::maxAbsoluteDifference;
using testsupport::saveForInspection;

}  // namespace halvane::colortest
