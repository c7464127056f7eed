#pragma once
// Command buffers, their encoders and the command queue.
//
// A command buffer records into one Vulkan command buffer of a recycled pool. It tracks,
// for every texture it touches, the layout and the last accesses inside this buffer, and
// puts the barriers and layout transitions between passes itself. A texture enters a
// command buffer in the GENERAL layout and leaves it in GENERAL; the first use in a
// buffer waits for all earlier work on the queue. At the end, shared textures that were
// written are copied to their staging buffers for getBytes.
//
// Encoding happens on one thread at a time; commit hands the buffer to the context,
// whose completion thread calls complete() in commit order.
#ifndef HALVANE_INSIDE_PlatformGpu
#error "a private header of Platform/Gpu: include its public headers"
#endif
#include <vulkan/vulkan.h>

#include <array>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "Platform/Gpu/CommandBuffer.h"
#include "Platform/Gpu/vulkan/VulkanContext.h"
#include "Platform/Gpu/vulkan/VulkanPipelines.h"
#include "Platform/Gpu/vulkan/VulkanTexture.h"

namespace platform::gpu::vulkan {

// Counts the command buffers of one queue that are committed and not yet completed, so
// that the queue's destructor can wait for them.
class QueueState {
 public:
  void began();
  void ended();
  void waitIdle();

 private:
  std::mutex mutex_;
  std::condition_variable idle_;
  uint64_t inFlight_ = 0;
};

class CommandBufferImpl;

class EncoderBase {
 public:
  virtual ~EncoderBase() = default;
  // Closes the encoder (recording what it deferred); called by endEncoding or commit.
  virtual void finish() = 0;
};

struct BytesBinding {
  VkBuffer buffer = VK_NULL_HANDLE;
  VkDeviceSize offset = 0;
  VkDeviceSize range = 0;
  bool isSet() const { return buffer != VK_NULL_HANDLE; }
};

struct TextureUse {
  std::shared_ptr<TextureImpl> texture;
  VkImageLayout layout;
  VkPipelineStageFlags stage;
  VkAccessFlags access;
  bool write;
};

class CommandBufferImpl final : public CommandBuffer, public std::enable_shared_from_this<CommandBufferImpl> {
 public:
  static std::shared_ptr<CommandBufferImpl> create(std::shared_ptr<Context> context, std::shared_ptr<QueueState> queue);
  ~CommandBufferImpl() override;

  std::shared_ptr<ComputeCommandEncoder> computeCommandEncoder() override;
  std::shared_ptr<BlitCommandEncoder> blitCommandEncoder() override;
  std::shared_ptr<RenderCommandEncoder> renderCommandEncoder(const RenderPassDescriptor& pass) override;
  void addCompletedHandler(std::function<void(CommandBuffer&)> handler) override;
  void commit() override;
  void waitUntilCompleted() override;
  CommandBufferStatus status() const override;
  std::string errorMessage() const override;

  // For the encoders.
  Context& context() { return *context_; }
  VkCommandBuffer vk() const { return slot_.main; }
  bool isOpen(const EncoderBase* encoder) const { return openEncoder_ == encoder; }
  void encoderEnded(const EncoderBase* encoder);
  // Copies the bytes into this buffer's uniform ring.
  bool writeBytes(const void* bytes, size_t length, BytesBinding& binding);
  // Records the barriers and layout transitions that the uses need after what this
  // buffer recorded before. A texture used twice in one call goes to GENERAL.
  void prepare(std::vector<TextureUse>& uses);
  VkImageLayout layoutOf(const TextureImpl* texture) const;
  void bindPipeline(VkPipelineBindPoint point, VkPipeline pipeline);
  void pushDescriptors(VkPipelineBindPoint point, const PipelineBase& pipeline, const std::vector<BytesBinding>& bytes,
                       const std::vector<std::shared_ptr<TextureImpl>>& textures);
  // Keeps the object alive until the buffer completed (the context also uses it for
  // what the submission's prologue recorded).
  void retain(std::shared_ptr<const void> object);
  void recordError(const std::string& message);

  // For the context.
  void complete(bool ok, const std::string& error);

 private:
  CommandBufferImpl(std::shared_ptr<Context> context, std::shared_ptr<QueueState> queue)
      : context_(std::move(context)), queue_(std::move(queue)) {}
  bool canEncode() const;
  void finishRecording();
  void releaseResources();

  struct TrackedTexture {
    std::shared_ptr<TextureImpl> texture;
    VkImageLayout layout = VK_IMAGE_LAYOUT_GENERAL;
    // Stages and write accesses that a later use must wait for; everything before this
    // buffer counts as one write by all commands.
    VkPipelineStageFlags writeStages = VK_PIPELINE_STAGE_ALL_COMMANDS_BIT;
    VkAccessFlags writeAccess = VK_ACCESS_MEMORY_WRITE_BIT;
    VkPipelineStageFlags readStages = 0;     // reads since the last write
    VkPipelineStageFlags visibleStages = 0;  // stages that already see the last write
    bool written = false;
  };

  std::shared_ptr<Context> context_;
  std::shared_ptr<QueueState> queue_;
  CommandSlot slot_;
  bool hasSlot_ = false;

  // Encoding state (the encoding thread only).
  EncoderBase* openEncoder_ = nullptr;
  std::unordered_map<const TextureImpl*, TrackedTexture> tracked_;
  std::vector<const TextureImpl*> trackedOrder_;
  std::vector<std::shared_ptr<const void>> retained_;
  std::vector<HostBuffer*> chunks_;
  VkDeviceSize chunkUsed_ = 0;
  VkPipeline boundPipeline_[2] = {VK_NULL_HANDLE, VK_NULL_HANDLE};  // graphics, compute
  std::string encodingErrors_;

  // Shared with the completion thread.
  mutable std::mutex mutex_;
  std::condition_variable finishedCondition_;
  CommandBufferStatus status_ = CommandBufferStatus::notEnqueued;
  std::string errorMessage_;
  std::vector<std::function<void(CommandBuffer&)>> handlers_;
  bool handlersTaken_ = false;
  bool finished_ = false;
};

class CommandQueueImpl final : public CommandQueue {
 public:
  explicit CommandQueueImpl(std::shared_ptr<Context> context)
      : context_(std::move(context)), state_(std::make_shared<QueueState>()) {}
  // Waits until every command buffer committed from this queue has completed.
  ~CommandQueueImpl() override;
  std::shared_ptr<CommandBuffer> commandBuffer() override;

 private:
  std::shared_ptr<Context> context_;
  std::shared_ptr<QueueState> state_;
};

}  // namespace platform::gpu::vulkan
