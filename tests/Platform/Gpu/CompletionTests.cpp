// Completion: handlers run once each, after the GPU finished, on the layer's completion
// thread, in commit order across threads; waiting returns after the handlers; what a
// command buffer uses stays alive until then; queue and device wait for their work.
#include <atomic>
#include <chrono>
#include <thread>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

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
    std::vector<std::thread::id> handlerThreads, committingThreads;
    std::vector<std::shared_ptr<CommandBuffer>> buffers(3);
    auto commitOne = [&](int id) {
      // The first buffer is heavy and the others light, so that completion out of order
      // would show.
      auto commandBuffer = patternWork(id == 0 ? big : small);
      commandBuffer->addCompletedHandler([&, id](CommandBuffer& completed) {
        EXPECT_EQ(completed.status(), CommandBufferStatus::completed);
        std::lock_guard lock(mutex);
        handlerOrder.push_back(id);
        handlerThreads.push_back(std::this_thread::get_id());
      });
      std::lock_guard lock(mutex);  // commit order is the order of this lock
      buffers[id] = commandBuffer;
      commitOrder.push_back(id);
      committingThreads.push_back(std::this_thread::get_id());
      commandBuffer->commit();
    };
    std::thread first([&] { commitOne(0), commitOne(2); }), second([&] { commitOne(1); });
    first.join(), second.join();
    for (auto& buffer : buffers) buffer->waitUntilCompleted();

    std::lock_guard lock(mutex);
    ASSERT_EQ(handlerOrder.size(), 3u);
    EXPECT_EQ(handlerOrder, commitOrder) << "round " << round;
    committingThreads.push_back(std::this_thread::get_id());
    for (std::thread::id handlerThread : handlerThreads)
      for (std::thread::id committing : committingThreads) EXPECT_NE(handlerThread, committing);
  }
}

TEST_F(CompletionTest, WaitUntilCompletedReturnsAfterTheHandlersRanAndALateHandlerRunsAtOnce) {
  auto never = queue->commandBuffer();
  never->waitUntilCompleted();  // never committed: returns at once
  EXPECT_EQ(never->status(), CommandBufferStatus::notEnqueued);
  EXPECT_TRUE(run(never));  // empty
  auto commandBuffer = patternWork(newTexture(64, 64));
  std::atomic<int> ran{0};
  commandBuffer->addCompletedHandler(
      [&](CommandBuffer&) { std::this_thread::sleep_for(std::chrono::milliseconds(20)), ++ran; });
  commandBuffer->addCompletedHandler([&](CommandBuffer&) { ++ran; });
  EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::notEnqueued);
  EXPECT_TRUE(run(commandBuffer));
  EXPECT_EQ(ran.load(), 2);
  EXPECT_TRUE(commandBuffer->errorMessage().empty());
  commandBuffer->waitUntilCompleted();  // again: returns at once
  commandBuffer->addCompletedHandler([&](CommandBuffer&) { ++ran; });
  EXPECT_EQ(ran.load(), 3) << "a handler added after completion runs at once";
}

TEST_F(CompletionTest, WhatAnEncodedCommandUsesStaysAliveUntilCompletion) {
  auto texture = newTexture(256, 256);
  const uint64_t bytes = device->allocatedTextureBytes();
  ASSERT_GT(bytes, 0u);
  auto commandBuffer = patternWork(texture);
  std::atomic<uint64_t> bytesInHandler{0};
  commandBuffer->addCompletedHandler([&](CommandBuffer&) { bytesInHandler = device->allocatedTextureBytes(); });
  texture.reset(), pipeline.reset();
  EXPECT_TRUE(run(commandBuffer));
  EXPECT_EQ(bytesInHandler.load(), bytes);         // still held while handlers run
  EXPECT_EQ(device->allocatedTextureBytes(), 0u);  // let go after
}

TEST_F(CompletionTest, ManyBuffersInFlightFromManyThreads) {
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
  queue.reset();  // waits for every buffer of the queue
  EXPECT_EQ(handled.load(), 100);
}

TEST_F(CompletionTest, DestroyingTheDeviceWaitsForWorkInFlight) {
  auto commandBuffer = patternWork(newTexture(512, 512));
  std::atomic<bool> ran{false};
  commandBuffer->addCompletedHandler([&](CommandBuffer&) { ran = true; });
  commandBuffer->commit();
  commandBuffer.reset(), pipeline.reset();
  device.reset();  // the queue is still held: the device itself waits
  EXPECT_TRUE(ran.load());
  // A buffer made after the device went completes at once with an error.
  if (auto late = queue->commandBuffer()) {
    EXPECT_FALSE(run(late));
  }
}

}  // namespace
}  // namespace platform::gpu::testing
