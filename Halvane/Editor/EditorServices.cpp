#include "Halvane/Editor/EditorServices.h"

#include "Halvane/Rendering/PhotoOutput.h"
#include "Platform/Dispatch/GlobalQueue.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {
namespace {

using platform::dispatch::GlobalQueue;
using platform::dispatch::MainQueue;
using platform::dispatch::QualityOfService;

// Runs `work` on the user-initiated global queue and hands its result to `completion`
// on the main queue.
template <typename Result>
void offMainThread(std::function<Result()> work, std::function<void(Result)> completion) {
  GlobalQueue::async(QualityOfService::userInitiated, [work = std::move(work), completion = std::move(completion)] {
    auto result = std::make_shared<Result>(work());
    MainQueue::shared()->async([result, completion] { completion(std::move(*result)); });
  });
}

class EnginePhotoExportService final : public PhotoExportService {
 public:
  explicit EnginePhotoExportService(std::shared_ptr<RenderingEngine> engine) : engine_(std::move(engine)) {}

  void render(std::shared_ptr<platform::gpu::Texture> source, EditState state, std::vector<std::uint8_t> colorSpace,
              std::function<void(std::optional<platform::media::Image>)> completion) override {
    offMainThread<std::optional<platform::media::Image>>(
        [engine = engine_, source = std::move(source), state, colorSpace = std::move(colorSpace)] {
          auto image = engine->renderToImage(source, state, colorSpace, true);
          return image ? std::optional(std::move(*image)) : std::nullopt;
        },
        std::move(completion));
  }

  void writeJPEG(platform::media::Image image, PhotoExportPreset preset,
                 std::function<void(std::optional<std::filesystem::path>)> completion) override {
    offMainThread<std::optional<std::filesystem::path>>(
        [image = std::move(image), preset]() -> std::optional<std::filesystem::path> {
          auto path = halvane::writeJPEG(image, preset);
          if (!path) return std::nullopt;  // the flow offers the picture itself then
          return std::filesystem::path(*path);
        },
        std::move(completion));
  }

 private:
  const std::shared_ptr<RenderingEngine> engine_;
};

class RendererEditorVideo final : public EditorVideo {
 public:
  explicit RendererEditorVideo(std::shared_ptr<VideoRenderer> renderer) : renderer_(std::move(renderer)) {}

  std::shared_ptr<VideoRenderer> renderer() const override { return renderer_; }
  bool trackPropertiesLoaded() const override { return renderer_->trackPropertiesLoaded(); }
  bool hasAsset() const override { return renderer_->asset() != nullptr; }
  void showPreviewState(const EditState& state) override { renderer_->showPreviewState(state); }
  void setPreviewNeedsDisplay() override { renderer_->setPreviewNeedsDisplay(); }
  void setVolume(float volume) override { renderer_->player().setVolume(volume); }
  float rate() const override { return renderer_->player().rate(); }
  void play() override { renderer_->player().play(); }
  void pause() override { renderer_->player().pause(); }
  void removeTrimBoundaryObserver() override { renderer_->removeTrimBoundaryObserver(); }
  void stopPlayback() override { renderer_->stopPlayback(); }
  void exportVideo(std::string outputURL, const EditState& state, VideoExportPreset preset,
                   std::function<void(float)> progress, std::function<void(VideoExportResult)> completion) override {
    renderer_->exportVideo(std::move(outputURL), state, preset, std::move(progress), std::move(completion));
  }
  void cancelExport() override { renderer_->cancelExport(); }

 private:
  const std::shared_ptr<VideoRenderer> renderer_;
};

class RendererVideoLoader final : public EditorVideoLoader {
 public:
  RendererVideoLoader(std::shared_ptr<RenderingEngine> engine, VideoRendererOptions options)
      : engine_(std::move(engine)), options_(std::move(options)) {}

  void loadVideoAsset(const std::filesystem::path& url,
                      std::function<void(std::shared_ptr<platform::media::Asset>)> completion) override {
    auto asset = platform::media::Asset::make(url.string());
    // A failed load counts as no tracks.
    asset->loadTracks(platform::media::MediaType::video, [asset, completion = std::move(completion)](auto tracks) {
      completion(tracks && !tracks.value().empty() ? asset : nullptr);
    });
  }

  std::shared_ptr<EditorVideo> startVideo(std::shared_ptr<platform::media::Asset> asset,
                                          std::shared_ptr<PreviewView> view) override {
    auto renderer = VideoRenderer::create(engine_, options_);
    view->configure(*engine_);
    renderer->setPreviewView(view);
    renderer->startDisplayLink();
    renderer->loadAsset(std::move(asset));
    renderer->player().play();
    auto video = std::make_shared<RendererEditorVideo>(renderer);
    std::weak_ptr<RendererEditorVideo> weakVideo = video;
    renderer->onTrackPropertiesLoaded = [weakVideo] {
      auto video = weakVideo.lock();
      if (video && video->onTrackPropertiesLoaded) video->onTrackPropertiesLoaded();
    };
    return video;
  }

 private:
  const std::shared_ptr<RenderingEngine> engine_;
  const VideoRendererOptions options_;
};

}  // namespace

EditorServices makeEditorServices(std::shared_ptr<RenderingEngine> engine, VideoRendererOptions rendererOptions) {
  return {std::make_shared<EnginePhotoExportService>(engine),
          std::make_shared<RendererVideoLoader>(engine, std::move(rendererOptions))};
}

}  // namespace halvane
