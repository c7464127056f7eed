// Hazards between passes are the layer's job: a texture written by one pass and read by
// the next, in one command buffer or across buffers, always gives the right data. The
// validation layer runs with synchronisation validation, so a missing barrier is also
// reported as a message.
#include <algorithm>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

struct SwizzleParams {
  uint32_t width, height, delta;
};

// CPU reference of gpuSwizzleKernel.
std::vector<uint8_t> swizzle(const std::vector<uint8_t>& bgra, uint32_t delta) {
  std::vector<uint8_t> out(bgra.size());
  for (size_t i = 0; i < bgra.size(); i += 4) {
    uint8_t b = bgra[i], g = bgra[i + 1], r = bgra[i + 2], a = bgra[i + 3];
    out[i + 2] = static_cast<uint8_t>(std::min<uint32_t>(g + delta, 255));  // red <- green + delta
    out[i + 1] = b;                                                         // green <- blue
    out[i] = r;                                                             // blue <- red
    out[i + 3] = a;
  }
  return out;
}

class BarrierTest : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    pipeline = computePipeline("gpuSwizzleKernel");
  }
  void TearDown() override {
    pipeline.reset();
    GpuTest::TearDown();
  }
  void dispatch(ComputeCommandEncoder& encoder, const std::shared_ptr<Texture>& from, const std::shared_ptr<Texture>& to,
                uint32_t delta) {
    SwizzleParams params{from->width(), from->height(), delta};
    encoder.setComputePipelineState(pipeline);
    encoder.setTexture(from, 0);
    encoder.setTexture(to, 1);
    encoder.setBytes(&params, sizeof params, 0);
    encoder.dispatchThreadgroups(groupsFor(from->width(), from->height()), kGroupSize);
  }

  std::shared_ptr<ComputePipelineState> pipeline;
  static constexpr uint32_t width = 70, height = 41;
};

TEST_F(BarrierTest, SampledReadStorageWriteChainAcrossPassesOfOneCommandBuffer) {
  auto a = newTexture(width, height);
  auto b = newTexture(width, height);
  auto c = newTexture(width, height);
  auto d = newTexture(width, height);
  auto result = newTexture(width, height, StorageMode::shared);
  std::vector<uint8_t> source = patternBytes(width, height, 9);
  upload(a, source);

  auto commandBuffer = queue->commandBuffer();
  {
    auto encoder = commandBuffer->computeCommandEncoder();
    dispatch(*encoder, a, b, 1);  // storage write of b
    encoder->endEncoding();
  }
  {
    auto encoder = commandBuffer->computeCommandEncoder();
    dispatch(*encoder, b, c, 2);  // sampled read of b in the next pass
    dispatch(*encoder, c, d, 3);  // and within one encoder: c written, then read
    encoder->endEncoding();
  }
  {
    auto blit = commandBuffer->blitCommandEncoder();
    blit->copyFromTexture(d, {0, 0}, {width, height, 1}, result, {0, 0});
    blit->endEncoding();
  }
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  std::vector<uint8_t> actual(source.size());
  result->getBytes(actual.data(), width * 4, {{0, 0}, width, height});
  EXPECT_TRUE(actual == swizzle(swizzle(swizzle(source, 1), 2), 3));
}

TEST_F(BarrierTest, WriteAfterReadWaitsForTheReader) {
  auto a = newTexture(width, height);
  auto b = newTexture(width, height);
  auto c = newTexture(width, height);
  auto d = newTexture(width, height);
  std::vector<uint8_t> first = patternBytes(width, height, 1);
  std::vector<uint8_t> second = patternBytes(width, height, 2);
  upload(a, first);
  upload(d, second);

  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  dispatch(*encoder, a, b, 0);   // b = f(a)
  dispatch(*encoder, b, c, 0);   // c reads b
  dispatch(*encoder, d, b, 5);   // b rewritten: must not overtake the read above
  dispatch(*encoder, b, a, 0);   // a = f(new b): a was read by the first pass
  encoder->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  EXPECT_TRUE(readBack(c) == swizzle(swizzle(first, 0), 0));
  EXPECT_TRUE(readBack(a) == swizzle(swizzle(second, 5), 0));
}

TEST_F(BarrierTest, AWriteInOneCommandBufferIsSeenByTheNextWithoutWaiting) {
  auto a = newTexture(width, height);
  auto b = newTexture(width, height);
  auto c = newTexture(width, height);
  std::vector<uint8_t> source = patternBytes(width, height, 4);
  upload(a, source);

  for (int i = 0; i < 2; ++i) {
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    if (i == 0) dispatch(*encoder, a, b, 7);
    else dispatch(*encoder, b, c, 8);
    encoder->endEncoding();
    commandBuffer->commit();
  }
  EXPECT_TRUE(readBack(c) == swizzle(swizzle(source, 7), 8));
}

TEST_F(BarrierTest, UploadsBetweenCommandBuffersLandInOrder) {
  // replaceRegion is immediate: work committed after it sees the new bytes, work
  // committed before it the old ones.
  auto a = newTexture(width, height);
  auto b = newTexture(width, height);
  auto c = newTexture(width, height);
  std::vector<uint8_t> first = patternBytes(width, height, 11);
  std::vector<uint8_t> second = patternBytes(width, height, 12);
  upload(a, first);
  auto before = queue->commandBuffer();
  {
    auto encoder = before->computeCommandEncoder();
    dispatch(*encoder, a, b, 0);
    encoder->endEncoding();
  }
  before->commit();
  upload(a, second);
  auto after = queue->commandBuffer();
  {
    auto encoder = after->computeCommandEncoder();
    dispatch(*encoder, a, c, 0);
    encoder->endEncoding();
  }
  after->commit();
  after->waitUntilCompleted();
  EXPECT_TRUE(readBack(b) == swizzle(first, 0));
  EXPECT_TRUE(readBack(c) == swizzle(second, 0));
}

}  // namespace
}  // namespace platform::gpu::testing
