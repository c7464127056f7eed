// Compute dispatch: exact results over odd sizes in 16 by 16 groups, uniform blocks
// byte for byte, and the checks an encoder makes. A tile in group memory with its
// border is exercised by the colour pass's sharpness against its CPU reference.
#include <cstring>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using ComputeTest = GpuTest;

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
  // 1001 by 37: 62 full groups and a 9-wide one, 2 full rows and a 5-high one; the
  // overrunning groups' in-range pixels must be there like all others.
  auto pipeline = computePipeline("gpuPatternKernel");
  for (auto [width, height, storage] : {std::tuple{1001u, 37u, StorageMode::privateStorage},
                                        std::tuple{33u, 17u, StorageMode::shared}}) {
    auto output = newTexture(width, height, storage);
    PatternParams params{width, height, 77};
    auto done = dispatch(pipeline, {output}, &params, sizeof params, groupsFor(width, height));
    ASSERT_EQ(done->status(), CommandBufferStatus::completed) << done->errorMessage();
    EXPECT_TRUE(readBack(output) == expectedPattern(width, height, 77)) << width << "x" << height;
  }
}

TEST_F(ComputeTest, EachDispatchSeesTheBytesSetBeforeIt) {
  // Two dispatches in one encoder with different seeds: the ring keeps both blocks.
  auto pipeline = computePipeline("gpuPatternKernel");
  auto first = newTexture(20, 20);
  auto second = newTexture(20, 20);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encoder->setComputePipelineState(pipeline);
  for (auto [texture, seed] : {std::pair{first, 1u}, std::pair{second, 2u}}) {
    PatternParams params{20, 20, seed};
    encoder->setBytes(&params, sizeof params, 0);
    encoder->setTexture(texture, 0);
    encoder->dispatchThreadgroups(groupsFor(20, 20), kGroupSize);
  }
  encoder->endEncoding();
  ASSERT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();
  EXPECT_TRUE(readBack(first) == expectedPattern(20, 20, 1));
  EXPECT_TRUE(readBack(second) == expectedPattern(20, 20, 2));
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
    PatternParams params{20, 3, 0};
    auto done = dispatch(pipeline, {output}, &params, sizeof params, groupsFor(20, 3));
    ASSERT_EQ(done->status(), CommandBufferStatus::completed) << done->errorMessage();
    const std::vector<uint8_t> actual = readBack(output);
    for (size_t i = 0; i < actual.size(); i += 4) {
      ASSERT_EQ(actual[i + 2], c.red) << "pixel " << i / 4;
      ASSERT_EQ(actual[i + 1], c.green) << "pixel " << i / 4;
    }
  }
}

TEST_F(ComputeTest, A208ByteBlockReachesTheShaderByteForByte) {
  auto output = newTexture(52, 1, StorageMode::shared);
  // Every byte distinct, with float specials (NaN, infinity, -0) among the words.
  uint8_t block[208];
  for (int i = 0; i < 208; ++i) block[i] = static_cast<uint8_t>(i * 37 + 11);
  const uint32_t specials[] = {0x7fc00001u, 0x7f800000u, 0x80000000u, 0xffffffffu};
  std::memcpy(block + 100, specials, sizeof specials);
  auto done = dispatch(computePipeline("gpuBlockKernel"), {output}, block, sizeof block, {4, 1, 1});
  ASSERT_EQ(done->status(), CommandBufferStatus::completed) << done->errorMessage();
  const std::vector<uint8_t> seen = readBack(output);
  for (int i = 0; i < 208; ++i) EXPECT_EQ(seen[i], block[i]) << "byte " << i;
}

TEST_F(ComputeTest, MisuseOfAnEncoderFailsTheBufferWithAMessage) {
  EXPECT_FALSE(device->capabilities().supportsNonUniformThreadgroups);
  auto pattern = computePipeline("gpuPatternKernel");
  auto blockKernel = computePipeline("gpuBlockKernel");
  auto output = newTexture(52, 16, StorageMode::shared);
  PatternParams params{16, 16, 0};
  uint8_t shortBlock[64] = {};
  EXPECT_NE(dispatch(pattern, {output}, &params, sizeof params, {2, 2, 1}, {8, 8, 1})->errorMessage().find("16x16x1"),
            std::string::npos);
  EXPECT_NE(dispatch(blockKernel, {output}, nullptr, 0, {4, 1, 1})->errorMessage().find("no bytes at index 0"),
            std::string::npos);
  EXPECT_NE(dispatch(blockKernel, {output}, shortBlock, sizeof shortBlock, {4, 1, 1})->errorMessage().find("reads 208"),
            std::string::npos);

  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encoder->setThreadgroupMemoryLength(size_t(device->capabilities().maxThreadgroupMemoryLength) + 16, 0);
  encoder->endEncoding();
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_NE(commandBuffer->errorMessage().find("setThreadgroupMemoryLength"), std::string::npos);
}

TEST_F(ComputeTest, OneEncoderAtATime) {
  auto commandBuffer = queue->commandBuffer();
  auto first = commandBuffer->computeCommandEncoder();
  ASSERT_TRUE(first);
  EXPECT_FALSE(commandBuffer->blitCommandEncoder());
  first->endEncoding();
  EXPECT_TRUE(commandBuffer->blitCommandEncoder());
  // Commit closes an encoder left open.
  EXPECT_TRUE(run(commandBuffer));
  EXPECT_FALSE(commandBuffer->computeCommandEncoder());
}

}  // namespace
}  // namespace platform::gpu::testing
