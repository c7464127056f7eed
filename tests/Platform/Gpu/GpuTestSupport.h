#pragma once
// A fixture for GPU tests: the CPU device (lavapipe) with the validation layer on, the
// test kernels of tests/Platform/Gpu/shaders, and small helpers to fill and read
// textures. Any validation message fails the test, including those of shutdown (leaks).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Gpu/Device.h"
#include "Platform/Gpu/ReadBack.h"

namespace platform::gpu::testing {

using ::testing::HasSubstr;
using Textures = std::vector<std::shared_ptr<Texture>>;
inline const std::string kBundlePath = std::string(HALVANE_TEST_BUNDLE_DIR) + "/gpu";

// The CPU device with validation on; any message fails the running test, from any thread.
inline DeviceOptions validatedCpuOptions() {
  DeviceOptions options;
  options.preferredDevice = "cpu", options.enableValidation = true;
  options.onValidationMessage = [](const std::string& message) { ADD_FAILURE() << "validation: " << message; };
  return options;
}

// The block of the test kernels: the size, and a seed or a delta.
struct Params {
  uint32_t width, height, value;
};

// A deterministic pattern of BGRA bytes.
inline std::vector<uint8_t> patternBytes(uint32_t width, uint32_t height, uint32_t seed) {
  std::vector<uint8_t> bytes(size_t(width) * height * 4);
  uint32_t state = seed * 2654435761u + 12345u;
  for (uint8_t& b : bytes) b = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
  return bytes;
}

// CPU reference of gpuSwizzleKernel: red <- green + delta, green <- blue, blue <- red.
inline std::vector<uint8_t> swizzle(std::vector<uint8_t> bgra, uint32_t delta) {
  for (size_t i = 0; i < bgra.size(); i += 4) {
    const uint8_t blue = bgra[i], green = bgra[i + 1], red = bgra[i + 2];
    bgra[i] = red, bgra[i + 1] = blue, bgra[i + 2] = uint8_t(std::min<uint32_t>(green + delta, 255));
  }
  return bgra;
}

class GpuTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto made = Device::createSystemDefault(validatedCpuOptions());
    ASSERT_TRUE(made) << "no CPU Vulkan device (lavapipe): " << made.error().message;
    device = *made;
    queue = device->newCommandQueue();
    auto loaded = device->newLibrary(kBundlePath);
    ASSERT_TRUE(loaded) << loaded.error().message;
    library = *loaded;
  }

  std::shared_ptr<ComputePipelineState> computePipeline(const std::string& name,
                                                        const std::vector<FunctionConstant>& constants = {}) {
    auto pipeline = device->newComputePipelineState(library, name, constants);
    EXPECT_TRUE(pipeline) << name << ": " << pipeline.error().message;
    return pipeline ? *pipeline : nullptr;
  }

  std::shared_ptr<Texture> newTexture(uint32_t width, uint32_t height,
                                      StorageMode storage = StorageMode::privateStorage,
                                      uint32_t usage = TextureUsage::shaderRead | TextureUsage::shaderWrite) {
    auto texture = device->newTexture({.width = width, .height = height, .storageMode = storage, .usage = usage});
    EXPECT_TRUE(texture) << width << "x" << height;
    return texture;
  }
  // A texture holding patternBytes(width, height, seed).
  std::shared_ptr<Texture> patterned(uint32_t width, uint32_t height, uint32_t seed,
                                     StorageMode storage = StorageMode::privateStorage) {
    auto texture = newTexture(width, height, storage);
    upload(texture, patternBytes(width, height, seed));
    return texture;
  }

  // Commits and waits; fails with the buffer's message unless it completed.
  static ::testing::AssertionResult run(const std::shared_ptr<CommandBuffer>& commandBuffer) {
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
    if (commandBuffer->status() == CommandBufferStatus::completed) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << commandBuffer->errorMessage();
  }

  // One dispatch of `pipeline` over `textures` (indices 0, 1, ...) with `bytes` at index 0,
  // in as many 16 by 16 groups as cover the first texture.
  static void encode(ComputeCommandEncoder& encoder, const std::shared_ptr<ComputePipelineState>& pipeline,
                     const Textures& textures, const void* bytes, size_t length, Size groupSize = kGroupSize) {
    encoder.setComputePipelineState(pipeline);
    for (uint32_t i = 0; i < textures.size(); ++i) encoder.setTexture(textures[i], i);
    if (bytes != nullptr) encoder.setBytes(bytes, length, 0);
    encoder.dispatchThreadgroups({(textures[0]->width() + 15) / 16, (textures[0]->height() + 15) / 16, 1}, groupSize);
  }
  // The same on a new command buffer of its own, not committed.
  std::shared_ptr<CommandBuffer> encodeDispatch(const std::shared_ptr<ComputePipelineState>& pipeline,
                                                const Textures& textures, const void* bytes, size_t length,
                                                Size groupSize = kGroupSize) {
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    encode(*encoder, pipeline, textures, bytes, length, groupSize);
    encoder->endEncoding();
    return commandBuffer;
  }

  // Tightly packed BGRA bytes of the whole texture: a shared texture is read directly, a
  // private one through its host-readable copy.
  std::vector<uint8_t> readBack(std::shared_ptr<Texture> texture) {
    if (texture->storageMode() != StorageMode::shared) {
      auto commandBuffer = queue->commandBuffer();
      texture = encodeHostReadableCopy(*device, *commandBuffer, texture);
      EXPECT_TRUE(texture && run(commandBuffer));
      if (!texture) return {};
    }
    std::vector<uint8_t> bytes(size_t(texture->width()) * texture->height() * 4);
    EXPECT_TRUE(readBackBGRA8(*texture, bytes.data(), size_t(texture->width()) * 4));
    return bytes;
  }

  static void upload(const std::shared_ptr<Texture>& texture, const std::vector<uint8_t>& bytes) {
    texture->replaceRegion({{0, 0}, texture->width(), texture->height()}, bytes.data(), size_t(texture->width()) * 4);
  }

  static constexpr Size kGroupSize{16, 16, 1};

  std::shared_ptr<Device> device;
  std::shared_ptr<CommandQueue> queue;
  std::shared_ptr<Library> library;
};

}  // namespace platform::gpu::testing
