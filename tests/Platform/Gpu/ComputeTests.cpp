// Compute dispatch: exact results over odd sizes in 16 by 16 groups, uniform blocks
// byte for byte, and the checks an encoder makes. A tile in group memory with its
// border is exercised by the colour pass's sharpness against its CPU reference.
//
// Hazards between passes are the layer's job: a texture written by one pass and read by
// the next, in one command buffer or across buffers, always gives the right data. The
// validation layer runs with synchronisation validation, so a missing barrier is also
// reported as a message.
//
// Completion: handlers run once each, after the GPU finished, on the layer's completion
// thread, in commit order across threads; waiting returns after the handlers; what a
// command buffer uses stays alive until then; queue and device wait for their work.
#include <atomic>
#include <chrono>
#include <cstring>
#include <set>
#include <thread>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using ComputeTest = GpuTest;

// CPU reference of gpuPatternKernel.
std::vector<uint8_t> expectedPattern(uint32_t width, uint32_t height, uint32_t seed, uint32_t stepX, uint32_t stepY) {
  std::vector<uint8_t> bytes(size_t(width) * height * 4);
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x) {
      const uint8_t bgra[4] = {uint8_t(x * stepX + y * stepY + seed), uint8_t(y), uint8_t(x),
                               uint8_t((x >> 8) + (y >> 8) * 16u + 1u)};
      std::memcpy(&bytes[(size_t(y) * width + x) * 4], bgra, 4);
    }
  return bytes;
}

// 1001 by 37: 62 full groups and a 9-wide one, 2 full rows and a 5-high one; the
// overrunning groups' in-range pixels must be there like all others. The steps are
// function constants: the defaults without any; one or both replaced; an id the kernel
// lacks ignored.
TEST_F(ComputeTest, OddSizedDispatchWritesExactlyTheCpuValuesAndFunctionConstantsSpecializeTheKernel) {
  constexpr StorageMode kPrivate = StorageMode::privateStorage;
  const struct {
    uint32_t width, height;
    StorageMode storage;
    std::vector<FunctionConstant> constants;
    uint32_t stepX, stepY;
  } cases[] = {{1001, 37, kPrivate, {}, 7, 131},        {33, 17, StorageMode::shared, {}, 7, 131},
               {20, 3, kPrivate, {{5, 200}}, 7, 200},   {20, 3, kPrivate, {{3, 40}, {5, 2}}, 40, 2},
               {20, 3, kPrivate, {{11, 1}}, 7, 131}};
  for (const auto& c : cases) {
    auto output = newTexture(c.width, c.height, c.storage);
    const Params params{c.width, c.height, 77};
    ASSERT_TRUE(run(encodeDispatch(computePipeline("gpuPatternKernel", c.constants), {output}, &params, 12)));
    EXPECT_TRUE(readBack(output) == expectedPattern(c.width, c.height, 77, c.stepX, c.stepY))
        << c.width << "x" << c.height << ", steps " << c.stepX << " " << c.stepY;
  }
}

TEST_F(ComputeTest, A208ByteBlockReachesTheShaderByteForByte) {
  auto output = newTexture(52, 1, StorageMode::shared);
  // Every byte distinct, with float specials (NaN, infinity, -0) among the words.
  uint8_t block[208];
  for (int i = 0; i < 208; ++i) block[i] = static_cast<uint8_t>(i * 37 + 11);
  const uint32_t specials[] = {0x7fc00001u, 0x7f800000u, 0x80000000u, 0xffffffffu};
  std::memcpy(block + 100, specials, sizeof specials);
  ASSERT_TRUE(run(encodeDispatch(computePipeline("gpuBlockKernel"), {output}, block, sizeof block)));
  EXPECT_TRUE(std::ranges::equal(block, readBack(output)));
}

// Misuse fails the buffer with a message; one encoder at a time, and commit closes one left open.
TEST_F(ComputeTest, MisuseOfAnEncoderFailsTheBufferWithAMessageAndOneEncoderIsOpenAtATime) {
  EXPECT_FALSE(device->capabilities().supportsNonUniformThreadgroups);
  auto output = newTexture(52, 16, StorageMode::shared);
  auto failure = [&](const char* kernel, const void* bytes, size_t length, Size groupSize = kGroupSize) {
    auto commandBuffer = encodeDispatch(computePipeline(kernel), {output}, bytes, length, groupSize);
    EXPECT_FALSE(run(commandBuffer)) << kernel;
    return commandBuffer->errorMessage();
  };
  const Params params{16, 16, 0};
  const uint8_t shortBlock[64] = {};
  EXPECT_THAT(failure("gpuPatternKernel", &params, sizeof params, {8, 8, 1}), HasSubstr("16x16x1"));
  EXPECT_THAT(failure("gpuBlockKernel", nullptr, 0), HasSubstr("no bytes at index 0"));
  EXPECT_THAT(failure("gpuBlockKernel", shortBlock, sizeof shortBlock), HasSubstr("reads 208"));

  auto commandBuffer = queue->commandBuffer();
  auto encoder = commandBuffer->computeCommandEncoder();
  encoder->setThreadgroupMemoryLength(size_t(device->capabilities().maxThreadgroupMemoryLength) + 16, 0);
  encoder->endEncoding();
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_THAT(commandBuffer->errorMessage(), HasSubstr("setThreadgroupMemoryLength"));

  commandBuffer = queue->commandBuffer();
  encoder = commandBuffer->computeCommandEncoder();
  EXPECT_FALSE(commandBuffer->blitCommandEncoder());
  encoder->endEncoding();
  EXPECT_TRUE(commandBuffer->blitCommandEncoder());
  EXPECT_TRUE(run(commandBuffer));
  EXPECT_FALSE(commandBuffer->computeCommandEncoder());
}

class BarrierTest : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    pipeline = computePipeline("gpuSwizzleKernel");
    t = {patterned(width, height, 1), patterned(width, height, 2), newTexture(width, height),
         newTexture(width, height)};
  }
  struct Pass {
    int from, to;
    uint32_t delta;
  };
  // One compute encoder on `commandBuffer` with a swizzle of t[from] into t[to] per pass.
  void swizzles(CommandBuffer& commandBuffer, std::initializer_list<Pass> passes) {
    auto encoder = commandBuffer.computeCommandEncoder();
    for (const Pass& pass : passes) {
      const Params params{width, height, pass.delta};
      encode(*encoder, pipeline, {t[pass.from], t[pass.to]}, &params, sizeof params);
    }
    encoder->endEncoding();
  }
  // The same in a command buffer of its own, committed without waiting.
  std::shared_ptr<CommandBuffer> commitSwizzles(std::initializer_list<Pass> passes) {
    auto commandBuffer = queue->commandBuffer();
    swizzles(*commandBuffer, passes);
    commandBuffer->commit();
    return commandBuffer;
  }
  static std::vector<uint8_t> pattern(uint32_t seed) { return patternBytes(width, height, seed); }

  static constexpr uint32_t width = 70, height = 41;
  std::shared_ptr<ComputePipelineState> pipeline;
  Textures t;  // t0 and t1 hold patterns 1 and 2
};

TEST_F(BarrierTest, SampledReadStorageWriteChainAcrossPassesOfOneCommandBuffer) {
  auto result = newTexture(width, height, StorageMode::shared);
  auto commandBuffer = queue->commandBuffer();
  swizzles(*commandBuffer, {{0, 1, 1}});  // storage write of t1
  // A sampled read of t1 in the next pass, and within one encoder: t2 written, then read.
  swizzles(*commandBuffer, {{1, 2, 2}, {2, 3, 3}});
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(t[3], {0, 0}, {width, height, 1}, result, {0, 0});
  blit->endEncoding();
  ASSERT_TRUE(run(commandBuffer));
  EXPECT_TRUE(readBack(result) == swizzle(swizzle(swizzle(pattern(1), 1), 2), 3));
}

TEST_F(BarrierTest, WriteAfterReadWaitsForTheReader) {
  // t2 = f(t0); t3 reads t2; t2 rewritten, which must not overtake that read; t0 = f(new
  // t2), where t0 was read by the first pass.
  auto commandBuffer = queue->commandBuffer();
  swizzles(*commandBuffer, {{0, 2, 0}, {2, 3, 0}, {1, 2, 5}, {2, 0, 0}});
  ASSERT_TRUE(run(commandBuffer));
  EXPECT_TRUE(readBack(t[3]) == swizzle(swizzle(pattern(1), 0), 0));
  EXPECT_TRUE(readBack(t[0]) == swizzle(swizzle(pattern(2), 5), 0));
}

TEST_F(BarrierTest, WorkOfOneCommandBufferIsSeenByTheNextAndUploadsLandInOrder) {
  // Without waiting, the second buffer reads what the first wrote. replaceRegion is
  // immediate: work committed after it sees the new bytes, work committed before it the
  // old ones.
  commitSwizzles({{0, 1, 7}});
  commitSwizzles({{1, 2, 8}});
  upload(t[0], pattern(12));
  commitSwizzles({{0, 3, 0}})->waitUntilCompleted();
  EXPECT_TRUE(readBack(t[1]) == swizzle(pattern(1), 7));
  EXPECT_TRUE(readBack(t[2]) == swizzle(swizzle(pattern(1), 7), 8));
  EXPECT_TRUE(readBack(t[3]) == swizzle(pattern(12), 0));
}

class CompletionTest : public GpuTest {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    pipeline = computePipeline("gpuPatternKernel");
  }
  // A command buffer, not committed, that writes the pattern over `texture`.
  std::shared_ptr<CommandBuffer> patternWork(const std::shared_ptr<Texture>& texture) {
    const Params params{texture->width(), texture->height(), 1};
    return encodeDispatch(pipeline, {texture}, &params, sizeof params);
  }
  std::shared_ptr<ComputePipelineState> pipeline;
};

TEST_F(CompletionTest, HandlersOfBuffersCommittedFromTwoThreadsRunOnceInCommitOrderOffTheCommittingThreads) {
  auto big = newTexture(1024, 512), small = newTexture(16, 16);
  for (int round = 0; round < 10; ++round) {
    std::mutex mutex;
    std::vector<int> commitOrder, handlerOrder;
    std::set<std::thread::id> handlerThreads, committingThreads{std::this_thread::get_id()};
    std::vector<std::shared_ptr<CommandBuffer>> buffers(3);
    auto commitOne = [&](int id) {
      // The first buffer is heavy and the others light, so that completion out of order
      // would show.
      auto commandBuffer = patternWork(id == 0 ? big : small);
      commandBuffer->addCompletedHandler([&, id](CommandBuffer& completed) {
        EXPECT_EQ(completed.status(), CommandBufferStatus::completed);
        std::lock_guard lock(mutex);
        handlerOrder.push_back(id);
        handlerThreads.insert(std::this_thread::get_id());
      });
      std::lock_guard lock(mutex);  // commit order is the order of this lock
      buffers[id] = commandBuffer;
      commitOrder.push_back(id);
      committingThreads.insert(std::this_thread::get_id());
      commandBuffer->commit();
    };
    std::thread first([&] { commitOne(0), commitOne(2); }), second([&] { commitOne(1); });
    first.join(), second.join();
    for (auto& buffer : buffers) buffer->waitUntilCompleted();

    std::lock_guard lock(mutex);
    ASSERT_EQ(handlerOrder.size(), 3u);
    EXPECT_EQ(handlerOrder, commitOrder) << "round " << round;
    for (std::thread::id handlerThread : handlerThreads) EXPECT_FALSE(committingThreads.contains(handlerThread));
  }
}

// Waiting returns after the handlers ran; a handler added later runs at once; what the
// encoded work uses (its texture, its pipeline) stays alive while the handlers run.
TEST_F(CompletionTest, WaitingReturnsAfterTheHandlersAndWhatTheWorkUsesLivesUntilThen) {
  auto never = queue->commandBuffer();
  never->waitUntilCompleted();  // never committed: returns at once
  EXPECT_EQ(never->status(), CommandBufferStatus::notEnqueued);
  EXPECT_TRUE(run(never));  // empty
  auto texture = newTexture(256, 256);
  const uint64_t bytes = device->allocatedTextureBytes();
  ASSERT_GT(bytes, 0u);
  auto commandBuffer = patternWork(texture);
  std::atomic<int> ran{0};
  std::atomic<uint64_t> bytesInHandler{0};
  commandBuffer->addCompletedHandler([&](CommandBuffer&) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    bytesInHandler = device->allocatedTextureBytes(), ++ran;
  });
  commandBuffer->addCompletedHandler([&](CommandBuffer&) { ++ran; });
  EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::notEnqueued);
  texture.reset(), pipeline.reset();
  EXPECT_TRUE(run(commandBuffer));
  EXPECT_EQ(ran.load(), 2);
  EXPECT_TRUE(commandBuffer->errorMessage().empty());
  EXPECT_EQ(bytesInHandler.load(), bytes);         // still held while handlers run
  EXPECT_EQ(device->allocatedTextureBytes(), 0u);  // let go after
  commandBuffer->waitUntilCompleted();             // again: returns at once
  commandBuffer->addCompletedHandler([&](CommandBuffer&) { ++ran; });
  EXPECT_EQ(ran.load(), 3) << "a handler added after completion runs at once";
}

// A hundred buffers from four threads: the queue's end waits for them all. Then the
// device's end waits for work of a queue still held, and that queue's later buffers fail.
TEST_F(CompletionTest, TheQueueAndTheDeviceWaitForWorkInFlight) {
  std::atomic<int> handled{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 25; ++i) {
        auto commandBuffer = patternWork(newTexture(40, 20));
        commandBuffer->addCompletedHandler([&](CommandBuffer&) { ++handled; });
        commandBuffer->commit();
      }
    });
  for (auto& thread : threads) thread.join();
  queue.reset();
  EXPECT_EQ(handled.load(), 100);

  queue = device->newCommandQueue();
  auto commandBuffer = patternWork(newTexture(512, 512));
  commandBuffer->addCompletedHandler([&](CommandBuffer&) { ++handled; });
  commandBuffer->commit();
  commandBuffer.reset(), pipeline.reset();
  device.reset();
  EXPECT_EQ(handled.load(), 101);
  if (auto late = queue->commandBuffer()) {
    EXPECT_FALSE(run(late));
  }
}

}  // namespace
}  // namespace platform::gpu::testing
