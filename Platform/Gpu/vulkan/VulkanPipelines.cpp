#include "Platform/Gpu/vulkan/VulkanPipelines.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Platform/Gpu/vulkan/VulkanUtil.h"

namespace platform::gpu::vulkan {
namespace {

using Kind = GpuError::Kind;

std::string describeBinding(const ShaderResource& r) {
  std::string text = "binding " + std::to_string(r.binding);
  if (!r.name.empty()) text += " (" + r.name + ")";
  return text;
}

// Feedback from the driver on whether the pipeline came out of the cache.
struct CreationFeedback {
  VkPipelineCreationFeedbackEXT feedback{};
  VkPipelineCreationFeedbackCreateInfoEXT info{VK_STRUCTURE_TYPE_PIPELINE_CREATION_FEEDBACK_CREATE_INFO_EXT};
  CreationFeedback() { info.pPipelineCreationFeedback = &feedback; }
  bool cacheHit() const {
    return (feedback.flags & VK_PIPELINE_CREATION_FEEDBACK_VALID_BIT_EXT) &&
           (feedback.flags & VK_PIPELINE_CREATION_FEEDBACK_APPLICATION_PIPELINE_CACHE_HIT_BIT_EXT);
  }
};

}  // namespace

platform::Expected<std::shared_ptr<LibraryImpl>, GpuError> LibraryImpl::load(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code code;
  if (!fs::is_directory(path, code)) {
    return gpuFailure(Kind::unreadableLibrary, "no shader bundle folder at " + path);
  }
  auto library = std::make_shared<LibraryImpl>();
  library->path_ = path;
  for (const fs::directory_entry& entry : fs::directory_iterator(path, code)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".spv") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::string name = entry.path().stem().string();
    if (!file.good() && !file.eof()) {
      return gpuFailure(Kind::unreadableLibrary, "cannot read " + entry.path().string());
    }
    if (bytes.size() % 4 != 0) {
      return gpuFailure(Kind::unreadableLibrary,
                        entry.path().string() + " is not a SPIR-V module (its size is not a multiple of 4)");
    }
    ShaderFunction function;
    function.code.resize(bytes.size() / 4);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(function.code.data()));
    auto interface = reflectSpirv(function.code);
    if (!interface) {
      return gpuFailure(Kind::unreadableLibrary, entry.path().string() + ": " + interface.error().message);
    }
    function.interface = std::move(*interface);
    library->functions_.emplace(name, std::move(function));
  }
  if (code) {
    return gpuFailure(Kind::unreadableLibrary, "cannot list " + path + ": " + code.message());
  }
  return library;
}

std::vector<std::string> LibraryImpl::functionNames() const {
  std::vector<std::string> names;
  for (const auto& [name, function] : functions_) names.push_back(name);
  return names;
}

const ShaderFunction* LibraryImpl::function(const std::string& name) const {
  auto it = functions_.find(name);
  return it == functions_.end() ? nullptr : &it->second;
}

PipelineBase::~PipelineBase() {
  VkDevice device = context_->device();
  if (pipeline_) vkDestroyPipeline(device, pipeline_, nullptr);
  if (layout_) vkDestroyPipelineLayout(device, layout_, nullptr);
  if (setLayout_) vkDestroyDescriptorSetLayout(device, setLayout_, nullptr);
}

platform::Expected<void, GpuError> PipelineBase::createLayout() {
  std::vector<VkDescriptorSetLayoutBinding> bindings;
  for (const PipelineBinding& b : bindings_) {
    VkDescriptorSetLayoutBinding binding{};
    binding.binding = b.binding;
    binding.descriptorCount = 1;
    binding.stageFlags = b.stages;
    switch (b.kind) {
      case ResourceKind::uniformBlock: binding.descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER; break;
      case ResourceKind::sampledTexture: binding.descriptorType = VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER; break;
      case ResourceKind::storageTexture: binding.descriptorType = VK_DESCRIPTOR_TYPE_STORAGE_IMAGE; break;
      case ResourceKind::unsupported: return gpuFailure(Kind::unsupportedShader, b.name + ": an unsupported binding");
    }
    bindings.push_back(binding);
  }
  VkDevice device = context_->device();
  VkDescriptorSetLayoutCreateInfo set{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
  set.flags = VK_DESCRIPTOR_SET_LAYOUT_CREATE_PUSH_DESCRIPTOR_BIT_KHR;
  set.bindingCount = static_cast<uint32_t>(bindings.size());
  set.pBindings = bindings.data();
  VkResult result = vkCreateDescriptorSetLayout(device, &set, nullptr, &setLayout_);
  if (result != VK_SUCCESS) {
    return gpuFailure(Kind::driverFailed, "vkCreateDescriptorSetLayout failed: " + describe(result));
  }
  VkPipelineLayoutCreateInfo layout{VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
  layout.setLayoutCount = 1;
  layout.pSetLayouts = &setLayout_;
  result = vkCreatePipelineLayout(device, &layout, nullptr, &layout_);
  if (result != VK_SUCCESS) {
    return gpuFailure(Kind::driverFailed, "vkCreatePipelineLayout failed: " + describe(result));
  }
  return {};
}

platform::Expected<VkShaderModule, GpuError> PipelineBase::createModule(const ShaderFunction& function) {
  VkShaderModuleCreateInfo info{VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
  info.codeSize = function.code.size() * 4;
  info.pCode = function.code.data();
  VkShaderModule module = VK_NULL_HANDLE;
  VkResult result = vkCreateShaderModule(context_->device(), &info, nullptr, &module);
  if (result != VK_SUCCESS) return gpuFailure(Kind::driverFailed, "vkCreateShaderModule failed: " + describe(result));
  return module;
}

platform::Expected<std::shared_ptr<ComputePipelineImpl>, GpuError> ComputePipelineImpl::create(
    const std::shared_ptr<Context>& context, const std::shared_ptr<Library>& library, const std::string& functionName,
    const std::vector<FunctionConstant>& constants) {
  auto* impl = dynamic_cast<LibraryImpl*>(library.get());
  if (!impl) {
    return gpuFailure(Kind::invalidArgument, "no library");
  }
  const ShaderFunction* function = impl->function(functionName);
  if (!function) {
    return gpuFailure(Kind::missingFunction, "no function named " + functionName + " in " + impl->path());
  }
  const ShaderInterface& shader = function->interface;
  if (shader.stage != ShaderStage::compute) {
    return gpuFailure(Kind::missingFunction, functionName + " is not a compute shader");
  }
  if (shader.readsFormatlessStorageImage && !context->supportsFormatlessStorageRead()) {
    return gpuFailure(Kind::unsupportedShader, functionName +
                                                " reads a storage image without format, which this device "
                                                "cannot; read inputs through a sampler2D");
  }

  std::shared_ptr<ComputePipelineImpl> pipeline(new ComputePipelineImpl(context));
  pipeline->functionName_ = functionName;
  std::copy(std::begin(shader.localSize), std::end(shader.localSize), pipeline->localSize_);
  for (const ShaderResource& r : shader.resources) {
    std::string where = functionName + ": " + describeBinding(r);
    if (r.kind == ResourceKind::unsupported) {
      return gpuFailure(Kind::unsupportedShader, where + ": " + r.unsupportedReason);
    }
    if (r.set != 0) {
      return gpuFailure(Kind::unsupportedShader,
                        where + " is in descriptor set " + std::to_string(r.set) + "; only set 0 is used");
    }
    bool isTexture = r.kind != ResourceKind::uniformBlock;
    if (!isTexture && r.binding >= kMaxComputeBytes) {
      return gpuFailure(Kind::unsupportedShader,
                        where + ": uniform blocks go at bindings 0 to 7 (setBytes index = binding)");
    }
    if (isTexture && (r.binding < kFirstTextureBinding || r.binding >= kFirstTextureBinding + kMaxTextures)) {
      return gpuFailure(Kind::unsupportedShader,
                        where + ": textures go at bindings 8 to 23 (setTexture index = binding - 8)");
    }
    pipeline->bindings_.push_back({r.binding, r.kind, VK_SHADER_STAGE_COMPUTE_BIT, r.blockSize, r.name});
  }
  if (auto layout = pipeline->createLayout(); !layout) return platform::unexpected(layout.error());

  auto created = pipeline->createModule(*function);
  if (!created) return platform::unexpected(created.error());
  VkShaderModule module = *created;
  // Each constant is one 32-bit word; an id the kernel does not declare is ignored.
  std::vector<VkSpecializationMapEntry> entries;
  std::vector<uint32_t> values;
  for (const FunctionConstant& constant : constants) {
    entries.push_back({constant.id, uint32_t(values.size() * sizeof(uint32_t)), sizeof(uint32_t)});
    values.push_back(constant.value);
  }
  VkSpecializationInfo specialization{};
  specialization.mapEntryCount = uint32_t(entries.size());
  specialization.pMapEntries = entries.data();
  specialization.dataSize = values.size() * sizeof(uint32_t);
  specialization.pData = values.data();

  CreationFeedback feedback;
  VkComputePipelineCreateInfo info{VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
  if (context->hasCreationFeedback()) info.pNext = &feedback.info;
  info.stage.sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
  info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
  info.stage.module = module;
  info.stage.pName = shader.entryPoint.c_str();
  if (!constants.empty()) info.stage.pSpecializationInfo = &specialization;
  info.layout = pipeline->layout_;
  VkResult result =
      vkCreateComputePipelines(context->device(), context->pipelineCache(), 1, &info, nullptr, &pipeline->pipeline_);
  vkDestroyShaderModule(context->device(), module, nullptr);
  if (result != VK_SUCCESS) {
    pipeline->pipeline_ = VK_NULL_HANDLE;
    return gpuFailure(Kind::driverFailed, functionName + ": vkCreateComputePipelines failed: " + describe(result));
  }
  context->notePipelineCreated(feedback.cacheHit());
  return pipeline;
}

platform::Expected<std::shared_ptr<RenderPipelineImpl>, GpuError> RenderPipelineImpl::create(
    const std::shared_ptr<Context>& context, const RenderPipelineDescriptor& descriptor) {
  auto* impl = dynamic_cast<LibraryImpl*>(descriptor.library.get());
  if (!impl) {
    return gpuFailure(Kind::invalidArgument, "no library");
  }
  if (descriptor.colorPixelFormat != PixelFormat::bgra8Unorm) {
    return gpuFailure(Kind::invalidArgument, "the colour format must be BGRA8 unorm (80)");
  }
  const ShaderFunction* vertex = impl->function(descriptor.vertexFunction);
  const ShaderFunction* fragment = impl->function(descriptor.fragmentFunction);
  if (!vertex || !fragment) {
    return gpuFailure(Kind::missingFunction, "no function named " +
                                              (vertex ? descriptor.fragmentFunction : descriptor.vertexFunction) +
                                              " in " + impl->path());
  }
  if (vertex->interface.stage != ShaderStage::vertex) {
    return gpuFailure(Kind::missingFunction, descriptor.vertexFunction + " is not a vertex shader");
  }
  if (fragment->interface.stage != ShaderStage::fragment) {
    return gpuFailure(Kind::missingFunction, descriptor.fragmentFunction + " is not a fragment shader");
  }

  std::shared_ptr<RenderPipelineImpl> pipeline(new RenderPipelineImpl(context));
  pipeline->primitiveType_ = descriptor.primitiveType;
  struct Stage {
    const ShaderFunction* function;
    const std::string& name;
    VkShaderStageFlagBits flag;
  };
  for (const Stage& stage : {Stage{vertex, descriptor.vertexFunction, VK_SHADER_STAGE_VERTEX_BIT},
                             Stage{fragment, descriptor.fragmentFunction, VK_SHADER_STAGE_FRAGMENT_BIT}}) {
    const bool isVertex = stage.flag == VK_SHADER_STAGE_VERTEX_BIT;
    for (const ShaderResource& r : stage.function->interface.resources) {
      std::string where = stage.name + ": " + describeBinding(r);
      if (r.kind == ResourceKind::unsupported) {
        return gpuFailure(Kind::unsupportedShader, where + ": " + r.unsupportedReason);
      }
      if (r.set != 0) {
        return gpuFailure(Kind::unsupportedShader,
                          where + " is in descriptor set " + std::to_string(r.set) + "; only set 0 is used");
      }
      if (r.kind == ResourceKind::uniformBlock) {
        uint32_t first = isVertex ? 0 : kFirstFragmentBytesBinding;
        if (r.binding < first || r.binding >= first + kMaxStageBytes) {
          return gpuFailure(Kind::unsupportedShader,
                            where + (isVertex ? ": vertex bytes go at bindings 0 to 3"
                                              : ": fragment bytes go at bindings 4 to 7 (index + 4)"));
        }
      } else if (isVertex || r.kind != ResourceKind::sampledTexture) {
        return gpuFailure(Kind::unsupportedShader, where + ": render pipelines take only sampler2D fragment textures");
      } else if (r.binding < kFirstTextureBinding || r.binding >= kFirstTextureBinding + kMaxTextures) {
        return gpuFailure(Kind::unsupportedShader, where + ": fragment textures go at bindings 8 to 23 (index + 8)");
      }
      pipeline->bindings_.push_back({r.binding, r.kind, static_cast<VkShaderStageFlags>(stage.flag), r.blockSize, r.name});
    }
  }
  std::sort(pipeline->bindings_.begin(), pipeline->bindings_.end(),
            [](const PipelineBinding& a, const PipelineBinding& b) { return a.binding < b.binding; });
  if (auto layout = pipeline->createLayout(); !layout) return platform::unexpected(layout.error());

  auto vertexModule = pipeline->createModule(*vertex);
  auto fragmentModule = pipeline->createModule(*fragment);
  if (!vertexModule || !fragmentModule) {
    if (vertexModule) vkDestroyShaderModule(context->device(), *vertexModule, nullptr);
    if (fragmentModule) vkDestroyShaderModule(context->device(), *fragmentModule, nullptr);
    return platform::unexpected(vertexModule ? fragmentModule.error() : vertexModule.error());
  }
  VkShaderModule modules[2] = {*vertexModule, *fragmentModule};
  VkPipelineShaderStageCreateInfo stages[2] = {};
  stages[0].sType = stages[1].sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
  stages[0].stage = VK_SHADER_STAGE_VERTEX_BIT;
  stages[0].module = modules[0];
  stages[0].pName = vertex->interface.entryPoint.c_str();
  stages[1].stage = VK_SHADER_STAGE_FRAGMENT_BIT;
  stages[1].module = modules[1];
  stages[1].pName = fragment->interface.entryPoint.c_str();

  VkPipelineVertexInputStateCreateInfo vertexInput{VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};
  VkPipelineInputAssemblyStateCreateInfo assembly{VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO};
  assembly.topology = descriptor.primitiveType == PrimitiveType::triangleStrip ? VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP
                                                                               : VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
  VkPipelineViewportStateCreateInfo viewport{VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO};
  viewport.viewportCount = 1;
  viewport.scissorCount = 1;
  VkPipelineRasterizationStateCreateInfo raster{VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO};
  raster.polygonMode = VK_POLYGON_MODE_FILL;
  raster.cullMode = VK_CULL_MODE_NONE;
  raster.frontFace = VK_FRONT_FACE_COUNTER_CLOCKWISE;
  raster.lineWidth = 1.0f;
  VkPipelineMultisampleStateCreateInfo multisample{VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO};
  multisample.rasterizationSamples = VK_SAMPLE_COUNT_1_BIT;
  VkPipelineColorBlendAttachmentState attachment{};
  attachment.blendEnable = VK_FALSE;
  attachment.colorWriteMask =
      VK_COLOR_COMPONENT_R_BIT | VK_COLOR_COMPONENT_G_BIT | VK_COLOR_COMPONENT_B_BIT | VK_COLOR_COMPONENT_A_BIT;
  VkPipelineColorBlendStateCreateInfo blend{VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO};
  blend.attachmentCount = 1;
  blend.pAttachments = &attachment;
  VkDynamicState dynamicStates[] = {VK_DYNAMIC_STATE_VIEWPORT, VK_DYNAMIC_STATE_SCISSOR};
  VkPipelineDynamicStateCreateInfo dynamic{VK_STRUCTURE_TYPE_PIPELINE_DYNAMIC_STATE_CREATE_INFO};
  dynamic.dynamicStateCount = 2;
  dynamic.pDynamicStates = dynamicStates;

  CreationFeedback feedback;
  VkGraphicsPipelineCreateInfo info{VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO};
  if (context->hasCreationFeedback()) info.pNext = &feedback.info;
  info.stageCount = 2;
  info.pStages = stages;
  info.pVertexInputState = &vertexInput;
  info.pInputAssemblyState = &assembly;
  info.pViewportState = &viewport;
  info.pRasterizationState = &raster;
  info.pMultisampleState = &multisample;
  info.pColorBlendState = &blend;
  info.pDynamicState = &dynamic;
  info.layout = pipeline->layout_;
  info.renderPass = context->compatibleRenderPass();
  info.subpass = 0;
  VkResult result =
      vkCreateGraphicsPipelines(context->device(), context->pipelineCache(), 1, &info, nullptr, &pipeline->pipeline_);
  for (VkShaderModule m : modules) vkDestroyShaderModule(context->device(), m, nullptr);
  if (result != VK_SUCCESS) {
    pipeline->pipeline_ = VK_NULL_HANDLE;
    return gpuFailure(Kind::driverFailed, "vkCreateGraphicsPipelines failed: " + describe(result));
  }
  context->notePipelineCreated(feedback.cacheHit());
  return pipeline;
}

}  // namespace platform::gpu::vulkan
