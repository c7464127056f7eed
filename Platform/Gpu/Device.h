#pragma once
// The GPU device. Made once; every method is safe from any thread.
//
// Choice of device: HALVANE_GPU_DEVICE = "discrete", "integrated", "cpu" or a device
// index forces it; otherwise a discrete GPU is preferred, then an integrated one,
// then a CPU implementation (lavapipe). Tests force "cpu".
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Gpu/CommandBuffer.h"
#include "Platform/Gpu/Library.h"
#include "Platform/Gpu/Pipelines.h"
#include "Platform/Gpu/Texture.h"
#include "Platform/Gpu/Types.h"

namespace platform::gpu {

struct DeviceOptions {
  // "discrete", "integrated", "cpu", a decimal index, or empty for the default rule
  // (the HALVANE_GPU_DEVICE variable, then discrete > integrated > cpu).
  std::string preferredDevice;
  // Turns on the Khronos validation layer; each message goes to onValidationMessage.
  bool enableValidation = false;
  std::function<void(const std::string&)> onValidationMessage;
  // Textures whose total size would pass this many bytes are refused (0: the device's
  // own heap size), so that running out of memory is a none, never a crash.
  uint64_t memoryBudgetBytes = 0;
  // A pipeline cache file; a second start then compiles no kernel again. Empty: none.
  std::string pipelineCachePath;
};

// What the pipeline cache file gave this device. A driver that keeps no pipeline data
// in its cache (lavapipe) still loads and writes a valid file; hits are counted only
// where the driver reports them (pipeline creation feedback).
struct PipelineCacheInfo {
  bool loadedFromFile = false;         // a file was read and matched this device
  uint64_t loadedBytes = 0;
  uint32_t pipelinesCreated = 0;       // since the device was made
  uint32_t pipelinesFromCache = 0;     // of those, found in the cache
  bool driverReportsCacheHits = false;
};

class Device {
 public:
  // Waits for all committed work and its completed handlers, then writes the pipeline
  // cache. Textures, pipelines and queues still held elsewhere stay valid until they go.
  virtual ~Device() = default;

  template <typename T>
  using Made = platform::Expected<std::shared_ptr<T>, GpuError>;

  // Fails, saying why, when no Vulkan 1.2 device can be had or none is of the kind chosen.
  static Made<Device> createSystemDefault(const DeviceOptions& options = {});

  virtual std::string name() const = 0;
  virtual const DeviceCapabilities& capabilities() const = 0;

  virtual std::shared_ptr<CommandQueue> newCommandQueue() = 0;
  // None when the size is beyond the device's limits or memory runs out.
  virtual std::shared_ptr<Texture> newTexture(const TextureDescriptor& descriptor) = 0;
  // Loads every <name>.spv in the folder.
  virtual Made<Library> newLibrary(const std::string& bundlePath) = 0;
  // With no constants the kernel keeps the defaults it declares. Safe to call on any
  // thread while others use the device (a variant compiles beside the running work).
  virtual Made<ComputePipelineState> newComputePipelineState(const std::shared_ptr<Library>& library,
                                                             const std::string& functionName,
                                                             const std::vector<FunctionConstant>& constants) = 0;
  Made<ComputePipelineState> newComputePipelineState(const std::shared_ptr<Library>& library,
                                                     const std::string& functionName) {
    return newComputePipelineState(library, functionName, {});
  }
  virtual Made<RenderPipelineState> newRenderPipelineState(const RenderPipelineDescriptor& descriptor) = 0;
  // Bytes currently held by textures of this device.
  virtual uint64_t allocatedTextureBytes() const = 0;
  virtual PipelineCacheInfo pipelineCacheInfo() const = 0;
};

}  // namespace platform::gpu
