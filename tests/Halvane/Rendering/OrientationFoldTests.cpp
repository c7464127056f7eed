// The orientation folded into a render's own geometry pass gives the pixels that
// baking the source upright and then editing it give: every stored orientation, with
// the edit's crop, turns, mirror and tilt.
#include <gtest/gtest.h>

#include <string>

#include "Halvane/Rendering/EngineTestSupport.h"
#include "Halvane/Rendering/SourceOrientation.h"

namespace halvane {
namespace {

using namespace testing;
using OrientationFold = EngineTest;

TEST_F(OrientationFold, GivesThePixelsOfTheBakeThenTheEdit) {
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
    auto upright = source;
    if (auto bake = orientationBakeState(raw)) {
      auto buffer = engine->commandQueue()->commandBuffer();
      upright = engine->processTexture(source, *bake, *buffer, false);
      buffer->commit();
      buffer->waitUntilCompleted();
    }
    for (const auto& [name, state] : geometries) {
      SCOPED_TRACE(std::string(name) + ", orientation " + std::to_string(raw));
      const auto baked = engine->renderToImage(upright, state);
      const auto folded = engine->renderToImage(source, foldOrientation(state, raw, 37, 23));
      ASSERT_TRUE(baked && folded);
      ASSERT_EQ(folded->width, baked->width);
      ASSERT_EQ(folded->height, baked->height);
      // Without tilt each pixel is a copy of the same source pixel; with it, the
      // bilinear weights come out of mirrored coordinates and may round apart.
      EXPECT_LE(maxAbsoluteDifference(*folded, *baked), state.rotationAngle == 0 ? 0 : 1);
    }
  }
}

}  // namespace
}  // namespace halvane
