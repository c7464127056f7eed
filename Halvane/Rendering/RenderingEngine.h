#pragma once
// Owns the GPU: device, the one command queue, the three compute pipelines, the display
// pipeline and the texture pool. Turns a source texture and an EditState into a new
// texture by a chain of compute passes (geometry, colour, focus), and that texture into
// a bitmap. One engine per AppContainer; processTexture and renderToImage may be called
// from any thread, the preview members only from the main thread.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Rendering/TexturePool.h"
#include "Platform/Gpu/Device.h"
#include "Platform/Media/Image.h"

namespace halvane {

struct PixelSize {
  uint32_t width = 0;
  uint32_t height = 0;
  bool operator==(const PixelSize&) const = default;
};

struct RenderingEngineOptions {
  platform::gpu::DeviceOptions device;
  // Empty: the default location under $XDG_CACHE_HOME (or ~/.cache).
  std::string pipelineCachePath;
  // Tests replace the pool's allocator to make it fail.
  TexturePool::Allocator textureAllocator;
};

class RenderingEngine : public std::enable_shared_from_this<RenderingEngine> {
 public:
  // Stops the program when the GPU, the bundle or a kernel cannot be had: there is no
  // degraded engine.
  static std::shared_ptr<RenderingEngine> create(RenderingEngineOptions options = {});
  ~RenderingEngine();

  const std::shared_ptr<platform::gpu::Device>& metalDevice() const { return metalDevice_; }
  const std::shared_ptr<platform::gpu::CommandQueue>& commandQueue() const { return commandQueue_; }
  const std::shared_ptr<TexturePool>& texturePool() const { return texturePool_; }
  const std::shared_ptr<platform::gpu::RenderPipelineState>& displayPipeline() const { return displayPipeline_; }
  bool supportsNonUniformThreadgroups() const { return supportsNonUniformThreadgroups_; }

  // Uploads a decoded picture as it is stored (its orientation is not applied here).
  // None when the device refuses the texture.
  std::shared_ptr<platform::gpu::Texture> makeTexture(const platform::media::Image& image);
  // Uploads tightly or loosely packed BGRA8 rows, as a decoded video frame has them.
  std::shared_ptr<platform::gpu::Texture> makeTexture(const uint8_t* bgra, uint32_t width, uint32_t height,
                                                      size_t bytesPerRow);

  // Encodes the passes for a non-default state and returns the last stage; returns the
  // source itself for a default state, and falls back to the source or an earlier
  // stage when a texture or an encoder cannot be had. Never commits. An intermediate
  // result belongs to the caller, who hands it back to the pool once the GPU is done.
  std::shared_ptr<platform::gpu::Texture> processTexture(const std::shared_ptr<platform::gpu::Texture>& source,
                                                         const EditState& state,
                                                         platform::gpu::CommandBuffer& commandBuffer,
                                                         bool finalOutput);

  // Blocks until the GPU finished. The bitmap carries `colorSpace` (ICC bytes; empty
  // means sRGB). None when the GPU could not produce it.
  std::optional<platform::media::Image> renderToImage(const std::shared_ptr<platform::gpu::Texture>& source,
                                                      const EditState& state,
                                                      const std::vector<uint8_t>& colorSpace = {});

  static PixelSize outputSize(uint64_t sourceWidth, uint64_t sourceHeight, const EditState& state);

  // Drops the pool's idle textures; in-flight work holds its own references.
  void purgeCaches();

 private:
  RenderingEngine() = default;
  void start(RenderingEngineOptions options);
  void dispatch(platform::gpu::ComputeCommandEncoder& encoder, uint32_t width, uint32_t height) const;

  std::shared_ptr<platform::gpu::Device> metalDevice_;
  std::shared_ptr<platform::gpu::CommandQueue> commandQueue_;
  std::shared_ptr<TexturePool> texturePool_;
  std::shared_ptr<platform::gpu::ComputePipelineState> geometryPipeline_;
  std::shared_ptr<platform::gpu::ComputePipelineState> colorPipeline_;
  std::shared_ptr<platform::gpu::ComputePipelineState> focusPipeline_;
  bool supportsNonUniformThreadgroups_ = false;
  std::shared_ptr<platform::gpu::RenderPipelineState> displayPipeline_;
};

}  // namespace halvane
