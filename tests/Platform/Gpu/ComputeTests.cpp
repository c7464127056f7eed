// Compute dispatch: exact results over odd sizes in 16 by 16 groups, uniform blocks
// byte for byte, group memory, and the checks an encoder makes.
#include <cstring>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using ComputeTest = GpuTest;

struct PatternParams {
  uint32_t width, height, seed;
};

std::vector<uint8_t> expectedPattern(uint32_t width, uint32_t height, uint32_t seed) {
  std::vector<uint8_t> bytes(size_t(width) * height * 4);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      uint8_t* p = &bytes[(size_t(y) * width + x) * 4];
      p[0] = static_cast<uint8_t>((x * 7u + y * 131u + seed) & 255u);  // blue
      p[1] = static_cast<uint8_t>(y & 255u);                             // green
      p[2] = static_cast<uint8_t>(x & 255u);                             // red
      p[3] = static_cast<uint8_t>((x >> 8) + (y >> 8) * 16u + 1u);       // alpha
    }
  }
  return bytes;
}

TEST_F(ComputeTest, OddSizedDispatchWritesExactlyTheCpuValuesIncludingEdgeGroups) {
  constexpr uint32_t width = 1001, height = 37;  // 62 full groups and a 9-wide one; 2 full rows and a 5-high one
  auto pipeline = computePipeline("gpuPatternKernel");
  auto output = newTexture(width, height);
  ASSERT_TRUE(pipeline && output);

  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  ASSERT_TRUE(encoder);
  PatternParams params{width, height, 77};
  encoder->setComputePipelineState(pipeline);
  encoder->setTexture(output, 0);
  encoder->setBytes(&params, sizeof params, 0);
  encoder->dispatchThreadgroups(groupsFor(width, height), kGroupSize);
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  std::vector<uint8_t> actual = readBack(output);
  std::vector<uint8_t> expected = expectedPattern(width, height, 77);
  // The last group column (x 992...1000) and row (y 32...36) overrun the texture; their
  // in-range pixels must be there like all others.
  for (uint32_t y : {0u, 31u, 32u, 36u})
    for (uint32_t x : {0u, 991u, 992u, 1000u})
      EXPECT_EQ(0, std::memcmp(&actual[(size_t(y) * width + x) * 4], &expected[(size_t(y) * width + x) * 4], 4))
          << "pixel " << x << "," << y;
  EXPECT_TRUE(actual == expected);
}

TEST_F(ComputeTest, SharedOutputIsReadableAfterCompletion) {
  constexpr uint32_t width = 33, height = 17;
  auto pipeline = computePipeline("gpuPatternKernel");
  auto output = newTexture(width, height, StorageMode::shared);
  ASSERT_TRUE(pipeline && output);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  PatternParams params{width, height, 5};
  encoder->setComputePipelineState(pipeline);
  encoder->setTexture(output, 0);
  encoder->setBytes(&params, sizeof params, 0);
  encoder->dispatchThreadgroups(groupsFor(width, height), kGroupSize);
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  std::vector<uint8_t> actual(size_t(width) * height * 4);
  output->getBytes(actual.data(), width * 4, {{0, 0}, width, height});
  EXPECT_TRUE(actual == expectedPattern(width, height, 5));
}

TEST_F(ComputeTest, FunctionConstantsSpecializeTheKernel) {
  struct Case {
    std::vector<FunctionConstant> constants;
    uint8_t red, green;
  };
  // Defaults without constants; one or both replaced; an id the kernel lacks ignored.
  for (const Case& c : {Case{{}, 7, 9}, Case{{{5, 200}}, 7, 200}, Case{{{3, 40}, {5, 2}}, 40, 2},
                        Case{{{11, 1}}, 7, 9}}) {
    auto made = device->newComputePipelineState(library, "gpuConstantKernel", c.constants);
    ASSERT_TRUE(made) << made.error().message;
    auto pipeline = *made;
    auto output = newTexture(20, 3);
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    PatternParams params{20, 3, 0};
    encoder->setComputePipelineState(pipeline);
    encoder->setTexture(output, 0);
    encoder->setBytes(&params, sizeof params, 0);
    encoder->dispatchThreadgroups(groupsFor(20, 3), kGroupSize);
    encoder->endEncoding();
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
    ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();
    const std::vector<uint8_t> actual = readBack(output);
    for (size_t i = 0; i < actual.size(); i += 4) {
      ASSERT_EQ(actual[i + 2], c.red) << "pixel " << i / 4;
      ASSERT_EQ(actual[i + 1], c.green) << "pixel " << i / 4;
    }
  }
}

TEST_F(ComputeTest, A208ByteBlockReachesTheShaderByteForByte) {
  auto pipeline = computePipeline("gpuBlockKernel");
  auto output = newTexture(52, 1, StorageMode::shared);
  ASSERT_TRUE(pipeline && output);
  // Every byte distinct, with float specials (NaN, infinity, -0) among the words.
  uint8_t block[208];
  for (int i = 0; i < 208; ++i) block[i] = static_cast<uint8_t>(i * 37 + 11);
  const uint32_t specials[] = {0x7fc00001u, 0x7f800000u, 0x80000000u, 0xffffffffu};
  std::memcpy(block + 100, specials, sizeof specials);

  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encoder->setComputePipelineState(pipeline);
  encoder->setTexture(output, 0);
  encoder->setBytes(block, sizeof block, 0);
  encoder->dispatchThreadgroups({4, 1, 1}, kGroupSize);
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  uint8_t seen[208];
  output->getBytes(seen, sizeof seen, {{0, 0}, 52, 1});
  for (int i = 0; i < 208; ++i) EXPECT_EQ(seen[i], block[i]) << "byte " << i;
}

TEST_F(ComputeTest, EachDispatchSeesTheBytesSetBeforeIt) {
  // Two dispatches in one encoder with different seeds: the ring keeps both blocks.
  constexpr uint32_t width = 20, height = 20;
  auto pipeline = computePipeline("gpuPatternKernel");
  auto first = newTexture(width, height, StorageMode::shared);
  auto second = newTexture(width, height, StorageMode::shared);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encoder->setComputePipelineState(pipeline);
  PatternParams params{width, height, 1};
  encoder->setBytes(&params, sizeof params, 0);
  encoder->setTexture(first, 0);
  encoder->dispatchThreadgroups(groupsFor(width, height), kGroupSize);
  params.seed = 2;
  encoder->setBytes(&params, sizeof params, 0);
  encoder->setTexture(second, 0);
  encoder->dispatchThreadgroups(groupsFor(width, height), kGroupSize);
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();
  EXPECT_TRUE(readBack(first) == expectedPattern(width, height, 1));
  EXPECT_TRUE(readBack(second) == expectedPattern(width, height, 2));
}

TEST_F(ComputeTest, GroupMemoryTileWithBorderMatchesTheCpuAcrossGroupEdges) {
  constexpr uint32_t width = 45, height = 19;
  auto pipeline = computePipeline("gpuTileKernel");
  auto input = newTexture(width, height);
  auto output = newTexture(width, height);
  ASSERT_TRUE(pipeline && input && output);
  std::vector<uint8_t> source = patternBytes(width, height, 3);
  upload(input, source);

  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  uint32_t params[2] = {width, height};
  encoder->setComputePipelineState(pipeline);
  encoder->setTexture(input, 0);
  encoder->setTexture(output, 1);
  encoder->setBytes(params, sizeof params, 0);
  encoder->setThreadgroupMemoryLength(5184, 0);
  encoder->dispatchThreadgroups(groupsFor(width, height), kGroupSize);
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  std::vector<uint8_t> expected(source.size());
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x)
      std::memcpy(&expected[(size_t(y) * width + x) * 4], &source[(size_t(y) * width + std::min(x + 1, width - 1)) * 4], 4);
  EXPECT_TRUE(readBack(output) == expected);
}

TEST_F(ComputeTest, CapabilitiesDescribeTheVulkanDispatch) {
  const DeviceCapabilities& caps = device->capabilities();
  EXPECT_FALSE(caps.supportsNonUniformThreadgroups);
  EXPECT_GE(caps.maxThreadgroupMemoryLength, 5184u);
  EXPECT_GE(caps.maxBytesLength, 256u);
}

TEST_F(ComputeTest, GroupMemoryBeyondTheDeviceLimitFailsTheBuffer) {
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encoder->setThreadgroupMemoryLength(size_t(device->capabilities().maxThreadgroupMemoryLength) + 16, 0);
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::error);
  EXPECT_NE(commandBuffer->errorMessage().find("setThreadgroupMemoryLength"), std::string::npos);
}

TEST_F(ComputeTest, AGroupSizeOtherThanTheKernelsIsRefused) {
  auto pipeline = computePipeline("gpuPatternKernel");
  auto output = newTexture(16, 16, StorageMode::shared);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  PatternParams params{16, 16, 0};
  encoder->setComputePipelineState(pipeline);
  encoder->setTexture(output, 0);
  encoder->setBytes(&params, sizeof params, 0);
  encoder->dispatchThreadgroups({2, 2, 1}, {8, 8, 1});
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::error);
  EXPECT_NE(commandBuffer->errorMessage().find("16x16x1"), std::string::npos) << commandBuffer->errorMessage();
}

TEST_F(ComputeTest, MissingOrShortBytesAreReportedNotDispatched) {
  auto pipeline = computePipeline("gpuBlockKernel");
  auto output = newTexture(52, 1, StorageMode::shared);
  {
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline);
    encoder->setTexture(output, 0);
    encoder->dispatchThreadgroups({4, 1, 1}, kGroupSize);
    encoder->endEncoding();
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
    EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::error);
    EXPECT_NE(commandBuffer->errorMessage().find("no bytes at index 0"), std::string::npos);
  }
  {
    uint8_t shortBlock[64] = {};
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline);
    encoder->setTexture(output, 0);
    encoder->setBytes(shortBlock, sizeof shortBlock, 0);
    encoder->dispatchThreadgroups({4, 1, 1}, kGroupSize);
    encoder->endEncoding();
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
    EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::error);
    EXPECT_NE(commandBuffer->errorMessage().find("reads 208"), std::string::npos) << commandBuffer->errorMessage();
  }
}

TEST_F(ComputeTest, OneEncoderAtATime) {
  auto commandBuffer = queue->commandBuffer();
  auto first = commandBuffer->computeCommandEncoder();
  ASSERT_TRUE(first);
  EXPECT_FALSE(commandBuffer->blitCommandEncoder());
  first->endEncoding();
  auto second = commandBuffer->blitCommandEncoder();
  EXPECT_TRUE(second);
  // Commit closes an encoder left open.
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::completed);
  EXPECT_FALSE(commandBuffer->computeCommandEncoder());
}

}  // namespace
}  // namespace platform::gpu::testing
