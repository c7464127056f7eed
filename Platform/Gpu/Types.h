#pragma once
// Plain value types of the GPU layer. Numbers keep the meanings the engine relies on:
// pixel format 80 is BGRA8 unorm and 115 RGBA16 float, storage mode 0 is shared
// (host-readable) and 2 is private (device-local); they appear in texture-pool keys.
#include <cstddef>
#include <cstdint>
#include <string>

#include "Platform/Base/Expected.h"

namespace platform::gpu {

// RGBA16 float holds values that 8 bits would band, and is filtered in float by every
// device; BGRA8 is the format of pictures, and the only one a render pass draws into.
enum class PixelFormat : uint32_t { bgra8Unorm = 80, rgba16Float = 115 };

constexpr uint32_t bytesPerPixel(PixelFormat format) { return format == PixelFormat::rgba16Float ? 8 : 4; }

enum class StorageMode : uint32_t { shared = 0, privateStorage = 2 };

// Bit flags, as in Metal: read = 1, write = 2, renderTarget = 4.
namespace TextureUsage {
constexpr uint32_t shaderRead = 1;
constexpr uint32_t shaderWrite = 2;
constexpr uint32_t renderTarget = 4;
}  // namespace TextureUsage

struct Size {
  uint32_t width = 1;
  uint32_t height = 1;
  uint32_t depth = 1;
};

struct Origin {
  uint32_t x = 0;
  uint32_t y = 0;
};

struct Region {
  Origin origin;
  uint32_t width = 0;
  uint32_t height = 0;
};

struct TextureDescriptor {
  uint32_t width = 1;
  uint32_t height = 1;
  PixelFormat pixelFormat = PixelFormat::bgra8Unorm;
  StorageMode storageMode = StorageMode::privateStorage;
  uint32_t usage = TextureUsage::shaderRead;
};

struct ClearColor {
  double red = 0, green = 0, blue = 0, alpha = 1;
};

// Why a device, a library or a pipeline could not be made; the message names the file
// or function.
struct GpuError {
  enum class Kind {
    noDevice,           // no Vulkan 1.2 device, none of the kind chosen, or it could not be set up
    unreadableLibrary,  // no bundle folder, or a file in it that cannot be read or is no SPIR-V module
    missingFunction,    // no function of that name, or not of the stage asked for
    unsupportedShader,  // its bindings break this layer's rules, or it needs what the device lacks
    invalidArgument,    // no library, or a colour format this layer cannot render to
    driverFailed,       // Vulkan refused to create the object
  };
  Kind kind;
  std::string message;
};

// The failure of a call that returns Expected<T, GpuError>.
inline Unexpected<GpuError> gpuFailure(GpuError::Kind kind, std::string message) {
  return unexpected(GpuError{kind, std::move(message)});
}

enum class DeviceKind { discrete, integrated, virtualGpu, cpu, other };

// Read once when the device is made, so callers choose a path up front instead of
// discovering a missing feature by failure.
struct DeviceCapabilities {
  DeviceKind kind = DeviceKind::other;
  uint32_t maxTextureDimension = 0;
  uint32_t maxThreadgroupMemoryLength = 0;
  uint32_t maxBytesLength = 0;                  // largest setBytes block
  bool supportsNonUniformThreadgroups = false;  // always false on Vulkan
  uint64_t memoryBudgetBytes = 0;               // textures beyond this are refused
};

}  // namespace platform::gpu
