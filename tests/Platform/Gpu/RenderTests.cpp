// The render pass of the display: clear to opaque black, a textured quad as a triangle
// strip, bytes for both stages, and a texture made by compute in the same buffer.
#include <cstdlib>
#include <cstring>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

struct Quad {
  float originX, originY, sizeX, sizeY;  // Vulkan clip space, y down
};

class RenderTest : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    RenderPipelineDescriptor descriptor;
    descriptor.library = library;
    descriptor.vertexFunction = "gpuQuadVertex";
    descriptor.fragmentFunction = "gpuQuadFragment";
    auto made = device->newRenderPipelineState(descriptor);
    ASSERT_TRUE(made) << made.error().message;
    pipeline = *made;
    target = newTexture(64, 64, StorageMode::shared, TextureUsage::renderTarget | TextureUsage::shaderRead);
  }
  void TearDown() override {
    pipeline.reset();
    target.reset();
    GpuTest::TearDown();
  }

  // Draws `image` over the middle half of the target in a pass of `loadAction`.
  void drawQuad(CommandBuffer& commandBuffer, const std::shared_ptr<Texture>& image, LoadAction loadAction,
                PrimitiveType primitive = PrimitiveType::triangleStrip) {
    RenderPassDescriptor pass;
    pass.colorAttachment = target;
    pass.loadAction = loadAction;
    auto encoder = commandBuffer.renderCommandEncoder(pass);
    const Quad quad{-0.5f, -0.5f, 1.0f, 1.0f};
    const float scale[4] = {1, 1, 1, 1};
    encoder->setRenderPipelineState(pipeline);
    encoder->setVertexBytes(&quad, sizeof quad, 0);
    encoder->setFragmentBytes(scale, sizeof scale, 0);
    encoder->setFragmentTexture(image, 0);
    encoder->drawPrimitives(primitive, 0, primitive == PrimitiveType::triangleStrip ? 4 : 6);
    encoder->endEncoding();
  }

  void clear(CommandBuffer& commandBuffer, ClearColor color) {
    RenderPassDescriptor pass;
    pass.colorAttachment = target;
    pass.clearColor = color;
    commandBuffer.renderCommandEncoder(pass)->endEncoding();
  }

  // Expects the 32 by 32 image at (16, 16) of the 64 by 64 target and `outside` elsewhere.
  void expectQuad(const std::vector<uint8_t>& image, const uint8_t (&outside)[4]) {
    const std::vector<uint8_t> actual = readBack(target);
    int mismatches = 0;
    for (uint32_t y = 0; y < 64; ++y) {
      for (uint32_t x = 0; x < 64; ++x) {
        const bool inside = x >= 16 && x < 48 && y >= 16 && y < 48;
        const uint8_t* expected = inside ? &image[((y - 16) * 32 + (x - 16)) * 4] : outside;
        for (int c = 0; c < 4; ++c) {
          // Pixel centres fall on texel centres, where a linear filter returns the texel;
          // the interpolated coordinate may be off by a rounding step, hence 1 code value.
          const int got = actual[(y * 64 + x) * 4 + c];
          if (std::abs(got - int(expected[c])) > (inside ? 1 : 0) && ++mismatches <= 5)
            ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": " << got << " instead of "
                          << int(expected[c]);
        }
      }
    }
    EXPECT_EQ(mismatches, 0);
  }

  std::shared_ptr<RenderPipelineState> pipeline;
  std::shared_ptr<Texture> target;
};

constexpr uint8_t kOpaqueBlack[4] = {0, 0, 0, 255};

TEST_F(RenderTest, ClearsToOpaqueBlackAndDrawsATexturedQuadIntoTheExpectedPixels) {
  auto image = newTexture(32, 32, StorageMode::privateStorage, TextureUsage::shaderRead);
  std::vector<uint8_t> bytes = patternBytes(32, 32, 21);
  upload(image, bytes);
  auto commandBuffer = queue->commandBuffer();
  drawQuad(*commandBuffer, image, LoadAction::clear);
  ASSERT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();
  expectQuad(bytes, kOpaqueBlack);
}

TEST_F(RenderTest, AClearColourAndThenALoadKeepWhatWasThere) {
  auto image = newTexture(32, 32);
  std::vector<uint8_t> bytes = patternBytes(32, 32, 30);
  upload(image, bytes);
  auto cleared = queue->commandBuffer();
  clear(*cleared, {1, 0.5, 0, 1});
  ASSERT_TRUE(run(cleared)) << cleared->errorMessage();
  const std::vector<uint8_t> orange = readBack(target);
  EXPECT_EQ(orange[0], 0);             // blue
  EXPECT_NEAR(orange[1], 128, 1);      // green 0.5
  EXPECT_EQ(orange[2], 255);           // red
  EXPECT_EQ(orange[3], 255);
  auto commandBuffer = queue->commandBuffer();
  clear(*commandBuffer, {0, 0, 1, 1});
  drawQuad(*commandBuffer, image, LoadAction::load);
  ASSERT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();
  expectQuad(bytes, {255, 0, 0, 255});  // opaque blue outside
}

TEST_F(RenderTest, SamplesATextureWrittenByComputeInTheSameCommandBuffer) {
  auto source = newTexture(32, 32);
  auto image = newTexture(32, 32);
  std::vector<uint8_t> bytes = patternBytes(32, 32, 8);
  upload(source, bytes);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  uint32_t params[3] = {32, 32, 0};
  encoder->setComputePipelineState(computePipeline("gpuSwizzleKernel"));
  encoder->setTexture(source, 0);
  encoder->setTexture(image, 1);
  encoder->setBytes(params, sizeof params, 0);
  encoder->dispatchThreadgroups({2, 2, 1}, kGroupSize);
  encoder->endEncoding();
  drawQuad(*commandBuffer, image, LoadAction::clear);
  ASSERT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();

  std::vector<uint8_t> swizzled(bytes.size());
  for (size_t i = 0; i < bytes.size(); i += 4) {
    const uint8_t bgra[4] = {bytes[i + 2], bytes[i], bytes[i + 1], bytes[i + 3]};
    std::memcpy(&swizzled[i], bgra, 4);
  }
  expectQuad(swizzled, kOpaqueBlack);
}

TEST_F(RenderTest, APrimitiveTypeOtherThanThePipelinesOrNoTargetIsRefused) {
  auto image = newTexture(32, 32);
  upload(image, patternBytes(32, 32, 1));
  auto commandBuffer = queue->commandBuffer();
  drawQuad(*commandBuffer, image, LoadAction::clear, PrimitiveType::triangle);
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_FALSE(queue->commandBuffer()->renderCommandEncoder(RenderPassDescriptor{}));
}

}  // namespace
}  // namespace platform::gpu::testing
