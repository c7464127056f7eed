#pragma once
// One compute kernel of the bundle, straight on the device, with a 4000 by 3000 source
// (the shared sewing-threads photo, or a synthetic picture without it) and a target of
// the same size. Members stay none when the device, bundle or kernel is missing.
#include <cstdint>
#include <memory>
#include <string>

#include "Platform/Gpu/Device.h"

namespace halvane::kernelbench {

inline constexpr uint32_t kBenchWidth = 4000, kBenchHeight = 3000;

struct KernelBench {
  std::shared_ptr<platform::gpu::Device> device;
  std::shared_ptr<platform::gpu::CommandQueue> queue;
  std::shared_ptr<platform::gpu::ComputePipelineState> pipeline;
  std::shared_ptr<platform::gpu::Texture> source, target;
};

KernelBench makeKernelBench(const std::string& kernel);

}  // namespace halvane::kernelbench
