#pragma once
// Pipeline states made from named entry points of a Library. Immutable; shared
// between threads and command buffers.
#include <cstdint>
#include <memory>
#include <string>

#include "Platform/Gpu/Types.h"

namespace platform::gpu {

class Library;

// A value for a kernel's function constant (a Vulkan specialization constant,
// `layout(constant_id = id) const uint`), fixed when the pipeline is made so that the
// driver compiles the kernel for it and drops the code it rules out.
struct FunctionConstant {
  uint32_t id = 0;
  uint32_t value = 0;
  bool operator==(const FunctionConstant&) const = default;
};

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
