#pragma once
// The library (SPIR-V modules read and reflected once, immutable) and the pipeline
// states made from it. A pipeline's layout is one push-descriptor set built from the
// reflected bindings, checked against the binding convention of Encoders.h.
#ifndef HALVANE_INSIDE_PlatformGpu
#error "a private header of Platform/Gpu: include its public headers"
#endif
#include <vulkan/vulkan.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Gpu/Library.h"
#include "Platform/Gpu/Pipelines.h"
#include "Platform/Gpu/vulkan/SpirvReflection.h"
#include "Platform/Gpu/vulkan/VulkanContext.h"

namespace platform::gpu::vulkan {

// Binding convention.
constexpr uint32_t kFirstTextureBinding = 8;
constexpr uint32_t kMaxTextures = 16;
constexpr uint32_t kMaxComputeBytes = 8;    // compute bytes at bindings 0...7
constexpr uint32_t kMaxStageBytes = 4;      // vertex bytes at 0...3, fragment bytes at 4...7
constexpr uint32_t kFirstFragmentBytesBinding = 4;

struct ShaderFunction {
  std::vector<uint32_t> code;
  ShaderInterface interface;
};

class LibraryImpl final : public Library {
 public:
  static platform::Expected<std::shared_ptr<LibraryImpl>, GpuError> load(const std::string& path);
  std::string path() const override { return path_; }
  std::vector<std::string> functionNames() const override;
  bool hasFunction(const std::string& name) const override { return functions_.count(name) != 0; }
  const ShaderFunction* function(const std::string& name) const;

 private:
  std::string path_;
  std::map<std::string, ShaderFunction> functions_;
};

struct PipelineBinding {
  uint32_t binding = 0;
  ResourceKind kind = ResourceKind::unsupported;
  VkShaderStageFlags stages = 0;
  uint32_t blockSize = 0;
  std::string name;
};

// What both kinds of pipeline share: the set layout, the pipeline layout, the bindings.
class PipelineBase {
 public:
  virtual ~PipelineBase();
  VkPipeline pipeline() const { return pipeline_; }
  VkPipelineLayout layout() const { return layout_; }
  const std::vector<PipelineBinding>& bindings() const { return bindings_; }

 protected:
  explicit PipelineBase(std::shared_ptr<Context> context) : context_(std::move(context)) {}
  platform::Expected<void, GpuError> createLayout();
  platform::Expected<VkShaderModule, GpuError> createModule(const ShaderFunction& function);

  std::shared_ptr<Context> context_;
  std::vector<PipelineBinding> bindings_;
  VkDescriptorSetLayout setLayout_ = VK_NULL_HANDLE;
  VkPipelineLayout layout_ = VK_NULL_HANDLE;
  VkPipeline pipeline_ = VK_NULL_HANDLE;
};

class ComputePipelineImpl final : public ComputePipelineState, public PipelineBase {
 public:
  static platform::Expected<std::shared_ptr<ComputePipelineImpl>, GpuError> create(
      const std::shared_ptr<Context>& context, const std::shared_ptr<Library>& library, const std::string& functionName,
      const std::vector<FunctionConstant>& constants);
  std::string functionName() const override { return functionName_; }
  const uint32_t* localSize() const { return localSize_; }

 private:
  using PipelineBase::PipelineBase;
  std::string functionName_;
  uint32_t localSize_[3] = {1, 1, 1};
};

class RenderPipelineImpl final : public RenderPipelineState, public PipelineBase {
 public:
  static platform::Expected<std::shared_ptr<RenderPipelineImpl>, GpuError> create(
      const std::shared_ptr<Context>& context, const RenderPipelineDescriptor& descriptor);
  PrimitiveType primitiveType() const { return primitiveType_; }

 private:
  using PipelineBase::PipelineBase;
  PrimitiveType primitiveType_ = PrimitiveType::triangleStrip;
};

}  // namespace platform::gpu::vulkan
