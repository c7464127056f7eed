// The focus pass alone, dispatched straight on the device over a 4000 by 3000 photo
// (the shared sewing-threads picture, or a synthetic one without it), for each mode at
// its default values, as a preview (finalOutput 0) and as an export (1). Each
// iteration commits and waits, so the time is the GPU's. The CPU column is the whole
// process's CPU time, which on the CPU device (lavapipe) is the kernel's work.
#include <benchmark/benchmark.h>

#include <string>

#include "Halvane/Model/FocusMode.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "KernelBench.h"

namespace {

using namespace halvane;

using Bench = kernelbench::KernelBench;
constexpr uint32_t kWidth = kernelbench::kBenchWidth, kHeight = kernelbench::kBenchHeight;

Bench& bench() {
  static Bench b = kernelbench::makeKernelBench("focusKernel");
  return b;
}

// A state in the mode at the values the focus tool starts it with.
EditState focusStarted(int mode) {
  EditState state;
  state.focusMode = mode;
  focusDefaults(state, FocusMode(mode));
  return state;
}

void FocusPass(benchmark::State& state, EditState edit, bool finalOutput) {
  kernelbench::runPass(state, bench(), makeUniforms(kWidth, kHeight, edit, finalOutput));
}

const char* const kModes[] = {"off",    "radial", "linear", "mirrored", "gaussian", "zoom",
                              "motion", "bokeh",  "iris",   "depth",    "edge"};

int registerAll() {
  for (int mode = 1; mode <= 10; ++mode)
    for (bool finalOutput : {false, true})
      benchmark::RegisterBenchmark(
          (std::string("FocusPass/") + kModes[mode] + (finalOutput ? "/export" : "/preview")).c_str(), FocusPass,
          focusStarted(mode), finalOutput)
          ->Unit(benchmark::kMillisecond)
          ->MeasureProcessCPUTime()
          ->UseRealTime()
          ->MinTime(1.0);
  // Gaussian at full strength, beside vips at the same sigma (run.sh).
  EditState strong = focusStarted(4);
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
