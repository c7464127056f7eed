#include "Halvane/Rendering/FocusPass.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace halvane {

using namespace platform::gpu;

namespace {

// Blur sizes at focusStrength 1 as fractions of the shorter side; the kernels' own
// are in FocusRegion.glsl and these follow them.
constexpr float kGaussSigmaFraction = 0.012f;
constexpr float kLensRadiusFraction = 0.03f;
constexpr float kMotionLengthFraction = 0.08f;
constexpr float kZoomScaleRange = 0.25f;
constexpr float kSharpRadius = 0.5f;

constexpr std::uint32_t kModeZoom = 5, kModeMotion = 6, kModeBokeh = 7, kModeIris = 8, kModeDepth = 9,
                        kModeEdge = 10;

// Texels that the largest aperture's radius and the longest streak span on their
// level: what the lens and streak steps spend a texel, whatever the blur.
constexpr float kLensTexels[2] = {6, 10};     // preview, finished image
constexpr float kStreakTexels[2] = {32, 48};

constexpr std::uint32_t kGroupSide = 16;
constexpr std::uint32_t kIntermediateUsage = TextureUsage::shaderRead | TextureUsage::shaderWrite;

float polygonScale(std::uint32_t blades) {
  const float n = float(blades);
  return std::sqrt(6.2831853f / (n * std::sin(6.2831853f / n)));
}

std::uint32_t factorFor(float size, float texels) {
  return std::max<std::uint32_t>(1, std::uint32_t(std::ceil(size / texels)));
}

}  // namespace

FocusPlan planFocus(const RenderUniforms& u) {
  if (u.focusStrength <= 0 || u.focusMode == 0 || u.focusMode > kModeEdge) return {};
  const float shortSide = float(std::min(u.outputWidth, u.outputHeight));
  const int quality = u.finalOutput != 0 ? 1 : 0;
  switch (u.focusMode) {
    case kModeBokeh:
    case kModeIris: {
      float radius = kLensRadiusFraction * u.focusStrength * shortSide;
      if (u.focusMode == kModeIris) radius *= polygonScale(u.irisBlades);
      if (radius < kSharpRadius) return {};
      return {FocusPlan::Kind::lens, 1, factorFor(radius, kLensTexels[quality])};
    }
    case kModeZoom:
    case kModeMotion: {
      float length = kMotionLengthFraction * u.focusStrength * shortSide;
      if (u.focusMode == kModeZoom) {
        // The longest streak starts at the corner farthest from the centre.
        const float cx = u.focusCenterX * float(u.outputWidth), cy = u.focusCenterY * float(u.outputHeight);
        const float dx = std::max(cx, float(u.outputWidth) - cx), dy = std::max(cy, float(u.outputHeight) - cy);
        length = kZoomScaleRange * u.focusStrength * std::hypot(dx, dy);
      }
      if (0.5f * length < kSharpRadius) return {};
      return {FocusPlan::Kind::streak, 1, factorFor(length, kStreakTexels[quality])};
    }
    default: {
      const bool depth = u.focusMode == kModeDepth;
      const float sigma = (depth ? 0.5f * kLensRadiusFraction : kGaussSigmaFraction) * u.focusStrength * shortSide;
      if ((depth ? 2 : 3) * sigma < kSharpRadius) return {};
      // Below sigma 2 the last step gathers pixels itself and needs no level.
      const auto levels = sigma < 2 ? 0u : std::uint32_t(std::ceil(std::log2(sigma)));
      return {FocusPlan::Kind::pyramid, std::min(levels, FocusPass::maxPyramidLevels), 1};
    }
  }
}

struct FocusPass::Step {
  std::shared_ptr<ComputePipelineState> pipeline;
  std::shared_ptr<Texture> input, output;
  FocusStep block;
  std::vector<std::shared_ptr<Texture>> levels;  // the composite's
  std::shared_ptr<Texture> picture;              // the blur's, for the depth mode's detail
};

platform::Expected<std::shared_ptr<FocusPass>, platform::gpu::GpuError> FocusPass::make(
    const std::shared_ptr<Device>& device, const std::shared_ptr<Library>& library, std::shared_ptr<TexturePool> pool) {
  std::shared_ptr<FocusPass> pass(new FocusPass());
  pass->pool_ = std::move(pool);
  struct Kernel {
    const char* name;
    std::shared_ptr<ComputePipelineState>* pipeline;
  };
  for (const Kernel& kernel : {Kernel{"focusReduceKernel", &pass->reducePipeline_},
                               Kernel{"focusBlurKernel", &pass->blurPipeline_},
                               Kernel{"focusLensKernel", &pass->lensPipeline_},
                               Kernel{"focusStreakKernel", &pass->streakPipeline_},
                               Kernel{"focusKernel", &pass->compositePipeline_}}) {
    auto pipeline = device->newComputePipelineState(library, kernel.name);
    if (!pipeline) return platform::unexpected(pipeline.error());
    *kernel.pipeline = *pipeline;
  }
  return pass;
}

bool FocusPass::run(CommandBuffer& commandBuffer, const RenderUniforms& uniforms, const Step& step) {
  auto encoder = commandBuffer.computeCommandEncoder();
  if (!encoder) return false;
  encoder->setComputePipelineState(step.pipeline);
  encoder->setTexture(step.input, 0);
  encoder->setTexture(step.output, 1);
  if (step.pipeline == compositePipeline_) {
    for (std::uint32_t i = 0; i < maxPyramidLevels; ++i)
      encoder->setTexture(i < step.levels.size() ? step.levels[i] : step.input, 2 + i);
  } else if (step.pipeline == blurPipeline_) {
    encoder->setTexture(step.picture, 2);
  }
  encoder->setBytes(&uniforms, sizeof uniforms, 0);
  encoder->setBytes(&step.block, sizeof step.block, 1);
  encoder->dispatchThreadgroups(Size{(step.block.targetWidth + kGroupSide - 1) / kGroupSide,
                                     (step.block.targetHeight + kGroupSide - 1) / kGroupSide, 1},
                                Size{kGroupSide, kGroupSide, 1});
  encoder->endEncoding();
  return true;
}

bool FocusPass::encode(CommandBuffer& commandBuffer, const RenderUniforms& uniforms,
                       const std::shared_ptr<Texture>& source, const std::shared_ptr<Texture>& target) {
  const FocusPlan plan = planFocus(uniforms);
  const std::uint32_t width = uniforms.outputWidth, height = uniforms.outputHeight;
  // Every intermediate goes back once the GPU is done with the whole buffer.
  PoolLoans loans(pool_, commandBuffer);
  auto take = [&](std::uint32_t w, std::uint32_t h) {
    return loans.acquire(w, h, PixelFormat::bgra8Unorm, kIntermediateUsage);
  };
  auto block = [](std::uint32_t inW, std::uint32_t inH, std::uint32_t outW, std::uint32_t outH) {
    FocusStep s;
    s.inputWidth = inW, s.inputHeight = inH, s.targetWidth = outW, s.targetHeight = outH;
    return s;
  };

  Step composite{compositePipeline_, source, target, block(width, height, width, height), {}, {}};
  composite.block.sourceInput = 1;
  if (plan.kind == FocusPlan::Kind::pyramid) {
    // Level k holds a gaussian of sigma 2^k pixels, one texel of its own size: the
    // 2 x 2 mean of the level below, then the blur that brings its sigma to one texel
    // (the level below brings half a texel, the mean's two taps a quarter squared).
    std::uint32_t w = width, h = height;
    std::shared_ptr<Texture> below = source;
    for (std::uint32_t k = 1; k <= plan.levelCount; ++k) {
      const std::uint32_t lw = (w + 1) / 2, lh = (h + 1) / 2;
      auto level = take(lw, lh), scratch = take(lw, lh);
      if (!level || !scratch) return false;
      Step reduce{reducePipeline_, below, level, block(w, h, lw, lh), {}, {}};
      reduce.block.factor = 2;
      reduce.block.sourceInput = k == 1 ? 1 : 0;
      const float belowVariance = k == 1 ? 0.0f : 0.25f;
      const float sigma = std::sqrt(1.0f - belowVariance - 0.0625f);
      Step across{blurPipeline_, level, scratch, block(lw, lh, lw, lh), {}, source};
      across.block.sigma = sigma;
      Step down{blurPipeline_, scratch, level, block(lw, lh, lw, lh), {}, source};
      down.block.sigma = sigma;
      down.block.axis = 1;
      down.block.factor = 1u << k;
      down.block.storeDetail = uniforms.focusMode == kModeDepth && k == std::min(plan.levelCount, 2u) ? 1 : 0;
      if (!run(commandBuffer, uniforms, reduce) || !run(commandBuffer, uniforms, across) ||
          !run(commandBuffer, uniforms, down))
        return false;
      composite.levels.push_back(level);
      below = level;
      w = lw, h = lh;
    }
  } else if (plan.kind != FocusPlan::Kind::copy) {
    const std::uint32_t f = plan.factor;
    const std::uint32_t lw = (width + f - 1) / f, lh = (height + f - 1) / f;
    auto reduced = take(lw, lh), gathered = take(lw, lh);
    if (!reduced || !gathered) return false;
    Step reduce{reducePipeline_, source, reduced, block(width, height, lw, lh), {}, {}};
    reduce.block.factor = f;
    reduce.block.sourceInput = 1;
    Step gather{plan.kind == FocusPlan::Kind::lens ? lensPipeline_ : streakPipeline_, reduced, gathered,
                block(lw, lh, lw, lh), {}, {}};
    gather.block.factor = f;
    if (!run(commandBuffer, uniforms, reduce) || !run(commandBuffer, uniforms, gather)) return false;
    composite.levels.push_back(gathered);
    composite.block.factor = f;
  }
  composite.block.levelCount = std::uint32_t(composite.levels.size());
  return run(commandBuffer, uniforms, composite);
}

}  // namespace halvane
