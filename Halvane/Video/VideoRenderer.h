#pragma once
// Plays a video on the live preview through the engine's pipeline, and exports it. The
// player only decodes and keeps time: on each display-link tick a new frame is taken
// out of it as a pixel buffer, uploaded, turned upright by the track's transform, run
// through the engine with the current EditState and drawn on the PreviewView. The
// player's own picture is never shown.
//
// Main thread only (its operations assert so; the plain getters do not), with two
// exceptions: the export's pumps run on its own serial queues and share with playback
// only the engine, the asset and the cancel flag (guarded by its lock); GPU completed
// handlers touch only the texture pool. The preview runs on a PreviewLoop, as the
// photo's does.
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/ExportPresets.h"
#include "Halvane/Rendering/PreviewLoop.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Halvane/Video/VideoRenderError.h"
#include "Platform/Base/Expected.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AudioSink.h"
#include "Platform/Media/BackgroundTask.h"
#include "Platform/Media/PixelBuffer.h"
#include "Platform/Media/Player.h"
#include "Platform/Media/TemporaryFile.h"

namespace halvane {

class VideoRenderer;

// The display link's target: it holds the renderer weakly, so the running link never
// keeps the renderer alive. Once the renderer has gone, a tick does nothing.
class VideoDisplayLinkProxy {
 public:
  explicit VideoDisplayLinkProxy(std::weak_ptr<VideoRenderer> renderer) : renderer(std::move(renderer)) {}
  void tick() const;
  const std::weak_ptr<VideoRenderer> renderer;
};

struct VideoRendererOptions {
  // Where the player's sound goes and the clock it plays by (the clock that ticks are
  // read on). None: a silent sink on the monotonic media clock.
  std::shared_ptr<platform::media::AudioSink> audioSink;
  // Keeps an export running when the application leaves the screen. None: the
  // desktop's, whose tasks never expire.
  std::shared_ptr<platform::media::BackgroundTaskService> backgroundTasks;
};

// The flag by which a running export is asked to stop. The renderer owns it; an
// export's pumps hold it weakly, so a pump never keeps the renderer alive and "the
// renderer is gone" reads as "the flag is gone". Safe from any thread.
struct ExportCancelState {
  mutable std::mutex _cancelLock;
  bool _exportCancelled = false;
  // Called, outside the lock, each time the flag is set: the running export wakes its
  // pumps with it, so that a pump waiting for its input still sees the cancel.
  std::function<void()> onCancel;

  void set(bool cancelled) {
    std::function<void()> wake;
    {
      std::lock_guard lock(_cancelLock);
      _exportCancelled = cancelled;
      if (cancelled) wake = onCancel;
    }
    if (wake) wake();
  }
  bool isSet() const {
    std::lock_guard lock(_cancelLock);
    return _exportCancelled;
  }
  void setOnCancel(std::function<void()> callback) {
    std::lock_guard lock(_cancelLock);
    onCancel = std::move(callback);
  }
};

// The written movie's path, or why there is none.
using VideoExportResult = platform::Expected<std::string, VideoRenderError>;

class VideoRenderer : public PreviewTarget, public std::enable_shared_from_this<VideoRenderer> {
 public:
  static std::shared_ptr<VideoRenderer> create(std::shared_ptr<RenderingEngine> engine,
                                               VideoRendererOptions options = {});
  ~VideoRenderer();
  VideoRenderer(const VideoRenderer&) = delete;
  VideoRenderer& operator=(const VideoRenderer&) = delete;

  // --- Playback. The controller sets the view, starts the link, loads the asset and
  // then calls play on the player.
  void setPreviewView(std::weak_ptr<PreviewView> view) { previewLoop_.setView(std::move(view)); }
  void startDisplayLink();
  // Replaces the player's item at once; the track's orientation, size and the duration
  // arrive later, from a task on the main queue that a newer load overtakes.
  void loadAsset(std::shared_ptr<platform::media::Asset> asset);
  // The asset alone, for an export without playback.
  void setAsset(std::shared_ptr<platform::media::Asset> asset);
  // Shows the state: at the next tick, from the last frame when the player stands still.
  void updateEditState(const EditState& state);
  void showPreviewState(const EditState& state) override { updateEditState(state); }
  // Redraws the state shown at the next tick.
  void setPreviewNeedsDisplay() override { previewLoop_.setNeedsDisplay(); }
  // Seeks to the trim start and loops back there when playback crosses the trim end.
  void applyTrimRange(const EditState& state);
  void removeTrimBoundaryObserver();
  // Ends playback and forgets the view and the frames; the asset stays.
  void stopPlayback();
  // One display-link tick: takes a new frame if one is due and redraws if dirty.
  void renderTick();

  // Fired once, at the end of the load sequence.
  std::function<void()> onTrackPropertiesLoaded;
  // Fired once, with the first upright, unedited source frame.
  std::function<void(const std::shared_ptr<platform::gpu::Texture>&)> onFirstSourceTexture;

  platform::media::Player& player() const { return *player_; }
  const std::shared_ptr<platform::media::Asset>& asset() const { return asset_; }
  const std::shared_ptr<RenderingEngine>& engine() const { return engine_; }

  const EditState& currentState() const { return currentState_; }
  platform::media::MediaSize currentRenderSize() const { return currentRenderSize_; }
  platform::media::MediaSize videoNaturalSize() const { return videoNaturalSize_; }
  const platform::media::AffineTransform& videoTrackTransform() const { return videoTrackTransform_; }
  platform::media::MediaTime cachedDuration() const { return cachedDuration_; }
  std::int64_t trackQuarterTurns() const { return trackQuarterTurns_; }
  bool trackPropertiesLoaded() const { return trackPropertiesLoaded_; }
  std::int64_t loadGeneration() const { return loadGeneration_; }
  bool previewIsDirty() const { return previewLoop_.needsDisplay(); }
  const std::shared_ptr<platform::gpu::Texture>& lastSourceTexture() const { return lastSourceTexture_; }
  const platform::media::PixelBuffer& lastSourcePixelBuffer() const { return lastSourcePixelBuffer_; }
  const std::shared_ptr<platform::gpu::Texture>& orientedTexture() const { return orientedTexture_; }
  const std::shared_ptr<platform::dispatch::DisplayLink>& displayLink() const { return previewLoop_.displayLink(); }

  // --- Export. Renders the asset with `state` into a QuickTime movie at `outputURL`
  // (a path or file:// URL; a file standing there is refused, or with `replace` taken
  // over by the finished movie). `progress` (0 to 1, once per written frame) and
  // `completion` (exactly once) run on the main thread. A failed or cancelled export
  // leaves no file and a replaced one as it was.
  void exportVideo(std::string outputURL, const EditState& state, VideoExportPreset preset,
                   std::function<void(float)> progress, std::function<void(VideoExportResult)> completion,
                   platform::media::ExistingFile existing = platform::media::ExistingFile::keep);
  // Asks the running export to stop; it ends as cancelled. Safe from any thread.
  void cancelExport();
  bool exportCancelled() const;
  const std::shared_ptr<platform::media::BackgroundTaskService>& backgroundTasks() const { return backgroundTasks_; }

 private:
  VideoRenderer(std::shared_ptr<RenderingEngine> engine, VideoRendererOptions options);
  void runLoadTask(std::int64_t generation, const std::shared_ptr<platform::media::Asset>& asset);
  void applyTrack(const platform::media::AssetTrack& track);
  void finishLoad(double durationSeconds);
  void loopToTrimStart();
  void dropTrimBoundaryObserver();

  const std::shared_ptr<RenderingEngine> engine_;
  std::shared_ptr<platform::media::AudioSink> audioSink_;
  std::shared_ptr<platform::media::BackgroundTaskService> backgroundTasks_;
  std::unique_ptr<platform::media::Player> player_;
  EditState currentState_;
  platform::media::MediaSize currentRenderSize_;
  std::int64_t loadGeneration_ = 0;
  std::shared_ptr<platform::media::Asset> asset_;
  platform::media::MediaSize videoNaturalSize_;
  platform::media::AffineTransform videoTrackTransform_;
  std::shared_ptr<platform::media::PlayerItemVideoOutput> videoOutput_;
  platform::media::MediaTime cachedDuration_ = platform::media::MediaTime::zero();
  std::int64_t trackQuarterTurns_ = 0;
  bool trackPropertiesLoaded_ = false;
  PreviewLoop previewLoop_;
  std::shared_ptr<platform::gpu::Texture> lastSourceTexture_;
  platform::media::PixelBuffer lastSourcePixelBuffer_;
  std::shared_ptr<platform::gpu::Texture> orientedTexture_;
  std::optional<platform::media::Player::TimeObserverToken> trimBoundaryObserver_;
  const std::shared_ptr<ExportCancelState> cancelState_ = std::make_shared<ExportCancelState>();
  platform::dispatch::NotificationCenter::ObserverToken endTimeObserver_ = 0;
};

}  // namespace halvane
