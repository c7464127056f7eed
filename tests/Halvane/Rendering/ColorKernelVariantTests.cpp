// The colour kernel's variants: each, compiled for what an edit uses, gives exactly the
// pixels of the general kernel; the engine picks them without ever blocking the preview,
// and leaves the pass out when every colour field is neutral.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/ColorConstants.h"
#include "Halvane/Rendering/ColorKernelSupport.h"
#include "Halvane/Rendering/ColorKernelVariants.h"
#include "Halvane/Shaders/ColorFeatures.glsl"

namespace halvane {
namespace {

using namespace platform::gpu;
using namespace colortest;

class ColorVariants : public EngineTest {
 protected:
  // One colour pass straight on the device with `pipeline`, its result read back.
  Image run(const std::shared_ptr<ComputePipelineState>& pipeline, const std::shared_ptr<Texture>& input,
            const RenderUniforms& block) {
    auto output = engine->metalDevice()->newTexture({input->width(), input->height(), PixelFormat::bgra8Unorm,
                                                     StorageMode::privateStorage,
                                                     TextureUsage::shaderRead | TextureUsage::shaderWrite});
    auto buffer = engine->commandQueue()->commandBuffer();
    auto encoder = buffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline);
    // The input also stands in for the wide level (2, 3): both kernels compared read the same.
    for (uint32_t slot : {0u, 2u, 3u}) encoder->setTexture(input, slot);
    encoder->setTexture(output, 1);
    setColorBlocks(*encoder, block);
    encoder->setThreadgroupMemoryLength(kColorGroupMemoryBytes, 0);
    encoder->dispatchThreadgroups({(input->width() + 15) / 16, (input->height() + 15) / 16, 1}, {16, 16, 1});
    encoder->endEncoding();
    buffer->commit();
    buffer->waitUntilCompleted();
    EXPECT_EQ(buffer->status(), CommandBufferStatus::completed) << buffer->errorMessage();
    return readBack(*engine, output);
  }
};

std::int64_t look(const char* id) { return FilterCatalogue::definitionForID(id)->shaderFilterType; }

TEST_F(ColorVariants, EachVariantGivesExactlyTheGeneralKernelsPixels) {
  const EditState everything{.exposure = 0.3f, .contrast = 1.2f, .whites = 0.3f, .gamma = 1.1f, .saturation = 1.3f,
                             .temperature = 7600, .sharpness = 0.7f, .clarity = 0.4f, .vignetteIntensity = 0.5f};
  const std::pair<const char*, EditState> edits[] = {
      {"warmth", {.temperature = 4800, .tint = 0.3f}},
      {"exposure", {.exposure = 0.8f}},
      {"saturation", {.saturation = 1.5f}},
      {"vibrance", {.vibrance = -0.6f}},
      {"brightness", {.brightness = 0.15f}},
      {"contrast", {.contrast = 1.4f}},
      {"tone regions", {.highlights = -0.5f, .shadows = 0.6f, .blacks = 0.2f}},
      {"gamma", {.gamma = 0.7f}},
      {"sharpness", {.sharpness = 1.2f}},
      {"clarity", {.clarity = -0.7f}},
      {"vignette", {.vignetteIntensity = 1.1f, .vignetteRadius = 0.6f}},
      {"everything", everything},
      {"Kodachrome", {.filterType = look("kodachrome")}},
      {"Halo at 60 % with sharpness", {.sharpness = 0.5f, .filterType = look("halo"), .filterIntensity = 0.6f}},
      {"Grain", {.filterType = look("grain")}},
  };
  // 53 by 37: edge groups overrun on both sides.
  const Image photo = naturalPhoto(53, 37);
  auto input = engine->makeTexture(photo);
  ASSERT_TRUE(input);
  for (const auto& [name, edit] : edits) {
    const RenderUniforms block = makeUniforms(photo.width, photo.height, edit, true);
    const uint32_t features = colorFeatures(block);
    ASSERT_NE(features, 0u) << name;
    auto variant = engine->metalDevice()->newComputePipelineState(engine->library(), "colorKernel", {{0, features}});
    ASSERT_TRUE(variant) << name;
    const Image general = run(engine->colorKernelVariants().general(), input, block);
    EXPECT_NE(general.pixels, photo.pixels) << name << ": the edit changes the picture";
    EXPECT_EQ(run(*variant, input, block).pixels, general.pixels) << name << ", features " << features;
  }
}

TEST_F(ColorVariants, OnlyPicturesLargeEnoughToPayForTheCompileMakeAVariant) {
  const EditState edit{.gamma = 1.3f, .vibrance = 0.2f};  // a combination no other test of this program uses
  auto& variants = engine->colorKernelVariants();
  const size_t before = variants.variantCount();
  const Image small = renderColor(*engine, makeFlat(200, 100, 90, 120, 150), edit);
  variants.waitUntilIdle();
  EXPECT_EQ(variants.variantCount(), before);
  const Image large = renderColor(*engine, makeFlat(256, 256, 90, 120, 150), edit);
  EXPECT_EQ(variants.variantCount(), before + 1);  // a finished image waits for it
  EXPECT_EQ(rgb(large, 17, 200), rgb(small, 17, 50));
}

TEST_F(ColorVariants, FeaturesFollowTheCleanedBlock) {
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, EditState{}, false)), 0u);
  // A NaN temperature is cleaned to 6500, a negative sharpness to 0; a look at no
  // intensity does nothing, nor a vignette's size without intensity, nor an intensity
  // without a look.
  const EditState outOfRange{.temperature = NAN, .sharpness = -1, .vignetteRadius = 0.3f, .filterType = 12,
                             .filterIntensity = 0, .cropRect = {0.1, 0.1, 0.5, 0.5}};
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, outOfRange, false)), 0u);
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, {.filterIntensity = 0.5f}, false)), 0u);
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, {.exposure = 0.1f, .highlights = -0.2f, .filterType = 12}, false)),
            COLOR_FEATURE_EXPOSURE | COLOR_FEATURE_TONE_REGIONS | COLOR_FEATURE_LOOK);
}

// The preview never waits: it takes the general kernel until the worker is done.
// Threads that wait for the same variant get the one compile.
TEST_F(ColorVariants, PreviewDoesNotWaitAndConcurrentRequestsCompileOneVariant) {
  ColorKernelVariants variants(engine->metalDevice(), engine->library(), engine->colorKernelVariants().general());
  const uint32_t features = COLOR_FEATURE_GAMMA | COLOR_FEATURE_VIGNETTE;
  EXPECT_EQ(variants.pipelineWithoutWaiting(features), variants.general());  // queued for the worker
  std::shared_ptr<ComputePipelineState> got[3];
  std::vector<std::thread> threads;
  for (auto& slot : got)
    threads.emplace_back([&variants, &slot, features] { slot = variants.pipelineWaiting(features); });
  for (auto& t : threads) t.join();
  variants.waitUntilIdle();
  for (const auto& pipeline : got) {
    EXPECT_NE(pipeline, variants.general());
    EXPECT_EQ(pipeline, got[0]);
  }
  EXPECT_EQ(variants.pipelineWithoutWaiting(features), got[0]);
  EXPECT_EQ(variants.variantCount(), 1u);
}

TEST_F(ColorVariants, DestroyingWithWorkQueuedWaitsOnlyForTheCompileInHand) {
  auto variants = std::make_unique<ColorKernelVariants>(engine->metalDevice(), engine->library(),
                                                        engine->colorKernelVariants().general());
  for (uint32_t features : {COLOR_FEATURE_EXPOSURE, COLOR_FEATURE_SATURATION, COLOR_FEATURE_VIBRANCE})
    variants->pipelineWithoutWaiting(features);
  variants.reset();  // no crash, no hang
}

}  // namespace
}  // namespace halvane
