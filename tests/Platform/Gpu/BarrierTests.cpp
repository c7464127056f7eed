// Hazards between passes are the layer's job: a texture written by one pass and read by
// the next, in one command buffer or across buffers, always gives the right data. The
// validation layer runs with synchronisation validation, so a missing barrier is also
// reported as a message.
#include <algorithm>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

// CPU reference of gpuSwizzleKernel.
std::vector<uint8_t> swizzle(const std::vector<uint8_t>& bgra, uint32_t delta) {
  std::vector<uint8_t> out(bgra.size());
  for (size_t i = 0; i < bgra.size(); i += 4) {
    out[i + 2] = static_cast<uint8_t>(std::min<uint32_t>(bgra[i + 1] + delta, 255));  // red <- green + delta
    out[i + 1] = bgra[i];                                                              // green <- blue
    out[i] = bgra[i + 2];                                                              // blue <- red
    out[i + 3] = bgra[i + 3];
  }
  return out;
}

class BarrierTest : public GpuTest {
 protected:
  using Textures = std::vector<std::shared_ptr<Texture>>;

  void SetUp() override {
    GpuTest::SetUp();
    pipeline = computePipeline("gpuSwizzleKernel");
  }
  void TearDown() override {
    pipeline.reset();
    GpuTest::TearDown();
  }

  // Textures of the test's size; the first `uploads` get patterns of seeds 1, 2, ...
  Textures textures(int count, int uploads, StorageMode storage = StorageMode::privateStorage) {
    Textures made;
    for (int i = 0; i < count; ++i) {
      made.push_back(newTexture(width, height, storage));
      if (i < uploads) upload(made.back(), patternBytes(width, height, i + 1));
    }
    return made;
  }
  // Swizzles `from` into `to` with the given delta.
  void encodeSwizzle(ComputeCommandEncoder& encoder, const std::shared_ptr<Texture>& from,
                     const std::shared_ptr<Texture>& to, uint32_t delta) {
    const uint32_t params[3] = {width, height, delta};
    encoder.setComputePipelineState(pipeline);
    encoder.setTexture(from, 0);
    encoder.setTexture(to, 1);
    encoder.setBytes(params, sizeof params, 0);
    encoder.dispatchThreadgroups(groupsFor(width, height), kGroupSize);
  }
  // One command buffer of one encoder with one swizzle, committed without waiting.
  std::shared_ptr<CommandBuffer> commitSwizzle(const std::shared_ptr<Texture>& from, const std::shared_ptr<Texture>& to,
                                               uint32_t delta) {
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    encodeSwizzle(*encoder, from, to, delta);
    encoder->endEncoding();
    commandBuffer->commit();
    return commandBuffer;
  }
  std::vector<uint8_t> pattern(uint32_t seed) const { return patternBytes(width, height, seed); }

  std::shared_ptr<ComputePipelineState> pipeline;
  static constexpr uint32_t width = 70, height = 41;
};

TEST_F(BarrierTest, SampledReadStorageWriteChainAcrossPassesOfOneCommandBuffer) {
  Textures t = textures(4, 1);
  auto result = newTexture(width, height, StorageMode::shared);
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encodeSwizzle(*encoder, t[0], t[1], 1);  // storage write of t1
  encoder->endEncoding();
  encoder = commandBuffer->computeCommandEncoder();
  encodeSwizzle(*encoder, t[1], t[2], 2);  // sampled read of t1 in the next pass
  encodeSwizzle(*encoder, t[2], t[3], 3);  // and within one encoder: t2 written, then read
  encoder->endEncoding();
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(t[3], {0, 0}, {width, height, 1}, result, {0, 0});
  blit->endEncoding();
  ASSERT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();
  EXPECT_TRUE(readBack(result) == swizzle(swizzle(swizzle(pattern(1), 1), 2), 3));
}

TEST_F(BarrierTest, WriteAfterReadWaitsForTheReader) {
  Textures t = textures(4, 2);  // t0 and t1 hold patterns 1 and 2
  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encodeSwizzle(*encoder, t[0], t[2], 0);  // t2 = f(t0)
  encodeSwizzle(*encoder, t[2], t[3], 0);  // t3 reads t2
  encodeSwizzle(*encoder, t[1], t[2], 5);  // t2 rewritten: must not overtake the read above
  encodeSwizzle(*encoder, t[2], t[0], 0);  // t0 = f(new t2): t0 was read by the first pass
  encoder->endEncoding();
  ASSERT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();
  EXPECT_TRUE(readBack(t[3]) == swizzle(swizzle(pattern(1), 0), 0));
  EXPECT_TRUE(readBack(t[0]) == swizzle(swizzle(pattern(2), 5), 0));
}

TEST_F(BarrierTest, AWriteInOneCommandBufferIsSeenByTheNextWithoutWaiting) {
  Textures t = textures(3, 1);
  commitSwizzle(t[0], t[1], 7);
  commitSwizzle(t[1], t[2], 8);
  EXPECT_TRUE(readBack(t[2]) == swizzle(swizzle(pattern(1), 7), 8));
}

TEST_F(BarrierTest, UploadsBetweenCommandBuffersLandInOrder) {
  // replaceRegion is immediate: work committed after it sees the new bytes, work
  // committed before it the old ones.
  Textures t = textures(3, 1);
  commitSwizzle(t[0], t[1], 0);
  upload(t[0], pattern(12));
  commitSwizzle(t[0], t[2], 0)->waitUntilCompleted();
  EXPECT_TRUE(readBack(t[1]) == swizzle(pattern(1), 0));
  EXPECT_TRUE(readBack(t[2]) == swizzle(pattern(12), 0));
}

}  // namespace
}  // namespace platform::gpu::testing
