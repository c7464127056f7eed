// The focus pass alone, dispatched straight on the device over a 4000 by 3000 photo
// (the shared sewing-threads picture, or a synthetic one without it), for each mode at
// its default values, as a preview (finalOutput 0) and as an export (1). Each
// iteration commits and waits, so the time is the GPU's. The CPU column is the whole
// process's CPU time, which on the CPU device (lavapipe) is the kernel's work.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "Halvane/Rendering/BundleLocator.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "KernelBench.h"
#include "Platform/Gpu/Device.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace {

using namespace halvane;
namespace gpu = platform::gpu;


using Bench = kernelbench::KernelBench;
constexpr uint32_t kWidth = kernelbench::kBenchWidth, kHeight = kernelbench::kBenchHeight;

Bench& bench() {
  static Bench b = kernelbench::makeKernelBench("focusKernel");
  return b;
}

// The values a mode starts with in the focus tool.
EditState focusDefaults(int mode) {
  EditState s;
  s.focusMode = mode;
  const bool region = mode == 1 || mode == 7 || mode == 8 || mode == 9;
  if (region) s.focusRadius = 0.25f, s.focusFeather = 0.5f, s.focusStrength = 0.75f;
  if (mode == 2 || mode == 3) s.focusRadius = 0.15f, s.focusFeather = 0.5f, s.focusStrength = 0.75f;
  if (mode == 4 || mode == 5 || mode == 6 || mode == 10) s.focusStrength = 0.5f;
  if (mode == 7) s.focusBokehHighlights = 0.3f;
  if (mode == 9) s.depthMix = 0.5f;
  if (mode == 10) s.edgeProtect = 0.5f;
  return s;
}

void FocusPass(benchmark::State& state, EditState edit, bool finalOutput) {
  Bench& b = bench();
  if (!b.pipeline || !b.source || !b.target) {
    state.SkipWithError("no device, kernel bundle or texture");
    return;
  }
  const RenderUniforms block = makeUniforms(kWidth, kHeight, edit, finalOutput);
  for (auto _ : state) {
    auto buffer = b.queue->commandBuffer();
    auto encoder = buffer->computeCommandEncoder();
    encoder->setComputePipelineState(b.pipeline);
    encoder->setTexture(b.source, 0);
    encoder->setTexture(b.target, 1);
    encoder->setBytes(&block, sizeof block, 0);
    encoder->dispatchThreadgroups({(kWidth + 15) / 16, (kHeight + 15) / 16, 1}, {16, 16, 1});
    encoder->endEncoding();
    buffer->commit();
    buffer->waitUntilCompleted();
  }
  state.counters["Mpixel/s"] = benchmark::Counter(12.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

const char* const kModes[] = {"off",    "radial", "linear", "mirrored", "gaussian", "zoom",
                              "motion", "bokeh",  "iris",   "depth",    "edge"};

int registerAll() {
  for (int mode = 1; mode <= 10; ++mode)
    for (bool finalOutput : {false, true})
      benchmark::RegisterBenchmark(
          (std::string("FocusPass/") + kModes[mode] + (finalOutput ? "/export" : "/preview")).c_str(), FocusPass,
          focusDefaults(mode), finalOutput)
          ->Unit(benchmark::kMillisecond)
          ->MeasureProcessCPUTime()
          ->UseRealTime()
          ->MinTime(1.0);
  // Gaussian at full strength, beside vips at the same sigma (run.sh).
  EditState strong = focusDefaults(4);
  strong.focusStrength = 1;
  for (bool finalOutput : {false, true})
    benchmark::RegisterBenchmark(finalOutput ? "FocusPass/gaussianFull/export" : "FocusPass/gaussianFull/preview",
                                 FocusPass, strong, finalOutput)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime()
        ->MinTime(1.0);
  return 0;
}
[[maybe_unused]] const int registered = registerAll();

}  // namespace

BENCHMARK_MAIN();
