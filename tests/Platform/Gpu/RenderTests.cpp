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
  }
  void TearDown() override {
    pipeline.reset();
    GpuTest::TearDown();
  }

  void drawQuad(RenderCommandEncoder& encoder, const std::shared_ptr<Texture>& image, Quad quad) {
    const float scale[4] = {1, 1, 1, 1};
    encoder.setRenderPipelineState(pipeline);
    encoder.setVertexBytes(&quad, sizeof quad, 0);
    encoder.setFragmentBytes(scale, sizeof scale, 0);
    encoder.setFragmentTexture(image, 0);
    encoder.drawPrimitives(PrimitiveType::triangleStrip, 0, 4);
  }

  std::shared_ptr<Texture> newTarget() {
    return newTexture(64, 64, StorageMode::shared, TextureUsage::renderTarget | TextureUsage::shaderRead);
  }

  // Expects the 32 by 32 image at (16, 16) of the 64 by 64 target and `outside` elsewhere.
  void expectQuad(const std::vector<uint8_t>& target, const std::vector<uint8_t>& image, const uint8_t outside[4]) {
    int mismatches = 0;
    for (uint32_t y = 0; y < 64; ++y) {
      for (uint32_t x = 0; x < 64; ++x) {
        const uint8_t* actual = &target[(y * 64 + x) * 4];
        const bool inside = x >= 16 && x < 48 && y >= 16 && y < 48;
        const uint8_t* expected = inside ? &image[((y - 16) * 32 + (x - 16)) * 4] : outside;
        for (int c = 0; c < 4; ++c) {
          // Pixel centres fall on texel centres, where a linear filter returns the texel;
          // the interpolated coordinate may be off by a rounding step, hence 1 code value.
          if (std::abs(int(actual[c]) - int(expected[c])) > (inside ? 1 : 0) && ++mismatches <= 5)
            ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": " << int(actual[c]) << " instead of "
                          << int(expected[c]);
        }
      }
    }
    EXPECT_EQ(mismatches, 0);
  }

  std::shared_ptr<RenderPipelineState> pipeline;
};

TEST_F(RenderTest, ClearsToOpaqueBlackAndDrawsATexturedQuadIntoTheExpectedPixels) {
  auto image = newTexture(32, 32, StorageMode::privateStorage, TextureUsage::shaderRead);
  auto target = newTarget();
  std::vector<uint8_t> bytes = patternBytes(32, 32, 21);
  upload(image, bytes);

  auto commandBuffer = queue->commandBuffer();
  RenderPassDescriptor pass;
  pass.colorAttachment = target;
  pass.loadAction = LoadAction::clear;
  pass.clearColor = {0, 0, 0, 1};
  auto encoder = commandBuffer->renderCommandEncoder(pass);
  ASSERT_TRUE(encoder);
  drawQuad(*encoder, image, {-0.5f, -0.5f, 1.0f, 1.0f});
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  std::vector<uint8_t> actual(64 * 64 * 4);
  target->getBytes(actual.data(), 64 * 4, {{0, 0}, 64, 64});
  const uint8_t opaqueBlack[4] = {0, 0, 0, 255};
  expectQuad(actual, bytes, opaqueBlack);
}

TEST_F(RenderTest, ClearWithoutDrawing) {
  auto target = newTarget();
  auto commandBuffer = queue->commandBuffer();
  RenderPassDescriptor pass;
  pass.colorAttachment = target;
  pass.clearColor = {1, 0.5, 0, 1};
  commandBuffer->renderCommandEncoder(pass)->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();
  uint8_t pixel[4];
  target->getBytes(pixel, 4, {{63, 63}, 1, 1});
  EXPECT_EQ(pixel[0], 0);    // blue
  EXPECT_NEAR(pixel[1], 128, 1);  // green 0.5
  EXPECT_EQ(pixel[2], 255);  // red
  EXPECT_EQ(pixel[3], 255);
}

TEST_F(RenderTest, SamplesATextureWrittenByComputeInTheSameCommandBuffer) {
  auto swizzlePipeline = computePipeline("gpuSwizzleKernel");
  auto source = newTexture(32, 32);
  auto image = newTexture(32, 32);
  auto target = newTarget();
  std::vector<uint8_t> bytes = patternBytes(32, 32, 8);
  upload(source, bytes);

  auto commandBuffer = queue->commandBuffer();
  {
    auto encoder = commandBuffer->computeCommandEncoder();
    uint32_t params[3] = {32, 32, 0};
    encoder->setComputePipelineState(swizzlePipeline);
    encoder->setTexture(source, 0);
    encoder->setTexture(image, 1);
    encoder->setBytes(params, sizeof params, 0);
    encoder->dispatchThreadgroups({2, 2, 1}, kGroupSize);
    encoder->endEncoding();
  }
  RenderPassDescriptor pass;
  pass.colorAttachment = target;
  auto encoder = commandBuffer->renderCommandEncoder(pass);
  drawQuad(*encoder, image, {-0.5f, -0.5f, 1.0f, 1.0f});
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  std::vector<uint8_t> expectedImage(bytes.size());
  for (size_t i = 0; i < bytes.size(); i += 4) {
    expectedImage[i] = bytes[i + 2];
    expectedImage[i + 1] = bytes[i];
    expectedImage[i + 2] = bytes[i + 1];
    expectedImage[i + 3] = bytes[i + 3];
  }
  std::vector<uint8_t> actual(64 * 64 * 4);
  target->getBytes(actual.data(), 64 * 4, {{0, 0}, 64, 64});
  const uint8_t opaqueBlack[4] = {0, 0, 0, 255};
  expectQuad(actual, expectedImage, opaqueBlack);
}

TEST_F(RenderTest, LoadActionKeepsWhatWasThere) {
  auto image = newTexture(32, 32);
  auto target = newTarget();
  std::vector<uint8_t> bytes = patternBytes(32, 32, 30);
  upload(image, bytes);
  auto commandBuffer = queue->commandBuffer();
  RenderPassDescriptor clearPass;
  clearPass.colorAttachment = target;
  clearPass.clearColor = {0, 0, 1, 1};  // blue
  commandBuffer->renderCommandEncoder(clearPass)->endEncoding();
  RenderPassDescriptor loadPass;
  loadPass.colorAttachment = target;
  loadPass.loadAction = LoadAction::load;
  auto encoder = commandBuffer->renderCommandEncoder(loadPass);
  drawQuad(*encoder, image, {-0.5f, -0.5f, 1.0f, 1.0f});
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();
  std::vector<uint8_t> actual(64 * 64 * 4);
  target->getBytes(actual.data(), 64 * 4, {{0, 0}, 64, 64});
  const uint8_t opaqueBlue[4] = {255, 0, 0, 255};
  expectQuad(actual, bytes, opaqueBlue);
}

TEST_F(RenderTest, APrimitiveTypeOtherThanThePipelinesIsRefused) {
  auto image = newTexture(32, 32);
  upload(image, patternBytes(32, 32, 1));
  auto target = newTarget();
  auto commandBuffer = queue->commandBuffer();
  RenderPassDescriptor pass;
  pass.colorAttachment = target;
  auto encoder = commandBuffer->renderCommandEncoder(pass);
  Quad quad{-1, -1, 2, 2};
  encoder->setRenderPipelineState(pipeline);
  encoder->setVertexBytes(&quad, sizeof quad, 0);
  encoder->setFragmentTexture(image, 0);
  encoder->drawPrimitives(PrimitiveType::triangle, 0, 6);
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::error);
}

TEST_F(RenderTest, NoEncoderWithoutATarget) {
  auto commandBuffer = queue->commandBuffer();
  EXPECT_FALSE(commandBuffer->renderCommandEncoder(RenderPassDescriptor{}));
}

}  // namespace
}  // namespace platform::gpu::testing
