#pragma once
// Small helpers shared by the Vulkan files.
#ifndef HALVANE_INSIDE_PlatformGpu
#error "a private header of Platform/Gpu: include its public headers"
#endif
#include <vulkan/vulkan.h>

#include <string>

namespace platform::gpu::vulkan {

inline std::string describe(VkResult result) {
  switch (result) {
    case VK_SUCCESS: return "VK_SUCCESS";
    case VK_NOT_READY: return "VK_NOT_READY";
    case VK_TIMEOUT: return "VK_TIMEOUT";
    case VK_ERROR_OUT_OF_HOST_MEMORY: return "VK_ERROR_OUT_OF_HOST_MEMORY";
    case VK_ERROR_OUT_OF_DEVICE_MEMORY: return "VK_ERROR_OUT_OF_DEVICE_MEMORY";
    case VK_ERROR_INITIALIZATION_FAILED: return "VK_ERROR_INITIALIZATION_FAILED";
    case VK_ERROR_DEVICE_LOST: return "VK_ERROR_DEVICE_LOST";
    case VK_ERROR_MEMORY_MAP_FAILED: return "VK_ERROR_MEMORY_MAP_FAILED";
    case VK_ERROR_LAYER_NOT_PRESENT: return "VK_ERROR_LAYER_NOT_PRESENT";
    case VK_ERROR_EXTENSION_NOT_PRESENT: return "VK_ERROR_EXTENSION_NOT_PRESENT";
    case VK_ERROR_FEATURE_NOT_PRESENT: return "VK_ERROR_FEATURE_NOT_PRESENT";
    case VK_ERROR_INCOMPATIBLE_DRIVER: return "VK_ERROR_INCOMPATIBLE_DRIVER";
    case VK_ERROR_TOO_MANY_OBJECTS: return "VK_ERROR_TOO_MANY_OBJECTS";
    case VK_ERROR_FORMAT_NOT_SUPPORTED: return "VK_ERROR_FORMAT_NOT_SUPPORTED";
    case VK_ERROR_INVALID_SHADER_NV: return "VK_ERROR_INVALID_SHADER_NV";
    default: return "VkResult " + std::to_string(static_cast<int>(result));
  }
}

inline VkDeviceSize alignUp(VkDeviceSize value, VkDeviceSize alignment) {
  return alignment ? (value + alignment - 1) / alignment * alignment : value;
}

constexpr VkImageUsageFlags kTextureImageUsage = VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT |
                                                 VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_STORAGE_BIT |
                                                 VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
constexpr VkFormatFeatureFlags kTextureFormatFeatures =
    VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT | VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT |
    VK_FORMAT_FEATURE_STORAGE_IMAGE_BIT | VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BIT | VK_FORMAT_FEATURE_TRANSFER_SRC_BIT |
    VK_FORMAT_FEATURE_TRANSFER_DST_BIT;
constexpr VkFormat kTextureFormat = VK_FORMAT_B8G8R8A8_UNORM;
constexpr VkFormat kFloatTextureFormat = VK_FORMAT_R16G16B16A16_SFLOAT;

// The Vulkan format of a pixel format; undefined for one this layer does not make.
inline VkFormat vulkanFormat(PixelFormat format) {
  switch (format) {
    case PixelFormat::bgra8Unorm: return kTextureFormat;
    case PixelFormat::rgba16Float: return kFloatTextureFormat;
  }
  return VK_FORMAT_UNDEFINED;
}

}  // namespace platform::gpu::vulkan
