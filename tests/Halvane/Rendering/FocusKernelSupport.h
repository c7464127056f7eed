#pragma once
// Runs the focus pass alone (FocusPass, every step of it), straight through the GPU
// layer on the CPU device, so that its tests see exactly what the pass does (the
// engine skips the pass at strength 0; these tests must not). Also runs the reference:
// the single 2D gather per pixel that the pass replaced, kept as a test kernel, against
// which the pass's quality is measured. And the CPU reference of the gaussian mode and
// small picture helpers. One runner per test program; not thread-safe.
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/FocusMode.h"
#include "Halvane/Rendering/FocusPass.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "Platform/Gpu/Device.h"
#include "Platform/Media/Image.h"
#include "EngineTestSupport.h"
#include "Support/ImageCompare.h"

namespace halvane::testing {

using platform::media::Image;

// A default state in focus mode `mode` with the values the focus tool starts it with.
EditState focusStarted(int mode);

class FocusKernelRunner {
 public:
  // Validation is on. When no device, bundle or kernel can be had, ready() is false
  // and whyNotReady() says why, for the test to skip.
  FocusKernelRunner();
  bool ready() const { return pass_ != nullptr && referencePipeline_ != nullptr; }
  const std::string& whyNotReady() const { return whyNotReady_; }
  // Messages of the Vulkan validation layer since the last call.
  std::vector<std::string> takeValidationMessages();

  // The focus pass over `input` with the block built for the state, as the engine
  // builds it for a picture of the input's size with no crop.
  Image run(const Image& input, const EditState& state, bool finalOutput);
  Image run(const Image& input, const RenderUniforms& block);
  // The reference gather over `input`, likewise.
  Image runReference(const Image& input, const EditState& state, bool finalOutput);
  // Intermediates the pass holds in the pool between runs.
  const TexturePool& pool() const { return *pool_; }

 private:
  Image runEncoded(const Image& input, const std::function<bool(platform::gpu::CommandBuffer&,
                                                                const std::shared_ptr<platform::gpu::Texture>&,
                                                                const std::shared_ptr<platform::gpu::Texture>&)>& encode);

  std::shared_ptr<platform::gpu::Device> device_;
  std::shared_ptr<platform::gpu::CommandQueue> queue_;
  std::shared_ptr<TexturePool> pool_;
  std::shared_ptr<FocusPass> pass_;
  std::shared_ptr<platform::gpu::ComputePipelineState> referencePipeline_;
  std::string whyNotReady_;
  struct Messages {
    std::mutex lock;
    std::vector<std::string> list;
  };
  std::shared_ptr<Messages> validationMessages_ = std::make_shared<Messages>();
};

FocusKernelRunner& focusRunner();

// Pictures. All opaque, BGRA.
Image makeImage(int width, int height, uint32_t seed);  // smooth shapes plus fine noise
Image makeCheckerboard(int width, int height, int cell, uint8_t dark, uint8_t light);

// The gaussian mode on the CPU: linear light, sigma = 0.012 x shorter side x strength,
// truncated at 3 sigma and renormalised inside the picture, as the kernel defines it.
Image referenceGaussian(const Image& input, float strength);

using testsupport::maxAbsoluteDifference;
using testsupport::meanAbsoluteDifference;
using testsupport::saveForInspection;

}  // namespace halvane::testing
