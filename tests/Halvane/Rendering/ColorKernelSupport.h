#pragma once
// Helpers of the colour pass tests: the pass run through the engine on the CPU device
// and against its CPU reference, and test pictures (a grey ramp, a colour chart, a
// natural photo).
#include <gtest/gtest.h>

#include <array>

#include "Halvane/Model/EditState.h"
#include "Halvane/Rendering/ColorReference.h"
#include "Halvane/Rendering/EngineTestSupport.h"

namespace halvane::colortest {

using namespace testing;

// The picture through the engine's whole chain with `state` (no crop, turn, tilt or
// focus, so only the colour pass acts). The state is marked as an edit (its trim start
// moves), so the pass runs even at neutral colour values.
inline Image renderColor(RenderingEngine& engine, const Image& image, EditState state) {
  state.trimStart = 1;
  auto rendered = engine.renderToImage(engine.makeTexture(image), state);
  EXPECT_TRUE(rendered.hasValue());
  return rendered ? *rendered : Image{};
}

// The same, expected within `tolerance` code values of the CPU reference, which must
// give no NaN or infinity; both are saved for inspection when they differ by more.
struct Rendered {
  Image gpu, cpu;
};
inline Rendered renderAgainstReference(RenderingEngine& engine, const Image& image, const EditState& state,
                                       int tolerance) {
  size_t nonFinite = 0;
  Rendered r{renderColor(engine, image, state), colorref::renderColorPass(image, state, &nonFinite)};
  EXPECT_EQ(nonFinite, 0u);
  EXPECT_LE(maxAbsoluteDifference(r.gpu, r.cpu), tolerance);
  if (maxAbsoluteDifference(r.gpu, r.cpu) > tolerance) saveForInspection(r.gpu, "gpu"), saveForInspection(r.cpu, "cpu");
  return r;
}

// A ramp of every code value from 0 to 255 along x, `height` rows.
inline Image makeGreyRamp(int height = 4) {
  return makePicture(256, height, [](int x, int) { return grey(x); });
}

// The 24 patches of the ColorChecker in sRGB (X-Rite's published approximations), 6 by
// 4 in reading order, each kChartPatch pixels square; 18 to 23 are the neutrals from
// white to black.
constexpr int kChartPatch = 8;
constexpr std::array<std::array<int, 3>, 24> kChart = {{
    {115, 82, 68},   {194, 150, 130}, {98, 122, 157},  {87, 108, 67},   {133, 128, 177}, {103, 189, 170},
    {214, 126, 44},  {80, 91, 166},   {193, 90, 99},   {94, 60, 108},   {157, 188, 64},  {224, 163, 46},
    {56, 61, 150},   {70, 148, 73},   {175, 54, 60},   {231, 199, 31},  {187, 86, 149},  {8, 133, 161},
    {243, 243, 242}, {200, 200, 200}, {160, 160, 160}, {122, 122, 121}, {85, 85, 85},    {52, 52, 52},
}};
inline Image makeColorChart() {
  return makePicture(6 * kChartPatch, 4 * kChartPatch,
                     [](int x, int y) { return kChart[(y / kChartPatch) * 6 + x / kChartPatch]; });
}
// The mean colour (r, g, b) of the centre of a chart patch.
inline std::array<double, 3> chartPatch(const Image& chart, int index) {
  const int x0 = (index % 6) * kChartPatch + kChartPatch / 4, y0 = (index / 6) * kChartPatch + kChartPatch / 4;
  std::array<double, 3> sum{};
  for (int y = y0; y < y0 + kChartPatch / 2; ++y)
    for (int x = x0; x < x0 + kChartPatch / 2; ++x)
      for (int i = 0; i < 3; ++i) sum[i] += rgb(chart, x, y)[i];
  for (double& v : sum) v /= kChartPatch * kChartPatch / 4;
  return sum;
}

// The flower photo of the sample media, scaled to width by height.
inline Image naturalPhoto(int width, int height) { return loadPhoto("photo/flower.webp", width, height); }

}  // namespace halvane::colortest
