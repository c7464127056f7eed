#pragma once
// The focus pass: encodes the eleven focus effects of a parameter block from one
// texture into another of the output size, at a cost per pixel that does not grow
// with the blur. Earlier steps build reduced levels (a gaussian pyramid for the
// smooth modes, one gathered level for the lens and streak modes); the last step,
// "focusKernel", reads them at full resolution. Intermediates come from the texture
// pool and go back to it when the command buffer has completed. Safe from any thread:
// it holds only pipelines and the pool.
#ifndef HALVANE_INSIDE_HalvaneRendering
#error "a private header of Halvane/Rendering: include its public headers"
#endif
#include <cstdint>
#include <memory>
#include <string>

#include "Halvane/Rendering/RenderUniforms.h"
#include "Halvane/Rendering/TexturePool.h"
#include "Platform/Gpu/Device.h"

namespace halvane {

// The second block of the focus steps, at binding 1; the GLSL mirror is
// Halvane/Shaders/FocusStep.glsl.
struct FocusStep {
  std::uint32_t inputWidth = 0;
  std::uint32_t inputHeight = 0;
  std::uint32_t targetWidth = 0;
  std::uint32_t targetHeight = 0;
  std::uint32_t factor = 1;
  std::uint32_t axis = 0;
  float sigma = 0;
  std::uint32_t sourceInput = 0;
  std::uint32_t levelCount = 0;
  std::uint32_t storeDetail = 0;
  std::uint32_t reserved1 = 0;
  std::uint32_t reserved2 = 0;
};
static_assert(sizeof(FocusStep) == 48);

// How the focus pass reduces the picture for one block: the pyramid's depth for the
// smooth modes, or the one level's factor for the lens and streak modes. Pure.
struct FocusPlan {
  enum class Kind { copy, pyramid, lens, streak };
  Kind kind = Kind::copy;
  std::uint32_t levelCount = 0;  // pyramid: level k holds sigma 2^k pixels at 1 / 2^k;
                                 // none when every sigma is under 2 pixels
  std::uint32_t factor = 1;      // lens, streak: output pixels per texel of the level
};
FocusPlan planFocus(const RenderUniforms& uniforms);

class FocusPass {
 public:
  static constexpr std::uint32_t maxPyramidLevels = 8;

  // Fails when a kernel of the focus pass cannot be made from the library.
  static platform::Expected<std::shared_ptr<FocusPass>, platform::gpu::GpuError> make(
      const std::shared_ptr<platform::gpu::Device>& device, const std::shared_ptr<platform::gpu::Library>& library,
      std::shared_ptr<TexturePool> pool);

  // Encodes the effect of `uniforms` from `source` into `target`, both of the block's
  // output size. False when an intermediate or an encoder could not be had: then
  // nothing encoded writes `target`, and the intermediates already used go back to the
  // pool when the command buffer completes.
  bool encode(platform::gpu::CommandBuffer& commandBuffer, const RenderUniforms& uniforms,
              const std::shared_ptr<platform::gpu::Texture>& source,
              const std::shared_ptr<platform::gpu::Texture>& target);

 private:
  FocusPass() = default;
  struct Step;
  bool run(platform::gpu::CommandBuffer& commandBuffer, const RenderUniforms& uniforms, const Step& step);

  std::shared_ptr<TexturePool> pool_;
  std::shared_ptr<platform::gpu::ComputePipelineState> reducePipeline_;
  std::shared_ptr<platform::gpu::ComputePipelineState> blurPipeline_;
  std::shared_ptr<platform::gpu::ComputePipelineState> lensPipeline_;
  std::shared_ptr<platform::gpu::ComputePipelineState> streakPipeline_;
  std::shared_ptr<platform::gpu::ComputePipelineState> compositePipeline_;
};

}  // namespace halvane
