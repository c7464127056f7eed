// The orientation folded into a render's own geometry pass gives the pixels that
// baking the source upright and then editing it give: every stored orientation, with
// the edit's crop, turns, mirror and tilt.
#include <gtest/gtest.h>

#include <string>

#include "Halvane/Rendering/EngineTestSupport.h"
#include "Halvane/Rendering/SourceOrientation.h"

namespace halvane {
namespace {

using platform::media::Image;

class OrientationFold : public testing::EngineTest {};

TEST_F(OrientationFold, GivesThePixelsOfTheBakeThenTheEdit) {
  struct Geometry {
    const char* name;
    Rect crop;
    int turns;
    bool flip;
    float tilt;
  };
  const Geometry geometries[] = {
      {"none", {0, 0, 1, 1}, 0, false, 0},
      {"crop", {0.1, 0.2, 0.7, 0.5}, 0, false, 0},
      {"crop, turn, mirror", {0.15, 0.05, 0.6, 0.8}, 1, true, 0},
      {"crop, half turn", {0.3, 0.1, 0.5, 0.6}, 2, false, 0},
      {"crop, three turns, tilt", {0.1, 0.1, 0.8, 0.8}, 3, false, 7.5f},
  };
  // Odd sides that differ, so a wrong turn, mirror or crop shows.
  const Image picture = testing::makeDistinctImage(37, 23);
  const auto source = engine->makeTexture(picture);
  ASSERT_TRUE(source);
  for (int raw = 0; raw < 8; ++raw) {
    auto upright = source;
    if (auto bake = orientationBakeState(raw)) {
      auto buffer = engine->commandQueue()->commandBuffer();
      upright = engine->processTexture(source, *bake, *buffer, false);
      buffer->commit();
      buffer->waitUntilCompleted();
    }
    for (const Geometry& g : geometries) {
      SCOPED_TRACE(std::string(g.name) + ", orientation " + std::to_string(raw));
      EditState state;
      state.cropRect = g.crop;
      state.rotationQuarterTurns = g.turns;
      state.flipHorizontal = g.flip;
      state.rotationAngle = g.tilt;
      state.exposure = 0.2f;  // an edit after the geometry, as a render has
      const auto baked = engine->renderToImage(upright, state);
      const auto folded = engine->renderToImage(source, foldOrientation(state, raw, 37, 23));
      ASSERT_TRUE(baked && folded);
      ASSERT_EQ(folded->width, baked->width);
      ASSERT_EQ(folded->height, baked->height);
      // Without tilt each pixel is a copy of the same source pixel; with it, the
      // bilinear weights come out of mirrored coordinates and may round apart.
      EXPECT_LE(testsupport::maxAbsoluteDifference(*folded, *baked), g.tilt == 0 ? 0 : 1);
    }
  }
}

}  // namespace
}  // namespace halvane
