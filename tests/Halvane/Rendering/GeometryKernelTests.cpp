// The geometry pass: crop, turns and mirror copy source pixels exactly, a tilt turns
// about the centre and leaves no empty corner, and the stored orientation, baked or
// folded into an edit, turns a photo upright.
#include <gtest/gtest.h>

#include <cmath>

#include "EngineTestSupport.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "Halvane/Rendering/SourceOrientation.h"
#include "Platform/Media/ImageDecoder.h"

namespace halvane {
namespace {

using namespace testing;

// Crop, quarter turns clockwise, then the mirror: done on whole pixel arrays, step by
// step, independently of the kernel's inverse mapping.
Image referenceGeometry(const Image& source, const EditState& state) {
  const RenderUniforms u = makeUniforms(source.width, source.height, state, false);
  // The crop's origin is rounded like its size; where both round up, the crop is
  // moved back inside the source rather than shrunk.
  const int originX =
      std::min(int(std::floor(u.cropX * float(source.width) + 0.5f)), source.width - int(u.croppedWidth));
  const int originY =
      std::min(int(std::floor(u.cropY * float(source.height) + 0.5f)), source.height - int(u.croppedHeight));
  Image image = makePicture(int(u.croppedWidth), int(u.croppedHeight),
                            [&](int x, int y) { return rgb(source, originX + x, originY + y); });
  for (uint32_t turn = 0; turn < u.quarterTurns; ++turn)
    image = makePicture(image.height, image.width, [&](int x, int y) { return rgb(image, y, image.height - 1 - x); });
  if (!u.flipHorizontal) return image;
  return makePicture(image.width, image.height, [&](int x, int y) { return rgb(image, image.width - 1 - x, y); });
}

using GeometryKernel = EngineTest;

TEST_F(GeometryKernel, CropTurnAndMirrorCopySourcePixelsExactly) {
  // Odd sizes so that the 16 by 16 edge groups overrun in both directions.
  const Image source = makeDistinctImage(53, 37);
  auto texture = engine->makeTexture(source);
  ASSERT_TRUE(texture);
  const Rect crops[] = {
      {0, 0, 1, 1}, {0.25, 0.125, 0.5, 0.75}, {0.5, 0.5, 0.5, 0.5}, {0.1, 0.3, 0.37, 0.41}, {0.9, 0.9, 0.5, 0.5}};
  for (const Rect& crop : crops)
    for (int64_t turns : {0, 1, 2, 3, -1, 6})
      for (bool flip : {false, true}) {
        SCOPED_TRACE(::testing::Message() << "crop " << crop.x << "," << crop.y << " " << crop.width << "x"
                                          << crop.height << " turns " << turns << " flip " << flip);
        // A non-default state (trimmed) with neutral geometry must also copy exactly.
        const EditState state{.flipHorizontal = flip, .rotationQuarterTurns = turns, .cropRect = crop, .trimEnd = 1};
        const Image expected = referenceGeometry(source, state);
        auto result = engine->renderToImage(texture, state);
        ASSERT_TRUE(result);
        ASSERT_EQ(std::pair(result->width, result->height), std::pair(expected.width, expected.height));
        EXPECT_EQ(result->pixels, expected.pixels);
      }
}

TEST_F(GeometryKernel, TiltLeavesNoEmptyCorner) {
  // A bright picture with a darker frame: after a tilt every output pixel must come
  // from inside the picture, so none may be darker than the frame.
  auto texture = engine->makeTexture(
      makePicture(120, 80, [](int x, int y) { return grey(x == 0 || y == 0 || x == 119 || y == 79 ? 90 : 200); }));
  for (float angle : {10.0f, -10.0f, 45.0f, -45.0f, 0.5f})
    for (int64_t turns : {0, 1}) {
      auto result = engine->renderToImage(texture, {.rotationAngle = angle, .rotationQuarterTurns = turns});
      ASSERT_TRUE(result);
      uint8_t darkest = 255;
      for (size_t i = 0; i < result->pixels.size(); i += 4) darkest = std::min(darkest, result->pixels[i + 1]);
      EXPECT_GE(darkest, 90) << "angle " << angle << " turns " << turns;
    }
}

TEST_F(GeometryKernel, TiltTurnsContentAboutTheCentre) {
  // The centre pixel stays; a point right of the centre moves down for a clockwise
  // (positive) tilt.
  auto texture = engine->makeTexture(makeDistinctImage(101, 101));
  auto result = engine->renderToImage(texture, {.rotationAngle = 10});
  ASSERT_TRUE(result);
  const uint8_t* centre = result->pixel(50, 50);
  EXPECT_NEAR(centre[0], 50, 1);
  EXPECT_NEAR(centre[1], 50, 1);
  // The source column 80 on the middle row lands below the middle row.
  bool foundBelow = false;
  for (int y = 51; y < 101 && !foundBelow; ++y)
    for (int x = 60; x < 101; ++x)
      foundBelow |= std::abs(rgb(*result, x, y)[2] - 80) <= 1 && std::abs(rgb(*result, x, y)[1] - 50) <= 1;
  EXPECT_TRUE(foundBelow);
}

TEST_F(GeometryKernel, OrientationBakesTurnEveryLandscapeUpright) {
  // Landscape_1 to _8 hold one picture stored in the eight EXIF orientations;
  // Landscape_0 is the upright reference. Each was compressed on its own.
  const std::string folder = std::string(HALVANE_MEDIA_DIR) + "/exif-orientation/";
  EXPECT_FALSE(orientationBakeState(0));  // outside the EXIF values: nothing to bake
  EXPECT_FALSE(orientationBakeState(9));
  auto reference = platform::media::decodeImageFile(folder + "Landscape_0.jpg");
  ASSERT_TRUE(reference);
  for (int number = 1; number <= 8; ++number) {
    auto decoded = platform::media::decodeImageFile(folder + "Landscape_" + std::to_string(number) + ".jpg");
    ASSERT_TRUE(decoded);
    const auto baked = engine->bakeUpright(engine->makeTexture(*decoded), int(decoded->orientation));
    ASSERT_TRUE(baked) << baked.error().message;
    const Image upright = readBack(*engine, *baked);
    ASSERT_EQ(std::pair(upright.width, upright.height), std::pair(reference->width, reference->height)) << number;
    // Right bakes differ by 2 to 4.5 code values (recompression noise, the transposed
    // ones most); a wrong turn or mirror differs by more than 70.
    EXPECT_LT(meanAbsoluteDifference(upright, *reference), 6.0) << "Landscape_" << number;
  }
}

// The orientation folded into a render's own geometry pass gives the pixels that
// baking the source upright and then editing it give: every stored orientation, with
// the edit's crop, turns, mirror and tilt.
TEST_F(GeometryKernel, OrientationFoldedIntoTheEditGivesThePixelsOfTheBakeThenTheEdit) {
  // Each with an edit after the geometry, as a render has.
  const std::pair<const char*, EditState> geometries[] = {
      {"none", {.exposure = 0.2f}},
      {"crop", {.exposure = 0.2f, .cropRect = {0.1, 0.2, 0.7, 0.5}}},
      {"crop, turn, mirror",
       {.exposure = 0.2f, .flipHorizontal = true, .rotationQuarterTurns = 1, .cropRect = {0.15, 0.05, 0.6, 0.8}}},
      {"crop, half turn", {.exposure = 0.2f, .rotationQuarterTurns = 2, .cropRect = {0.3, 0.1, 0.5, 0.6}}},
      {"crop, three turns, tilt",
       {.exposure = 0.2f, .rotationAngle = 7.5f, .rotationQuarterTurns = 3, .cropRect = {0.1, 0.1, 0.8, 0.8}}},
  };
  // Odd sides that differ, so a wrong turn, mirror or crop shows.
  const auto source = engine->makeTexture(makeDistinctImage(37, 23));
  ASSERT_TRUE(source);
  for (int raw = 0; raw < 8; ++raw) {
    const auto upright = engine->bakeUpright(source, raw);
    ASSERT_TRUE(upright) << upright.error().message;
    for (const auto& [name, state] : geometries) {
      SCOPED_TRACE(std::string(name) + ", orientation " + std::to_string(raw));
      const auto baked = engine->renderToImage(*upright, state);
      const auto folded = engine->renderToImage(source, foldOrientation(state, raw, 37, 23));
      ASSERT_TRUE(baked && folded);
      ASSERT_EQ(std::pair(folded->width, folded->height), std::pair(baked->width, baked->height));
      // Without tilt each pixel is a copy of the same source pixel; with it, the
      // bilinear weights come out of mirrored coordinates and may round apart.
      EXPECT_LE(maxAbsoluteDifference(*folded, *baked), state.rotationAngle == 0 ? 0 : 1);
    }
  }
}

}  // namespace
}  // namespace halvane
