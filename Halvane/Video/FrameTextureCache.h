#pragma once
// The export's GPU views of BGRA pixel buffers. A decoded frame lives in host memory
// here, not in memory the GPU shares, so a source frame is copied into a host-visible
// texture before the GPU reads it, and a target texture's pixels are copied into its
// buffer once the GPU has written them. One texture per role is kept and reused while
// the size stays, so a long export allocates nothing per frame and its memory stays
// flat. Used by one thread at a time (the export's video queue), one frame at a time.
#ifndef HALVANE_INSIDE_HalvaneVideo
#error "a private header of Halvane/Video: include its public headers"
#endif
#include <memory>

#include "Platform/Gpu/Device.h"
#include "Platform/Media/PixelBuffer.h"

namespace halvane {

class FrameTextureCache {
 public:
  // None without a device.
  static std::shared_ptr<FrameTextureCache> create(std::shared_ptr<platform::gpu::Device> device);

  // A texture of the buffer's size holding its pixels, ready for the next command
  // buffer. None when the device refuses the texture. The previous source texture is
  // rewritten, so its frame must be finished on the GPU.
  std::shared_ptr<platform::gpu::Texture> makeSourceTexture(const platform::media::PixelBuffer& buffer);
  // A texture of the buffer's size for the GPU to write; copyBack moves its pixels into
  // the buffer. None when the device refuses it.
  std::shared_ptr<platform::gpu::Texture> makeTargetTexture(const platform::media::PixelBuffer& buffer);
  // After the command buffer that wrote `texture` has completed.
  static void copyBack(const platform::gpu::Texture& texture, const platform::media::PixelBuffer& buffer);

 private:
  explicit FrameTextureCache(std::shared_ptr<platform::gpu::Device> device) : device_(std::move(device)) {}
  std::shared_ptr<platform::gpu::Texture> reuse(std::shared_ptr<platform::gpu::Texture>& slot, int width, int height,
                                                uint32_t usage);

  std::shared_ptr<platform::gpu::Device> device_;
  std::shared_ptr<platform::gpu::Texture> source_;
  std::shared_ptr<platform::gpu::Texture> target_;
};

}  // namespace halvane
