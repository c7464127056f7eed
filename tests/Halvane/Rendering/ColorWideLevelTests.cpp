// The colour pass's wide level (clarity, a look's detail and glow) at sizes where it is
// reduced: the GPU against the CPU reference, which computes the same level, and the
// level against the former gather of each pixel's neighbourhood from the picture, on
// photos. The second compares in code values, as the focus pass's quality test does:
// the mean absolute difference says whether the two look alike, and the 99th
// percentile of the pixels' largest channel difference bounds the worst places
// without letting a handful of pixels decide.
#include <gtest/gtest.h>

#include <string>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/ColorKernelSupport.h"
#include "Halvane/Rendering/ColorWidePass.h"

namespace halvane {
namespace {

using namespace colortest;

EditState withLook(const char* id) { return {.filterType = FilterCatalogue::definitionForID(id)->shaderFilterType}; }

struct Case {
  const char* name;
  EditState state;
  // Against the former gather of each pixel, on the photos below: bounds about a third
  // above what the level gives, so a real loss of quality fails while rounding does not.
  double mean;  // mean absolute difference, code values
  double p99;   // 99th percentile of the pixels' largest channel difference
};

// Clarity both ways, a look with glow (halo) and one with detail (noir). The luma blur
// was a bilateral gather around each pixel's luma and is now a guided filter: both keep
// edges, but they part most in fine, contrasty texture (foliage against sky), which
// the full clarity amplifies by 1.5. Glow is a plain blur both ways.
const Case kCases[] = {
    {"clarity +1", {.clarity = 1}, 2.0, 25},
    {"clarity -1", {.clarity = -1}, 1.4, 17},
    {"halo", withLook("halo"), 0.25, 4},
    {"noir", withLook("noir"), 0.5, 6},
};

using ColorWideLevel = EngineTest;

TEST_F(ColorWideLevel, ReducedLevelMatchesTheCpuReference) {
  // 1200 by 900: the wide radius of 18 pixels makes a level reduced three times.
  const Image photo = naturalPhoto(1200, 900);
  ASSERT_EQ(wideLevelSize(1200, 900).width, 400u);
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    // The bounds of the adjustments (1) and of the looks (2, mean 0.1) against the reference.
    const auto [gpu, cpu] = renderAgainstReference(*engine, photo, c.state, c.state.filterType != 0 ? 2 : 1);
    EXPECT_LE(meanAbsoluteDifference(gpu, cpu), 0.1);
  }
}

TEST(ColorWideLevelSize, ReducedByAWholeFactorOnlyWhereTheRadiusIsLarge) {
  struct Row {
    uint32_t width, height, levelWidth, levelHeight;
  };
  const Row rows[] = {
      {1, 1, 1, 1},          {120, 90, 120, 90},     {640, 480, 640, 480},  // radius under 12 pixels
      {1200, 900, 400, 300}, {4032, 3024, 404, 303}, {3024, 4032, 303, 404},
  };
  for (const Row& r : rows) {
    const WideLevelSize size = wideLevelSize(r.width, r.height);
    EXPECT_EQ(std::pair(size.width, size.height), std::pair(r.levelWidth, r.levelHeight)) << r.width << "x" << r.height;
  }
}

TEST_F(ColorWideLevel, LooksLikeTheFormerGatherOfEachPixel) {
  struct Photo {
    const char* file;
    int width, height;
  };
  // 1200 by 1600: a level reduced four times.
  for (const Photo& p : {Photo{"photo/classic-car.heic", 1200, 1600}, Photo{"photo/flower.webp", 1600, 1200}}) {
    const Image photo = loadPhoto(p.file, p.width, p.height);
    if (photo.isEmpty()) GTEST_SKIP() << "the shared media folder is missing";
    for (const auto& c : kCases) {
      const std::string what = std::string(p.file) + ", " + c.name;
      const Image ours = renderColor(*engine, photo, c.state);
      const Image former = colorref::renderColorPassGatheringEachPixel(photo, c.state);
      const double mean = meanAbsoluteDifference(ours, former);
      const double p99 = percentileDifference(ours, former, 0.99);
      EXPECT_LE(mean, c.mean) << what;
      EXPECT_LE(p99, c.p99) << what;
    }
  }
}

}  // namespace
}  // namespace halvane
