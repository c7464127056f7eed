// The colour pass alone, dispatched straight on the device over a 4000 by 3000 photo
// (the shared sewing-threads picture, or a synthetic one without it): neutral values
// (a copy through the tile), every adjustment at once, and looks of each kind of work
// (a table look, one with a hue family and split toning, monochrome, grain, the wide
// neighbourhood of glow, the halftone screens). Each iteration commits and waits, so
// the time is the GPU's. The CPU column is the whole process's CPU time, which on the
// CPU device (lavapipe) is the kernel's work.
#include <benchmark/benchmark.h>

#include <string>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/ColorKernelVariants.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "KernelBench.h"

namespace {

using namespace halvane;

// The colour pass's group memory: an 18 by 18 tile of four floats.
constexpr size_t kTileBytes = 18 * 18 * 16;

using Bench = kernelbench::KernelBench;
constexpr uint32_t kWidth = kernelbench::kBenchWidth, kHeight = kernelbench::kBenchHeight;

Bench& bench() {
  static Bench b = kernelbench::makeKernelBench("colorKernel");
  return b;
}

void ColorPass(benchmark::State& state, EditState edit) {
  kernelbench::runPass(state, bench(), makeUniforms(kWidth, kHeight, edit, true), kTileBytes);
}

// The same pass through the variant compiled for what the edit uses (made before the
// timing starts, as the engine does for a finished image).
void ColorVariant(benchmark::State& state, EditState edit) {
  const RenderUniforms block = makeUniforms(kWidth, kHeight, edit, true);
  const uint32_t features = colorFeatures(block);
  std::shared_ptr<platform::gpu::ComputePipelineState> variant;
  if (bench().device && bench().library) {
    auto made = bench().device->newComputePipelineState(bench().library, "colorKernel", {{0, features}});
    if (made) variant = *made;
  }
  if (!variant) {
    state.SkipWithError("the variant could not be made");
    return;
  }
  kernelbench::runPass(state, bench(), block, kTileBytes, variant);
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
