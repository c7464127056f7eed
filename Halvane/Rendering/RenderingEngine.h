#pragma once
// Owns the GPU: device, the one command queue, the three compute pipelines, the display
// pipeline and the texture pool. Turns a source texture and an EditState into a new
// texture by a chain of compute passes (geometry, colour, focus), and that texture into
// a bitmap. One engine per AppContainer; processTexture and renderToImage may be called
// from any thread, the preview members only from the main thread (they assert so).
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Rendering/PreviewLoop.h"
#include "Halvane/Rendering/TexturePool.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Gpu/Device.h"
#include "Platform/Media/Image.h"

namespace halvane {

struct PixelSize {
  uint32_t width = 0;
  uint32_t height = 0;
  bool operator==(const PixelSize&) const = default;
};

class ColorKernelVariants;
class ColorWidePass;
class FocusPass;
class PreviewView;
class RenderingEngine;

// The display link's target: it holds the engine weakly, so the running clock never
// keeps the engine alive. Once the engine has gone, a tick does nothing.
class DisplayLinkProxy {
 public:
  explicit DisplayLinkProxy(std::weak_ptr<RenderingEngine> engine) : engine(std::move(engine)) {}
  void tick() const;
  const std::weak_ptr<RenderingEngine> engine;
};

struct RenderingEngineOptions {
  platform::gpu::DeviceOptions device;
  // Empty: the default location under $XDG_CACHE_HOME (or ~/.cache).
  std::string pipelineCachePath;
  // Tests replace the pool's allocator to make it fail.
  TexturePool::Allocator textureAllocator;
};

class RenderingEngine : public PreviewTarget, public std::enable_shared_from_this<RenderingEngine> {
 public:
  // Stops the program when the GPU, the bundle or a kernel cannot be had: there is no
  // degraded engine.
  static std::shared_ptr<RenderingEngine> create(RenderingEngineOptions options = {});
  // The same, saying why it could not start instead of stopping: for the command line.
  static platform::Expected<std::shared_ptr<RenderingEngine>, platform::gpu::GpuError> make(
      RenderingEngineOptions options = {});
  ~RenderingEngine();

  const std::shared_ptr<platform::gpu::Device>& metalDevice() const { return metalDevice_; }
  const std::shared_ptr<platform::gpu::CommandQueue>& commandQueue() const { return commandQueue_; }
  const std::shared_ptr<TexturePool>& texturePool() const { return texturePool_; }
  const std::shared_ptr<platform::gpu::RenderPipelineState>& displayPipeline() const { return displayPipeline_; }
  bool supportsNonUniformThreadgroups() const { return supportsNonUniformThreadgroups_; }
  // The colour kernel and its variants for what an edit uses.
  ColorKernelVariants& colorKernelVariants() const { return *colorVariants_; }
  // The kernel bundle, for passes outside the edit chain (the export's scaler).
  const std::shared_ptr<platform::gpu::Library>& library() const { return library_; }

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

  // The source stored in `rawOrientation` (SourceOrientation.h) turned upright once, so
  // that every later pass reads an upright picture; the source itself when it already
  // is. Blocks until the GPU finished.
  platform::Expected<std::shared_ptr<platform::gpu::Texture>, platform::gpu::GpuError> bakeUpright(
      const std::shared_ptr<platform::gpu::Texture>& source, int rawOrientation);

  // Blocks until the GPU finished. The bitmap carries `colorSpace` (ICC bytes; empty
  // means sRGB). Thumbnails render with finalOutput false, exports with true.
  platform::Expected<platform::media::Image, platform::gpu::GpuError> renderToImage(
      const std::shared_ptr<platform::gpu::Texture>& source, const EditState& state,
      const std::vector<uint8_t>& colorSpace = {}, bool finalOutput = true);
  // The pixels of a host-readable copy (platform::gpu::encodeHostReadableCopy) whose
  // command buffer has completed, with `colorSpace`; none when they cannot be read.
  static std::optional<platform::media::Image> readImage(const platform::gpu::Texture& readable,
                                                         const std::vector<uint8_t>& colorSpace = {});

  static PixelSize outputSize(uint64_t sourceWidth, uint64_t sourceHeight, const EditState& state);

  // Drops the pool's idle textures; in-flight work holds its own references. Also run
  // on the platform's memory warning.
  void purgeCaches();

  // The photo's preview loop (main thread only). A dirty tick runs the pipeline over
  // the preview source at full resolution and draws the result on the view without
  // waiting for the GPU; a clean tick does nothing.
  void startDisplayLink();
  void stopDisplayLink();  // also forgets the view
  void tick();
  // A new source always asks for a frame.
  void setPreviewSource(std::shared_ptr<platform::gpu::Texture> source);
  const std::shared_ptr<platform::gpu::Texture>& previewSource() const;
  // Asks for a frame only when the state differs from the one shown.
  void applyPreviewState(const EditState& state);
  const EditState& previewState() const;
  void setPreviewNeedsDisplay() override { previewLoop_.setNeedsDisplay(); }
  bool previewIsDirty() const { return previewLoop_.needsDisplay(); }
  void setPreviewView(std::weak_ptr<PreviewView> view) { previewLoop_.setView(std::move(view)); }
  std::shared_ptr<PreviewView> previewView() const { return previewLoop_.view(); }
  bool isDisplayLinkRunning() const { return previewLoop_.displayLink() != nullptr; }
  void showPreviewState(const EditState& state) override { applyPreviewState(state); }

 private:
  RenderingEngine() = default;
  platform::Expected<void, platform::gpu::GpuError> start(RenderingEngineOptions options);
  void dispatch(platform::gpu::ComputeCommandEncoder& encoder, uint32_t width, uint32_t height) const;

  std::shared_ptr<platform::gpu::Device> metalDevice_;
  std::shared_ptr<platform::gpu::CommandQueue> commandQueue_;
  std::shared_ptr<TexturePool> texturePool_;
  std::shared_ptr<platform::gpu::ComputePipelineState> geometryPipeline_;
  std::unique_ptr<ColorKernelVariants> colorVariants_;
  std::shared_ptr<ColorWidePass> colorWide_;
  std::shared_ptr<FocusPass> focusPass_;
  bool supportsNonUniformThreadgroups_ = false;
  std::shared_ptr<platform::gpu::Library> library_;
  std::shared_ptr<platform::gpu::RenderPipelineState> displayPipeline_;
  platform::dispatch::NotificationCenter::ObserverToken memoryWarningObserver_ = 0;
  PreviewLoop previewLoop_;
  std::shared_ptr<platform::gpu::Texture> previewSource_;
  EditState previewState_;
};

}  // namespace halvane
