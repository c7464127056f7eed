#include "KernelBench.h"

#include <cstdio>
#include <filesystem>
#include <vector>

#include "Halvane/Rendering/BundleLocator.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace halvane::kernelbench {

namespace gpu = platform::gpu;

KernelBench makeKernelBench(const std::string& kernel) {
  KernelBench b;
  if (auto device = gpu::Device::createSystemDefault()) b.device = *device;
  const auto bundle = findBundle();
  if (!b.device || !bundle) return b;
  auto library = b.device->newLibrary(*bundle);
  if (!library) return b;
  b.library = *library;
  b.queue = b.device->newCommandQueue();
  if (auto pipeline = b.device->newComputePipelineState(b.library, kernel)) b.pipeline = *pipeline;
  std::fprintf(stderr, "device: %s\n", b.device->name().c_str());

  std::vector<uint8_t> pixels;
  auto decoded =
      platform::media::decodeImageFile(std::filesystem::path(HALVANE_MEDIA_DIR) / "photo/sewing-threads.heic");
  if (decoded) {
    pixels = platform::media::scaleImage(*decoded, kBenchWidth, kBenchHeight).pixels;
  } else {
    pixels.resize(size_t(kBenchWidth) * kBenchHeight * 4);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = uint8_t(i * 2654435761u >> 24);
  }
  gpu::TextureDescriptor descriptor;
  descriptor.width = kBenchWidth;
  descriptor.height = kBenchHeight;
  descriptor.usage = gpu::TextureUsage::shaderRead | gpu::TextureUsage::shaderWrite;
  b.source = b.device->newTexture(descriptor);
  b.target = b.device->newTexture(descriptor);
  if (b.source) b.source->replaceRegion({{0, 0}, kBenchWidth, kBenchHeight}, pixels.data(), size_t(kBenchWidth) * 4);
  return b;
}

void runPass(benchmark::State& state, const KernelBench& bench, const RenderUniforms& block,
             std::size_t groupMemoryBytes, const std::shared_ptr<gpu::ComputePipelineState>& pipeline) {
  if (!bench.pipeline || !bench.source || !bench.target) {
    state.SkipWithError("no device, kernel bundle or texture");
    return;
  }
  for (auto _ : state) {
    auto buffer = bench.queue->commandBuffer();
    auto encoder = buffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline ? pipeline : bench.pipeline);
    encoder->setTexture(bench.source, 0);
    encoder->setTexture(bench.target, 1);
    encoder->setBytes(&block, sizeof block, 0);
    if (groupMemoryBytes) encoder->setThreadgroupMemoryLength(groupMemoryBytes, 0);
    encoder->dispatchThreadgroups({(kBenchWidth + 15) / 16, (kBenchHeight + 15) / 16, 1}, {16, 16, 1});
    encoder->endEncoding();
    buffer->commit();
    buffer->waitUntilCompleted();
  }
  const double megapixels = double(kBenchWidth) * kBenchHeight / 1e6;
  state.counters["Mpixel/s"] =
      benchmark::Counter(megapixels * double(state.iterations()), benchmark::Counter::kIsRate);
}

}  // namespace halvane::kernelbench
