#pragma once
// A fixture for GPU tests: the CPU device (lavapipe) with the validation layer on, the
// test kernels of tests/Platform/Gpu/shaders, and small helpers to fill and read
// textures. Any validation message fails the test, including those of shutdown (leaks).
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/Gpu/Device.h"

namespace platform::gpu::testing {

inline std::string testBundlePath() { return std::string(HALVANE_TEST_BUNDLE_DIR) + "/gpu"; }

// Collects validation messages from any thread.
class ValidationLog {
 public:
  std::function<void(const std::string&)> sink() {
    return [this](const std::string& message) {
      std::lock_guard lock(mutex_);
      messages_.push_back(message);
    };
  }
  std::vector<std::string> messages() const {
    std::lock_guard lock(mutex_);
    return messages_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> messages_;
};

inline DeviceOptions validatedCpuOptions(ValidationLog& log) {
  DeviceOptions options;
  options.preferredDevice = "cpu";
  options.enableValidation = true;
  options.onValidationMessage = log.sink();
  return options;
}

class GpuTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto made = Device::createSystemDefault(options());
    ASSERT_TRUE(made) << "no CPU Vulkan device (lavapipe): " << made.error().message;
    device = *made;
    queue = device->newCommandQueue();
    ASSERT_TRUE(queue);
    auto loaded = device->newLibrary(testBundlePath());
    ASSERT_TRUE(loaded) << loaded.error().message;
    library = *loaded;
  }

  void TearDown() override {
    library.reset();
    queue.reset();
    device.reset();
    for (const std::string& message : log.messages()) ADD_FAILURE() << "validation: " << message;
  }

  virtual DeviceOptions options() { return validatedCpuOptions(log); }

  std::shared_ptr<ComputePipelineState> computePipeline(const std::string& name) {
    auto pipeline = device->newComputePipelineState(library, name);
    EXPECT_TRUE(pipeline) << name << ": " << pipeline.error().message;
    return pipeline ? *pipeline : nullptr;
  }

  std::shared_ptr<Texture> newTexture(uint32_t width, uint32_t height, StorageMode storage = StorageMode::privateStorage,
                                      uint32_t usage = TextureUsage::shaderRead | TextureUsage::shaderWrite) {
    TextureDescriptor descriptor;
    descriptor.width = width;
    descriptor.height = height;
    descriptor.storageMode = storage;
    descriptor.usage = usage;
    auto texture = device->newTexture(descriptor);
    EXPECT_TRUE(texture) << width << "x" << height;
    return texture;
  }

  // Commits and waits; true when the buffer completed without an error.
  static bool run(const std::shared_ptr<CommandBuffer>& commandBuffer) {
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
    return commandBuffer->status() == CommandBufferStatus::completed;
  }

  // One dispatch of `pipeline` over `textures` (indices 0, 1, ...) with `bytes` at index 0,
  // encoded on a new command buffer, not committed.
  std::shared_ptr<CommandBuffer> encodeDispatch(const std::shared_ptr<ComputePipelineState>& pipeline,
                                                const std::vector<std::shared_ptr<Texture>>& textures, const void* bytes,
                                                size_t length, Size groups, Size groupSize = kGroupSize) {
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline);
    for (uint32_t i = 0; i < textures.size(); ++i) encoder->setTexture(textures[i], i);
    if (bytes != nullptr) encoder->setBytes(bytes, length, 0);
    encoder->dispatchThreadgroups(groups, groupSize);
    encoder->endEncoding();
    return commandBuffer;
  }
  // The same, committed; the buffer comes back completed or failed.
  std::shared_ptr<CommandBuffer> dispatch(const std::shared_ptr<ComputePipelineState>& pipeline,
                                          const std::vector<std::shared_ptr<Texture>>& textures, const void* bytes,
                                          size_t length, Size groups, Size groupSize = kGroupSize) {
    auto commandBuffer = encodeDispatch(pipeline, textures, bytes, length, groups, groupSize);
    run(commandBuffer);
    return commandBuffer;
  }

  // Tightly packed BGRA bytes of the whole texture: a shared texture is read directly, a
  // private one through a blit into a shared one.
  std::vector<uint8_t> readBack(const std::shared_ptr<Texture>& texture) {
    std::vector<uint8_t> bytes(size_t(texture->width()) * texture->height() * 4);
    std::shared_ptr<Texture> readable = texture;
    if (texture->storageMode() != StorageMode::shared) {
      readable = newTexture(texture->width(), texture->height(), StorageMode::shared, TextureUsage::shaderRead);
      auto commandBuffer = queue->commandBuffer();
      auto blit = commandBuffer->blitCommandEncoder();
      blit->copyFromTexture(texture, {0, 0}, {texture->width(), texture->height(), 1}, readable, {0, 0});
      blit->endEncoding();
      EXPECT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();
    }
    readable->getBytes(bytes.data(), size_t(texture->width()) * 4, {{0, 0}, texture->width(), texture->height()});
    return bytes;
  }

  void upload(const std::shared_ptr<Texture>& texture, const std::vector<uint8_t>& bytes) {
    texture->replaceRegion({{0, 0}, texture->width(), texture->height()}, bytes.data(), size_t(texture->width()) * 4);
  }

  static Size groupsFor(uint32_t width, uint32_t height) { return {(width + 15) / 16, (height + 15) / 16, 1}; }
  static constexpr Size kGroupSize{16, 16, 1};

  ValidationLog log;
  std::shared_ptr<Device> device;
  std::shared_ptr<CommandQueue> queue;
  std::shared_ptr<Library> library;
};

// The block of gpuPatternKernel and gpuConstantKernel.
struct PatternParams {
  uint32_t width, height, seed;
};

// A deterministic pattern of BGRA bytes.
inline std::vector<uint8_t> patternBytes(uint32_t width, uint32_t height, uint32_t seed) {
  std::vector<uint8_t> bytes(size_t(width) * height * 4);
  uint32_t state = seed * 2654435761u + 12345u;
  for (uint8_t& b : bytes) {
    state = state * 1664525u + 1013904223u;
    b = static_cast<uint8_t>(state >> 24);
  }
  return bytes;
}

}  // namespace platform::gpu::testing
