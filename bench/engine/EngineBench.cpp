// The engine's start (cold: no pipeline cache; warm: cache on disk) and the pass chain
// with crop, quarter turn and tilt over a 4000 by 3000 source. Each iteration commits
// and waits, so the time is the GPU's, not the encoding's.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "Halvane/Rendering/ColorKernelVariants.h"
#include "Halvane/Rendering/FilterThumbnailRenderer.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Dispatch/ManualMainQueue.h"

namespace {

using namespace halvane;
namespace fs = std::filesystem;

fs::path cacheFile() { return fs::temp_directory_path() / "halvane-bench-pipeline-cache.bin"; }

std::shared_ptr<RenderingEngine> makeEngine() {
  RenderingEngineOptions options;
  options.pipelineCachePath = cacheFile().string();
  return RenderingEngine::create(options);
}

// Cold: neither our pipeline cache file nor the driver's own shader cache (Mesa keeps
// one under $XDG_CACHE_HOME, read when the device is made) holds the kernels.
void EngineStartCold(benchmark::State& state) {
  const fs::path driverCache = fs::temp_directory_path() / "halvane-bench-driver-cache";
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove(cacheFile());
    fs::remove_all(driverCache);
    setenv("MESA_SHADER_CACHE_DIR", driverCache.c_str(), 1);
    state.ResumeTiming();
    benchmark::DoNotOptimize(makeEngine());
  }
  unsetenv("MESA_SHADER_CACHE_DIR");
}
BENCHMARK(EngineStartCold)->Unit(benchmark::kMillisecond)->Iterations(5)->MeasureProcessCPUTime()->UseRealTime();

void EngineStartWarm(benchmark::State& state) {
  makeEngine();  // fills the cache
  for (auto _ : state) benchmark::DoNotOptimize(makeEngine());
}
BENCHMARK(EngineStartWarm)->Unit(benchmark::kMillisecond)->Iterations(5)->MeasureProcessCPUTime()->UseRealTime();

platform::media::Image noiseImage(int width, int height) {
  platform::media::Image image;
  image.width = width;
  image.height = height;
  image.pixels.resize(size_t(width) * height * 4);
  for (size_t i = 0; i < image.pixels.size(); ++i) image.pixels[i] = (i % 4 == 3) ? 255 : uint8_t(i * 2654435761u >> 24);
  return image;
}

void ProcessTexture(benchmark::State& state, EditState edit) {
  auto engine = makeEngine();
  auto source = engine->makeTexture(noiseImage(4000, 3000));
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

BENCHMARK_CAPTURE(ProcessTexture, cropTurn, cropTurn())->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();
BENCHMARK_CAPTURE(ProcessTexture, cropTurnTilt, cropTurnTilt())->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

EditState fullEdit() {
  EditState edit = cropTurnTilt();
  edit.exposure = 0.4f;
  edit.contrast = 1.2f;
  edit.saturation = 1.3f;
  edit.temperature = 5200;
  edit.sharpness = 0.6f;
  edit.clarity = 0.3f;
  edit.vignetteIntensity = 0.8f;
  edit.filterType = 12;
  edit.focusMode = 1;
  edit.focusStrength = 0.8f;
  return edit;
}

// One dirty preview frame of a 12-megapixel photo: the whole chain at full size and
// the draw into a 1280 by 800 drawable, waited for; then the same frame cut short at
// each stage, so that the differences give each pass's share, and the stages outside
// the chain (upload of a decoded photo, read-back of a finished one). The colour
// variant is made before the timing starts, as it is after the first frames.
enum class Stage { upload, geometry, colour, focus, display, readBack };

void PreviewFrame(benchmark::State& state, Stage last) {
  // The preview view belongs to the main thread, as in the editor.
  platform::dispatch::MainQueue::setShared(std::make_shared<platform::dispatch::ManualMainQueue>());
  auto engine = makeEngine();
  const auto image = noiseImage(4032, 3024);
  auto source = engine->makeTexture(image);
  auto view = std::make_shared<PreviewView>();
  view->configure(*engine);
  view->setDrawableSize({1280, 800});
  EditState edit = fullEdit();
  if (last < Stage::focus) edit.focusMode = 0;
  if (last < Stage::colour) edit = cropTurnTilt();
  engine->colorKernelVariants().pipelineWaiting(colorFeatures(makeUniforms(4032, 3024, edit, false)));
  for (auto _ : state) {
    if (last == Stage::upload) {
      auto texture = engine->makeTexture(image);
      auto buffer = engine->commandQueue()->commandBuffer();  // the upload rides on it
      buffer->commit();
      buffer->waitUntilCompleted();
      continue;
    }
    if (last == Stage::readBack) {
      benchmark::DoNotOptimize(engine->renderToImage(source, EditState{}));
      continue;
    }
    auto buffer = engine->commandQueue()->commandBuffer();
    auto result = engine->processTexture(source, edit, *buffer, false);
    if (last == Stage::display) view->draw(result, *buffer);
    buffer->commit();
    buffer->waitUntilCompleted();
    if (result != source) engine->texturePool()->release(result);
  }
  view.reset();
  platform::dispatch::MainQueue::setShared(nullptr);
}
BENCHMARK_CAPTURE(PreviewFrame, whole, Stage::display)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK_CAPTURE(PreviewFrame, toFocus, Stage::focus)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK_CAPTURE(PreviewFrame, toColour, Stage::colour)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK_CAPTURE(PreviewFrame, geometryOnly, Stage::geometry)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK_CAPTURE(PreviewFrame, upload, Stage::upload)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK_CAPTURE(PreviewFrame, readBack, Stage::readBack)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

// The filter panel's batch: 146 thumbnails of a 12-megapixel photo under a full edit.
void FilterThumbnails146(benchmark::State& state) {
  auto queue = std::make_shared<platform::dispatch::ManualMainQueue>();
  platform::dispatch::MainQueue::setShared(queue);
  auto engine = makeEngine();
  const auto image = noiseImage(4032, 3024);
  auto source = engine->makeTexture(image);
  EditState base = fullEdit();
  base.filterType = 0;
  base.filterIntensity = 1;
  // Thumbnails take the general colour kernel, which the editor's preview has made by
  // the time the panel asks for them.
  engine->colorKernelVariants().general();
  for (auto _ : state) {
    auto renderer = std::make_shared<FilterThumbnailRenderer>(engine, 120);
    bool done = false;
    renderer->render(image, source, base, FilterCatalogue::all(), [&](std::vector<FilterThumbnail> results) {
      done = true;
      benchmark::DoNotOptimize(results);
    });
    while (!done) {
      queue->runPending();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  platform::dispatch::MainQueue::setShared(nullptr);
}
BENCHMARK(FilterThumbnails146)->Unit(benchmark::kMillisecond)->MinTime(3.0)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
