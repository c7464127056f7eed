// The colour pass's wide level (clarity, a look's detail and glow) at sizes where it is
// reduced: the GPU against the CPU reference, which computes the same level, and the
// level against the former gather of each pixel's neighbourhood from the picture, on
// photos. The second compares in code values, as the focus pass's quality test does:
// the mean absolute difference says whether the two look alike, and the 99th
// percentile of the pixels' largest channel difference bounds the worst places
// without letting a handful of pixels decide.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/ColorKernelSupport.h"
#include "Halvane/Rendering/ColorReference.h"
#include "Halvane/Rendering/ColorWidePass.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace halvane {
namespace {

using colortest::Image;
using colortest::maxAbsoluteDifference;
using colortest::renderColor;
using testsupport::meanAbsoluteDifference;

EditState withClarity(float amount) {
  EditState s;
  s.clarity = amount;
  return s;
}

EditState withLook(const char* id) {
  EditState s;
  s.filterType = FilterCatalogue::definitionForID(id)->shaderFilterType;
  return s;
}

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
    {"clarity +1", withClarity(1), 2.0, 25},
    {"clarity -1", withClarity(-1), 1.4, 17},
    {"halo", withLook("halo"), 0.25, 4},
    {"noir", withLook("noir"), 0.5, 6},
};

class ColorWideLevel : public testing::EngineTest {};

TEST_F(ColorWideLevel, ReducedLevelMatchesTheCpuReference) {
  // 1200 by 900: the wide radius of 18 pixels makes a level reduced three times.
  const Image photo = colortest::naturalPhoto(1200, 900);
  ASSERT_EQ(wideLevelSize(1200, 900).width, 400u);
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    const Image gpu = renderColor(*engine, photo, c.state);
    const Image cpu = colorref::renderColorPass(photo, c.state);
    // The bounds of the adjustments (1) and of the looks (2, mean 0.1) against the reference.
    const bool isLook = c.state.filterType != 0;
    EXPECT_LE(maxAbsoluteDifference(gpu, cpu), isLook ? 2 : 1);
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
    EXPECT_EQ(size.width, r.levelWidth) << r.width << " x " << r.height;
    EXPECT_EQ(size.height, r.levelHeight) << r.width << " x " << r.height;
  }
}

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

TEST_F(ColorWideLevel, LooksLikeTheFormerGatherOfEachPixel) {
  struct Photo {
    const char* file;
    int width, height;
  };
  // 1200 by 1600: a level reduced four times.
  for (const Photo& p : {Photo{"photo/classic-car.heic", 1200, 1600}, Photo{"photo/flower.webp", 1600, 1200}}) {
    auto decoded = platform::media::decodeImageFile(std::string(HALVANE_MEDIA_DIR) + "/" + p.file);
    if (!decoded) GTEST_SKIP() << "the shared media folder is missing";
    const Image photo = platform::media::scaleImage(*decoded, p.width, p.height);
    for (const auto& c : kCases) {
      const std::string what = std::string(p.file) + ", " + c.name;
      const Image ours = renderColor(*engine, photo, c.state);
      const Image former = colorref::renderColorPassGatheringEachPixel(photo, c.state);
      const double mean = meanAbsoluteDifference(ours, former);
      const double p99 = percentileDifference(ours, former, 0.99);
      std::printf("%s: mean %.3f, p99 %.0f\n", what.c_str(), mean, p99);
      EXPECT_LE(mean, c.mean) << what;
      EXPECT_LE(p99, c.p99) << what;
    }
  }
}

}  // namespace
}  // namespace halvane
