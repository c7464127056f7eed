#include "Halvane/Rendering/PreviewView.h"

#include <algorithm>

#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

using namespace platform::gpu;
using platform::dispatch::assertMainQueue;

// The drawables of one size and which of them are still on their way to the screen.
// Shared with the completion handlers, which may outlive the view.
struct PreviewView::Drawables {
  std::mutex lock;
  DrawableSize size;
  std::vector<std::shared_ptr<Texture>> free;
  size_t made = 0;
  std::shared_ptr<FramePresenter> presenter;
};

DisplayQuad fitQuad(float textureWidth, float textureHeight, float drawableWidth, float drawableHeight,
                    float overscale, float offsetX, float offsetY) {
  const float fit = std::min(drawableWidth / textureWidth, drawableHeight / textureHeight);
  const float scale = overscale * fit;
  DisplayQuad quad;
  quad.sizeX = 2 * (textureWidth * scale / drawableWidth);
  quad.sizeY = 2 * (textureHeight * scale / drawableHeight);
  quad.originX = offsetX - 0.5f * quad.sizeX;
  quad.originY = offsetY - 0.5f * quad.sizeY;
  return quad;
}

PreviewView::PreviewView() : drawables_(std::make_shared<Drawables>()) {}

void PreviewView::configure(const RenderingEngine& engine) {
  assertMainQueue();
  device_ = engine.metalDevice();
  renderPipeline_ = engine.displayPipeline();
}

void PreviewView::layout(double boundsWidth, double boundsHeight) {
  assertMainQueue();
  if (boundsWidth == lastBoundsWidth_ && boundsHeight == lastBoundsHeight_) return;
  lastBoundsWidth_ = boundsWidth;
  lastBoundsHeight_ = boundsHeight;
  if (onBoundsChanged) onBoundsChanged();
}

void PreviewView::setDrawableSize(DrawableSize size) {
  assertMainQueue();
  drawableSize_ = size;
}

void PreviewView::setPresenter(std::shared_ptr<FramePresenter> presenter) {
  assertMainQueue();
  std::lock_guard guard(drawables_->lock);
  drawables_->presenter = std::move(presenter);
}

std::shared_ptr<Texture> PreviewView::nextDrawable() {
  if (!device_ || drawableSize_.width == 0 || drawableSize_.height == 0) return nullptr;
  {
    std::lock_guard guard(drawables_->lock);
    if (drawables_->size == drawableSize_) {
      if (!drawables_->free.empty()) {
        auto drawable = std::move(drawables_->free.back());
        drawables_->free.pop_back();
        return drawable;
      }
      if (drawables_->made >= maxDrawables) return nullptr;
    } else {
      // A new size: drawables of the old one still in flight are dropped on return.
      drawables_->size = drawableSize_;
      drawables_->free.clear();
      drawables_->made = 0;
    }
    ++drawables_->made;
  }
  TextureDescriptor descriptor;
  descriptor.width = drawableSize_.width;
  descriptor.height = drawableSize_.height;
  descriptor.storageMode = StorageMode::shared;
  descriptor.usage = TextureUsage::renderTarget | TextureUsage::shaderRead;
  auto drawable = device_->newTexture(descriptor);
  if (!drawable) {
    std::lock_guard guard(drawables_->lock);
    if (drawables_->size == drawableSize_) --drawables_->made;
  }
  return drawable;
}

void PreviewView::draw(const std::shared_ptr<Texture>& texture, CommandBuffer& commandBuffer) {
  assertMainQueue();
  if (!texture) return;
  auto drawable = nextDrawable();
  if (!drawable || !renderPipeline_) {
    if (drawable) {
      std::lock_guard guard(drawables_->lock);
      drawables_->free.push_back(drawable);
    }
    return;
  }
  const DrawableSize size = drawableSize_;
  const DisplayQuad quad = fitQuad(float(texture->width()), float(texture->height()), float(size.width),
                                   float(size.height), displayOverscale, displayOffsetX, displayOffsetY);
  const DisplayTextureSize textureSize{float(texture->width()), float(texture->height())};

  RenderPassDescriptor pass;
  pass.colorAttachment = drawable;
  pass.loadAction = LoadAction::clear;
  pass.storeAction = StoreAction::store;
  pass.clearColor = ClearColor{0, 0, 0, 1};
  if (auto encoder = commandBuffer.renderCommandEncoder(pass)) {
    encoder->setRenderPipelineState(renderPipeline_);
    encoder->setVertexBytes(&quad, sizeof quad, 0);
    encoder->setVertexBytes(&textureSize, sizeof textureSize, 1);
    encoder->setFragmentTexture(texture, 0);
    encoder->drawPrimitives(PrimitiveType::triangleStrip, 0, 4);
    encoder->endEncoding();
  }
  // Present once the GPU is done, then give the drawable back for the next frame.
  commandBuffer.addCompletedHandler([drawables = drawables_, drawable, size](CommandBuffer&) {
    std::shared_ptr<FramePresenter> presenter;
    {
      std::lock_guard guard(drawables->lock);
      presenter = drawables->presenter;
    }
    if (presenter) presenter->present(drawable);
    std::lock_guard guard(drawables->lock);
    if (drawables->size == size) drawables->free.push_back(drawable);
  });
}

}  // namespace halvane
