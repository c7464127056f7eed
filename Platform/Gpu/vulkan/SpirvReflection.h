#pragma once
// A light reader of SPIR-V modules: the entry point, the compute local size and the
// descriptor bindings with their kinds, enough to build a pipeline layout that follows
// the binding convention of Encoders.h. Pure functions; no Vulkan calls.
#ifndef HALVANE_INSIDE_PlatformGpu
#error "a private header of Platform/Gpu: include its public headers"
#endif
#include <cstdint>
#include <string>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Gpu/Types.h"

namespace platform::gpu::vulkan {

enum class ShaderStage { vertex, fragment, compute, other };

enum class ResourceKind {
  uniformBlock,    // a std140 uniform block: setBytes
  sampledTexture,  // sampler2D: read through the layer's linear clamp-to-edge sampler
  storageTexture,  // image2D without format qualifier: written as a storage image
  unsupported,     // anything else (storage buffers, arrays, separate samplers...)
};

struct ShaderResource {
  uint32_t set = 0;
  uint32_t binding = 0;
  ResourceKind kind = ResourceKind::unsupported;
  uint32_t blockSize = 0;   // uniform blocks: bytes the shader reads, 0 when unknown
  std::string name;         // for messages
  std::string unsupportedReason;
};

struct ShaderInterface {
  ShaderStage stage = ShaderStage::other;
  std::string entryPoint;
  uint32_t localSize[3] = {1, 1, 1};  // compute only
  bool readsFormatlessStorageImage = false;
  std::vector<ShaderResource> resources;
};

// Reads the interface of the module's single entry point (or the one named "main").
// An unreadableLibrary error when the words are not a SPIR-V module this layer can use.
platform::Expected<ShaderInterface, GpuError> reflectSpirv(const std::vector<uint32_t>& words);

}  // namespace platform::gpu::vulkan
