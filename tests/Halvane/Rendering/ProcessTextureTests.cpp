#include <gtest/gtest.h>

#include <algorithm>

#include "EngineTestSupport.h"

namespace halvane {
namespace {

using namespace platform::gpu;
using namespace testing;

// A real command buffer whose compute encoders can be refused from the n-th on, as a
// driver out of memory would.
class RefusingCommandBuffer : public CommandBuffer {
 public:
  RefusingCommandBuffer(std::shared_ptr<CommandBuffer> inner, int encodersAllowed)
      : inner_(std::move(inner)), encodersAllowed_(encodersAllowed) {}
  std::shared_ptr<ComputeCommandEncoder> computeCommandEncoder() override {
    if (encodersAllowed_-- <= 0) return nullptr;
    return inner_->computeCommandEncoder();
  }
  std::shared_ptr<BlitCommandEncoder> blitCommandEncoder() override { return inner_->blitCommandEncoder(); }
  std::shared_ptr<RenderCommandEncoder> renderCommandEncoder(const RenderPassDescriptor& pass) override {
    return inner_->renderCommandEncoder(pass);
  }
  void addCompletedHandler(std::function<void(CommandBuffer&)> handler) override {
    inner_->addCompletedHandler(std::move(handler));
  }
  void commit() override { inner_->commit(); }
  void waitUntilCompleted() override { inner_->waitUntilCompleted(); }
  CommandBufferStatus status() const override { return inner_->status(); }
  std::string errorMessage() const override { return inner_->errorMessage(); }

 private:
  std::shared_ptr<CommandBuffer> inner_;
  int encodersAllowed_;
};

// A colour edit with a mirror, so that all three passes can run.
const EditState kColourEdit{.exposure = 0.5f, .flipHorizontal = true};
const EditState kFocusEdit{.exposure = 0.5f, .flipHorizontal = true, .focusMode = 4, .focusStrength = 1};

class ProcessTexture : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    source = engine->makeTexture(makeDistinctImage(40, 30));
    ASSERT_TRUE(source);
    allocatorControl().allocations = 0;
  }
  // Runs one processTexture on its own command buffer and returns the result after
  // the GPU finished, with the number of pooled textures of the output size.
  std::shared_ptr<Texture> run(const EditState& state, int encodersAllowed = 99, int texturesAllowed = -1) {
    allocatorControl().remaining = texturesAllowed;
    auto buffer = std::make_shared<RefusingCommandBuffer>(engine->commandQueue()->commandBuffer(), encodersAllowed);
    auto result = engine->processTexture(source, state, *buffer, false);
    buffer->commit();
    buffer->waitUntilCompleted();
    allocatorControl().remaining = -1;
    return result;
  }
  size_t pooled() const { return engine->texturePool()->pooledCount("40x30_80_2"); }
  std::shared_ptr<Texture> source;
};

// Each pass runs only when it changes the picture, into a texture of its own; the earlier
// stages go back to the pool once the GPU is done. The version alone is no edit; with
// a trim, geometry and colour would both be exact identities; the focus pass needs a
// mode and a strength.
TEST_F(ProcessTexture, OnlyPassesThatChangeThePictureRun) {
  const EditState mirrored{.flipHorizontal = true}, exposed{.exposure = 0.5f};
  const std::pair<EditState, int> cases[] = {
      {{.version = 7}, 0}, {{.trimEnd = 3}, 0}, {mirrored, 1}, {exposed, 1},
      {{.flipHorizontal = true, .focusMode = 4, .focusStrength = 1}, 2},
      // A mode alone and a strength alone.
      {{.exposure = 0.5f, .flipHorizontal = true, .focusMode = 3}, 2},
      {{.exposure = 0.5f, .flipHorizontal = true, .focusStrength = 1}, 2}, {kFocusEdit, 3}};
  for (const auto& [state, passes] : cases) {
    engine->purgeCaches();
    allocatorControl().allocations = 0;
    auto result = run(state);
    EXPECT_EQ(result == source, passes == 0);
    EXPECT_EQ(allocatorControl().allocations, passes);
    EXPECT_EQ(pooled(), size_t(std::max(passes - 1, 0)));
  }
  // Colour alone reads the source itself, and gives what it gives after a mirror,
  // mirrored back (the exposure acts on each pixel alone).
  const Image direct = readBack(*engine, run(exposed));
  auto viaMirror = run(kColourEdit);
  source.swap(viaMirror);
  auto back = run(mirrored);
  source.swap(viaMirror);
  EXPECT_EQ(readBack(*engine, back).pixels, direct.pixels);
}

// A refused texture or encoder gives the last finished stage, and every intermediate
// goes back to the pool: at once when nothing was encoded into it, else when the GPU
// is done.
TEST_F(ProcessTexture, RefusalsFallBackToTheLastFinishedStage) {
  struct Case {
    const char* what;
    EditState state;
    int encodersAllowed, texturesAllowed;
    bool givesSource;
    size_t pooled;
  };
  const Case cases[] = {
      {"no texture", kColourEdit, 99, 0, true, 0},
      {"second texture refused", kColourEdit, 99, 1, true, 1},
      {"third texture refused: the colour stage", kFocusEdit, 99, 2, false, 1},
      {"no geometry encoder", kColourEdit, 0, -1, true, 2},
      {"no colour encoder", kColourEdit, 1, -1, true, 2},
      {"no focus encoder: the colour stage", kFocusEdit, 2, -1, false, 2},
  };
  const Image colourStage = readBack(*engine, run(kColourEdit));
  for (const Case& c : cases) {
    engine->purgeCaches();
    auto result = run(c.state, c.encodersAllowed, c.texturesAllowed);
    EXPECT_EQ(result == source, c.givesSource) << c.what;
    EXPECT_EQ(pooled(), c.pooled) << c.what;
    if (!c.givesSource) {
      EXPECT_EQ(readBack(*engine, result).pixels, colourStage.pixels) << c.what;
    }
  }
}

TEST_F(ProcessTexture, TwoChainsOnOneCommandBufferKeepTheirOwnIntermediates) {
  auto buffer = engine->commandQueue()->commandBuffer();
  auto a = engine->processTexture(source, {.rotationQuarterTurns = 2}, *buffer, false);
  auto b = engine->processTexture(source, {.flipHorizontal = true}, *buffer, false);
  buffer->commit();
  buffer->waitUntilCompleted();
  ASSERT_NE(a, b);
  const Image mirroredImage = readBack(*engine, b);
  // Turning twice and mirroring differ by a vertical flip of each other.
  EXPECT_EQ(readBack(*engine, a).pixels,
            makePicture(40, 30, [&](int x, int y) { return rgb(mirroredImage, x, 29 - y); }).pixels);
}

TEST_F(ProcessTexture, RenderToImageCarriesTheColourSpaceLabel) {
  const std::vector<uint8_t> profile = {1, 2, 3, 4};
  auto image = engine->renderToImage(source, kColourEdit, profile);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->iccProfile, profile);
  EXPECT_EQ(pooled(), 2u);  // the result went back to the pool after the read-back
}

}  // namespace
}  // namespace halvane
