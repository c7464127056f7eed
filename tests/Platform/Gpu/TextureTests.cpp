// Textures: host access, blit copies, half floats, sizes, the memory budget; the shared read-back: a
// private texture through its host-readable copy, and the textures and rows it refuses
// without writing. The render pass of the display: clear to opaque black, a textured
// quad as a triangle strip, bytes for both stages, and a texture made by compute in the
// same buffer.
#include <cstdlib>
#include <cstring>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using TextureTest = GpuTest;

// Copies a width by height rectangle of BGRA rows from (sx, sy) of `from` to (dx, dy) of `to`.
void copyRect(const std::vector<uint8_t>& from, uint32_t fromWidth, uint32_t sx, uint32_t sy, std::vector<uint8_t>& to,
              uint32_t toWidth, uint32_t dx, uint32_t dy, uint32_t width, uint32_t height) {
  for (uint32_t y = 0; y < height; ++y)
    std::memmove(&to[((dy + y) * toWidth + dx) * 4], &from[((sy + y) * fromWidth + sx) * 4], width * 4);
}

TEST_F(TextureTest, ReplaceRegionOfASubRectangleReachesSharedAndPrivateImages) {
  for (StorageMode storage : {StorageMode::shared, StorageMode::privateStorage}) {
    auto texture = patterned(19, 13, 3, storage);
    std::vector<uint8_t> all = patternBytes(19, 13, 3);
    // A patch at the far corner, with a row pitch wider than its rows.
    const std::vector<uint8_t> patch = patternBytes(8, 5, 4);
    texture->replaceRegion({{15, 8}, 4, 5}, patch.data(), 8 * 4);
    copyRect(patch, 8, 0, 0, all, 19, 15, 8, 4, 5);
    EXPECT_TRUE(readBack(texture) == all);
    // getBytes reads a shared texture's corner; on a private texture it does nothing.
    std::vector<uint8_t> corner(4, 0xab);
    texture->getBytes(corner.data(), 4, {{18, 12}, 1, 1});
    EXPECT_TRUE(corner == (storage == StorageMode::shared ? std::vector(all.end() - 4, all.end())
                                                          : std::vector<uint8_t>(4, 0xab)));
  }
}

// A sub-rectangle from a shared texture; within one texture, where a copy past the edge
// is refused with a message and the rest of the buffer still runs.
TEST_F(TextureTest, BlitCopiesSubRectanglesAndRefusesCopiesOutOfBounds) {
  auto source = patterned(40, 30, 7, StorageMode::shared), destination = patterned(50, 50, 8);
  auto texture = patterned(32, 8, 9, StorageMode::shared);
  auto commandBuffer = queue->commandBuffer();
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(source, {5, 7}, {20, 10, 1}, destination, {13, 21});
  ASSERT_TRUE(run(commandBuffer));
  std::vector<uint8_t> expected = patternBytes(50, 50, 8), bytes = patternBytes(32, 8, 9);
  copyRect(patternBytes(40, 30, 7), 40, 5, 7, expected, 50, 13, 21, 20, 10);
  EXPECT_TRUE(readBack(destination) == expected);

  commandBuffer = queue->commandBuffer();
  blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(texture, {0, 0}, {16, 8, 1}, texture, {16, 0});
  blit->copyFromTexture(texture, {20, 0}, {16, 8, 1}, texture, {0, 0});  // past the right edge
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_THAT(commandBuffer->errorMessage(), HasSubstr("outside"));
  copyRect(bytes, 32, 0, 0, bytes, 32, 16, 0, 16, 8);
  EXPECT_TRUE(readBack(texture) == bytes);
}

// RGBA16 float: values outside [0, 1] survive a kernel's write and the host-readable
// copy; a copy between formats, and a render pass into one (render targets are BGRA8),
// are refused.
TEST_F(TextureTest, HalfFloatTexturesKeepValuesOutsideTheUnitRangeAndRefuseMixedUse) {
  auto halves = [&](StorageMode storage) {
    return device->newTexture({.width = 2, .height = 1, .pixelFormat = PixelFormat::rgba16Float,
                               .storageMode = storage, .usage = TextureUsage::shaderRead | TextureUsage::shaderWrite});
  };
  auto source = halves(StorageMode::shared), written = halves(StorageMode::privateStorage);
  ASSERT_TRUE(source && written);
  const _Float16 in[8] = {0.25, 2.5, -0.75, 1, 0, 0.4, 1, 1};  // r, g, b, a
  source->replaceRegion({{0, 0}, 2, 1}, in, sizeof in);
  const Params params{2, 1, 0};
  auto commandBuffer = encodeDispatch(computePipeline("gpuSwizzleKernel"), {source, written}, &params, sizeof params);
  auto readable = encodeHostReadableCopy(*device, *commandBuffer, written);
  ASSERT_TRUE(run(commandBuffer));
  _Float16 out[8];
  readable->getBytes(out, sizeof out, {{0, 0}, 2, 1});
  // The kernel in code values: red <- green (at most 255), green <- blue, blue <- red.
  const float expected[8] = {255, -191, 64, 255, 102, 255, 0, 255};
  for (int i = 0; i < 8; ++i) EXPECT_NEAR(float(out[i]), expected[i] / 255, 1e-3) << i;

  commandBuffer = queue->commandBuffer();
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(source, {0, 0}, {2, 1, 1}, newTexture(2, 1), {0, 0});
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_THAT(commandBuffer->errorMessage(), HasSubstr("pixel formats differ"));
  RenderPassDescriptor intoHalves;
  intoHalves.colorAttachment = written;
  EXPECT_FALSE(queue->commandBuffer()->renderCommandEncoder(intoHalves));
}

TEST_F(TextureTest, SizesOutsideTheDeviceLimitOrBeyondItsMemoryOrAnExplicitBudgetGiveNone) {
  const DeviceCapabilities& caps = device->capabilities();
  const uint32_t limit = caps.maxTextureDimension;
  ASSERT_GT(limit, 0u);
  for (auto [width, height] : {std::pair{limit + 1, 1u}, std::pair{1u, limit + 1}, std::pair{1u, 0u}})
    EXPECT_FALSE(device->newTexture({.width = width, .height = height})) << width << "x" << height;
  EXPECT_EQ(device->allocatedTextureBytes(), 0u);
  // The budget defaults to the device-local heap; the largest textures fill it in a few
  // steps (lavapipe: 2 GiB, 1 GiB a texture) without touching the memory.
  ASSERT_GT(caps.memoryBudgetBytes, 0u);
  const uint64_t each = uint64_t(limit) * limit * 4;
  Textures held;
  for (uint64_t i = 0; i <= caps.memoryBudgetBytes / each + 1; ++i) {
    auto texture = device->newTexture({.width = limit, .height = limit});
    if (!texture) break;
    held.push_back(texture);
  }
  EXPECT_LE(held.size(), caps.memoryBudgetBytes / each) << "never refused";
  EXPECT_LE(device->allocatedTextureBytes(), caps.memoryBudgetBytes);
  held.clear();
  EXPECT_EQ(device->allocatedTextureBytes(), 0u);

  DeviceOptions options = validatedCpuOptions();
  options.memoryBudgetBytes = 3 * 1024 * 1024 + 300 * 1024;
  auto budgeted = Device::createSystemDefault(options);
  ASSERT_TRUE(budgeted);
  EXPECT_EQ((*budgeted)->capabilities().memoryBudgetBytes, options.memoryBudgetBytes);
  auto texture = [&](uint32_t side, StorageMode storage = StorageMode::privateStorage) {
    return (*budgeted)->newTexture({.width = side, .height = side, .storageMode = storage});
  };
  auto a = texture(512), b = texture(512), c = texture(512);  // 1 MiB each
  ASSERT_TRUE(a && b && c);
  EXPECT_FALSE(texture(512));
  // 256 KiB fit in what is left, but not twice that: a shared texture's staging copy counts too.
  EXPECT_FALSE(texture(256, StorageMode::shared));
  EXPECT_TRUE(texture(256));
  a.reset();
  EXPECT_TRUE(texture(512));
}

TEST_F(TextureTest, ReadBackFillsPaddedRowsAndRefusesWithoutWritingWhatItCannotRead) {
  auto texture = patterned(5, 3, 4);
  const std::vector<uint8_t> pixels = patternBytes(5, 3, 4);
  auto commandBuffer = queue->commandBuffer();
  auto readable = encodeHostReadableCopy(*device, *commandBuffer, texture);
  ASSERT_TRUE(readable);
  ASSERT_TRUE(run(commandBuffer));
  // Rows of 7 pixels' bytes: the picture in the first 5, the padding left alone.
  std::vector<uint8_t> rows(7 * 4 * 3, 0xEE), expected = rows;
  ASSERT_TRUE(readBackBGRA8(*readable, rows.data(), 7 * 4));
  copyRect(pixels, 5, 0, 0, expected, 7, 0, 0, 5, 3);
  EXPECT_TRUE(rows == expected);
  // A private texture, rows narrower than the picture's, no destination.
  std::vector<uint8_t> untouched(rows.size(), 0xEE);
  EXPECT_FALSE(readBackBGRA8(*texture, untouched.data(), 20));
  EXPECT_FALSE(readBackBGRA8(*readable, untouched.data(), 19));
  EXPECT_FALSE(readBackBGRA8(*readable, nullptr, 20));
  EXPECT_TRUE(untouched == std::vector<uint8_t>(untouched.size(), 0xEE));
}

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
  // Pixel centres fall on texel centres, where a linear filter returns the texel; the
  // interpolated coordinate may be off by a rounding step, hence 1 code value inside.
  void expectQuad(const std::vector<uint8_t>& image, std::vector<uint8_t> outside) {
    const std::vector<uint8_t> actual = readBack(target);
    int mismatches = 0;
    for (size_t i = 0; i < actual.size(); ++i) {
      const size_t x = i / 4 % 64 - 16, y = i / 256 - 16;  // wraps around outside the quad
      const bool inside = x < 32 && y < 32;
      mismatches += std::abs(actual[i] - (inside ? image[(y * 32 + x) * 4 + i % 4] : outside[i % 4])) > int(inside);
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
TEST_F(RenderTest, SamplesATextureWrittenByComputeInTheSameCommandBufferAndRefusesAWrongPrimitive) {
  auto source = patterned(32, 32, 8), image = newTexture(32, 32);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  const Params params{32, 32, 0};
  encode(*encoder, computePipeline("gpuSwizzleKernel"), {source, image}, &params, sizeof params);
  encoder->endEncoding();
  drawQuad(*commandBuffer, image, LoadAction::clear);
  ASSERT_TRUE(run(commandBuffer));
  expectQuad(swizzle(patternBytes(32, 32, 8), 0), {0, 0, 0, 255});
  // A primitive type other than the pipeline's, or no target, is refused.
  commandBuffer = queue->commandBuffer();
  drawQuad(*commandBuffer, image, LoadAction::clear, PrimitiveType::triangle);
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_FALSE(queue->commandBuffer()->renderCommandEncoder(RenderPassDescriptor{}));
}

}  // namespace
}  // namespace platform::gpu::testing
