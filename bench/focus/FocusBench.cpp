// The focus pass alone (FocusPass: its reducing steps and its full-resolution step),
// encoded straight on the device over a 4000 by 3000 photo (the shared sewing-threads
// picture, or a synthetic one without it), for each mode at its default values, as a
// preview (finalOutput 0) and as an export (1). Each iteration commits and waits, so
// the time is the GPU's. The CPU column is the whole process's CPU time, which on the
// CPU device (lavapipe) is the pass's work. An untimed first frame warms the pool, as
// the editor's first frame does.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "Halvane/Model/FocusMode.h"
#include "Halvane/Rendering/BundleLocator.h"
#include "Halvane/Rendering/FocusPass.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "KernelBench.h"

namespace {

using namespace halvane;

constexpr uint32_t kWidth = kernelbench::kBenchWidth, kHeight = kernelbench::kBenchHeight;

struct FocusBenchSetup {
  kernelbench::KernelBench kernel = kernelbench::makeKernelBench("focusKernel");
  std::shared_ptr<FocusPass> pass;
};

FocusBenchSetup& setup() {
  static FocusBenchSetup s = [] {
    FocusBenchSetup made;
    const auto bundle = findBundle();
    if (!made.kernel.device || !bundle) return made;
    auto library = made.kernel.device->newLibrary(*bundle);
    if (!library) return made;
    auto pass = FocusPass::make(made.kernel.device, *library, std::make_shared<TexturePool>(made.kernel.device));
    if (pass) made.pass = *pass;
    return made;
  }();
  return s;
}

// A state in the mode at the values the focus tool starts it with.
EditState focusStarted(int mode) {
  EditState state;
  state.focusMode = mode;
  focusDefaults(state, FocusMode(mode));
  return state;
}

void FocusPassBench(benchmark::State& state, EditState edit, bool finalOutput) {
  auto& s = setup();
  if (!s.pass || !s.kernel.source || !s.kernel.target) {
    state.SkipWithError("no device, kernel bundle or texture");
    return;
  }
  const RenderUniforms block = makeUniforms(kWidth, kHeight, edit, finalOutput);
  auto frame = [&] {
    auto buffer = s.kernel.queue->commandBuffer();
    if (!s.pass->encode(*buffer, block, s.kernel.source, s.kernel.target)) return false;
    buffer->commit();
    buffer->waitUntilCompleted();
    return true;
  };
  // One untimed frame fills the pool with this case's intermediates.
  if (!frame()) {
    state.SkipWithError("the focus pass could not be encoded");
    return;
  }
  for (auto _ : state) frame();
  const double megapixels = double(kWidth) * kHeight / 1e6;
  state.counters["Mpixel/s"] =
      benchmark::Counter(megapixels * double(state.iterations()), benchmark::Counter::kIsRate);
}

const char* const kModes[] = {"off",    "radial", "linear", "mirrored", "gaussian", "zoom",
                              "motion", "bokeh",  "iris",   "depth",    "edge"};

void registerCase(const std::string& name, const EditState& edit, bool finalOutput) {
  benchmark::RegisterBenchmark(("FocusPass/" + name + (finalOutput ? "/export" : "/preview")).c_str(), FocusPassBench,
                               edit, finalOutput)
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime()
      ->MinTime(2.0);
}

int registerAll() {
  for (int mode = 1; mode <= 10; ++mode)
    for (bool finalOutput : {false, true}) registerCase(kModes[mode], focusStarted(mode), finalOutput);
  // Gaussian at full strength, beside vips at the same sigma (run.sh).
  EditState strong = focusStarted(4);
  strong.focusStrength = 1;
  for (bool finalOutput : {false, true}) registerCase("gaussianFull", strong, finalOutput);
  return 0;
}
[[maybe_unused]] const int registered = registerAll();

}  // namespace

BENCHMARK_MAIN();
