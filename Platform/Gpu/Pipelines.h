#pragma once
// Pipeline states made from named entry points of a Library. Immutable; shared
// between threads and command buffers.
#include <cstdint>
#include <memory>
#include <string>

#include "Platform/Gpu/Types.h"

namespace platform::gpu {

class Library;

class ComputePipelineState {
 public:
  virtual ~ComputePipelineState() = default;
  virtual std::string functionName() const = 0;
};

enum class PrimitiveType { triangle, triangleStrip };

struct RenderPipelineDescriptor {
  std::shared_ptr<Library> library;
  std::string vertexFunction;
  std::string fragmentFunction;
  PixelFormat colorPixelFormat = PixelFormat::bgra8Unorm;
  PrimitiveType primitiveType = PrimitiveType::triangleStrip;
};

class RenderPipelineState {
 public:
  virtual ~RenderPipelineState() = default;
};

}  // namespace platform::gpu
