// The engine's start (cold: no pipeline cache; warm: cache on disk) and the pass chain
// with crop, quarter turn and tilt over a 4000 by 3000 source. Each iteration commits
// and waits, so the time is the GPU's, not the encoding's.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "Halvane/Rendering/RenderingEngine.h"

namespace {

using namespace halvane;
namespace fs = std::filesystem;

fs::path cacheFile() { return fs::temp_directory_path() / "halvane-bench-pipeline-cache.bin"; }

std::shared_ptr<RenderingEngine> makeEngine() {
  RenderingEngineOptions options;
  options.pipelineCachePath = cacheFile().string();
  return RenderingEngine::create(options);
}

void EngineStartCold(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove(cacheFile());
    state.ResumeTiming();
    benchmark::DoNotOptimize(makeEngine());
  }
}
BENCHMARK(EngineStartCold)->Unit(benchmark::kMillisecond)->Iterations(5);

void EngineStartWarm(benchmark::State& state) {
  makeEngine();  // fills the cache
  for (auto _ : state) benchmark::DoNotOptimize(makeEngine());
}
BENCHMARK(EngineStartWarm)->Unit(benchmark::kMillisecond)->Iterations(5);

void ProcessTexture(benchmark::State& state, EditState edit) {
  auto engine = makeEngine();
  std::vector<uint8_t> pixels(size_t(4000) * 3000 * 4);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = uint8_t(i * 2654435761u >> 24);
  auto source = engine->makeTexture(pixels.data(), 4000, 3000, 4000 * 4);
  for (auto _ : state) {
    auto buffer = engine->commandQueue()->commandBuffer();
    auto result = engine->processTexture(source, edit, *buffer, true);
    buffer->commit();
    buffer->waitUntilCompleted();
    if (result != source) engine->texturePool()->release(result);
  }
  state.counters["Mpixel/s"] = benchmark::Counter(12.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

EditState cropTurnTilt() {
  EditState edit;
  edit.cropRect = {0.1, 0.1, 0.8, 0.8};
  edit.rotationQuarterTurns = 1;
  edit.rotationAngle = 7.5f;
  return edit;
}

EditState cropTurn() {
  EditState edit = cropTurnTilt();
  edit.rotationAngle = 0;
  return edit;
}

BENCHMARK_CAPTURE(ProcessTexture, cropTurn, cropTurn())->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_CAPTURE(ProcessTexture, cropTurnTilt, cropTurnTilt())->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
