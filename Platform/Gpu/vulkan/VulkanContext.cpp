#include "Platform/Gpu/vulkan/VulkanContext.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Platform/Gpu/vulkan/VulkanCommandBuffer.h"
#include "Platform/Gpu/vulkan/VulkanTexture.h"
#include "Platform/Gpu/vulkan/VulkanUtil.h"

namespace platform::gpu::vulkan {
namespace {

constexpr const char* kValidationLayer = "VK_LAYER_KHRONOS_validation";

VKAPI_ATTR VkBool32 VKAPI_CALL debugMessenger(VkDebugUtilsMessageSeverityFlagBitsEXT severity,
                                              VkDebugUtilsMessageTypeFlagsEXT types,
                                              const VkDebugUtilsMessengerCallbackDataEXT* data, void* user) {
  if (severity < VK_DEBUG_UTILS_MESSAGE_SEVERITY_WARNING_BIT_EXT) return VK_FALSE;
  std::string message = severity >= VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT ? "error" : "warning";
  if (types & VK_DEBUG_UTILS_MESSAGE_TYPE_PERFORMANCE_BIT_EXT) message += " (performance)";
  message += ": ";
  if (data->pMessageIdName) message += std::string(data->pMessageIdName) + ": ";
  if (data->pMessage) message += data->pMessage;
  static_cast<Context*>(user)->reportValidation(message);
  return VK_FALSE;
}

VkDebugUtilsMessengerCreateInfoEXT messengerInfo(Context* context) {
  VkDebugUtilsMessengerCreateInfoEXT info{VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT};
  info.messageSeverity = VK_DEBUG_UTILS_MESSAGE_SEVERITY_WARNING_BIT_EXT | VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
  info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_GENERAL_BIT_EXT | VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT |
                     VK_DEBUG_UTILS_MESSAGE_TYPE_PERFORMANCE_BIT_EXT;
  info.pfnUserCallback = debugMessenger;
  info.pUserData = context;
  return info;
}

bool hasExtension(const std::vector<VkExtensionProperties>& extensions, const char* name) {
  return std::any_of(extensions.begin(), extensions.end(),
                     [&](const VkExtensionProperties& e) { return std::strcmp(e.extensionName, name) == 0; });
}

std::vector<VkExtensionProperties> deviceExtensions(VkPhysicalDevice device) {
  uint32_t count = 0;
  vkEnumerateDeviceExtensionProperties(device, nullptr, &count, nullptr);
  std::vector<VkExtensionProperties> extensions(count);
  vkEnumerateDeviceExtensionProperties(device, nullptr, &count, extensions.data());
  return extensions;
}

std::vector<VkExtensionProperties> instanceExtensions(const char* layer) {
  uint32_t count = 0;
  vkEnumerateInstanceExtensionProperties(layer, &count, nullptr);
  std::vector<VkExtensionProperties> extensions(count);
  vkEnumerateInstanceExtensionProperties(layer, &count, extensions.data());
  return extensions;
}

int64_t queueFamilyFor(VkPhysicalDevice device) {
  uint32_t count = 0;
  vkGetPhysicalDeviceQueueFamilyProperties(device, &count, nullptr);
  std::vector<VkQueueFamilyProperties> families(count);
  vkGetPhysicalDeviceQueueFamilyProperties(device, &count, families.data());
  constexpr VkQueueFlags wanted = VK_QUEUE_GRAPHICS_BIT | VK_QUEUE_COMPUTE_BIT;  // transfer is implied
  for (uint32_t i = 0; i < count; ++i)
    if ((families[i].queueFlags & wanted) == wanted && families[i].queueCount > 0) return i;
  return -1;
}

// Empty when the device can run this layer, else why not.
std::string unsuitability(VkPhysicalDevice device) {
  VkPhysicalDeviceProperties properties;
  vkGetPhysicalDeviceProperties(device, &properties);
  if (properties.apiVersion < VK_API_VERSION_1_2) return "it does not support Vulkan 1.2";
  if (queueFamilyFor(device) < 0) return "it has no queue family with graphics and compute";
  if (!hasExtension(deviceExtensions(device), VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME))
    return "it lacks VK_KHR_push_descriptor";
  VkPhysicalDeviceVulkan12Features features12{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
  VkPhysicalDeviceFeatures2 features{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
  features.pNext = &features12;
  vkGetPhysicalDeviceFeatures2(device, &features);
  if (!features12.timelineSemaphore) return "it lacks timeline semaphores";
  if (!features.features.shaderStorageImageWriteWithoutFormat)
    return "it cannot write storage images without a format qualifier";
  for (auto [vkFormat, name] :
       {std::pair{kTextureFormat, "B8G8R8A8_UNORM"}, {kFloatTextureFormat, "R16G16B16A16_SFLOAT"}}) {
    VkFormatProperties format;
    vkGetPhysicalDeviceFormatProperties(device, vkFormat, &format);
    if ((format.optimalTilingFeatures & kTextureFormatFeatures) != kTextureFormatFeatures)
      return std::string(name) + " lacks sampled, storage, colour attachment or transfer use";
  }
  return {};
}

DeviceKind kindOf(VkPhysicalDeviceType type) {
  switch (type) {
    case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU: return DeviceKind::discrete;
    case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU: return DeviceKind::integrated;
    case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU: return DeviceKind::virtualGpu;
    case VK_PHYSICAL_DEVICE_TYPE_CPU: return DeviceKind::cpu;
    default: return DeviceKind::other;
  }
}

}  // namespace

HostBuffer::~HostBuffer() {
  if (memory_) vkFreeMemory(device_, memory_, nullptr);
  if (buffer_) vkDestroyBuffer(device_, buffer_, nullptr);
}

platform::Expected<std::shared_ptr<Context>, GpuError> Context::create(const DeviceOptions& options) {
  std::shared_ptr<Context> context(new Context());
  if (auto ready = context->initialize(options); !ready) return platform::unexpected(ready.error());
  return context;
}

Context::SetUp Context::initialize(const DeviceOptions& options) {
  onValidationMessage_ = options.onValidationMessage;
  if (auto step = createInstance(options); !step) return step;
  std::string preference = options.preferredDevice;
  if (preference.empty()) {
    if (const char* env = std::getenv("HALVANE_GPU_DEVICE")) preference = env;
  }
  if (auto step = pickPhysicalDevice(preference); !step) return step;
  if (auto step = createDevice(); !step) return step;

  capabilities_.kind = kindOf(properties_.deviceType);
  uint32_t maxDimension = properties_.limits.maxImageDimension2D;
  VkImageFormatProperties formatLimits{};
  if (vkGetPhysicalDeviceImageFormatProperties(physicalDevice_, kTextureFormat, VK_IMAGE_TYPE_2D,
                                               VK_IMAGE_TILING_OPTIMAL, kTextureImageUsage, 0,
                                               &formatLimits) == VK_SUCCESS)
    maxDimension = std::min({maxDimension, formatLimits.maxExtent.width, formatLimits.maxExtent.height});
  capabilities_.maxTextureDimension = maxDimension;
  capabilities_.maxThreadgroupMemoryLength = properties_.limits.maxComputeSharedMemorySize;
  capabilities_.maxBytesLength = std::min<uint32_t>(4096, properties_.limits.maxUniformBufferRange);
  capabilities_.supportsNonUniformThreadgroups = false;
  uint64_t heap = 0;
  for (uint32_t i = 0; i < memoryProperties_.memoryHeapCount; ++i)
    if (memoryProperties_.memoryHeaps[i].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT)
      heap = std::max<uint64_t>(heap, memoryProperties_.memoryHeaps[i].size);
  capabilities_.memoryBudgetBytes = options.memoryBudgetBytes ? options.memoryBudgetBytes : heap;

  pipelineCachePath_ = options.pipelineCachePath;
  if (auto step = createSharedObjects(); !step) return step;

  completionThread_ = std::thread([this] { completionLoop(); });
  completionThreadId_ = completionThread_.get_id();
  return {};
}

Context::SetUp Context::createInstance(const DeviceOptions& options) {
  uint32_t loaderVersion = VK_API_VERSION_1_0;
  vkEnumerateInstanceVersion(&loaderVersion);
  if (loaderVersion < VK_API_VERSION_1_2) {
    return gpuFailure(GpuError::Kind::noDevice, "the Vulkan loader does not support Vulkan 1.2");
  }

  std::vector<const char*> layers;
  std::vector<const char*> extensions;
  bool validation = false;
  bool syncValidation = false;
  if (options.enableValidation) {
    uint32_t count = 0;
    vkEnumerateInstanceLayerProperties(&count, nullptr);
    std::vector<VkLayerProperties> available(count);
    vkEnumerateInstanceLayerProperties(&count, available.data());
    validation = std::any_of(available.begin(), available.end(),
                             [](const VkLayerProperties& l) { return std::strcmp(l.layerName, kValidationLayer) == 0; });
    if (!validation) {
      reportValidation(std::string(kValidationLayer) + " is not installed; validation is off");
    } else {
      layers.push_back(kValidationLayer);
      extensions.push_back(VK_EXT_DEBUG_UTILS_EXTENSION_NAME);
      if (hasExtension(instanceExtensions(kValidationLayer), VK_EXT_VALIDATION_FEATURES_EXTENSION_NAME)) {
        extensions.push_back(VK_EXT_VALIDATION_FEATURES_EXTENSION_NAME);
        syncValidation = true;
      }
    }
  }

  VkApplicationInfo app{VK_STRUCTURE_TYPE_APPLICATION_INFO};
  app.pApplicationName = "Halvane";
  app.pEngineName = "Halvane";
  app.apiVersion = VK_API_VERSION_1_2;

  VkDebugUtilsMessengerCreateInfoEXT debugInfo = messengerInfo(this);
  // Synchronisation validation checks the barriers this layer records.
  VkValidationFeatureEnableEXT enabledFeatures[] = {VK_VALIDATION_FEATURE_ENABLE_SYNCHRONIZATION_VALIDATION_EXT};
  VkValidationFeaturesEXT validationFeatures{VK_STRUCTURE_TYPE_VALIDATION_FEATURES_EXT};
  validationFeatures.enabledValidationFeatureCount = 1;
  validationFeatures.pEnabledValidationFeatures = enabledFeatures;
  if (syncValidation) debugInfo.pNext = &validationFeatures;

  VkInstanceCreateInfo info{VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
  info.pApplicationInfo = &app;
  info.enabledLayerCount = static_cast<uint32_t>(layers.size());
  info.ppEnabledLayerNames = layers.data();
  info.enabledExtensionCount = static_cast<uint32_t>(extensions.size());
  info.ppEnabledExtensionNames = extensions.data();
  if (validation) info.pNext = &debugInfo;
  VkResult result = vkCreateInstance(&info, nullptr, &instance_);
  if (result != VK_SUCCESS) {
    return gpuFailure(GpuError::Kind::driverFailed, "vkCreateInstance failed: " + describe(result));
  }
  if (validation) {
    auto create = reinterpret_cast<PFN_vkCreateDebugUtilsMessengerEXT>(
        vkGetInstanceProcAddr(instance_, "vkCreateDebugUtilsMessengerEXT"));
    VkDebugUtilsMessengerCreateInfoEXT messenger = messengerInfo(this);
    if (create) create(instance_, &messenger, nullptr, &messenger_);
  }
  return {};
}

Context::SetUp Context::pickPhysicalDevice(const std::string& preference) {
  uint32_t count = 0;
  vkEnumeratePhysicalDevices(instance_, &count, nullptr);
  std::vector<VkPhysicalDevice> devices(count);
  vkEnumeratePhysicalDevices(instance_, &count, devices.data());
  if (devices.empty()) {
    return gpuFailure(GpuError::Kind::noDevice, "no Vulkan device");
  }

  auto typeOf = [](VkPhysicalDevice device) {
    VkPhysicalDeviceProperties properties;
    vkGetPhysicalDeviceProperties(device, &properties);
    return properties.deviceType;
  };
  VkPhysicalDevice chosen = VK_NULL_HANDLE;
  std::string reasons;
  if (!preference.empty() && std::all_of(preference.begin(), preference.end(), ::isdigit)) {
    size_t index = std::stoul(preference);
    if (index >= devices.size()) {
      return gpuFailure(GpuError::Kind::noDevice, "no Vulkan device with index " + preference);
    }
    std::string why = unsuitability(devices[index]);
    if (!why.empty()) {
      return gpuFailure(GpuError::Kind::noDevice, "device " + preference + " cannot be used: " + why);
    }
    chosen = devices[index];
  } else {
    VkPhysicalDeviceType wanted = VK_PHYSICAL_DEVICE_TYPE_MAX_ENUM;
    if (preference == "discrete") wanted = VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU;
    else if (preference == "integrated") wanted = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
    else if (preference == "cpu") wanted = VK_PHYSICAL_DEVICE_TYPE_CPU;
    else if (!preference.empty()) {
      return gpuFailure(GpuError::Kind::noDevice, "unknown device preference \"" + preference +
                                                         "\" (discrete, integrated, cpu or an index)");
    }
    // Default order: discrete, integrated, virtual, CPU, other.
    auto rank = [](VkPhysicalDeviceType type) {
      switch (type) {
        case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU: return 0;
        case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU: return 1;
        case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU: return 2;
        case VK_PHYSICAL_DEVICE_TYPE_CPU: return 3;
        default: return 4;
      }
    };
    int best = 100;
    for (VkPhysicalDevice device : devices) {
      VkPhysicalDeviceType type = typeOf(device);
      if (wanted != VK_PHYSICAL_DEVICE_TYPE_MAX_ENUM && type != wanted) continue;
      std::string why = unsuitability(device);
      if (!why.empty()) {
        VkPhysicalDeviceProperties properties;
        vkGetPhysicalDeviceProperties(device, &properties);
        reasons += std::string("; ") + properties.deviceName + ": " + why;
        continue;
      }
      if (rank(type) < best) {
        best = rank(type);
        chosen = device;
      }
    }
    if (!chosen) {
      return gpuFailure(GpuError::Kind::noDevice, (preference.empty() ? std::string("no usable Vulkan device")
                                                                       : "no usable " + preference + " device") +
                                                         reasons);
    }
  }

  physicalDevice_ = chosen;
  vkGetPhysicalDeviceProperties(physicalDevice_, &properties_);
  vkGetPhysicalDeviceMemoryProperties(physicalDevice_, &memoryProperties_);
  queueFamily_ = static_cast<uint32_t>(queueFamilyFor(physicalDevice_));
  name_ = properties_.deviceName;
  return {};
}

Context::SetUp Context::createDevice() {
  VkPhysicalDeviceFeatures supported;
  vkGetPhysicalDeviceFeatures(physicalDevice_, &supported);
  readWithoutFormat_ = supported.shaderStorageImageReadWithoutFormat;

  std::vector<const char*> extensions = {VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME};
  if (hasExtension(deviceExtensions(physicalDevice_), VK_EXT_PIPELINE_CREATION_FEEDBACK_EXTENSION_NAME)) {
    extensions.push_back(VK_EXT_PIPELINE_CREATION_FEEDBACK_EXTENSION_NAME);
    hasCreationFeedback_ = true;
  }

  VkPhysicalDeviceVulkan12Features features12{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
  features12.timelineSemaphore = VK_TRUE;
  VkPhysicalDeviceFeatures2 features{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
  features.pNext = &features12;
  features.features.shaderStorageImageWriteWithoutFormat = VK_TRUE;
  features.features.shaderStorageImageReadWithoutFormat = readWithoutFormat_ ? VK_TRUE : VK_FALSE;

  float priority = 1.0f;
  VkDeviceQueueCreateInfo queue{VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
  queue.queueFamilyIndex = queueFamily_;
  queue.queueCount = 1;
  queue.pQueuePriorities = &priority;

  VkDeviceCreateInfo info{VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
  info.pNext = &features;
  info.queueCreateInfoCount = 1;
  info.pQueueCreateInfos = &queue;
  info.enabledExtensionCount = static_cast<uint32_t>(extensions.size());
  info.ppEnabledExtensionNames = extensions.data();
  VkResult result = vkCreateDevice(physicalDevice_, &info, nullptr, &device_);
  if (result != VK_SUCCESS) {
    return gpuFailure(GpuError::Kind::driverFailed, "vkCreateDevice failed: " + describe(result));
  }
  vkGetDeviceQueue(device_, queueFamily_, 0, &queue_);
  cmdPushDescriptorSet_ =
      reinterpret_cast<PFN_vkCmdPushDescriptorSetKHR>(vkGetDeviceProcAddr(device_, "vkCmdPushDescriptorSetKHR"));
  if (!cmdPushDescriptorSet_) {
    return gpuFailure(GpuError::Kind::noDevice, "vkCmdPushDescriptorSetKHR is missing");
  }
  return {};
}

Context::SetUp Context::createSharedObjects() {
  VkSemaphoreTypeCreateInfo timelineType{VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO};
  timelineType.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
  timelineType.initialValue = 0;
  VkSemaphoreCreateInfo semaphore{VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO};
  semaphore.pNext = &timelineType;
  VkResult result = vkCreateSemaphore(device_, &semaphore, nullptr, &timeline_);
  if (result != VK_SUCCESS) {
    return gpuFailure(GpuError::Kind::driverFailed, "vkCreateSemaphore failed: " + describe(result));
  }

  VkSamplerCreateInfo sampler{VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO};
  sampler.magFilter = VK_FILTER_LINEAR;
  sampler.minFilter = VK_FILTER_LINEAR;
  sampler.mipmapMode = VK_SAMPLER_MIPMAP_MODE_NEAREST;
  sampler.addressModeU = VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE;
  sampler.addressModeV = VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE;
  sampler.addressModeW = VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE;
  sampler.maxLod = 0.0f;
  result = vkCreateSampler(device_, &sampler, nullptr, &sampler_);
  if (result != VK_SUCCESS) {
    return gpuFailure(GpuError::Kind::driverFailed, "vkCreateSampler failed: " + describe(result));
  }

  // One render pass per load and store action. They differ only in those, so they are
  // compatible: pipelines and framebuffers are made against any one of them.
  const VkAttachmentLoadOp loads[3] = {VK_ATTACHMENT_LOAD_OP_DONT_CARE, VK_ATTACHMENT_LOAD_OP_LOAD,
                                       VK_ATTACHMENT_LOAD_OP_CLEAR};
  const VkAttachmentStoreOp stores[2] = {VK_ATTACHMENT_STORE_OP_DONT_CARE, VK_ATTACHMENT_STORE_OP_STORE};
  static_assert(static_cast<int>(LoadAction::dontCare) == 0 && static_cast<int>(LoadAction::load) == 1 &&
                static_cast<int>(LoadAction::clear) == 2);
  static_assert(static_cast<int>(StoreAction::dontCare) == 0 && static_cast<int>(StoreAction::store) == 1);
  for (int l = 0; l < 3; ++l) {
    for (int s = 0; s < 2; ++s) {
      VkAttachmentDescription attachment{};
      attachment.format = kTextureFormat;
      attachment.samples = VK_SAMPLE_COUNT_1_BIT;
      attachment.loadOp = loads[l];
      attachment.storeOp = stores[s];
      attachment.stencilLoadOp = VK_ATTACHMENT_LOAD_OP_DONT_CARE;
      attachment.stencilStoreOp = VK_ATTACHMENT_STORE_OP_DONT_CARE;
      attachment.initialLayout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
      attachment.finalLayout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
      VkAttachmentReference reference{0, VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL};
      VkSubpassDescription subpass{};
      subpass.pipelineBindPoint = VK_PIPELINE_BIND_POINT_GRAPHICS;
      subpass.colorAttachmentCount = 1;
      subpass.pColorAttachments = &reference;
      // The layer's own barriers order the pass against earlier and later work; these
      // dependencies say so instead of the implicit ones.
      VkSubpassDependency dependencies[2] = {};
      dependencies[0].srcSubpass = VK_SUBPASS_EXTERNAL;
      dependencies[0].dstSubpass = 0;
      dependencies[0].srcStageMask = VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT;
      dependencies[0].dstStageMask = VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT;
      dependencies[0].dstAccessMask = VK_ACCESS_COLOR_ATTACHMENT_READ_BIT | VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT;
      dependencies[1].srcSubpass = 0;
      dependencies[1].dstSubpass = VK_SUBPASS_EXTERNAL;
      dependencies[1].srcStageMask = VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT;
      dependencies[1].dstStageMask = VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT;
      dependencies[1].srcAccessMask = VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT;
      VkRenderPassCreateInfo info{VK_STRUCTURE_TYPE_RENDER_PASS_CREATE_INFO};
      info.attachmentCount = 1;
      info.pAttachments = &attachment;
      info.subpassCount = 1;
      info.pSubpasses = &subpass;
      info.dependencyCount = 2;
      info.pDependencies = dependencies;
      result = vkCreateRenderPass(device_, &info, nullptr, &renderPasses_[l][s]);
      if (result != VK_SUCCESS) {
        return gpuFailure(GpuError::Kind::driverFailed, "vkCreateRenderPass failed: " + describe(result));
      }
    }
  }

  loadPipelineCache(pipelineCachePath_);
  return {};
}

void Context::loadPipelineCache(const std::string& path) {
  std::vector<uint8_t> data;
  if (!path.empty()) {
    std::ifstream file(path, std::ios::binary);
    if (file) data.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  // The header (VkPipelineCacheHeaderVersionOne) must name this very device and driver;
  // anything else is foreign or corrupt and is ignored.
  bool valid = false;
  if (data.size() >= 32) {
    uint32_t header[4];
    std::memcpy(header, data.data(), sizeof header);
    valid = header[0] >= 32 && header[0] <= data.size() && header[1] == VK_PIPELINE_CACHE_HEADER_VERSION_ONE &&
            header[2] == properties_.vendorID && header[3] == properties_.deviceID &&
            std::memcmp(data.data() + 16, properties_.pipelineCacheUUID, VK_UUID_SIZE) == 0;
  }
  VkPipelineCacheCreateInfo info{VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO};
  if (valid) {
    info.initialDataSize = data.size();
    info.pInitialData = data.data();
  }
  if (vkCreatePipelineCache(device_, &info, nullptr, &pipelineCache_) != VK_SUCCESS && valid) {
    info.initialDataSize = 0;
    info.pInitialData = nullptr;
    valid = false;
    vkCreatePipelineCache(device_, &info, nullptr, &pipelineCache_);
  }
  if (valid) {
    cacheLoaded_ = true;
    loadedCacheData_ = std::move(data);
  }
}

void Context::savePipelineCache() {
  if (pipelineCachePath_.empty() || !pipelineCache_ || pipelinesCreated_.load() == 0) return;
  size_t size = 0;
  if (vkGetPipelineCacheData(device_, pipelineCache_, &size, nullptr) != VK_SUCCESS) return;
  std::vector<uint8_t> data(size);
  if (vkGetPipelineCacheData(device_, pipelineCache_, &size, data.data()) != VK_SUCCESS) return;
  data.resize(size);
  if (cacheLoaded_ && data == loadedCacheData_) return;  // nothing new

  namespace fs = std::filesystem;
  std::error_code ignored;
  fs::path target(pipelineCachePath_);
  if (target.has_parent_path()) fs::create_directories(target.parent_path(), ignored);
  fs::path temporary = target;
  static std::atomic<unsigned> saves{0};
  temporary += ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(saves.fetch_add(1));
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    if (!file) return;
    file.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
    if (!file) {
      file.close();
      fs::remove(temporary, ignored);
      return;
    }
  }
  fs::rename(temporary, target, ignored);
  if (ignored) fs::remove(temporary, ignored);
}

void Context::notePipelineCreated(bool cacheHit) {
  pipelinesCreated_.fetch_add(1);
  if (cacheHit) pipelineCacheHits_.fetch_add(1);
}

PipelineCacheInfo Context::pipelineCacheInfo() const {
  PipelineCacheInfo info;
  info.loadedFromFile = cacheLoaded_;
  info.loadedBytes = loadedCacheData_.size();
  info.pipelinesCreated = pipelinesCreated_.load();
  info.pipelinesFromCache = pipelineCacheHits_.load();
  info.driverReportsCacheHits = hasCreationFeedback_;
  return info;
}

void Context::reportValidation(const std::string& message) {
  std::lock_guard lock(validationMutex_);
  if (onValidationMessage_) onValidationMessage_(message);
}

int32_t Context::findMemoryType(uint32_t typeBits, VkMemoryPropertyFlags required,
                                VkMemoryPropertyFlags preferred) const {
  int32_t fallback = -1;
  for (uint32_t i = 0; i < memoryProperties_.memoryTypeCount; ++i) {
    if (!(typeBits & (1u << i))) continue;
    VkMemoryPropertyFlags flags = memoryProperties_.memoryTypes[i].propertyFlags;
    if ((flags & required) != required) continue;
    if ((flags & preferred) == preferred) return static_cast<int32_t>(i);
    if (fallback < 0) fallback = static_cast<int32_t>(i);
  }
  return fallback;
}

std::unique_ptr<HostBuffer> Context::createHostBuffer(VkDeviceSize size, VkBufferUsageFlags usage, bool forReading) {
  auto buffer = std::make_unique<HostBuffer>();
  buffer->device_ = device_;
  VkBufferCreateInfo info{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
  info.size = size;
  info.usage = usage;
  info.sharingMode = VK_SHARING_MODE_EXCLUSIVE;
  if (vkCreateBuffer(device_, &info, nullptr, &buffer->buffer_) != VK_SUCCESS) return nullptr;
  VkMemoryRequirements requirements;
  vkGetBufferMemoryRequirements(device_, buffer->buffer_, &requirements);
  // Coherent memory needs no flush or invalidate; reading back prefers cached memory.
  int32_t type = findMemoryType(requirements.memoryTypeBits,
                                VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT,
                                forReading ? VK_MEMORY_PROPERTY_HOST_CACHED_BIT : 0);
  if (type < 0) return nullptr;
  VkMemoryAllocateInfo allocate{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
  allocate.allocationSize = requirements.size;
  allocate.memoryTypeIndex = static_cast<uint32_t>(type);
  if (vkAllocateMemory(device_, &allocate, nullptr, &buffer->memory_) != VK_SUCCESS) return nullptr;
  if (vkBindBufferMemory(device_, buffer->buffer_, buffer->memory_, 0) != VK_SUCCESS) return nullptr;
  void* mapped = nullptr;
  if (vkMapMemory(device_, buffer->memory_, 0, VK_WHOLE_SIZE, 0, &mapped) != VK_SUCCESS) return nullptr;
  buffer->mapped_ = static_cast<uint8_t*>(mapped);
  return buffer;
}

bool Context::reserveTextureBytes(uint64_t bytes) {
  uint64_t current = allocatedTextureBytes_.load();
  do {
    if (bytes > capabilities_.memoryBudgetBytes || current > capabilities_.memoryBudgetBytes - bytes) return false;
  } while (!allocatedTextureBytes_.compare_exchange_weak(current, current + bytes));
  return true;
}

void Context::releaseTextureBytes(uint64_t bytes) { allocatedTextureBytes_.fetch_sub(bytes); }

bool Context::acquireSlot(CommandSlot& slot) {
  {
    std::lock_guard lock(poolMutex_);
    if (!freeSlots_.empty()) {
      slot = freeSlots_.back();
      freeSlots_.pop_back();
      return true;
    }
  }
  VkCommandPoolCreateInfo pool{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
  pool.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
  pool.queueFamilyIndex = queueFamily_;
  if (vkCreateCommandPool(device_, &pool, nullptr, &slot.pool) != VK_SUCCESS) return false;
  VkCommandBufferAllocateInfo allocate{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
  allocate.commandPool = slot.pool;
  allocate.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
  allocate.commandBufferCount = 2;
  VkCommandBuffer buffers[2];
  if (vkAllocateCommandBuffers(device_, &allocate, buffers) != VK_SUCCESS) {
    vkDestroyCommandPool(device_, slot.pool, nullptr);
    return false;
  }
  slot.prologue = buffers[0];
  slot.main = buffers[1];
  return true;
}

void Context::recycleSlot(const CommandSlot& slot) {
  vkResetCommandPool(device_, slot.pool, 0);
  std::lock_guard lock(poolMutex_);
  freeSlots_.push_back(slot);
}

HostBuffer* Context::acquireUniformChunk() {
  {
    std::lock_guard lock(poolMutex_);
    if (!freeChunks_.empty()) {
      HostBuffer* chunk = freeChunks_.back();
      freeChunks_.pop_back();
      return chunk;
    }
  }
  auto chunk = createHostBuffer(kUniformChunkSize, VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT, false);
  if (!chunk) return nullptr;
  std::lock_guard lock(poolMutex_);
  allChunks_.push_back(std::move(chunk));
  return allChunks_.back().get();
}

void Context::recycleUniformChunk(HostBuffer* chunk) {
  std::lock_guard lock(poolMutex_);
  freeChunks_.push_back(chunk);
}

void Context::enqueuePrologue(std::weak_ptr<TextureImpl> texture, PrologueRecorder record,
                              std::shared_ptr<void> keepAlive) {
  std::lock_guard lock(submitMutex_);
  if (!acceptingWork_) return;
  prologue_.push_back({std::move(texture), std::move(record), std::move(keepAlive)});
}

void Context::submit(const std::shared_ptr<CommandBufferImpl>& commandBuffer, const CommandSlot& slot) {
  std::string failure;
  {
    std::lock_guard lock(submitMutex_);
    if (!acceptingWork_) {
      failure = "the device was destroyed before the command buffer was committed";
    } else {
      VkCommandBuffer buffers[2];
      uint32_t bufferCount = 0;
      if (!prologue_.empty()) {
        VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
        begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
        vkBeginCommandBuffer(slot.prologue, &begin);
        for (PrologueItem& item : prologue_) {
          if (auto texture = item.texture.lock()) {
            item.record(slot.prologue, *texture);
            commandBuffer->retain(std::move(texture));
            if (item.keepAlive) commandBuffer->retain(std::move(item.keepAlive));
          }
        }
        prologue_.clear();
        vkEndCommandBuffer(slot.prologue);
        buffers[bufferCount++] = slot.prologue;
      }
      buffers[bufferCount++] = slot.main;

      uint64_t value = timelineValue_ + 1;
      VkTimelineSemaphoreSubmitInfo timeline{VK_STRUCTURE_TYPE_TIMELINE_SEMAPHORE_SUBMIT_INFO};
      timeline.signalSemaphoreValueCount = 1;
      timeline.pSignalSemaphoreValues = &value;
      VkSubmitInfo submit{VK_STRUCTURE_TYPE_SUBMIT_INFO};
      submit.pNext = &timeline;
      submit.commandBufferCount = bufferCount;
      submit.pCommandBuffers = buffers;
      submit.signalSemaphoreCount = 1;
      submit.pSignalSemaphores = &timeline_;
      VkResult result = vkQueueSubmit(queue_, 1, &submit, VK_NULL_HANDLE);
      InFlight entry{commandBuffer, 0, {}};
      if (result == VK_SUCCESS) {
        timelineValue_ = value;
        entry.timelineValue = value;
      } else {
        entry.error = "vkQueueSubmit failed: " + describe(result);
      }
      // Entering the completion queue under the submission lock keeps commit order.
      std::lock_guard completionLock(completionMutex_);
      inFlight_.push_back(std::move(entry));
      completionCondition_.notify_all();
    }
  }
  if (!failure.empty()) commandBuffer->complete(false, failure);
}

void Context::completionLoop() {
  pthread_setname_np(pthread_self(), "gpu.completion");
  for (;;) {
    InFlight entry;
    {
      std::unique_lock lock(completionMutex_);
      completionCondition_.wait(lock, [&] { return stopCompletion_ || !inFlight_.empty(); });
      if (inFlight_.empty()) return;
      entry = inFlight_.front();
    }
    bool ok = entry.timelineValue != 0;
    std::string error = entry.error;
    if (ok) {
      VkSemaphoreWaitInfo wait{VK_STRUCTURE_TYPE_SEMAPHORE_WAIT_INFO};
      wait.semaphoreCount = 1;
      wait.pSemaphores = &timeline_;
      wait.pValues = &entry.timelineValue;
      VkResult result = vkWaitSemaphores(device_, &wait, UINT64_MAX);
      if (result != VK_SUCCESS) {
        ok = false;
        error = "the GPU did not finish the work: " + describe(result);
      }
    }
    entry.commandBuffer->complete(ok, error);
    bool exitNow;
    {
      std::lock_guard lock(completionMutex_);
      inFlight_.pop_front();
      exitNow = stopCompletion_ && inFlight_.empty();
      completionCondition_.notify_all();
    }
    // Dropping the last command buffer may destroy this context (when the device was
    // destroyed from a completed handler); nothing below touches it.
    entry.commandBuffer.reset();
    if (exitNow) return;
  }
}

void Context::shutdown() {
  {
    std::lock_guard lock(submitMutex_);
    if (shutDown_) return;
    shutDown_ = true;
    acceptingWork_ = false;
    prologue_.clear();
  }
  {
    std::lock_guard lock(completionMutex_);
    stopCompletion_ = true;
    completionCondition_.notify_all();
  }
  if (completionThread_.joinable()) {
    // From a completed handler the thread cannot be joined; it drains what is left
    // and ends by itself.
    if (isCompletionThread()) completionThread_.detach();
    else completionThread_.join();
  }
  if (device_) {
    std::lock_guard lock(submitMutex_);
    vkDeviceWaitIdle(device_);
  }
  savePipelineCache();
}

Context::~Context() {
  if (device_) shutdown();
  if (completionThread_.joinable()) {
    if (isCompletionThread()) completionThread_.detach();
    else completionThread_.join();
  }
  if (device_) {
    for (const CommandSlot& slot : freeSlots_) vkDestroyCommandPool(device_, slot.pool, nullptr);
    freeChunks_.clear();
    allChunks_.clear();
    prologue_.clear();
    if (pipelineCache_) vkDestroyPipelineCache(device_, pipelineCache_, nullptr);
    for (auto& row : renderPasses_)
      for (VkRenderPass pass : row)
        if (pass) vkDestroyRenderPass(device_, pass, nullptr);
    if (sampler_) vkDestroySampler(device_, sampler_, nullptr);
    if (timeline_) vkDestroySemaphore(device_, timeline_, nullptr);
    vkDestroyDevice(device_, nullptr);
  }
  if (messenger_) {
    auto destroy = reinterpret_cast<PFN_vkDestroyDebugUtilsMessengerEXT>(
        vkGetInstanceProcAddr(instance_, "vkDestroyDebugUtilsMessengerEXT"));
    if (destroy) destroy(instance_, messenger_, nullptr);
  }
  if (instance_) vkDestroyInstance(instance_, nullptr);
}

}  // namespace platform::gpu::vulkan
