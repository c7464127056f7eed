#include "Halvane/Rendering/ColorWidePass.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <vector>

namespace halvane {

using namespace platform::gpu;

namespace {

// Texels of the reduced copy that the wide radius spans: enough for the 24 taps to
// see a smooth picture, few enough that the level costs next to nothing.
constexpr float kWideTexels = 6;
// The wide radius as in ColorAdjust.glsl's wideRadius.
float wideRadius(std::uint32_t width, std::uint32_t height) {
  return std::max(1.5f, 0.02f * float(std::min(width, height)));
}

constexpr std::uint32_t kGroupSide = 16;
constexpr std::uint32_t kIntermediateUsage = TextureUsage::shaderRead | TextureUsage::shaderWrite;

// Whether a look of the table has detail or glow (ColorLooks.glsl's lookNeedsWide).
bool lookReadsWide(std::uint32_t filterType) {
  switch (filterType) {
#define FX_NONE false
#define FX(grain, grainSize, grainChroma, vignette, glow, detail, special) ((glow) > 0.0 || (detail) != 0.0)
#define LOOK(number, id, tone, color, grade, hue, split, mono, duo, fx, light) \
  case number:                                                                 \
    return fx;
#include "Halvane/Shaders/LookTable.inc"
#undef LOOK
#undef FX
#undef FX_NONE
  }
  return false;
}

}  // namespace

bool colorReadsWide(const RenderUniforms& u) {
  return u.clarity != 0.0f || (u.filterType != 0 && u.filterIntensity > 0.0f && lookReadsWide(u.filterType));
}

WideLevelSize wideLevelSize(std::uint32_t width, std::uint32_t height) {
  const auto factor = std::max<std::uint32_t>(1, std::uint32_t(wideRadius(width, height) / kWideTexels));
  return {(width + factor - 1) / factor, (height + factor - 1) / factor};
}

platform::Expected<std::shared_ptr<ColorWidePass>, platform::gpu::GpuError> ColorWidePass::make(
    const std::shared_ptr<Device>& device, const std::shared_ptr<Library>& library, std::shared_ptr<TexturePool> pool) {
  std::shared_ptr<ColorWidePass> pass(new ColorWidePass());
  pass->pool_ = std::move(pool);
  for (auto [name, pipeline] : {std::pair{"colorReduceKernel", &pass->reducePipeline_},
                                std::pair{"colorWideKernel", &pass->widePipeline_}}) {
    auto made = device->newComputePipelineState(library, name);
    if (!made) return platform::unexpected(made.error());
    *pipeline = *made;
  }
  return pass;
}

std::optional<ColorWidePass::Level> ColorWidePass::encode(CommandBuffer& commandBuffer, const RenderUniforms& uniforms,
                                                          const std::shared_ptr<Texture>& source) {
  const WideLevelSize size = wideLevelSize(uniforms.outputWidth, uniforms.outputHeight);
  // Every texture taken goes back once the GPU is done with the whole buffer.
  PoolLoans loans(pool_, commandBuffer);
  auto take = [&](PixelFormat format) { return loans.acquire(size.width, size.height, format, kIntermediateUsage); };
  auto run = [&](const std::shared_ptr<ComputePipelineState>& pipeline,
                 std::initializer_list<std::shared_ptr<Texture>> textures) {
    auto encoder = commandBuffer.computeCommandEncoder();
    if (!encoder) return false;
    encoder->setComputePipelineState(pipeline);
    std::uint32_t index = 0;
    for (const auto& texture : textures) encoder->setTexture(texture, index++);
    encoder->setBytes(&uniforms, sizeof uniforms, 0);
    encoder->dispatchThreadgroups(
        Size{(size.width + kGroupSide - 1) / kGroupSide, (size.height + kGroupSide - 1) / kGroupSide, 1},
        Size{kGroupSide, kGroupSide, 1});
    encoder->endEncoding();
    return true;
  };
  const auto reducedColor = take(PixelFormat::bgra8Unorm), reducedLuma = take(PixelFormat::bgra8Unorm);
  if (!reducedColor || !reducedLuma || !run(reducePipeline_, {source, reducedColor, reducedLuma}))
    return std::nullopt;
  Level level{take(PixelFormat::rgba16Float), take(PixelFormat::rgba16Float)};
  if (!level.luma || !level.color || !run(widePipeline_, {reducedColor, level.luma, reducedLuma, level.color}))
    return std::nullopt;
  return level;
}

}  // namespace halvane
