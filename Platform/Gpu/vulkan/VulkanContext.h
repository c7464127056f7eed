#pragma once
// The Vulkan side of one Device: instance, the chosen physical device, the logical
// device with its one queue, the submission path and the completion thread, and the
// small shared resources (sampler, render passes, recycled command pools and uniform
// chunks, pipeline cache). Every object of the layer holds it by shared_ptr, so the
// VkDevice outlives all of them. All methods are safe from any thread.
#ifndef HALVANE_INSIDE_PlatformGpu
#error "a private header of Platform/Gpu: include its public headers"
#endif
#include <vulkan/vulkan.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Gpu/Device.h"

namespace platform::gpu::vulkan {

class CommandBufferImpl;
class TextureImpl;

// A host-visible, persistently mapped buffer (staging, uploads, uniform chunks).
class HostBuffer {
 public:
  HostBuffer() = default;
  HostBuffer(const HostBuffer&) = delete;
  HostBuffer& operator=(const HostBuffer&) = delete;
  ~HostBuffer();

  VkBuffer buffer() const { return buffer_; }
  uint8_t* data() const { return mapped_; }

 private:
  friend class Context;
  VkDevice device_ = VK_NULL_HANDLE;
  VkBuffer buffer_ = VK_NULL_HANDLE;
  VkDeviceMemory memory_ = VK_NULL_HANDLE;
  uint8_t* mapped_ = nullptr;
};

// A command pool with its two command buffers: the prologue (texture initialisation and
// uploads flushed at submission) and the main buffer the encoders record into.
struct CommandSlot {
  VkCommandPool pool = VK_NULL_HANDLE;
  VkCommandBuffer prologue = VK_NULL_HANDLE;
  VkCommandBuffer main = VK_NULL_HANDLE;
};

class Context {
 public:
  // None with a reason when no suitable device exists.
  static platform::Expected<std::shared_ptr<Context>, GpuError> create(const DeviceOptions& options);
  ~Context();
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  // Immutable after creation.
  VkDevice device() const { return device_; }
  const VkPhysicalDeviceProperties& properties() const { return properties_; }
  const DeviceCapabilities& capabilities() const { return capabilities_; }
  const std::string& name() const { return name_; }
  VkSampler linearClampSampler() const { return sampler_; }
  VkRenderPass renderPass(LoadAction load, StoreAction store) const {
    return renderPasses_[static_cast<int>(load)][static_cast<int>(store)];
  }
  VkRenderPass compatibleRenderPass() const { return renderPass(LoadAction::clear, StoreAction::store); }
  PFN_vkCmdPushDescriptorSetKHR cmdPushDescriptorSet() const { return cmdPushDescriptorSet_; }
  VkPipelineCache pipelineCache() const { return pipelineCache_; }
  bool hasCreationFeedback() const { return hasCreationFeedback_; }
  bool supportsFormatlessStorageRead() const { return readWithoutFormat_; }

  // Memory. Texture bytes are counted against the budget; a reservation that would pass
  // it fails.
  int32_t findMemoryType(uint32_t typeBits, VkMemoryPropertyFlags required, VkMemoryPropertyFlags preferred) const;
  std::unique_ptr<HostBuffer> createHostBuffer(VkDeviceSize size, VkBufferUsageFlags usage, bool forReading);
  bool reserveTextureBytes(uint64_t bytes);
  void releaseTextureBytes(uint64_t bytes);
  uint64_t allocatedTextureBytes() const { return allocatedTextureBytes_.load(); }

  // Recycled per-command-buffer resources.
  bool acquireSlot(CommandSlot& slot);
  void recycleSlot(const CommandSlot& slot);
  HostBuffer* acquireUniformChunk();
  void recycleUniformChunk(HostBuffer* chunk);
  static constexpr VkDeviceSize kUniformChunkSize = 64 * 1024;

  // Work recorded at the front of the next submission, in the order given: a new
  // texture's first layout, a host upload. `record` runs only if the texture is still
  // alive; `keepAlive` (and the texture) are then held until that submission completes.
  using PrologueRecorder = std::function<void(VkCommandBuffer, TextureImpl&)>;
  void enqueuePrologue(std::weak_ptr<TextureImpl> texture, PrologueRecorder record, std::shared_ptr<void> keepAlive);

  // Submits the command buffer's recorded work, then its completion goes through the
  // completion thread in submission order. Never blocks on the GPU.
  void submit(const std::shared_ptr<CommandBufferImpl>& commandBuffer, const CommandSlot& slot);
  bool isCompletionThread() const { return std::this_thread::get_id() == completionThreadId_; }

  // Waits for every submitted buffer to complete, stops the completion thread, waits
  // for the device to go idle and writes the pipeline cache. Later submissions fail.
  void shutdown();

  // Pipeline cache bookkeeping.
  void notePipelineCreated(bool cacheHit);
  PipelineCacheInfo pipelineCacheInfo() const;

  void reportValidation(const std::string& message);

 private:
  Context() = default;
  // The steps of the set-up; each names its failure.
  using SetUp = platform::Expected<void, GpuError>;
  SetUp initialize(const DeviceOptions& options);
  SetUp createInstance(const DeviceOptions& options);
  SetUp pickPhysicalDevice(const std::string& preference);
  SetUp createDevice();
  SetUp createSharedObjects();
  void loadPipelineCache(const std::string& path);
  void savePipelineCache();
  void completionLoop();

  struct InFlight {
    std::shared_ptr<CommandBufferImpl> commandBuffer;
    uint64_t timelineValue;  // 0: the submission failed, nothing to wait for
    std::string error;
  };
  struct PrologueItem {
    std::weak_ptr<TextureImpl> texture;
    PrologueRecorder record;
    std::shared_ptr<void> keepAlive;
  };

  // Validation messages (kept before anything else is made).
  std::function<void(const std::string&)> onValidationMessage_;
  std::mutex validationMutex_;

  VkInstance instance_ = VK_NULL_HANDLE;
  VkDebugUtilsMessengerEXT messenger_ = VK_NULL_HANDLE;
  VkPhysicalDevice physicalDevice_ = VK_NULL_HANDLE;
  VkPhysicalDeviceProperties properties_{};
  VkPhysicalDeviceMemoryProperties memoryProperties_{};
  bool readWithoutFormat_ = false;
  bool hasCreationFeedback_ = false;
  uint32_t queueFamily_ = 0;
  VkDevice device_ = VK_NULL_HANDLE;
  VkQueue queue_ = VK_NULL_HANDLE;
  VkSemaphore timeline_ = VK_NULL_HANDLE;
  VkSampler sampler_ = VK_NULL_HANDLE;
  VkRenderPass renderPasses_[3][2] = {};
  PFN_vkCmdPushDescriptorSetKHR cmdPushDescriptorSet_ = nullptr;
  DeviceCapabilities capabilities_;
  std::string name_;

  std::atomic<uint64_t> allocatedTextureBytes_{0};

  std::mutex poolMutex_;
  std::vector<CommandSlot> freeSlots_;
  std::vector<std::unique_ptr<HostBuffer>> allChunks_;
  std::vector<HostBuffer*> freeChunks_;

  // Submission: queue access, timeline values and the prologue, in one order.
  std::mutex submitMutex_;
  uint64_t timelineValue_ = 0;
  bool acceptingWork_ = true;
  std::vector<PrologueItem> prologue_;

  // Completion.
  std::mutex completionMutex_;
  std::condition_variable completionCondition_;
  std::deque<InFlight> inFlight_;
  bool stopCompletion_ = false;
  std::thread completionThread_;
  std::thread::id completionThreadId_;

  // Pipeline cache.
  std::string pipelineCachePath_;
  VkPipelineCache pipelineCache_ = VK_NULL_HANDLE;
  std::vector<uint8_t> loadedCacheData_;
  bool cacheLoaded_ = false;
  std::atomic<uint32_t> pipelinesCreated_{0};
  std::atomic<uint32_t> pipelineCacheHits_{0};
  bool shutDown_ = false;
};

}  // namespace platform::gpu::vulkan
