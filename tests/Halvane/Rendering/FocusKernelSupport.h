#pragma once
// Runs the focus pass alone (FocusPass, every step of it), straight through the GPU
// layer on the CPU device, so that its tests see exactly what the pass does (the
// engine skips the pass at strength 0; these tests must not). Also the CPU reference of
// the modes and small picture helpers. One runner per test program; not thread-safe.
#include <cstdint>
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
  bool ready() const { return pass_ != nullptr; }
  const std::string& whyNotReady() const { return whyNotReady_; }
  // Messages of the Vulkan validation layer since the last call.
  std::vector<std::string> takeValidationMessages();

  // The focus pass over `input` with the block built for the state, as the engine
  // builds it for a picture of the input's size with no crop.
  Image run(const Image& input, const EditState& state, bool finalOutput);
  Image run(const Image& input, const RenderUniforms& block);
  // Intermediates the pass holds in the pool between runs.
  const TexturePool& pool() const { return *pool_; }

 private:
  std::shared_ptr<platform::gpu::Device> device_;
  std::shared_ptr<platform::gpu::CommandQueue> queue_;
  std::shared_ptr<TexturePool> pool_;
  std::shared_ptr<FocusPass> pass_;
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

// The focus modes on the CPU by their definitions, in double precision: every pixel's
// own kernel (a gaussian of sigma 0.012 x shorter side x strength x its blur fraction
// truncated at 3 sigma, a disc of radius 0.03 x the same, the iris's polygon of the
// disc's area, edge protection's range weight, a streak's mean) gathered texel by texel
// in linear light and renormalised inside the picture, the lens modes' highlights
// expanded. Only the pixels at multiples of `step` in x and y, as a picture of those.
Image referenceFocus(const Image& input, const EditState& state, int step = 1);
// The pixels at multiples of `step`, as referenceFocus gives them.
Image everyNth(const Image& image, int step);

using testsupport::maxAbsoluteDifference;
using testsupport::meanAbsoluteDifference;
using testsupport::saveForInspection;

}  // namespace halvane::testing
