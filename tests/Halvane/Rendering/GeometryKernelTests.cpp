#include <gtest/gtest.h>

#include <cmath>

#include "EngineTestSupport.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "Halvane/Rendering/SourceOrientation.h"
#include "Platform/Media/ImageDecoder.h"

namespace halvane {
namespace {

using platform::media::Image;
using testing::EngineTest;
using testing::makeDistinctImage;

const uint8_t* pixel(const Image& image, uint32_t x, uint32_t y) { return image.pixel(int(x), int(y)); }

// Crop, quarter turns clockwise, then the mirror: done on whole pixel arrays, step by
// step, independently of the kernel's inverse mapping.
Image referenceGeometry(const Image& source, const EditState& state) {
  const RenderUniforms u = makeUniforms(source.width, source.height, state, false);
  // The crop's origin is rounded like its size; where both round up, the crop is
  // moved back inside the source rather than shrunk.
  const auto originX =
      std::min(uint32_t(std::floor(u.cropX * float(source.width) + 0.5f)), uint32_t(source.width) - u.croppedWidth);
  const auto originY =
      std::min(uint32_t(std::floor(u.cropY * float(source.height) + 0.5f)), uint32_t(source.height) - u.croppedHeight);
  Image image;
  image.width = int(u.croppedWidth);
  image.height = int(u.croppedHeight);
  for (uint32_t y = 0; y < u.croppedHeight; ++y)
    for (uint32_t x = 0; x < u.croppedWidth; ++x) {
      const uint8_t* p = pixel(source, originX + x, originY + y);
      image.pixels.insert(image.pixels.end(), p, p + 4);
    }
  for (uint32_t turn = 0; turn < u.quarterTurns; ++turn) {
    Image turned;
    turned.width = image.height;
    turned.height = image.width;
    for (int y = 0; y < turned.height; ++y)
      for (int x = 0; x < turned.width; ++x) {
        const uint8_t* p = image.pixel(y, image.height - 1 - x);
        turned.pixels.insert(turned.pixels.end(), p, p + 4);
      }
    image = std::move(turned);
  }
  if (u.flipHorizontal) {
    Image mirrored = image;
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) std::copy_n(image.pixel(image.width - 1 - x, y), 4, mirrored.pixel(x, y));
    image = std::move(mirrored);
  }
  return image;
}

using GeometryKernel = EngineTest;

TEST_F(GeometryKernel, CropTurnAndMirrorCopySourcePixelsExactly) {
  // Odd sizes so that the 16 by 16 edge groups overrun in both directions.
  const Image source = makeDistinctImage(53, 37);
  auto texture = engine->makeTexture(source);
  ASSERT_TRUE(texture);
  const Rect crops[] = {{0, 0, 1, 1}, {0.25, 0.125, 0.5, 0.75}, {0.5, 0.5, 0.5, 0.5}, {0.1, 0.3, 0.37, 0.41},
                        {0.9, 0.9, 0.5, 0.5}};
  for (const Rect& crop : crops) {
    for (int64_t turns : {0, 1, 2, 3, -1, 6}) {
      for (bool flip : {false, true}) {
        EditState state;
        state.cropRect = crop;
        state.rotationQuarterTurns = turns;
        state.flipHorizontal = flip;
        // A non-default state with neutral geometry must also copy exactly.
        state.trimEnd = 1;
        const Image expected = referenceGeometry(source, state);
        auto result = engine->renderToImage(texture, state);
        ASSERT_TRUE(result);
        ASSERT_EQ(result->width, expected.width);
        ASSERT_EQ(result->height, expected.height);
        EXPECT_EQ(result->pixels, expected.pixels)
            << "crop " << crop.x << "," << crop.y << " " << crop.width << "x" << crop.height << " turns " << turns
            << " flip " << flip;
      }
    }
  }
}

TEST_F(GeometryKernel, TiltLeavesNoEmptyCorner) {
  // A bright picture with a darker frame: after a tilt every output pixel must come
  // from inside the picture, so none may be darker than the frame.
  const int width = 120, height = 80;
  Image source = testing::makeSolidImage(width, height, 200, 200, 200);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      if (x == 0 || y == 0 || x == width - 1 || y == height - 1) {
        uint8_t* p = source.pixel(x, y);
        p[0] = p[1] = p[2] = 90;
      }
  auto texture = engine->makeTexture(source);
  for (float angle : {10.0f, -10.0f, 45.0f, -45.0f, 0.5f}) {
    for (int64_t turns : {0, 1}) {
      EditState state;
      state.rotationAngle = angle;
      state.rotationQuarterTurns = turns;
      auto result = engine->renderToImage(texture, state);
      ASSERT_TRUE(result);
      uint8_t darkest = 255;
      for (size_t i = 0; i < result->pixels.size(); i += 4) darkest = std::min(darkest, result->pixels[i + 1]);
      EXPECT_GE(darkest, 90) << "angle " << angle << " turns " << turns;
    }
  }
}

TEST_F(GeometryKernel, TiltTurnsContentAboutTheCentre) {
  // The centre pixel stays; a point right of the centre moves down for a clockwise
  // (positive) tilt.
  auto texture = engine->makeTexture(makeDistinctImage(101, 101));
  EditState state;
  state.rotationAngle = 10;
  auto result = engine->renderToImage(texture, state);
  ASSERT_TRUE(result);
  const uint8_t* centre = pixel(*result, 50, 50);
  EXPECT_NEAR(centre[0], 50, 1);
  EXPECT_NEAR(centre[1], 50, 1);
  // The source column 80 on the middle row lands below the middle row.
  bool foundBelow = false;
  for (uint32_t y = 51; y < 101 && !foundBelow; ++y)
    for (uint32_t x = 60; x < 101; ++x)
      if (std::abs(int(pixel(*result, x, y)[0]) - 80) <= 1 && std::abs(int(pixel(*result, x, y)[1]) - 50) <= 1)
        foundBelow = true;
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
    auto texture = engine->makeTexture(*decoded);
    if (auto bake = orientationBakeState(int(decoded->orientation))) {
      auto buffer = engine->commandQueue()->commandBuffer();
      texture = engine->processTexture(texture, *bake, *buffer, false);
      buffer->commit();
      buffer->waitUntilCompleted();
    }
    const Image upright = testing::readBack(*engine, texture);
    ASSERT_EQ(upright.width, reference->width) << number;
    ASSERT_EQ(upright.height, reference->height) << number;
    // Right bakes differ by 2 to 4.5 code values (recompression noise, the transposed
    // ones most); a wrong turn or mirror differs by more than 70.
    EXPECT_LT(testing::meanAbsoluteDifference(upright, *reference), 6.0) << "Landscape_" << number;
  }
}

}  // namespace
}  // namespace halvane
