#pragma once
// Encoders record work into their command buffer; one encoder is open at a time and
// endEncoding closes it. Barriers and layout transitions between passes are this
// layer's job, never the caller's.
//
// Shader binding convention (descriptor set 0):
//   compute: setBytes index i -> binding i (uniform block);
//            setTexture index i -> binding 8 + i. A `sampler2D` there is read through a
//            linear clamp-to-edge sampler (texelFetch for exact reads); an `image2D`
//            without a format qualifier is written as a storage image.
//   render:  setVertexBytes index i -> binding i; setFragmentBytes index i ->
//            binding 4 + i; setFragmentTexture index i -> binding 8 + i (sampler2D).
// A uniform block may be up to DeviceCapabilities::maxBytesLength bytes (at least 256).
// Indices: bytes 0 to 7 (compute) or 0 to 3 (each render stage), textures 0 to 15.
//
// Render passes use Vulkan's clip space as it is: y points down, (-1, -1) is the top
// left of the target. A vertex shader written for y up negates y itself.
//
// Misuse (a missing pipeline, bytes or texture the shader reads, a block shorter than
// the shader's, a group size other than the kernel's local size, too much group memory)
// skips that command and marks the command buffer: its status ends as error, with the
// reasons in errorMessage.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Platform/Gpu/Types.h"

namespace platform::gpu {

class Texture;
class ComputePipelineState;
class RenderPipelineState;
enum class PrimitiveType;

class ComputeCommandEncoder {
 public:
  virtual ~ComputeCommandEncoder() = default;
  virtual void setComputePipelineState(const std::shared_ptr<ComputePipelineState>& pipeline) = 0;
  virtual void setTexture(const std::shared_ptr<Texture>& texture, uint32_t index) = 0;
  virtual void setBytes(const void* bytes, size_t length, uint32_t index) = 0;
  // Group memory is declared in the shader on Vulkan; this checks the length fits.
  virtual void setThreadgroupMemoryLength(size_t length, uint32_t index) = 0;
  // threadsPerThreadgroup must equal the kernel's local size (16 by 16 by 1 here);
  // there is no non-uniform dispatch, so edge groups overrun and kernels test positions.
  virtual void dispatchThreadgroups(Size threadgroups, Size threadsPerThreadgroup) = 0;
  virtual void endEncoding() = 0;
};

class BlitCommandEncoder {
 public:
  virtual ~BlitCommandEncoder() = default;
  virtual void copyFromTexture(const std::shared_ptr<Texture>& source, Origin sourceOrigin, Size size,
                               const std::shared_ptr<Texture>& destination, Origin destinationOrigin) = 0;
  virtual void endEncoding() = 0;
};

enum class LoadAction { dontCare, load, clear };
enum class StoreAction { dontCare, store };

struct RenderPassDescriptor {
  std::shared_ptr<Texture> colorAttachment;
  LoadAction loadAction = LoadAction::clear;
  StoreAction storeAction = StoreAction::store;
  ClearColor clearColor;
};

class RenderCommandEncoder {
 public:
  virtual ~RenderCommandEncoder() = default;
  virtual void setRenderPipelineState(const std::shared_ptr<RenderPipelineState>& pipeline) = 0;
  virtual void setVertexBytes(const void* bytes, size_t length, uint32_t index) = 0;
  virtual void setFragmentBytes(const void* bytes, size_t length, uint32_t index) = 0;
  virtual void setFragmentTexture(const std::shared_ptr<Texture>& texture, uint32_t index) = 0;
  virtual void drawPrimitives(PrimitiveType type, uint32_t vertexStart, uint32_t vertexCount) = 0;
  virtual void endEncoding() = 0;
};

}  // namespace platform::gpu
