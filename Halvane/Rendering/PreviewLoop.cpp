#include "Halvane/Rendering/PreviewLoop.h"

#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

using platform::dispatch::assertMainQueue;
using platform::gpu::CommandBuffer;
using platform::gpu::Texture;

PreviewLoop::~PreviewLoop() {
  if (displayLink_) displayLink_->invalidate();
}

void PreviewLoop::start(platform::dispatch::FrameRateRange rate, std::function<void()> tick) {
  assertMainQueue();
  if (displayLink_) displayLink_->invalidate();
  displayLink_ = platform::dispatch::makeDisplayLink([tick = std::move(tick)](double, double) { tick(); });
  displayLink_->setPreferredFrameRateRange(rate.minimum, rate.maximum, rate.preferred);
  displayLink_->addToMainQueue();
}

void PreviewLoop::stop() {
  assertMainQueue();
  if (displayLink_) displayLink_->invalidate();
  displayLink_.reset();
  view_.reset();
}

const std::shared_ptr<platform::dispatch::DisplayLink>& PreviewLoop::displayLink() const {
  assertMainQueue();
  return displayLink_;
}

void PreviewLoop::setView(std::weak_ptr<PreviewView> view) {
  assertMainQueue();
  view_ = std::move(view);
}

std::shared_ptr<PreviewView> PreviewLoop::view() const {
  assertMainQueue();
  return view_.lock();
}

std::shared_ptr<PreviewView> PreviewLoop::drawableView() const {
  auto view = this->view();
  if (!view) return nullptr;
  const DrawableSize size = view->drawableSize();
  if (size.width == 0 || size.height == 0) return nullptr;
  return view;
}

void PreviewLoop::setNeedsDisplay() {
  assertMainQueue();
  needsDisplay_ = true;
}

bool PreviewLoop::needsDisplay() const {
  assertMainQueue();
  return needsDisplay_;
}

void PreviewLoop::clearNeedsDisplay() {
  assertMainQueue();
  needsDisplay_ = false;
}

void PreviewLoop::drawFrame(RenderingEngine& engine, PreviewView& view, const std::shared_ptr<Texture>& source,
                            const EditState& state, bool neutral, CommandBuffer& commandBuffer,
                            std::vector<std::shared_ptr<Texture>> giveBack) {
  assertMainQueue();
  const auto shown = neutral ? source : engine.processTexture(source, state, commandBuffer, /*finalOutput=*/false);
  view.draw(shown, commandBuffer);
  if (shown != source) giveBack.push_back(shown);
  releaseWhenCompleted(engine.texturePool(), commandBuffer, std::move(giveBack));
  commandBuffer.commit();
}

}  // namespace halvane
