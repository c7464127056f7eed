#include "Halvane/Editor/Widgets/EditorPreview.h"

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

EditorPreview::EditorPreview(const RenderingEngine& engine, std::shared_ptr<platform::dispatch::MainQueue> mainQueue,
                             QWidget* container)
    : view_(std::make_shared<PreviewView>()),
      surface_(new platform::qt::PreviewSurface(std::move(mainQueue), container)) {
  view_->setPresenter(std::make_shared<SurfacePresenter>(surface_->frames()));
  view_->configure(engine);
  surface_->lower();
  // The view may outlive the widget (the session holds it); it is reached weakly.
  std::weak_ptr<PreviewView> weakView = view_;
  surface_->onBoundsChanged = [weakView, surface = surface_] {
    auto view = weakView.lock();
    if (!view || !surface) return;
    const QSize pixels = surface->drawableSize();
    view->setDrawableSize({uint32_t(pixels.width()), uint32_t(pixels.height())});
    view->layout(surface->width(), surface->height());
  };
  fitToContainer();
  surface_->show();
}

EditorPreview::~EditorPreview() { delete surface_.data(); }

void EditorPreview::fitToContainer() {
  if (!surface_) return;
  if (auto* container = surface_->parentWidget()) surface_->setGeometry(container->rect());
}

}  // namespace halvane::editor
