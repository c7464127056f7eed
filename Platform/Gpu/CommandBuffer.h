#pragma once
// One submission of GPU work. Encoded on one thread at a time; commit never blocks.
// Completed handlers run once each, after the GPU finished, on the queue's completion
// thread, in commit order across all command buffers of the queue. Everything an
// encoder referenced (textures, pipelines, bytes) stays alive until completion.
// A handler runs on that one thread: it must not wait for another command buffer.
#include <functional>
#include <memory>
#include <string>

#include "Platform/Gpu/Encoders.h"

namespace platform::gpu {

enum class CommandBufferStatus { notEnqueued, committed, completed, error };

class CommandBuffer {
 public:
  virtual ~CommandBuffer() = default;

  // None when the encoder cannot be made (another encoder still open, already
  // committed, or out of memory).
  virtual std::shared_ptr<ComputeCommandEncoder> computeCommandEncoder() = 0;
  virtual std::shared_ptr<BlitCommandEncoder> blitCommandEncoder() = 0;
  virtual std::shared_ptr<RenderCommandEncoder> renderCommandEncoder(const RenderPassDescriptor& pass) = 0;

  // Must be added before commit. (One added after completion runs at once, here.)
  virtual void addCompletedHandler(std::function<void(CommandBuffer&)> handler) = 0;
  // Closes an encoder left open. After the device is gone, the buffer completes at once
  // with status error.
  virtual void commit() = 0;
  // Returns after the work completed and every completed handler has run; at once for
  // a buffer never committed.
  virtual void waitUntilCompleted() = 0;
  virtual CommandBufferStatus status() const = 0;
  virtual std::string errorMessage() const = 0;
};

class CommandQueue {
 public:
  // Waits until the command buffers committed from this queue have completed.
  virtual ~CommandQueue() = default;
  // Safe from any thread. None when the buffer cannot be made.
  virtual std::shared_ptr<CommandBuffer> commandBuffer() = 0;
};

}  // namespace platform::gpu
