#include "Halvane/Editor/Widgets/EditorPreview.h"

#include <QPointer>

#include "Halvane/Rendering/FramePresenter.h"

namespace halvane::editor {

namespace {

// Hands each drawn frame to the surface's hand-off, which brings it to the GUI thread.
class SurfacePresenter final : public FramePresenter {
 public:
  explicit SurfacePresenter(std::shared_ptr<platform::qt::FrameHandoff> frames) : frames_(std::move(frames)) {}
  void present(const std::shared_ptr<platform::gpu::Texture>& drawable) override { frames_->present(*drawable); }

 private:
  std::shared_ptr<platform::qt::FrameHandoff> frames_;
};

}  // namespace

EditorPreview::EditorPreview(std::shared_ptr<RenderingEngine> engine,
                             std::shared_ptr<platform::dispatch::MainQueue> mainQueue)
    : engine_(std::move(engine)),
      view_(std::make_shared<PreviewView>()),
      surface_(new platform::qt::PreviewSurface(std::move(mainQueue))) {
  view_->setPresenter(std::make_shared<SurfacePresenter>(surface_->frames()));
  view_->configure(*engine_);
  // The surface may go with its parent before this object; a guarded pointer notices.
  QPointer<platform::qt::PreviewSurface> surface = surface_;
  surface_->onBoundsChanged = [this, surface] {
    if (surface) boundsChanged();
  };
  view_->onBoundsChanged = [this] {
    if (renderer_) renderer_->updateEditState(renderer_->currentState());
    engine_->setPreviewNeedsDisplay();
  };
}

EditorPreview::~EditorPreview() {
  stop();
  if (surface_) surface_->onBoundsChanged = nullptr;
}

void EditorPreview::boundsChanged() {
  const QSize pixels = surface_->drawableSize();
  view_->setDrawableSize({uint32_t(pixels.width()), uint32_t(pixels.height())});
  view_->layout(surface_->width(), surface_->height());
}

void EditorPreview::showPhoto(std::shared_ptr<platform::gpu::Texture> texture) {
  engine_->stopDisplayLink();
  engine_->setPreviewView(view_);
  engine_->startDisplayLink();
  engine_->setPreviewSource(std::move(texture));
  engine_->setPreviewNeedsDisplay();
  boundsChanged();
}

std::shared_ptr<VideoRenderer> EditorPreview::playVideo(std::shared_ptr<platform::media::Asset> asset,
                                                        std::shared_ptr<platform::media::AudioSink> audioSink) {
  renderer_ = VideoRenderer::create(engine_, {.audioSink = std::move(audioSink), .backgroundTasks = nullptr});
  renderer_->setPreviewView(view_);
  renderer_->startDisplayLink();
  renderer_->loadAsset(std::move(asset));
  renderer_->player().play();
  boundsChanged();
  return renderer_;
}

void EditorPreview::stop() {
  if (renderer_) {
    renderer_->removeTrimBoundaryObserver();
    renderer_->stopPlayback();
    renderer_.reset();
  }
  engine_->stopDisplayLink();
}

}  // namespace halvane::editor
