// The colour pass alone, dispatched straight on the device over a 4000 by 3000 photo
// (the shared sewing-threads picture, or a synthetic one without it): neutral values
// (a copy through the tile), every adjustment at once, and looks of each kind of work
// (a table look, one with a hue family and split toning, monochrome, grain, the wide
// neighbourhood of glow, the halftone screens). Each iteration commits and waits, so
// the time is the GPU's. The CPU column is the whole process's CPU time, which on the
// CPU device (lavapipe) is the kernel's work.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/BundleLocator.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "Platform/Gpu/Device.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace {

using namespace halvane;
namespace gpu = platform::gpu;

constexpr uint32_t kWidth = 4000, kHeight = 3000;
// The colour pass's group memory: an 18 by 18 tile of four floats.
constexpr size_t kTileBytes = 18 * 18 * 16;

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
    b.pipeline = b.device->newComputePipelineState(library, "colorKernel", &error);
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

void ColorPass(benchmark::State& state, EditState edit) {
  Bench& b = bench();
  if (!b.pipeline || !b.source || !b.target) {
    state.SkipWithError("no device, kernel bundle or texture");
    return;
  }
  const RenderUniforms block = makeUniforms(kWidth, kHeight, edit, true);
  for (auto _ : state) {
    auto buffer = b.queue->commandBuffer();
    auto encoder = buffer->computeCommandEncoder();
    encoder->setComputePipelineState(b.pipeline);
    encoder->setTexture(b.source, 0);
    encoder->setTexture(b.target, 1);
    encoder->setBytes(&block, sizeof block, 0);
    encoder->setThreadgroupMemoryLength(kTileBytes, 0);
    encoder->dispatchThreadgroups({(kWidth + 15) / 16, (kHeight + 15) / 16, 1}, {16, 16, 1});
    encoder->endEncoding();
    buffer->commit();
    buffer->waitUntilCompleted();
  }
  state.counters["Mpixel/s"] = benchmark::Counter(12.0 * double(state.iterations()), benchmark::Counter::kIsRate);
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
  for (const auto& [name, edit] : cases)
    benchmark::RegisterBenchmark((std::string("ColorPass/") + name).c_str(), ColorPass, edit)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime()
        ->MinTime(1.0);
  return 0;
}
[[maybe_unused]] const int registered = registerAll();

}  // namespace

BENCHMARK_MAIN();
