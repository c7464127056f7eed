#include "Platform/Gpu/vulkan/VulkanCommandBuffer.h"

#include <algorithm>
#include <cstring>

#include "Platform/Gpu/vulkan/VulkanUtil.h"

namespace platform::gpu::vulkan {
namespace {

constexpr VkImageSubresourceRange kColorRange{VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
constexpr VkAccessFlags kWriteAccess = VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT |
                                       VK_ACCESS_TRANSFER_WRITE_BIT | VK_ACCESS_HOST_WRITE_BIT |
                                       VK_ACCESS_MEMORY_WRITE_BIT;

std::shared_ptr<TextureImpl> asImpl(const std::shared_ptr<Texture>& texture) {
  return std::dynamic_pointer_cast<TextureImpl>(texture);
}

std::string sizeText(uint32_t x, uint32_t y, uint32_t z) {
  return std::to_string(x) + "x" + std::to_string(y) + "x" + std::to_string(z);
}

// ---------------------------------------------------------------------------------------
// Compute

class ComputeEncoderImpl final : public ComputeCommandEncoder, public EncoderBase {
 public:
  explicit ComputeEncoderImpl(std::shared_ptr<CommandBufferImpl> commandBuffer)
      : commandBuffer_(std::move(commandBuffer)), bytes_(kMaxComputeBytes), textures_(kMaxTextures) {}
  ~ComputeEncoderImpl() override {
    if (commandBuffer_->isOpen(this)) finish();
  }

  void setComputePipelineState(const std::shared_ptr<ComputePipelineState>& pipeline) override {
    if (!open()) return;
    pipeline_ = std::dynamic_pointer_cast<ComputePipelineImpl>(pipeline);
    if (!pipeline_) commandBuffer_->recordError("setComputePipelineState: no pipeline");
  }
  void setTexture(const std::shared_ptr<Texture>& texture, uint32_t index) override {
    if (!open()) return;
    if (index >= kMaxTextures) return commandBuffer_->recordError("setTexture: index " + std::to_string(index) + " is past 15");
    textures_[index] = asImpl(texture);
  }
  void setBytes(const void* bytes, size_t length, uint32_t index) override {
    if (!open()) return;
    if (index >= kMaxComputeBytes) return commandBuffer_->recordError("setBytes: index " + std::to_string(index) + " is past 7");
    commandBuffer_->writeBytes(bytes, length, bytes_[index]);
  }
  void setThreadgroupMemoryLength(size_t length, uint32_t) override {
    if (!open()) return;
    uint32_t limit = commandBuffer_->context().capabilities().maxThreadgroupMemoryLength;
    if (length > limit)
      commandBuffer_->recordError("setThreadgroupMemoryLength: " + std::to_string(length) +
                                  " bytes is more than the device's " + std::to_string(limit));
  }
  void dispatchThreadgroups(Size groups, Size threads) override {
    if (!open()) return;
    if (!pipeline_) return commandBuffer_->recordError("dispatchThreadgroups: no pipeline set");
    const uint32_t* local = pipeline_->localSize();
    if (threads.width != local[0] || threads.height != local[1] || threads.depth != local[2])
      return commandBuffer_->recordError("dispatchThreadgroups: " + sizeText(threads.width, threads.height, threads.depth) +
                                         " threads per group, but " + pipeline_->functionName() + " is built for " +
                                         sizeText(local[0], local[1], local[2]));
    if (groups.width == 0 || groups.height == 0 || groups.depth == 0) return;

    std::vector<TextureUse> uses;
    for (const PipelineBinding& b : pipeline_->bindings()) {
      if (b.kind == ResourceKind::uniformBlock) {
        const BytesBinding& bytes = bytes_[b.binding];
        if (!bytes.isSet())
          return commandBuffer_->recordError(pipeline_->functionName() + ": no bytes at index " + std::to_string(b.binding));
        if (b.blockSize > bytes.range)
          return commandBuffer_->recordError(pipeline_->functionName() + ": " + std::to_string(bytes.range) +
                                             " bytes at index " + std::to_string(b.binding) + ", its block reads " +
                                             std::to_string(b.blockSize));
        continue;
      }
      const auto& texture = textures_[b.binding - kFirstTextureBinding];
      if (!texture)
        return commandBuffer_->recordError(pipeline_->functionName() + ": no texture at index " +
                                           std::to_string(b.binding - kFirstTextureBinding));
      if (b.kind == ResourceKind::sampledTexture)
        uses.push_back({texture, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT,
                        VK_ACCESS_SHADER_READ_BIT, false});
      else
        uses.push_back({texture, VK_IMAGE_LAYOUT_GENERAL, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT,
                        VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT, true});
    }
    commandBuffer_->prepare(uses);
    commandBuffer_->retain(pipeline_);
    commandBuffer_->bindPipeline(VK_PIPELINE_BIND_POINT_COMPUTE, pipeline_->pipeline());
    commandBuffer_->pushDescriptors(VK_PIPELINE_BIND_POINT_COMPUTE, *pipeline_, bytes_, textures_);
    vkCmdDispatch(commandBuffer_->vk(), groups.width, groups.height, groups.depth);
  }
  void endEncoding() override {
    if (open()) finish();
  }
  void finish() override { commandBuffer_->encoderEnded(this); }

 private:
  bool open() const { return commandBuffer_->isOpen(this); }

  std::shared_ptr<CommandBufferImpl> commandBuffer_;
  std::shared_ptr<ComputePipelineImpl> pipeline_;
  std::vector<BytesBinding> bytes_;
  std::vector<std::shared_ptr<TextureImpl>> textures_;
};

// ---------------------------------------------------------------------------------------
// Blit

class BlitEncoderImpl final : public BlitCommandEncoder, public EncoderBase {
 public:
  explicit BlitEncoderImpl(std::shared_ptr<CommandBufferImpl> commandBuffer) : commandBuffer_(std::move(commandBuffer)) {}
  ~BlitEncoderImpl() override {
    if (commandBuffer_->isOpen(this)) finish();
  }

  void copyFromTexture(const std::shared_ptr<Texture>& source, Origin sourceOrigin, Size size,
                       const std::shared_ptr<Texture>& destination, Origin destinationOrigin) override {
    if (!commandBuffer_->isOpen(this)) return;
    auto from = asImpl(source);
    auto to = asImpl(destination);
    if (!from || !to) return commandBuffer_->recordError("copyFromTexture: no texture");
    if (from->pixelFormat() != to->pixelFormat())
      return commandBuffer_->recordError("copyFromTexture: the textures' pixel formats differ");
    auto fits = [](const TextureImpl& t, Origin o, Size s) {
      return o.x <= t.width() && o.y <= t.height() && s.width <= t.width() - o.x && s.height <= t.height() - o.y;
    };
    if (!fits(*from, sourceOrigin, size) || !fits(*to, destinationOrigin, size))
      return commandBuffer_->recordError("copyFromTexture: the region lies outside a texture");
    if (size.width == 0 || size.height == 0 || size.depth == 0) return;
    if (from == to) {
      bool apartX = sourceOrigin.x + size.width <= destinationOrigin.x || destinationOrigin.x + size.width <= sourceOrigin.x;
      bool apartY = sourceOrigin.y + size.height <= destinationOrigin.y || destinationOrigin.y + size.height <= sourceOrigin.y;
      if (!apartX && !apartY) return commandBuffer_->recordError("copyFromTexture: the regions overlap");
    }
    std::vector<TextureUse> uses = {
        {from, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_READ_BIT, false},
        {to, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT, true}};
    commandBuffer_->prepare(uses);
    VkImageCopy region{};
    region.srcSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
    region.dstSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
    region.srcOffset = {int32_t(sourceOrigin.x), int32_t(sourceOrigin.y), 0};
    region.dstOffset = {int32_t(destinationOrigin.x), int32_t(destinationOrigin.y), 0};
    region.extent = {size.width, size.height, 1};
    vkCmdCopyImage(commandBuffer_->vk(), from->image(), commandBuffer_->layoutOf(from.get()), to->image(),
                   commandBuffer_->layoutOf(to.get()), 1, &region);
  }
  void endEncoding() override {
    if (commandBuffer_->isOpen(this)) finish();
  }
  void finish() override { commandBuffer_->encoderEnded(this); }

 private:
  std::shared_ptr<CommandBufferImpl> commandBuffer_;
};

// ---------------------------------------------------------------------------------------
// Render. Draws are collected and recorded at the end, because the barriers for the
// sampled textures have to come before the render pass begins.

class RenderEncoderImpl final : public RenderCommandEncoder, public EncoderBase {
 public:
  RenderEncoderImpl(std::shared_ptr<CommandBufferImpl> commandBuffer, const RenderPassDescriptor& pass,
                    std::shared_ptr<TextureImpl> target)
      : commandBuffer_(std::move(commandBuffer)),
        pass_(pass),
        target_(std::move(target)),
        bytes_(kFirstTextureBinding),
        textures_(kMaxTextures) {}
  ~RenderEncoderImpl() override {
    if (commandBuffer_->isOpen(this)) finish();
  }

  void setRenderPipelineState(const std::shared_ptr<RenderPipelineState>& pipeline) override {
    if (!open()) return;
    pipeline_ = std::dynamic_pointer_cast<RenderPipelineImpl>(pipeline);
    if (!pipeline_) commandBuffer_->recordError("setRenderPipelineState: no pipeline");
  }
  void setVertexBytes(const void* bytes, size_t length, uint32_t index) override {
    if (!open()) return;
    if (index >= kMaxStageBytes) return commandBuffer_->recordError("setVertexBytes: index " + std::to_string(index) + " is past 3");
    commandBuffer_->writeBytes(bytes, length, bytes_[index]);
  }
  void setFragmentBytes(const void* bytes, size_t length, uint32_t index) override {
    if (!open()) return;
    if (index >= kMaxStageBytes) return commandBuffer_->recordError("setFragmentBytes: index " + std::to_string(index) + " is past 3");
    commandBuffer_->writeBytes(bytes, length, bytes_[kFirstFragmentBytesBinding + index]);
  }
  void setFragmentTexture(const std::shared_ptr<Texture>& texture, uint32_t index) override {
    if (!open()) return;
    if (index >= kMaxTextures) return commandBuffer_->recordError("setFragmentTexture: index " + std::to_string(index) + " is past 15");
    textures_[index] = asImpl(texture);
  }
  void drawPrimitives(PrimitiveType type, uint32_t vertexStart, uint32_t vertexCount) override {
    if (!open()) return;
    if (!pipeline_) return commandBuffer_->recordError("drawPrimitives: no pipeline set");
    if (type != pipeline_->primitiveType())
      return commandBuffer_->recordError("drawPrimitives: the primitive type differs from the pipeline's");
    if (vertexCount == 0) return;
    Draw draw{pipeline_, bytes_, textures_, vertexStart, vertexCount};
    for (const PipelineBinding& b : pipeline_->bindings()) {
      if (b.kind == ResourceKind::uniformBlock) {
        const BytesBinding& bytes = bytes_[b.binding];
        std::string which = b.binding < kFirstFragmentBytesBinding
                                ? "vertex bytes at index " + std::to_string(b.binding)
                                : "fragment bytes at index " + std::to_string(b.binding - kFirstFragmentBytesBinding);
        if (!bytes.isSet()) return commandBuffer_->recordError("drawPrimitives: no " + which);
        if (b.blockSize > bytes.range)
          return commandBuffer_->recordError("drawPrimitives: " + std::to_string(bytes.range) + " " + which +
                                             ", the block reads " + std::to_string(b.blockSize));
      } else {
        const auto& texture = textures_[b.binding - kFirstTextureBinding];
        if (!texture)
          return commandBuffer_->recordError("drawPrimitives: no fragment texture at index " +
                                             std::to_string(b.binding - kFirstTextureBinding));
        if (texture == target_)
          return commandBuffer_->recordError("drawPrimitives: the render target is also sampled");
      }
    }
    draws_.push_back(std::move(draw));
  }
  void endEncoding() override {
    if (open()) finish();
  }

  void finish() override {
    CommandBufferImpl& cb = *commandBuffer_;
    std::vector<TextureUse> uses;
    const bool load = pass_.loadAction == LoadAction::load;
    uses.push_back({target_, VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT,
                    VkAccessFlags(VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT) | (load ? VkAccessFlags(VK_ACCESS_COLOR_ATTACHMENT_READ_BIT) : 0u), true});
    for (const Draw& draw : draws_)
      for (const PipelineBinding& b : draw.pipeline->bindings())
        if (b.kind == ResourceKind::sampledTexture)
          uses.push_back({draw.textures[b.binding - kFirstTextureBinding], VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL,
                          VK_PIPELINE_STAGE_FRAGMENT_SHADER_BIT, VK_ACCESS_SHADER_READ_BIT, false});
    cb.prepare(uses);

    VkFramebuffer framebuffer = target_->framebuffer();
    if (!framebuffer) {
      cb.recordError("renderCommandEncoder: the render target's framebuffer could not be made");
      cb.encoderEnded(this);
      return;
    }
    VkClearValue clear{};
    clear.color.float32[0] = static_cast<float>(pass_.clearColor.red);
    clear.color.float32[1] = static_cast<float>(pass_.clearColor.green);
    clear.color.float32[2] = static_cast<float>(pass_.clearColor.blue);
    clear.color.float32[3] = static_cast<float>(pass_.clearColor.alpha);
    VkRenderPassBeginInfo begin{VK_STRUCTURE_TYPE_RENDER_PASS_BEGIN_INFO};
    begin.renderPass = cb.context().renderPass(pass_.loadAction, pass_.storeAction);
    begin.framebuffer = framebuffer;
    begin.renderArea = {{0, 0}, {target_->width(), target_->height()}};
    begin.clearValueCount = 1;
    begin.pClearValues = &clear;
    VkCommandBuffer vk = cb.vk();
    vkCmdBeginRenderPass(vk, &begin, VK_SUBPASS_CONTENTS_INLINE);
    // Vulkan's clip space as it is: y points down. Shaders written for y up negate it.
    VkViewport viewport{0.0f, 0.0f, float(target_->width()), float(target_->height()), 0.0f, 1.0f};
    VkRect2D scissor{{0, 0}, {target_->width(), target_->height()}};
    vkCmdSetViewport(vk, 0, 1, &viewport);
    vkCmdSetScissor(vk, 0, 1, &scissor);
    for (const Draw& draw : draws_) {
      cb.retain(draw.pipeline);
      cb.bindPipeline(VK_PIPELINE_BIND_POINT_GRAPHICS, draw.pipeline->pipeline());
      cb.pushDescriptors(VK_PIPELINE_BIND_POINT_GRAPHICS, *draw.pipeline, draw.bytes, draw.textures);
      vkCmdDraw(vk, draw.vertexCount, 1, draw.vertexStart, 0);
    }
    vkCmdEndRenderPass(vk);
    draws_.clear();
    cb.encoderEnded(this);
  }

 private:
  bool open() const { return commandBuffer_->isOpen(this); }

  struct Draw {
    std::shared_ptr<RenderPipelineImpl> pipeline;
    std::vector<BytesBinding> bytes;  // by binding: vertex 0...3, fragment 4...7
    std::vector<std::shared_ptr<TextureImpl>> textures;
    uint32_t vertexStart;
    uint32_t vertexCount;
  };

  std::shared_ptr<CommandBufferImpl> commandBuffer_;
  RenderPassDescriptor pass_;
  std::shared_ptr<TextureImpl> target_;
  std::shared_ptr<RenderPipelineImpl> pipeline_;
  std::vector<BytesBinding> bytes_;
  std::vector<std::shared_ptr<TextureImpl>> textures_;
  std::vector<Draw> draws_;
};

}  // namespace

// ---------------------------------------------------------------------------------------
// Queue

void QueueState::began() {
  std::lock_guard lock(mutex_);
  ++inFlight_;
}

void QueueState::ended() {
  std::lock_guard lock(mutex_);
  if (--inFlight_ == 0) idle_.notify_all();
}

void QueueState::waitIdle() {
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [&] { return inFlight_ == 0; });
}

CommandQueueImpl::~CommandQueueImpl() {
  // From a completed handler the buffers of this queue may include the running one.
  if (!context_->isCompletionThread()) state_->waitIdle();
}

std::shared_ptr<CommandBuffer> CommandQueueImpl::commandBuffer() { return CommandBufferImpl::create(context_, state_); }

// ---------------------------------------------------------------------------------------
// Command buffer

std::shared_ptr<CommandBufferImpl> CommandBufferImpl::create(std::shared_ptr<Context> context,
                                                             std::shared_ptr<QueueState> queue) {
  std::shared_ptr<CommandBufferImpl> commandBuffer(new CommandBufferImpl(std::move(context), std::move(queue)));
  if (!commandBuffer->context_->acquireSlot(commandBuffer->slot_)) return nullptr;
  commandBuffer->hasSlot_ = true;
  VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
  if (vkBeginCommandBuffer(commandBuffer->slot_.main, &begin) != VK_SUCCESS) return nullptr;
  return commandBuffer;
}

CommandBufferImpl::~CommandBufferImpl() { releaseResources(); }

void CommandBufferImpl::releaseResources() {
  tracked_.clear();
  trackedOrder_.clear();
  retained_.clear();
  for (HostBuffer* chunk : chunks_) context_->recycleUniformChunk(chunk);
  chunks_.clear();
  if (hasSlot_) {
    context_->recycleSlot(slot_);
    hasSlot_ = false;
  }
}

bool CommandBufferImpl::canEncode() const {
  std::lock_guard lock(mutex_);
  return status_ == CommandBufferStatus::notEnqueued && openEncoder_ == nullptr;
}

std::shared_ptr<ComputeCommandEncoder> CommandBufferImpl::computeCommandEncoder() {
  if (!canEncode()) return nullptr;
  auto encoder = std::make_shared<ComputeEncoderImpl>(shared_from_this());
  openEncoder_ = encoder.get();
  return encoder;
}

std::shared_ptr<BlitCommandEncoder> CommandBufferImpl::blitCommandEncoder() {
  if (!canEncode()) return nullptr;
  auto encoder = std::make_shared<BlitEncoderImpl>(shared_from_this());
  openEncoder_ = encoder.get();
  return encoder;
}

std::shared_ptr<RenderCommandEncoder> CommandBufferImpl::renderCommandEncoder(const RenderPassDescriptor& pass) {
  if (!canEncode()) return nullptr;
  auto target = asImpl(pass.colorAttachment);
  if (!target || target->pixelFormat() != PixelFormat::bgra8Unorm) return nullptr;  // the render pass's format
  auto encoder = std::make_shared<RenderEncoderImpl>(shared_from_this(), pass, std::move(target));
  openEncoder_ = encoder.get();
  return encoder;
}

void CommandBufferImpl::encoderEnded(const EncoderBase* encoder) {
  if (openEncoder_ == encoder) openEncoder_ = nullptr;
}

void CommandBufferImpl::addCompletedHandler(std::function<void(CommandBuffer&)> handler) {
  if (!handler) return;
  {
    std::lock_guard lock(mutex_);
    if (!handlersTaken_) {
      handlers_.push_back(std::move(handler));
      return;
    }
  }
  // Added after the buffer completed: it still runs once, here.
  handler(*this);
}

bool CommandBufferImpl::writeBytes(const void* bytes, size_t length, BytesBinding& binding) {
  const uint32_t limit = context_->capabilities().maxBytesLength;
  if (!bytes || length == 0 || length > limit) {
    recordError("setBytes: " + std::to_string(length) + " bytes (1 to " + std::to_string(limit) + " allowed)");
    return false;
  }
  const VkDeviceSize alignment = context_->properties().limits.minUniformBufferOffsetAlignment;
  VkDeviceSize offset = alignUp(chunkUsed_, alignment);
  if (chunks_.empty() || offset + length > Context::kUniformChunkSize) {
    HostBuffer* chunk = context_->acquireUniformChunk();
    if (!chunk) {
      recordError("setBytes: out of memory for uniform data");
      return false;
    }
    chunks_.push_back(chunk);
    offset = 0;
  }
  HostBuffer* chunk = chunks_.back();
  std::memcpy(chunk->data() + offset, bytes, length);
  chunkUsed_ = offset + length;
  binding = {chunk->buffer(), offset, length};
  return true;
}

void CommandBufferImpl::prepare(std::vector<TextureUse>& uses) {
  // One use per texture: two uses of one texture in a pass share the GENERAL layout.
  std::vector<TextureUse> merged;
  for (TextureUse& use : uses) {
    auto same = std::find_if(merged.begin(), merged.end(), [&](const TextureUse& m) { return m.texture == use.texture; });
    if (same == merged.end()) {
      merged.push_back(use);
      continue;
    }
    if (same->layout != use.layout) same->layout = VK_IMAGE_LAYOUT_GENERAL;
    same->stage |= use.stage;
    same->access |= use.access;
    same->write = same->write || use.write;
  }

  std::vector<VkImageMemoryBarrier> barriers;
  VkPipelineStageFlags sourceStages = 0;
  VkPipelineStageFlags destinationStages = 0;
  for (const TextureUse& use : merged) {
    auto [it, inserted] = tracked_.try_emplace(use.texture.get());
    TrackedTexture& state = it->second;
    if (inserted) {
      state.texture = use.texture;
      trackedOrder_.push_back(use.texture.get());
    }
    const bool layoutChange = state.layout != use.layout;
    VkPipelineStageFlags source = 0;
    VkAccessFlags sourceAccess = 0;
    bool needed = false;
    if (layoutChange || use.write) {
      // Wait for every earlier access: writes (read/write after write) and reads
      // (write after read, and a layout change must not pull the data away from a reader).
      source = state.writeStages | state.readStages;
      sourceAccess = state.writeAccess;
      needed = layoutChange || source != 0;
    } else if (state.writeStages && (use.stage & ~state.visibleStages)) {
      source = state.writeStages;
      sourceAccess = state.writeAccess;
      needed = true;
    }
    if (needed) {
      VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
      barrier.srcAccessMask = sourceAccess;
      barrier.dstAccessMask = use.access;
      barrier.oldLayout = state.layout;
      barrier.newLayout = use.layout;
      barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
      barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
      barrier.image = use.texture->image();
      barrier.subresourceRange = kColorRange;
      barriers.push_back(barrier);
      sourceStages |= source ? source : VkPipelineStageFlags(VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT);
      destinationStages |= use.stage;
    }
    if (use.write) {
      state.writeStages = use.stage;
      state.writeAccess = use.access & kWriteAccess;
      state.readStages = 0;
      state.visibleStages = 0;
      state.written = true;
    } else if (layoutChange) {
      // The transition is the last write; the reading stage is where it completed.
      state.writeStages = use.stage;
      state.writeAccess = 0;
      state.readStages = use.stage;
      state.visibleStages = use.stage;
    } else {
      state.readStages |= use.stage;
      if (needed) state.visibleStages |= use.stage;
    }
    state.layout = use.layout;
  }
  if (!barriers.empty())
    vkCmdPipelineBarrier(slot_.main, sourceStages, destinationStages, 0, 0, nullptr, 0, nullptr,
                         static_cast<uint32_t>(barriers.size()), barriers.data());
}

VkImageLayout CommandBufferImpl::layoutOf(const TextureImpl* texture) const {
  auto it = tracked_.find(texture);
  return it == tracked_.end() ? VK_IMAGE_LAYOUT_GENERAL : it->second.layout;
}

void CommandBufferImpl::bindPipeline(VkPipelineBindPoint point, VkPipeline pipeline) {
  VkPipeline& bound = boundPipeline_[point == VK_PIPELINE_BIND_POINT_COMPUTE ? 1 : 0];
  if (bound == pipeline) return;
  vkCmdBindPipeline(slot_.main, point, pipeline);
  bound = pipeline;
}

void CommandBufferImpl::pushDescriptors(VkPipelineBindPoint point, const PipelineBase& pipeline,
                                        const std::vector<BytesBinding>& bytes,
                                        const std::vector<std::shared_ptr<TextureImpl>>& textures) {
  const auto& bindings = pipeline.bindings();
  if (bindings.empty()) return;
  std::vector<VkWriteDescriptorSet> writes(bindings.size());
  std::vector<VkDescriptorBufferInfo> buffers(bindings.size());
  std::vector<VkDescriptorImageInfo> images(bindings.size());
  for (size_t i = 0; i < bindings.size(); ++i) {
    const PipelineBinding& b = bindings[i];
    VkWriteDescriptorSet& write = writes[i];
    write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
    write.dstBinding = b.binding;
    write.descriptorCount = 1;
    if (b.kind == ResourceKind::uniformBlock) {
      const BytesBinding& data = bytes[b.binding];
      buffers[i] = {data.buffer, data.offset, data.range};
      write.descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER;
      write.pBufferInfo = &buffers[i];
    } else {
      const TextureImpl* texture = textures[b.binding - kFirstTextureBinding].get();
      const bool sampled = b.kind == ResourceKind::sampledTexture;
      images[i] = {sampled ? context_->linearClampSampler() : VK_NULL_HANDLE, texture->view(), layoutOf(texture)};
      write.descriptorType = sampled ? VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER : VK_DESCRIPTOR_TYPE_STORAGE_IMAGE;
      write.pImageInfo = &images[i];
    }
  }
  context_->cmdPushDescriptorSet()(slot_.main, point, pipeline.layout(), 0, static_cast<uint32_t>(writes.size()),
                                   writes.data());
}

void CommandBufferImpl::retain(std::shared_ptr<const void> object) {
  if (!retained_.empty() && retained_.back() == object) return;
  retained_.push_back(std::move(object));
}

void CommandBufferImpl::recordError(const std::string& message) {
  if (!encodingErrors_.empty()) encodingErrors_ += "; ";
  encodingErrors_ += message;
}

void CommandBufferImpl::finishRecording() {
  // Shared textures written here: copy into their staging buffers for getBytes.
  std::vector<TextureUse> readBacks;
  for (const TextureImpl* key : trackedOrder_) {
    const TrackedTexture& state = tracked_.at(key);
    if (state.written && state.texture->isShared())
      readBacks.push_back({state.texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, VK_PIPELINE_STAGE_TRANSFER_BIT,
                           VK_ACCESS_TRANSFER_READ_BIT, false});
  }
  if (!readBacks.empty()) {
    prepare(readBacks);
    std::vector<VkBufferMemoryBarrier> hostBarriers;
    for (const TextureUse& use : readBacks) {
      VkBufferImageCopy copy{};
      copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
      copy.imageExtent = {use.texture->width(), use.texture->height(), 1};
      vkCmdCopyImageToBuffer(slot_.main, use.texture->image(), VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL,
                             use.texture->stagingBuffer(), 1, &copy);
      VkBufferMemoryBarrier barrier{VK_STRUCTURE_TYPE_BUFFER_MEMORY_BARRIER};
      barrier.srcAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
      barrier.dstAccessMask = VK_ACCESS_HOST_READ_BIT;
      barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
      barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
      barrier.buffer = use.texture->stagingBuffer();
      barrier.size = VK_WHOLE_SIZE;
      hostBarriers.push_back(barrier);
    }
    vkCmdPipelineBarrier(slot_.main, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_PIPELINE_STAGE_HOST_BIT, 0, 0, nullptr,
                         static_cast<uint32_t>(hostBarriers.size()), hostBarriers.data(), 0, nullptr);
  }

  // Every texture leaves in GENERAL, where the next command buffer expects it.
  std::vector<VkImageMemoryBarrier> barriers;
  VkPipelineStageFlags sourceStages = 0;
  for (const TextureImpl* key : trackedOrder_) {
    const TrackedTexture& state = tracked_.at(key);
    if (state.layout == VK_IMAGE_LAYOUT_GENERAL) continue;
    VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
    barrier.srcAccessMask = state.writeAccess;
    barrier.dstAccessMask = 0;
    barrier.oldLayout = state.layout;
    barrier.newLayout = VK_IMAGE_LAYOUT_GENERAL;
    barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = state.texture->image();
    barrier.subresourceRange = kColorRange;
    barriers.push_back(barrier);
    VkPipelineStageFlags source = state.writeStages | state.readStages;
    sourceStages |= source ? source : VkPipelineStageFlags(VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT);
  }
  if (!barriers.empty())
    vkCmdPipelineBarrier(slot_.main, sourceStages, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 0, nullptr, 0, nullptr,
                         static_cast<uint32_t>(barriers.size()), barriers.data());
  vkEndCommandBuffer(slot_.main);
}

void CommandBufferImpl::commit() {
  {
    std::lock_guard lock(mutex_);
    if (status_ != CommandBufferStatus::notEnqueued) return;
  }
  if (openEncoder_) openEncoder_->finish();
  finishRecording();
  {
    std::lock_guard lock(mutex_);
    status_ = CommandBufferStatus::committed;
  }
  queue_->began();
  context_->submit(shared_from_this(), slot_);
}

void CommandBufferImpl::complete(bool ok, const std::string& error) {
  std::vector<std::function<void(CommandBuffer&)>> handlers;
  {
    std::lock_guard lock(mutex_);
    std::string message = error;
    if (!encodingErrors_.empty()) message += (message.empty() ? "" : "; ") + encodingErrors_;
    status_ = ok && encodingErrors_.empty() ? CommandBufferStatus::completed : CommandBufferStatus::error;
    errorMessage_ = message;
    handlers.swap(handlers_);
    handlersTaken_ = true;
  }
  for (auto& handler : handlers) handler(*this);
  handlers.clear();
  releaseResources();
  queue_->ended();
  {
    std::lock_guard lock(mutex_);
    finished_ = true;
  }
  finishedCondition_.notify_all();
}

void CommandBufferImpl::waitUntilCompleted() {
  std::unique_lock lock(mutex_);
  if (status_ == CommandBufferStatus::notEnqueued) return;
  finishedCondition_.wait(lock, [&] { return finished_; });
}

CommandBufferStatus CommandBufferImpl::status() const {
  std::lock_guard lock(mutex_);
  return status_;
}

std::string CommandBufferImpl::errorMessage() const {
  std::lock_guard lock(mutex_);
  return errorMessage_;
}

}  // namespace platform::gpu::vulkan
