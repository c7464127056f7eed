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
#include "Platform/Gpu/Device.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace {

using namespace halvane;
namespace gpu = platform::gpu;

constexpr uint32_t kWidth = 4000, kHeight = 3000;

struct Bench {
  std::shared_ptr<gpu::Device> device;
  std::shared_ptr<gpu::CommandQueue> queue;
  std::shared_ptr<gpu::ComputePipelineState> pipeline;
  std::shared_ptr<gpu::Texture> source, target;
};

Bench& bench() {
  static Bench b = [] {
    Bench b;
    b.device = gpu::Device::createSystemDefault();
    const auto bundle = findBundle();
    if (!b.device || !bundle) return b;
    std::string error;
    auto library = b.device->newLibrary(*bundle, &error);
    if (!library) return b;
    b.queue = b.device->newCommandQueue();
    b.pipeline = b.device->newComputePipelineState(library, "focusKernel", &error);
    std::fprintf(stderr, "device: %s\n", b.device->name().c_str());

    std::vector<uint8_t> pixels;
    auto decoded =
        platform::media::decodeImageFile(std::filesystem::path(HALVANE_MEDIA_DIR) / "photo/sewing-threads.heic");
    if (decoded) {
      pixels = platform::media::scaleImage(*decoded, kWidth, kHeight).pixels;
    } else {
      pixels.resize(size_t(kWidth) * kHeight * 4);
      for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = uint8_t(i * 2654435761u >> 24);
    }
    gpu::TextureDescriptor descriptor;
    descriptor.width = kWidth;
    descriptor.height = kHeight;
    descriptor.usage = gpu::TextureUsage::shaderRead | gpu::TextureUsage::shaderWrite;
    b.source = b.device->newTexture(descriptor);
    b.target = b.device->newTexture(descriptor);
    if (b.source) b.source->replaceRegion({{0, 0}, kWidth, kHeight}, pixels.data(), size_t(kWidth) * 4);
    return b;
  }();
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
