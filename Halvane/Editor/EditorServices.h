#pragma once
// The work an editing session hands to the engine: the photo export's render and JPEG
// writing, and a video's loading, playback and export. Interfaces so that session
// tests can hold a render or an export in hand; makeEditorServices gives the real ones
// over the engine and VideoRenderer.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/ExportPresets.h"
#include "Halvane/Rendering/PreviewLoop.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Halvane/Video/VideoRenderer.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/Image.h"

namespace halvane {

// Called on the main thread; the work runs on the global queue of user-initiated
// priority and every completion comes back on the main queue.
class PhotoExportService {
 public:
  virtual ~PhotoExportService() = default;
  // The full-size, edited picture, or none when the GPU could not make it.
  virtual void render(std::shared_ptr<platform::gpu::Texture> source, EditState state,
                      std::vector<std::uint8_t> colorSpace,
                      std::function<void(std::optional<platform::media::Image>)> completion) = 0;
  // A JPEG in the temporary folder, or none when it could not be written.
  virtual void writeJPEG(platform::media::Image image, PhotoExportPreset preset,
                         std::function<void(std::optional<std::filesystem::path>)> completion) = 0;
};

// What a session needs of its VideoRenderer; the edit reaches its preview as it reaches
// the photo's, through PreviewTarget. Main thread only.
class EditorVideo : public PreviewTarget {
 public:
  // The renderer itself, for the panels that draw from it; none in tests.
  virtual std::shared_ptr<VideoRenderer> renderer() const = 0;
  virtual bool trackPropertiesLoaded() const = 0;
  virtual bool hasAsset() const = 0;
  virtual void setVolume(float volume) = 0;
  virtual float rate() const = 0;
  virtual void play() = 0;
  virtual void pause() = 0;
  virtual void removeTrimBoundaryObserver() = 0;
  virtual void stopPlayback() = 0;
  // As VideoRenderer::exportVideo: progress and completion on the main thread.
  virtual void exportVideo(std::string outputURL, const EditState& state, VideoExportPreset preset,
                           std::function<void(float)> progress, std::function<void(VideoExportResult)> completion) = 0;
  // Sets the cancel flag of a running export, under its lock.
  virtual void cancelExport() = 0;

  // Fired once, when the track's properties have loaded.
  std::function<void()> onTrackPropertiesLoaded;
};

class EditorVideoLoader {
 public:
  virtual ~EditorVideoLoader() = default;
  // Loads the file's video tracks; `completion` runs on the main queue with the asset,
  // or none when it has no video track or cannot be read.
  virtual void loadVideoAsset(const std::filesystem::path& url,
                              std::function<void(std::shared_ptr<platform::media::Asset>)> completion) = 0;
  // Makes the renderer, binds it to the view, starts its display link, loads the asset
  // and plays.
  virtual std::shared_ptr<EditorVideo> startVideo(std::shared_ptr<platform::media::Asset> asset,
                                                  std::shared_ptr<PreviewView> view) = 0;
};

struct EditorServices {
  std::shared_ptr<PhotoExportService> photoExport;
  std::shared_ptr<EditorVideoLoader> videoLoader;
};

// The real services over the engine. `rendererOptions` go to every VideoRenderer made.
EditorServices makeEditorServices(std::shared_ptr<RenderingEngine> engine, VideoRendererOptions rendererOptions = {});

}  // namespace halvane
