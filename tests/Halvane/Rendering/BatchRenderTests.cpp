// Renders batched on one command buffer give, state by state, what one render each
// gives, the unedited state included.
#include <gtest/gtest.h>

#include "Halvane/Rendering/EngineTestSupport.h"

namespace halvane {
namespace {

class BatchRender : public testing::EngineTest {};

TEST_F(BatchRender, EachStateGivesWhatItsOwnRenderGives) {
  const auto source = engine->makeTexture(testing::makeDistinctImage(64, 48));
  ASSERT_TRUE(source);
  std::vector<EditState> states(4);
  states[1].exposure = 0.4f;
  states[2].cropRect = Rect{0.1, 0.2, 0.5, 0.6};
  states[2].filterType = 12;  // a look that reads the wide level
  states[2].clarity = 0.5f;
  states[3].focusMode = 1;
  states[3].focusStrength = 0.8f;
  states[3].rotationQuarterTurns = 1;
  const auto batch = engine->renderToImages(source, states);
  ASSERT_EQ(batch.size(), states.size());
  for (size_t i = 0; i < states.size(); ++i) {
    const auto alone = engine->renderToImage(source, states[i], {}, false);
    ASSERT_TRUE(batch[i] && alone) << i;
    EXPECT_EQ(batch[i]->width, alone->width) << i;
    EXPECT_EQ(batch[i]->pixels, alone->pixels) << i;
  }
  EXPECT_TRUE(engine->renderToImages(nullptr, states)[0] == std::nullopt);
}

}  // namespace
}  // namespace halvane
