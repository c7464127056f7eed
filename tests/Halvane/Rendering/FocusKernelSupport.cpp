#include "FocusKernelSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <utility>
#include <vector>

#include "Halvane/Rendering/BundleLocator.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace halvane::testing {

namespace gpu = platform::gpu;

EditState focusStarted(int mode) {
  EditState state;
  state.focusMode = mode;
  focusDefaults(state, FocusMode(mode));
  return state;
}

FocusKernelRunner::FocusKernelRunner() {
  gpu::DeviceOptions options;
  options.preferredDevice = "cpu";
  options.enableValidation = true;
  options.onValidationMessage = [messages = validationMessages_](const std::string& message) {
    std::lock_guard guard(messages->lock);
    messages->list.push_back(message);
  };
  auto device = gpu::Device::createSystemDefault(options);
  if (!device) {
    whyNotReady_ = "no Vulkan device (lavapipe) could be made: " + device.error().message;
    return;
  }
  device_ = *device;
  const auto bundle = findBundle();
  if (!bundle) {
    whyNotReady_ = "the kernel bundle was not found";
    return;
  }
  auto library = device_->newLibrary(*bundle);
  if (!library) {
    whyNotReady_ = "the kernel bundle could not be loaded: " + library.error().message;
    return;
  }
  queue_ = device_->newCommandQueue();
  pool_ = std::make_shared<TexturePool>(device_);
  auto pass = FocusPass::make(device_, *library, pool_);
  if (!queue_ || !pass) {
    whyNotReady_ = "the focus pass could not be made: " + (pass ? std::string("no queue") : pass.error().message);
    return;
  }
  auto referenceLibrary = device_->newLibrary(HALVANE_FOCUS_REFERENCE_BUNDLE);
  auto reference = referenceLibrary ? device_->newComputePipelineState(*referenceLibrary, "focusReferenceKernel")
                                    : platform::unexpected(referenceLibrary.error());
  if (!reference) {
    whyNotReady_ = "the reference focus kernel could not be made: " + reference.error().message;
    return;
  }
  pass_ = *pass;
  referencePipeline_ = *reference;
}

Image FocusKernelRunner::run(const Image& input, const EditState& state, bool finalOutput) {
  return run(input, makeUniforms(uint64_t(input.width), uint64_t(input.height), state, finalOutput));
}

Image FocusKernelRunner::run(const Image& input, const RenderUniforms& block) {
  return runEncoded(input, [&](gpu::CommandBuffer& commandBuffer, const auto& source, const auto& target) {
    return pass_->encode(commandBuffer, block, source, target);
  });
}

Image FocusKernelRunner::runReference(const Image& input, const EditState& state, bool finalOutput) {
  const RenderUniforms block = makeUniforms(uint64_t(input.width), uint64_t(input.height), state, finalOutput);
  return runEncoded(input, [&](gpu::CommandBuffer& commandBuffer, const auto& source, const auto& target) {
    auto encoder = commandBuffer.computeCommandEncoder();
    if (!encoder) return false;
    encoder->setComputePipelineState(referencePipeline_);
    encoder->setTexture(source, 0);
    encoder->setTexture(target, 1);
    encoder->setBytes(&block, sizeof block, 0);
    encoder->dispatchThreadgroups({(block.outputWidth + 15) / 16, (block.outputHeight + 15) / 16, 1}, {16, 16, 1});
    encoder->endEncoding();
    return true;
  });
}

Image FocusKernelRunner::runEncoded(
    const Image& input, const std::function<bool(gpu::CommandBuffer&, const std::shared_ptr<gpu::Texture>&,
                                                 const std::shared_ptr<gpu::Texture>&)>& encode) {
  const auto width = uint32_t(input.width), height = uint32_t(input.height);
  gpu::TextureDescriptor descriptor;
  descriptor.width = width;
  descriptor.height = height;
  descriptor.storageMode = gpu::StorageMode::shared;
  descriptor.usage = gpu::TextureUsage::shaderRead | gpu::TextureUsage::shaderWrite;
  auto source = device_->newTexture(descriptor);
  auto target = device_->newTexture(descriptor);
  if (!source || !target) return {};
  const gpu::Region region{{0, 0}, width, height};
  source->replaceRegion(region, input.pixels.data(), size_t(width) * 4);

  auto commandBuffer = queue_->commandBuffer();
  if (!commandBuffer || !encode(*commandBuffer, source, target)) return {};
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  if (commandBuffer->status() != gpu::CommandBufferStatus::completed) return {};

  Image output;
  output.width = input.width;
  output.height = input.height;
  output.pixels.assign(input.pixels.size(), 0);
  target->getBytes(output.pixels.data(), size_t(width) * 4, region);
  return output;
}

std::vector<std::string> FocusKernelRunner::takeValidationMessages() {
  std::lock_guard guard(validationMessages_->lock);
  return std::exchange(validationMessages_->list, {});
}

FocusKernelRunner& focusRunner() {
  static FocusKernelRunner runner;
  return runner;
}

namespace {

Image blank(int width, int height) {
  Image image;
  image.width = width;
  image.height = height;
  image.pixels.assign(size_t(width) * size_t(height) * 4, 255);
  return image;
}

double srgbToLinear(double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }

double linearToSrgb(double l) {
  l = std::clamp(l, 0.0, 1.0);
  return l <= 0.0031308 ? l * 12.92 : 1.055 * std::pow(l, 1.0 / 2.4) - 0.055;
}

}  // namespace

Image makeImage(int width, int height, uint32_t seed) {
  Image image = blank(width, height);
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> noise(-40, 40);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint8_t* p = image.pixel(x, y);
      const double fx = double(x) / width, fy = double(y) / height;
      const double base[3] = {128 + 90 * std::sin(9 * fx + 2 * fy), 128 + 90 * std::cos(7 * fy - 3 * fx),
                              (x / 11 + y / 7) % 2 ? 210.0 : 40.0};
      for (int c = 0; c < 3; ++c) p[c] = uint8_t(std::clamp(base[c] + noise(random), 0.0, 255.0));
    }
  }
  return image;
}

Image makeCheckerboard(int width, int height, int cell, uint8_t dark, uint8_t light) {
  Image image = blank(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const uint8_t v = ((x / cell) + (y / cell)) % 2 ? light : dark;
      std::fill_n(image.pixel(x, y), 3, v);
    }
  return image;
}

Image makeSolid(int width, int height, uint8_t b, uint8_t g, uint8_t r) {
  Image image = blank(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      uint8_t* p = image.pixel(x, y);
      p[0] = b, p[1] = g, p[2] = r;
    }
  return image;
}

Image loadPhoto(const std::string& relativePath, int width) {
  const std::filesystem::path path = std::filesystem::path(HALVANE_MEDIA_DIR) / relativePath;
  auto decoded = platform::media::decodeImageFile(path);
  if (!decoded) return {};
  const Image& image = *decoded;
  const int height = std::max(1, int(std::lround(double(image.height) * width / image.width)));
  return platform::media::scaleImage(image, width, height);
}

Image referenceGaussian(const Image& input, float strength) {
  const int width = input.width, height = input.height;
  const double sigma = 0.012 * double(std::min(width, height)) * strength;
  const double support = 3 * sigma;
  const int reach = int(std::ceil(support));
  std::vector<double> linear(size_t(width) * height * 3);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < 3; ++c) linear[(size_t(y) * width + x) * 3 + c] = srgbToLinear(input.pixel(x, y)[c] / 255.0);
  Image output = input;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      double sum[3] = {0, 0, 0}, weight = 0;
      for (int dy = -reach; dy <= reach; ++dy) {
        for (int dx = -reach; dx <= reach; ++dx) {
          const int sx = x + dx, sy = y + dy;
          if (sx < 0 || sy < 0 || sx >= width || sy >= height) continue;
          const double d = std::sqrt(double(dx * dx + dy * dy));
          if (d > support) continue;
          const double w = std::exp(-d * d / (2 * sigma * sigma));
          for (int c = 0; c < 3; ++c) sum[c] += w * linear[(size_t(sy) * width + sx) * 3 + c];
          weight += w;
        }
      }
      for (int c = 0; c < 3; ++c) output.pixel(x, y)[c] = uint8_t(std::lround(255 * linearToSrgb(sum[c] / weight)));
    }
  }
  return output;
}

}  // namespace halvane::testing
