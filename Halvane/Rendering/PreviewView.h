#pragma once
// The surface on which the edited picture appears. It never draws by itself: the
// engine's display loop (or the video renderer's) hands it a finished texture and a
// command buffer, and it fits the texture into its drawable keeping the aspect ratio,
// enlarged by displayOverscale and moved by displayOffset, on opaque black. Drawables
// are offscreen BGRA8 textures of drawableSize, handed to a FramePresenter once drawn.
// Main thread only (it asserts so), except the presentation, which runs on the GPU's
// completion thread.
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "Halvane/Rendering/DisplayBlocks.h"
#include "Halvane/Rendering/FramePresenter.h"
#include "Platform/Gpu/Device.h"

namespace halvane {

class RenderingEngine;

struct DrawableSize {
  uint32_t width = 0;
  uint32_t height = 0;
  bool operator==(const DrawableSize&) const = default;
};

class PreviewView {
 public:
  // Drawables in flight at most; a draw finding none free loses its frame.
  static constexpr size_t maxDrawables = 3;

  PreviewView();

  // Binds the view to the engine's device and display pipeline.
  void configure(const RenderingEngine& engine);

  // The size of the view in points: a change of size (not of position) calls
  // onBoundsChanged, once per new size.
  void layout(double boundsWidth, double boundsHeight);
  std::function<void()> onBoundsChanged;

  // The size of the drawable in pixels, set by the host (bounds times pixel ratio).
  void setDrawableSize(DrawableSize size);
  DrawableSize drawableSize() const { return drawableSize_; }

  void setPresenter(std::shared_ptr<FramePresenter> presenter);

  // Writing these has no effect of its own; the writer marks the preview dirty.
  float displayOverscale = 1;
  float displayOffsetX = 0;
  float displayOffsetY = 0;

  // Encodes the display of `texture` and schedules its presentation. Does not commit.
  void draw(const std::shared_ptr<platform::gpu::Texture>& texture, platform::gpu::CommandBuffer& commandBuffer);

 private:
  struct Drawables;
  std::shared_ptr<platform::gpu::Texture> nextDrawable();

  std::shared_ptr<platform::gpu::Device> device_;
  std::shared_ptr<platform::gpu::RenderPipelineState> renderPipeline_;
  double lastBoundsWidth_ = 0;
  double lastBoundsHeight_ = 0;
  DrawableSize drawableSize_;
  std::shared_ptr<Drawables> drawables_;
};

}  // namespace halvane
