// The render pass of the display: clear to opaque black, a textured quad as a triangle
// strip, bytes for both stages, and a texture made by compute in the same buffer.
#include <cstdlib>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

class RenderTest : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    auto made = device->newRenderPipelineState(
        {.library = library, .vertexFunction = "gpuQuadVertex", .fragmentFunction = "gpuQuadFragment"});
    ASSERT_TRUE(made) << made.error().message;
    pipeline = *made;
    target = newTexture(64, 64, StorageMode::shared, TextureUsage::renderTarget | TextureUsage::shaderRead);
  }

  // Draws `image` over the middle half of the target in a pass of `loadAction`.
  void drawQuad(CommandBuffer& commandBuffer, const std::shared_ptr<Texture>& image, LoadAction loadAction,
                PrimitiveType primitive = PrimitiveType::triangleStrip) {
    auto encoder =
        commandBuffer.renderCommandEncoder({.colorAttachment = target, .loadAction = loadAction, .clearColor = {}});
    const float quad[4] = {-0.5f, -0.5f, 1.0f, 1.0f}, scale[4] = {1, 1, 1, 1};  // quad: origin, size; y down
    encoder->setRenderPipelineState(pipeline);
    encoder->setVertexBytes(quad, sizeof quad, 0);
    encoder->setFragmentBytes(scale, sizeof scale, 0);
    encoder->setFragmentTexture(image, 0);
    encoder->drawPrimitives(primitive, 0, primitive == PrimitiveType::triangleStrip ? 4 : 6);
    encoder->endEncoding();
  }

  // Expects the 32 by 32 image at (16, 16) of the 64 by 64 target and `outside` elsewhere.
  void expectQuad(const std::vector<uint8_t>& image, std::vector<uint8_t> outside) {
    const std::vector<uint8_t> actual = readBack(target);
    int mismatches = 0;
    for (uint32_t y = 0; y < 64; ++y)
      for (uint32_t x = 0; x < 64; ++x) {
        const bool inside = x >= 16 && x < 48 && y >= 16 && y < 48;
        const uint8_t* expected = inside ? &image[((y - 16) * 32 + (x - 16)) * 4] : outside.data();
        for (int c = 0; c < 4; ++c) {
          // Pixel centres fall on texel centres, where a linear filter returns the texel;
          // the interpolated coordinate may be off by a rounding step, hence 1 code value.
          const int got = actual[(y * 64 + x) * 4 + c];
          if (std::abs(got - int(expected[c])) > (inside ? 1 : 0) && ++mismatches <= 5)
            ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": " << got << " not "
                          << int(expected[c]);
        }
      }
    EXPECT_EQ(mismatches, 0);
  }

  std::shared_ptr<RenderPipelineState> pipeline;
  std::shared_ptr<Texture> target;
};

TEST_F(RenderTest, AClearColourAndThenALoadKeepWhatWasThere) {
  auto image = newTexture(32, 32, StorageMode::privateStorage, TextureUsage::shaderRead);
  const std::vector<uint8_t> bytes = patternBytes(32, 32, 30);
  upload(image, bytes);
  auto cleared = queue->commandBuffer();
  cleared->renderCommandEncoder({.colorAttachment = target, .clearColor = {1, 0.5, 0, 1}})->endEncoding();
  ASSERT_TRUE(run(cleared));
  const std::vector<uint8_t> orange = readBack(target);  // BGRA; green 0.5
  EXPECT_THAT(std::vector<int>(orange.begin(), orange.begin() + 4),
              ::testing::ElementsAre(0, ::testing::AllOf(::testing::Ge(127), ::testing::Le(129)), 255, 255));
  auto commandBuffer = queue->commandBuffer();
  commandBuffer->renderCommandEncoder({.colorAttachment = target, .clearColor = {0, 0, 1, 1}})->endEncoding();
  drawQuad(*commandBuffer, image, LoadAction::load);
  ASSERT_TRUE(run(commandBuffer));
  expectQuad(bytes, {255, 0, 0, 255});  // opaque blue outside
}

// A clear to opaque black (the default), and the quad sampling what compute wrote.
TEST_F(RenderTest, SamplesATextureWrittenByComputeInTheSameCommandBuffer) {
  auto source = patterned(32, 32, 8), image = newTexture(32, 32);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  const Params params{32, 32, 0};
  encode(*encoder, computePipeline("gpuSwizzleKernel"), {source, image}, &params, sizeof params);
  encoder->endEncoding();
  drawQuad(*commandBuffer, image, LoadAction::clear);
  ASSERT_TRUE(run(commandBuffer));
  expectQuad(swizzle(patternBytes(32, 32, 8), 0), {0, 0, 0, 255});
}

TEST_F(RenderTest, APrimitiveTypeOtherThanThePipelinesOrNoTargetIsRefused) {
  auto commandBuffer = queue->commandBuffer();
  drawQuad(*commandBuffer, patterned(32, 32, 1), LoadAction::clear, PrimitiveType::triangle);
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_FALSE(queue->commandBuffer()->renderCommandEncoder(RenderPassDescriptor{}));
}

}  // namespace
}  // namespace platform::gpu::testing
