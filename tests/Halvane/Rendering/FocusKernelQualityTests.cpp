// The levelled focus pass against each mode's definition (the CPU reference, which
// gathers every pixel's own kernel texel by texel), mode by mode, preview and export, on
// a photo, at every fourth pixel in x and y. Two figures in code values: the mean
// absolute difference, which says whether the two look alike, and the 99th percentile
// of the pixels' largest channel difference, which bounds the worst places (edges of
// bright detail) without letting a handful of pixels decide.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "FocusKernelSupport.h"

namespace halvane {
namespace {

using testing::Image;

double percentileDifference(const Image& a, const Image& b, double fraction) {
  std::vector<int> most;
  most.reserve(size_t(a.width) * size_t(a.height));
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      int d = 0;
      for (int c = 0; c < 3; ++c) d = std::max(d, std::abs(int(a.pixel(x, y)[c]) - int(b.pixel(x, y)[c])));
      most.push_back(d);
    }
  auto at = most.begin() + std::ptrdiff_t(fraction * double(most.size() - 1));
  std::nth_element(most.begin(), at, most.end());
  return *at;
}

struct Bound {
  int mode;
  const char* name;
  double mean;  // mean absolute difference, code values
  double p99;   // 99th percentile of the largest channel difference
  const char* why;
};

// Bounds sit about a third above what the pass gives on this photo (720 by 960), so a
// real loss of quality fails while lavapipe's rounding does not: the definition with a
// fifth less strength lies 1.3 to 4 times farther from the pass in every mode but edge
// protection, whose definition without the protection lies a mean of 4.3 away (depth's
// without the depth, 2.7). The smooth modes mix gaussians of sigma 2^k and 2^(k+1) instead of
// gathering the exact sigma: their tails differ a little. Depth replaces the disc by a
// gaussian of the same spread. Edge protection climbs levels instead of weighing each
// pixel, so it keeps less detail right next to edges. Zoom streaks on a level reduced
// for its longest streak, which is soft where the streaks are short (near the centre)
// in a preview. The lens modes gather on a reduced level.
const Bound kBounds[] = {
    {1, "radial", 0.9, 8, "mixture of two gaussians"},
    {2, "linear", 0.35, 4, "mixture of two gaussians"},
    {3, "mirrored", 0.7, 6, "mixture of two gaussians"},
    {4, "gaussian", 0.9, 7, "mixture of two gaussians"},
    {5, "zoom", 1.8, 20, "streak on a level reduced for the longest streak"},
    {6, "motion", 0.4, 3, "streak on a reduced level"},
    {7, "bokeh", 0.55, 4, "aperture on a reduced level"},
    {8, "iris", 0.55, 4, "aperture on a reduced level"},
    {9, "depth", 1.25, 10, "a gaussian for the disc"},
    {10, "edge", 3.0, 18, "edges stop the climb through levels"},
};

using FocusKernelQuality = testing::EngineTest;

TEST_F(FocusKernelQuality, EachModeLooksLikeItsDefinition) {
  const Image photo = testing::loadPhoto("photo/classic-car.heic", 720);
  if (photo.pixels.empty()) GTEST_SKIP() << "the shared media folder is missing";
  constexpr int kStep = 4;
  for (const Bound& bound : kBounds) {
    const EditState state = testing::focusStarted(bound.mode);
    const Image reference = testing::referenceFocus(photo, state, kStep);
    for (bool finalOutput : {false, true}) {
      const Image ours = testing::everyNth(testing::runFocus(photo, state, finalOutput), kStep);
      ASSERT_FALSE(ours.pixels.empty());
      const double mean = testing::meanAbsoluteDifference(ours, reference);
      const double p99 = percentileDifference(ours, reference, 0.99);
      const std::string what = std::string(bound.name) + (finalOutput ? " export" : " preview");
      EXPECT_LE(mean, bound.mean) << what << " (" << bound.why << ")";
      EXPECT_LE(p99, bound.p99) << what << " (" << bound.why << ")";
      if (mean > bound.mean || p99 > bound.p99) {
        testing::saveForInspection(ours, what + " ours");
        testing::saveForInspection(reference, what + " reference");
      }
    }
  }
}

}  // namespace
}  // namespace halvane
