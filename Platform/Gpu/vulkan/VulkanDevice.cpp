// The Device of the public interface, over a Vulkan context.
#include "Platform/Gpu/Device.h"

#include "Platform/Gpu/vulkan/VulkanCommandBuffer.h"
#include "Platform/Gpu/vulkan/VulkanContext.h"
#include "Platform/Gpu/vulkan/VulkanPipelines.h"
#include "Platform/Gpu/vulkan/VulkanTexture.h"

namespace platform::gpu {
namespace {

using vulkan::Context;

class DeviceImpl final : public Device {
 public:
  explicit DeviceImpl(std::shared_ptr<Context> context) : context_(std::move(context)) {}
  // Waits for all committed work and its handlers, stops the completion thread and
  // writes the pipeline cache. Objects still held elsewhere keep the Vulkan device
  // until they go.
  ~DeviceImpl() override { context_->shutdown(); }

  std::string name() const override { return context_->name(); }
  const DeviceCapabilities& capabilities() const override { return context_->capabilities(); }
  std::shared_ptr<CommandQueue> newCommandQueue() override {
    return std::make_shared<vulkan::CommandQueueImpl>(context_);
  }
  std::shared_ptr<Texture> newTexture(const TextureDescriptor& descriptor) override {
    return vulkan::TextureImpl::create(context_, descriptor);
  }
  Made<Library> newLibrary(const std::string& bundlePath) override {
    auto library = vulkan::LibraryImpl::load(bundlePath);
    if (!library) return platform::unexpected(library.error());
    return std::shared_ptr<Library>(*library);
  }
  Made<ComputePipelineState> newComputePipelineState(const std::shared_ptr<Library>& library,
                                                     const std::string& functionName,
                                                     const std::vector<FunctionConstant>& constants) override {
    auto pipeline = vulkan::ComputePipelineImpl::create(context_, library, functionName, constants);
    if (!pipeline) return platform::unexpected(pipeline.error());
    return std::shared_ptr<ComputePipelineState>(*pipeline);
  }
  Made<RenderPipelineState> newRenderPipelineState(const RenderPipelineDescriptor& descriptor) override {
    auto pipeline = vulkan::RenderPipelineImpl::create(context_, descriptor);
    if (!pipeline) return platform::unexpected(pipeline.error());
    return std::shared_ptr<RenderPipelineState>(*pipeline);
  }
  uint64_t allocatedTextureBytes() const override { return context_->allocatedTextureBytes(); }
  PipelineCacheInfo pipelineCacheInfo() const override { return context_->pipelineCacheInfo(); }

 private:
  std::shared_ptr<Context> context_;
};

}  // namespace

Device::Made<Device> Device::createSystemDefault(const DeviceOptions& options) {
  auto context = Context::create(options);
  if (!context) return platform::unexpected(context.error());
  return std::shared_ptr<Device>(std::make_shared<DeviceImpl>(std::move(context).value()));
}

}  // namespace platform::gpu
