#pragma once
// One compute kernel of the bundle, straight on the device, with a 4000 by 3000 source
// (the shared sewing-threads photo, or a synthetic picture without it) and a target of
// the same size. Members stay none when the device, bundle or kernel is missing.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Halvane/Rendering/RenderUniforms.h"
#include "Platform/Gpu/Device.h"

namespace halvane::kernelbench {

inline constexpr uint32_t kBenchWidth = 4000, kBenchHeight = 3000;

struct KernelBench {
  std::shared_ptr<platform::gpu::Device> device;
  std::shared_ptr<platform::gpu::CommandQueue> queue;
  std::shared_ptr<platform::gpu::Library> library;
  std::shared_ptr<platform::gpu::ComputePipelineState> pipeline;
  std::shared_ptr<platform::gpu::Texture> source, target;
};

KernelBench makeKernelBench(const std::string& kernel);

// Times the kernel over the whole source in 16 by 16 groups, one command buffer per
// iteration waited for, with the block at binding 0 and `groupMemoryBytes` of group
// memory; reports megapixels per second. `pipeline` stands in for the bench's own
// kernel when given (a specialized variant of it).
void runPass(benchmark::State& state, const KernelBench& bench, const RenderUniforms& block,
             std::size_t groupMemoryBytes = 0,
             const std::shared_ptr<platform::gpu::ComputePipelineState>& pipeline = nullptr);

}  // namespace halvane::kernelbench
