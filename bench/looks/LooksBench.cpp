// The colour pass alone (its wide level, when the edit reads it, then the colour kernel),
// dispatched straight on the device over a 4000 by 3000 photo
// (the shared sewing-threads picture, or a synthetic one without it): neutral values
// (a copy through the tile), every adjustment at once, and looks of each kind of work
// (a table look, one with a hue family and split toning, monochrome, grain, the wide
// neighbourhood of glow, the halftone screens). Each iteration commits and waits, so
// the time is the GPU's. The CPU column is the whole process's CPU time, which on the
// CPU device (lavapipe) is the kernel's work.
#include <benchmark/benchmark.h>

#include <memory>
#include <optional>
#include <string>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/ColorConstants.h"
#include "Halvane/Rendering/ColorKernelVariants.h"
#include "Halvane/Rendering/ColorWidePass.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "KernelBench.h"

namespace {

using namespace halvane;

using Bench = kernelbench::KernelBench;
constexpr uint32_t kWidth = kernelbench::kBenchWidth, kHeight = kernelbench::kBenchHeight;

Bench& bench() {
  static Bench b = kernelbench::makeKernelBench("colorKernel");
  return b;
}

// One colour pass a command buffer, waited for: the wide level when the edit reads it,
// then `pipeline` over the whole source.
void runColorPass(benchmark::State& state, const RenderUniforms& block,
                  const std::shared_ptr<platform::gpu::ComputePipelineState>& pipeline) {
  const Bench& b = bench();
  if (!pipeline || !b.source || !b.target) {
    state.SkipWithError("no device, kernel bundle or texture");
    return;
  }
  static const auto pool = std::make_shared<TexturePool>(b.device);
  static const auto wide = ColorWidePass::make(b.device, b.library, pool);
  const bool readsWide = colorReadsWide(block);
  for (auto _ : state) {
    auto buffer = b.queue->commandBuffer();
    std::optional<ColorWidePass::Level> level = ColorWidePass::Level{b.source, b.source};
    if (readsWide) level = wide ? (*wide)->encode(*buffer, block, b.source) : std::nullopt;
    if (!level) {
      state.SkipWithError("the wide level could not be made");
      return;
    }
    auto encoder = buffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline);
    encoder->setTexture(b.source, 0);
    encoder->setTexture(b.target, 1);
    encoder->setTexture(level->luma, 2);
    encoder->setTexture(level->color, 3);
    setColorBlocks(*encoder, block);
    encoder->setThreadgroupMemoryLength(kColorGroupMemoryBytes, 0);
    encoder->dispatchThreadgroups({(kWidth + 15) / 16, (kHeight + 15) / 16, 1}, {16, 16, 1});
    encoder->endEncoding();
    buffer->commit();
    buffer->waitUntilCompleted();
  }
  state.counters["Mpixel/s"] = benchmark::Counter(double(kWidth) * kHeight / 1e6 * double(state.iterations()),
                                                  benchmark::Counter::kIsRate);
}

void ColorPass(benchmark::State& state, EditState edit) {
  runColorPass(state, makeUniforms(kWidth, kHeight, edit, true), bench().pipeline);
}

// The same pass through the variant compiled for what the edit uses (made before the
// timing starts, as the engine does for a finished image).
void ColorVariant(benchmark::State& state, EditState edit) {
  const RenderUniforms block = makeUniforms(kWidth, kHeight, edit, true);
  std::shared_ptr<platform::gpu::ComputePipelineState> variant;
  if (bench().device && bench().library) {
    auto made = bench().device->newComputePipelineState(bench().library, "colorKernel", {{0, colorFeatures(block)}});
    if (made) variant = *made;
  }
  if (!variant) {
    state.SkipWithError("the variant could not be made");
    return;
  }
  runColorPass(state, block, variant);
}

EditState look(const char* id) {
  EditState s;
  s.filterType = FilterCatalogue::definitionForID(id)->shaderFilterType;
  return s;
}

int registerAll() {
  EditState all;
  all.exposure = 0.5f, all.brightness = 0.05f, all.contrast = 1.2f, all.highlights = -0.4f, all.shadows = 0.4f;
  all.whites = 0.2f, all.blacks = -0.2f, all.gamma = 1.1f, all.saturation = 1.2f, all.vibrance = 0.3f;
  all.temperature = 7200, all.tint = 0.1f, all.sharpness = 0.8f, all.clarity = 0.4f, all.vignetteIntensity = 0.6f;
  EditState pointwise = all;
  pointwise.sharpness = 0, pointwise.clarity = 0;
  EditState heaviest = look("halo");
  heaviest.sharpness = 0.8f, heaviest.clarity = 0.4f, heaviest.temperature = 7200, heaviest.exposure = 0.5f;
  const std::pair<const char*, EditState> cases[] = {
      {"neutral", EditState{}},
      {"only/clarity", [] { EditState s; s.clarity = 0.4f; return s; }()},
      {"only/sharpness", [] { EditState s; s.sharpness = 0.8f; return s; }()},
      {"only/vignette", [] { EditState s; s.vignetteIntensity = 0.6f; return s; }()},
      {"only/exposure", [] { EditState s; s.exposure = 0.5f; return s; }()},
      {"adjustments/pointwise", pointwise},
      {"adjustments/all", all},
      {"look/kodachrome", look("kodachrome")},
      {"look/tealOrange", look("tealOrange")},
      {"look/mono", look("mono")},
      {"look/grain", look("grain")},
      {"look/halo", look("halo")},
      {"look/halftone", look("halftone")},
      {"look/halo+adjustments", heaviest},
  };
  for (const auto& [name, edit] : cases) {
    using Run = void (*)(benchmark::State&, EditState);
    for (auto [kind, run] : {std::pair<const char*, Run>{"ColorPass/general/", ColorPass},
                             std::pair<const char*, Run>{"ColorPass/variant/", ColorVariant}}) {
      benchmark::RegisterBenchmark((std::string(kind) + name).c_str(), run, edit)
          ->Unit(benchmark::kMillisecond)
          ->MeasureProcessCPUTime()
          ->UseRealTime()
          ->MinTime(1.0);
    }
  }
  return 0;
}
[[maybe_unused]] const int registered = registerAll();

}  // namespace

BENCHMARK_MAIN();
