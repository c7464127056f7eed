#pragma once
// The wide level of the colour pass. Clarity and the looks' detail and glow read a
// wide, edge-aware neighbourhood of each pixel; gathering it for every pixel was most
// of the colour pass's cost on a CPU device. Instead the picture is averaged down until
// the wide radius spans a few texels ("colorReduceKernel"), each texel of that copy
// gathers its neighbourhood once, a guided filter of the luma and a blur of the colour
// ("colorWideKernel", ColorWide.glsl), and the colour kernel reads the level
// bilinearly. Intermediates come from the texture pool and go back to it when the
// command buffer has completed. Safe from any thread: it holds only pipelines and the
// pool.
#ifndef HALVANE_INSIDE_HalvaneRendering
#error "a private header of Halvane/Rendering: include its public headers"
#endif
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Halvane/Rendering/RenderUniforms.h"
#include "Halvane/Rendering/TexturePool.h"
#include "Platform/Gpu/Device.h"

namespace halvane {

// Whether the colour pass of this block reads the wide level: clarity, or a look with
// detail or glow (the kernel's needsWide).
bool colorReadsWide(const RenderUniforms& uniforms);

// The size of the reduced copy and of the wide level for an output of width by height:
// reduced by a whole factor so that the wide radius spans about six texels, or not at
// all for a small picture.
struct WideLevelSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};
WideLevelSize wideLevelSize(std::uint32_t width, std::uint32_t height);

class ColorWidePass {
 public:
  // The error when a kernel is missing from the library or the driver refuses it.
  static platform::Expected<std::shared_ptr<ColorWidePass>, platform::gpu::GpuError> make(
      const std::shared_ptr<platform::gpu::Device>& device, const std::shared_ptr<platform::gpu::Library>& library,
      std::shared_ptr<TexturePool> pool);

  // The level's two textures, in float so that the colour kernel reads them through the
  // sampler's bilinear filter: the guided filter's a and b (red and green), and the
  // colour blur.
  struct Level {
    std::shared_ptr<platform::gpu::Texture> luma, color;
  };
  // Encodes the wide level of `source`, the colour pass's input at the block's output
  // size; its textures go back to the pool when the command buffer completes. Empty
  // when an intermediate or an encoder could not be had.
  std::optional<Level> encode(platform::gpu::CommandBuffer& commandBuffer,
                                                 const RenderUniforms& uniforms,
                                                 const std::shared_ptr<platform::gpu::Texture>& source);

 private:
  ColorWidePass() = default;

  std::shared_ptr<TexturePool> pool_;
  std::shared_ptr<platform::gpu::ComputePipelineState> reducePipeline_;
  std::shared_ptr<platform::gpu::ComputePipelineState> widePipeline_;
};

}  // namespace halvane
