// What Platform/Gpu costs on the CPU for small compute dispatches, against raw Vulkan
// recording the same commands on the same device (HALVANE_GPU_DEVICE chooses it, as
// for the layer). Both write one 16 by 16 storage image from one uniform block.
//   Encode/N:  N dispatches in one command buffer, each with its block, its texture and
//              the write-after-write barrier between them; the commit is counted, the
//              wait for the GPU is not. Reported per dispatch.
//   RoundTrip: one dispatch, commit, wait until completed (with the layer: after the
//              completion thread has run the handlers).
#include <benchmark/benchmark.h>
#include <vulkan/vulkan.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/Gpu/Device.h"

namespace {

using namespace platform::gpu;

constexpr uint32_t kSide = 16;
const std::string kBundle = HALVANE_GPU_BENCH_BUNDLE;

// ---------------------------------------------------------------------------------------
// The layer.

struct Layer {
  std::shared_ptr<Device> device;
  std::shared_ptr<CommandQueue> queue;
  std::shared_ptr<ComputePipelineState> pipeline;
  std::shared_ptr<Texture> texture;

  static Layer& shared() {
    static Layer layer = [] {
      Layer l;
      auto device = Device::createSystemDefault();
      if (!device) throw std::runtime_error(device.error().message);
      l.device = *device;
      l.queue = l.device->newCommandQueue();
      auto library = l.device->newLibrary(kBundle);
      if (!library) throw std::runtime_error(library.error().message);
      auto pipeline = l.device->newComputePipelineState(*library, "benchKernel");
      if (!pipeline) throw std::runtime_error(pipeline.error().message);
      l.pipeline = *pipeline;
      TextureDescriptor descriptor;
      descriptor.width = descriptor.height = kSide;
      descriptor.usage = TextureUsage::shaderWrite;
      l.texture = l.device->newTexture(descriptor);
      return l;
    }();
    return layer;
  }

  std::shared_ptr<CommandBuffer> encode(int dispatches) {
    auto commandBuffer = queue->commandBuffer();
    auto encoder = commandBuffer->computeCommandEncoder();
    encoder->setComputePipelineState(pipeline);
    for (int i = 0; i < dispatches; ++i) {
      const float color[4] = {float(i & 255) / 255.0f, 0.5f, 0.25f, 1.0f};
      encoder->setBytes(color, sizeof color, 0);
      encoder->setTexture(texture, 0);
      encoder->dispatchThreadgroups({1, 1, 1}, {16, 16, 1});
    }
    encoder->endEncoding();
    commandBuffer->commit();
    return commandBuffer;
  }
};

// ---------------------------------------------------------------------------------------
// Raw Vulkan: the same commands, recorded by hand, with a fence.

void check(VkResult result, const char* what) {
  if (result != VK_SUCCESS) throw std::runtime_error(std::string(what) + " failed: " + std::to_string(result));
}

class Raw {
 public:
  static Raw& shared() {
    static Raw raw(Layer::shared().device->name());
    return raw;
  }

  explicit Raw(const std::string& deviceName) {
    VkApplicationInfo app{VK_STRUCTURE_TYPE_APPLICATION_INFO};
    app.apiVersion = VK_API_VERSION_1_2;
    VkInstanceCreateInfo instanceInfo{VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    instanceInfo.pApplicationInfo = &app;
    check(vkCreateInstance(&instanceInfo, nullptr, &instance_), "vkCreateInstance");
    uint32_t count = 0;
    vkEnumeratePhysicalDevices(instance_, &count, nullptr);
    std::vector<VkPhysicalDevice> devices(count);
    vkEnumeratePhysicalDevices(instance_, &count, devices.data());
    for (VkPhysicalDevice d : devices) {
      VkPhysicalDeviceProperties properties;
      vkGetPhysicalDeviceProperties(d, &properties);
      if (deviceName == properties.deviceName) {
        physical_ = d;
        alignment_ = properties.limits.minUniformBufferOffsetAlignment;
      }
    }
    if (!physical_) throw std::runtime_error("raw Vulkan: no device named " + deviceName);

    uint32_t families = 0;
    vkGetPhysicalDeviceQueueFamilyProperties(physical_, &families, nullptr);
    std::vector<VkQueueFamilyProperties> familyProperties(families);
    vkGetPhysicalDeviceQueueFamilyProperties(physical_, &families, familyProperties.data());
    for (uint32_t i = 0; i < families; ++i)
      if (familyProperties[i].queueFlags & VK_QUEUE_COMPUTE_BIT) {
        family_ = i;
        break;
      }
    float priority = 1;
    VkDeviceQueueCreateInfo queueInfo{VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
    queueInfo.queueFamilyIndex = family_;
    queueInfo.queueCount = 1;
    queueInfo.pQueuePriorities = &priority;
    VkPhysicalDeviceFeatures features{};
    features.shaderStorageImageWriteWithoutFormat = VK_TRUE;
    const char* extensions[] = {VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME};
    VkDeviceCreateInfo deviceInfo{VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
    deviceInfo.queueCreateInfoCount = 1;
    deviceInfo.pQueueCreateInfos = &queueInfo;
    deviceInfo.pEnabledFeatures = &features;
    deviceInfo.enabledExtensionCount = 1;
    deviceInfo.ppEnabledExtensionNames = extensions;
    check(vkCreateDevice(physical_, &deviceInfo, nullptr, &device_), "vkCreateDevice");
    vkGetDeviceQueue(device_, family_, 0, &queue_);
    push_ = reinterpret_cast<PFN_vkCmdPushDescriptorSetKHR>(vkGetDeviceProcAddr(device_, "vkCmdPushDescriptorSetKHR"));

    // Pipeline.
    std::ifstream file(kBundle + "/benchKernel.spv", std::ios::binary);
    std::vector<char> code((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    VkShaderModuleCreateInfo moduleInfo{VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
    moduleInfo.codeSize = code.size();
    moduleInfo.pCode = reinterpret_cast<const uint32_t*>(code.data());
    VkShaderModule module;
    check(vkCreateShaderModule(device_, &moduleInfo, nullptr, &module), "vkCreateShaderModule");
    VkDescriptorSetLayoutBinding bindings[2] = {
        {0, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 1, VK_SHADER_STAGE_COMPUTE_BIT, nullptr},
        {8, VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, 1, VK_SHADER_STAGE_COMPUTE_BIT, nullptr}};
    VkDescriptorSetLayoutCreateInfo setInfo{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
    setInfo.flags = VK_DESCRIPTOR_SET_LAYOUT_CREATE_PUSH_DESCRIPTOR_BIT_KHR;
    setInfo.bindingCount = 2;
    setInfo.pBindings = bindings;
    check(vkCreateDescriptorSetLayout(device_, &setInfo, nullptr, &setLayout_), "vkCreateDescriptorSetLayout");
    VkPipelineLayoutCreateInfo layoutInfo{VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
    layoutInfo.setLayoutCount = 1;
    layoutInfo.pSetLayouts = &setLayout_;
    check(vkCreatePipelineLayout(device_, &layoutInfo, nullptr, &layout_), "vkCreatePipelineLayout");
    VkComputePipelineCreateInfo pipelineInfo{VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
    pipelineInfo.stage = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO, nullptr, 0, VK_SHADER_STAGE_COMPUTE_BIT,
                          module, "main", nullptr};
    pipelineInfo.layout = layout_;
    check(vkCreateComputePipelines(device_, VK_NULL_HANDLE, 1, &pipelineInfo, nullptr, &pipeline_),
          "vkCreateComputePipelines");
    vkDestroyShaderModule(device_, module, nullptr);

    // Image, uniform buffer, command buffer, fence.
    VkImageCreateInfo imageInfo{VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
    imageInfo.imageType = VK_IMAGE_TYPE_2D;
    imageInfo.format = VK_FORMAT_B8G8R8A8_UNORM;
    imageInfo.extent = {kSide, kSide, 1};
    imageInfo.mipLevels = imageInfo.arrayLayers = 1;
    imageInfo.samples = VK_SAMPLE_COUNT_1_BIT;
    imageInfo.usage = VK_IMAGE_USAGE_STORAGE_BIT;
    check(vkCreateImage(device_, &imageInfo, nullptr, &image_), "vkCreateImage");
    VkMemoryRequirements requirements;
    vkGetImageMemoryRequirements(device_, image_, &requirements);
    imageMemory_ = allocate(requirements, 0);
    vkBindImageMemory(device_, image_, imageMemory_, 0);
    VkImageViewCreateInfo viewInfo{VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
    viewInfo.image = image_;
    viewInfo.viewType = VK_IMAGE_VIEW_TYPE_2D;
    viewInfo.format = VK_FORMAT_B8G8R8A8_UNORM;
    viewInfo.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
    check(vkCreateImageView(device_, &viewInfo, nullptr, &view_), "vkCreateImageView");

    VkBufferCreateInfo bufferInfo{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    bufferInfo.size = kUniformBytes;
    bufferInfo.usage = VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT;
    check(vkCreateBuffer(device_, &bufferInfo, nullptr, &uniforms_), "vkCreateBuffer");
    vkGetBufferMemoryRequirements(device_, uniforms_, &requirements);
    uniformMemory_ = allocate(requirements, VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT);
    vkBindBufferMemory(device_, uniforms_, uniformMemory_, 0);
    void* mapped;
    vkMapMemory(device_, uniformMemory_, 0, VK_WHOLE_SIZE, 0, &mapped);
    mapped_ = static_cast<uint8_t*>(mapped);

    VkCommandPoolCreateInfo poolInfo{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    poolInfo.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
    poolInfo.queueFamilyIndex = family_;
    check(vkCreateCommandPool(device_, &poolInfo, nullptr, &pool_), "vkCreateCommandPool");
    VkCommandBufferAllocateInfo allocateInfo{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
    allocateInfo.commandPool = pool_;
    allocateInfo.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
    allocateInfo.commandBufferCount = 1;
    check(vkAllocateCommandBuffers(device_, &allocateInfo, &commandBuffer_), "vkAllocateCommandBuffers");
    VkFenceCreateInfo fenceInfo{VK_STRUCTURE_TYPE_FENCE_CREATE_INFO};
    check(vkCreateFence(device_, &fenceInfo, nullptr, &fence_), "vkCreateFence");
  }

  ~Raw() {
    vkDeviceWaitIdle(device_);
    vkDestroyFence(device_, fence_, nullptr);
    vkDestroyCommandPool(device_, pool_, nullptr);
    vkDestroyBuffer(device_, uniforms_, nullptr);
    vkFreeMemory(device_, uniformMemory_, nullptr);
    vkDestroyImageView(device_, view_, nullptr);
    vkDestroyImage(device_, image_, nullptr);
    vkFreeMemory(device_, imageMemory_, nullptr);
    vkDestroyPipeline(device_, pipeline_, nullptr);
    vkDestroyPipelineLayout(device_, layout_, nullptr);
    vkDestroyDescriptorSetLayout(device_, setLayout_, nullptr);
    vkDestroyDevice(device_, nullptr);
    vkDestroyInstance(instance_, nullptr);
  }

  // Records and submits; wait() waits.
  void encode(int dispatches) {
    vkResetCommandPool(device_, pool_, 0);
    VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    vkBeginCommandBuffer(commandBuffer_, &begin);
    VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
    barrier.srcAccessMask = VK_ACCESS_SHADER_WRITE_BIT;
    barrier.dstAccessMask = VK_ACCESS_SHADER_WRITE_BIT;
    barrier.oldLayout = initialized_ ? VK_IMAGE_LAYOUT_GENERAL : VK_IMAGE_LAYOUT_UNDEFINED;
    barrier.newLayout = VK_IMAGE_LAYOUT_GENERAL;
    barrier.srcQueueFamilyIndex = barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = image_;
    barrier.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
    initialized_ = true;
    vkCmdBindPipeline(commandBuffer_, VK_PIPELINE_BIND_POINT_COMPUTE, pipeline_);
    for (int i = 0; i < dispatches; ++i) {
      vkCmdPipelineBarrier(commandBuffer_, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, 0,
                           0, nullptr, 0, nullptr, 1, &barrier);
      barrier.oldLayout = VK_IMAGE_LAYOUT_GENERAL;
      VkDeviceSize offset = (VkDeviceSize(i) * alignment_) % kUniformBytes;
      const float color[4] = {float(i & 255) / 255.0f, 0.5f, 0.25f, 1.0f};
      std::memcpy(mapped_ + offset, color, sizeof color);
      VkDescriptorBufferInfo bufferInfo{uniforms_, offset, sizeof color};
      VkDescriptorImageInfo imageInfo{VK_NULL_HANDLE, view_, VK_IMAGE_LAYOUT_GENERAL};
      VkWriteDescriptorSet writes[2] = {{VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET}, {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET}};
      writes[0].dstBinding = 0;
      writes[0].descriptorCount = 1;
      writes[0].descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER;
      writes[0].pBufferInfo = &bufferInfo;
      writes[1].dstBinding = 8;
      writes[1].descriptorCount = 1;
      writes[1].descriptorType = VK_DESCRIPTOR_TYPE_STORAGE_IMAGE;
      writes[1].pImageInfo = &imageInfo;
      push_(commandBuffer_, VK_PIPELINE_BIND_POINT_COMPUTE, layout_, 0, 2, writes);
      vkCmdDispatch(commandBuffer_, 1, 1, 1);
    }
    vkEndCommandBuffer(commandBuffer_);
    VkSubmitInfo submit{VK_STRUCTURE_TYPE_SUBMIT_INFO};
    submit.commandBufferCount = 1;
    submit.pCommandBuffers = &commandBuffer_;
    vkQueueSubmit(queue_, 1, &submit, fence_);
  }
  void wait() {
    vkWaitForFences(device_, 1, &fence_, VK_TRUE, UINT64_MAX);
    vkResetFences(device_, 1, &fence_);
  }

 private:
  static constexpr VkDeviceSize kUniformBytes = 1 << 20;

  VkDeviceMemory allocate(const VkMemoryRequirements& requirements, VkMemoryPropertyFlags flags) {
    VkPhysicalDeviceMemoryProperties memory;
    vkGetPhysicalDeviceMemoryProperties(physical_, &memory);
    for (uint32_t i = 0; i < memory.memoryTypeCount; ++i) {
      if ((requirements.memoryTypeBits & (1u << i)) && (memory.memoryTypes[i].propertyFlags & flags) == flags) {
        VkMemoryAllocateInfo info{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
        info.allocationSize = requirements.size;
        info.memoryTypeIndex = i;
        VkDeviceMemory result;
        check(vkAllocateMemory(device_, &info, nullptr, &result), "vkAllocateMemory");
        return result;
      }
    }
    throw std::runtime_error("no memory type");
  }

  VkInstance instance_ = VK_NULL_HANDLE;
  VkPhysicalDevice physical_ = VK_NULL_HANDLE;
  VkDeviceSize alignment_ = 256;
  uint32_t family_ = 0;
  VkDevice device_ = VK_NULL_HANDLE;
  VkQueue queue_ = VK_NULL_HANDLE;
  PFN_vkCmdPushDescriptorSetKHR push_ = nullptr;
  VkDescriptorSetLayout setLayout_ = VK_NULL_HANDLE;
  VkPipelineLayout layout_ = VK_NULL_HANDLE;
  VkPipeline pipeline_ = VK_NULL_HANDLE;
  VkImage image_ = VK_NULL_HANDLE;
  VkDeviceMemory imageMemory_ = VK_NULL_HANDLE;
  VkImageView view_ = VK_NULL_HANDLE;
  VkBuffer uniforms_ = VK_NULL_HANDLE;
  VkDeviceMemory uniformMemory_ = VK_NULL_HANDLE;
  uint8_t* mapped_ = nullptr;
  VkCommandPool pool_ = VK_NULL_HANDLE;
  VkCommandBuffer commandBuffer_ = VK_NULL_HANDLE;
  VkFence fence_ = VK_NULL_HANDLE;
  bool initialized_ = false;
};

// ---------------------------------------------------------------------------------------

void Encode_layer(benchmark::State& state) {
  Layer& layer = Layer::shared();
  const int dispatches = int(state.range(0));
  for (auto _ : state) {
    auto commandBuffer = layer.encode(dispatches);
    state.PauseTiming();
    commandBuffer->waitUntilCompleted();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * dispatches);
}
BENCHMARK(Encode_layer)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly();

void Encode_rawVulkan(benchmark::State& state) {
  Raw& raw = Raw::shared();
  const int dispatches = int(state.range(0));
  for (auto _ : state) {
    raw.encode(dispatches);
    state.PauseTiming();
    raw.wait();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * dispatches);
}
BENCHMARK(Encode_rawVulkan)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly();

void RoundTrip_layer(benchmark::State& state) {
  Layer& layer = Layer::shared();
  for (auto _ : state) layer.encode(1)->waitUntilCompleted();
}
BENCHMARK(RoundTrip_layer)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly();

void RoundTrip_rawVulkan(benchmark::State& state) {
  Raw& raw = Raw::shared();
  for (auto _ : state) {
    raw.encode(1);
    raw.wait();
  }
}
BENCHMARK(RoundTrip_rawVulkan)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly();

}  // namespace

BENCHMARK_MAIN();
