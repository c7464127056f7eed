// The colour kernel's variants: each, compiled for what an edit uses, gives exactly the
// pixels of the general kernel; the engine picks them without ever blocking the preview,
// and leaves the pass out when every colour field is neutral.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/ColorKernelSupport.h"
#include "Halvane/Rendering/ColorKernelVariants.h"
#include "Halvane/Shaders/ColorFeatures.glsl"

namespace halvane {
namespace {

using namespace platform::gpu;
using colortest::Image;

class ColorVariants : public testing::EngineTest {
 protected:
  // One colour pass straight on the device with `pipeline`, its result read back.
  Image run(const std::shared_ptr<ComputePipelineState>& pipeline, const std::shared_ptr<Texture>& input,
            const RenderUniforms& block) {
    TextureDescriptor descriptor;
    descriptor.width = input->width();
    descriptor.height = input->height();
    descriptor.usage = TextureUsage::shaderRead | TextureUsage::shaderWrite;
    auto output = engine->metalDevice()->newTexture(descriptor);
    auto buffer = engine->commandQueue()->commandBuffer();
    auto encoder = buffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline);
    encoder->setTexture(input, 0);
    encoder->setTexture(output, 1);
    // Stands in for the wide level; both kernels compared read the same.
    encoder->setTexture(input, 2);
    encoder->setTexture(input, 3);
    encoder->setBytes(&block, sizeof block, 0);
    encoder->setThreadgroupMemoryLength(18 * 18 * 16, 0);
    encoder->dispatchThreadgroups({(input->width() + 15) / 16, (input->height() + 15) / 16, 1}, {16, 16, 1});
    encoder->endEncoding();
    buffer->commit();
    buffer->waitUntilCompleted();
    EXPECT_EQ(buffer->status(), CommandBufferStatus::completed) << buffer->errorMessage();
    return testing::readBack(*engine, output);
  }
};

EditState look(const char* id, float intensity = 1) {
  EditState s;
  s.filterType = FilterCatalogue::definitionForID(id)->shaderFilterType;
  s.filterIntensity = intensity;
  return s;
}

TEST_F(ColorVariants, EachVariantGivesExactlyTheGeneralKernelsPixels) {
  std::vector<std::pair<std::string, EditState>> edits;
  auto add = [&edits](std::string name, auto change) {
    EditState s;
    change(s);
    edits.emplace_back(std::move(name), s);
  };
  add("warmth", [](EditState& s) { s.temperature = 4800, s.tint = 0.3f; });
  add("exposure", [](EditState& s) { s.exposure = 0.8f; });
  add("saturation", [](EditState& s) { s.saturation = 1.5f; });
  add("vibrance", [](EditState& s) { s.vibrance = -0.6f; });
  add("brightness", [](EditState& s) { s.brightness = 0.15f; });
  add("contrast", [](EditState& s) { s.contrast = 1.4f; });
  add("tone regions", [](EditState& s) { s.shadows = 0.6f, s.highlights = -0.5f, s.blacks = 0.2f; });
  add("gamma", [](EditState& s) { s.gamma = 0.7f; });
  add("sharpness", [](EditState& s) { s.sharpness = 1.2f; });
  add("clarity", [](EditState& s) { s.clarity = -0.7f; });
  add("vignette", [](EditState& s) { s.vignetteIntensity = 1.1f, s.vignetteRadius = 0.6f; });
  add("everything", [](EditState& s) {
    s.exposure = 0.3f, s.contrast = 1.2f, s.saturation = 1.3f, s.whites = 0.3f, s.gamma = 1.1f;
    s.temperature = 7600, s.sharpness = 0.7f, s.clarity = 0.4f, s.vignetteIntensity = 0.5f;
  });
  edits.emplace_back("Kodachrome", look("kodachrome"));
  edits.emplace_back("Halo at 60 % with sharpness", [] {
    EditState s = look("halo", 0.6f);
    s.sharpness = 0.5f;
    return s;
  }());
  edits.emplace_back("Grain", look("grain"));

  // 53 by 37: edge groups overrun on both sides.
  const Image photo = colortest::naturalPhoto(53, 37);
  auto input = engine->makeTexture(photo);
  ASSERT_TRUE(input);
  for (const auto& [name, edit] : edits) {
    const RenderUniforms block = makeUniforms(photo.width, photo.height, edit, true);
    const uint32_t features = colorFeatures(block);
    ASSERT_NE(features, 0u) << name;
    auto variant = engine->metalDevice()->newComputePipelineState(engine->library(), "colorKernel", {{0, features}});
    ASSERT_TRUE(variant) << name;
    const Image general = run(engine->colorKernelVariants().general(), input, block);
    const Image specialized = run(*variant, input, block);
    EXPECT_NE(general.pixels, photo.pixels) << name << ": the edit changes the picture";
    EXPECT_EQ(specialized.pixels, general.pixels) << name << ", features " << features;
  }
}

TEST_F(ColorVariants, OnlyPicturesLargeEnoughToPayForTheCompileMakeAVariant) {
  EditState edit;  // a combination no other test of this program uses
  edit.gamma = 1.3f;
  edit.vibrance = 0.2f;
  auto& variants = engine->colorKernelVariants();
  const size_t before = variants.variantCount();
  const Image small = colortest::renderColor(*engine, colortest::makeFlat(200, 100, 90, 120, 150), edit);
  variants.waitUntilIdle();
  EXPECT_EQ(variants.variantCount(), before);
  const Image large = colortest::renderColor(*engine, colortest::makeFlat(256, 256, 90, 120, 150), edit);
  EXPECT_EQ(variants.variantCount(), before + 1);  // a finished image waits for it
  EXPECT_EQ(colortest::rgb(large, 17, 200), colortest::rgb(small, 17, 50));
}

TEST_F(ColorVariants, FeaturesFollowTheCleanedBlock) {
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, EditState{}, false)), 0u);
  EditState outOfRange;
  outOfRange.temperature = std::numeric_limits<float>::quiet_NaN();  // cleaned to 6500
  outOfRange.sharpness = -1;                                          // cleaned to 0
  outOfRange.filterType = 12;
  outOfRange.filterIntensity = 0;  // a look at no intensity does nothing
  outOfRange.vignetteRadius = 0.3f;  // nor a vignette's size without intensity
  outOfRange.cropRect = {0.1, 0.1, 0.5, 0.5};
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, outOfRange, false)), 0u);
  EditState noLook;
  noLook.filterIntensity = 0.5f;  // an intensity without a look
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, noLook, false)), 0u);
  EditState edit;
  edit.exposure = 0.1f;
  edit.highlights = -0.2f;
  edit.filterType = 12;
  EXPECT_EQ(colorFeatures(makeUniforms(8, 8, edit, false)),
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
  for (auto& slot : got) threads.emplace_back([&variants, &slot, features] { slot = variants.pipelineWaiting(features); });
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
  auto variants =
      std::make_unique<ColorKernelVariants>(engine->metalDevice(), engine->library(), engine->colorKernelVariants().general());
  for (uint32_t features : {COLOR_FEATURE_EXPOSURE, COLOR_FEATURE_SATURATION, COLOR_FEATURE_VIBRANCE})
    variants->pipelineWithoutWaiting(features);
  variants.reset();  // no crash, no hang
}

}  // namespace
}  // namespace halvane
