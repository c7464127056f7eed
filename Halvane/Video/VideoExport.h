#pragma once
// The export of a video, in two stages. Stage one, on the main queue, loads what the
// export needs of the asset (tracks, transform, size, frame rate, duration, the sound's
// format). Stage two sets up a reader, a writer and the GPU, then two pumps run on the
// serial queues "video.export.video" and "video.export.audio": the video pump takes one
// frame at a time through orientation, edit and scale on the GPU into the writer; the
// audio pump copies or re-encodes the sound. When both have left, the export finishes
// on the main queue. Internal to Halvane/Video: VideoRenderer::exportVideo is the entry.
#ifndef HALVANE_INSIDE_HalvaneVideo
#error "a private header of Halvane/Video: include its public headers"
#endif
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <semaphore>
#include <string>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/ExportPresets.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Halvane/Video/BilinearScaler.h"
#include "Halvane/Video/DispatchGroup.h"
#include "Halvane/Video/FrameTextureCache.h"
#include "Halvane/Video/VideoExportSettings.h"
#include "Halvane/Video/VideoRenderError.h"
#include "Halvane/Video/VideoRenderer.h"
#include "Platform/Dispatch/SerialQueue.h"
#include "Platform/Media/AssetReader.h"
#include "Platform/Media/AssetWriter.h"
#include "Platform/Media/BackgroundTask.h"

namespace halvane {

struct VideoExportRequest {
  std::weak_ptr<VideoRenderer> renderer;
  std::weak_ptr<ExportCancelState> cancelState;  // alive exactly while the renderer is
  std::shared_ptr<RenderingEngine> engine;
  std::shared_ptr<platform::media::BackgroundTaskService> backgroundTasks;
  std::string outputURL;
  platform::media::ExistingFile existing = platform::media::ExistingFile::keep;
  EditState state;
  VideoExportPreset preset = VideoExportPreset::balanced;
  std::function<void(float)> progress;
  std::function<void(VideoExportResult)> completion;
};

// Queues stage one on the main queue. The request's completion is called exactly once.
void startVideoExport(VideoExportRequest request);

// What stage one found.
struct VideoExportInputs {
  std::shared_ptr<platform::media::Asset> asset;
  platform::media::AssetTrack videoTrack;
  std::optional<platform::media::AssetTrack> audioTrack;
  double durationSeconds = 0;
  std::optional<platform::media::AudioFormatDescription> audioFormat;
  float frameRate = 1;
};

// The values that live for one export (stage two on), shared by its blocks. It keeps
// itself alive from set-up until its result is delivered; the writer's blocks hold it
// weakly, so no cycle outlives the export.
class VideoExportRun : public std::enable_shared_from_this<VideoExportRun> {
 public:
  VideoExportRun(VideoExportRequest request, VideoExportInputs inputs);
  // Stage two (main queue).
  void runExport();

 private:
  struct BackgroundTaskBox {
    std::mutex lock;  // backgroundTaskLock
    platform::media::BackgroundTaskIdentifier identifier = platform::media::invalidBackgroundTask;
  };
  enum class Pump { video, audio };

  // Every result of stage two: completion first, then the background task ends, once.
  void deliver(VideoExportResult result);
  void fail(VideoRenderError error);
  // Set-up failures once the writer exists.
  void failSetup(bool cancelReading, std::optional<platform::media::MediaError> cause);
  bool rendererCancelled() const;

  void videoPump();
  void audioPump();
  // Under pumpLock: the reader is still reading and nobody cancelled it.
  bool readerActiveLocked() const;
  // Under pumpLock: cancels the reader once, whoever asks first.
  void cancelReaderLocked();
  void abandon(Pump pump);
  // The video pump decodes the next frame while the GPU works on the current one. An
  // empty buffer read ahead is the end of the frames.
  void readNextSample();
  // A pump whose input is not ready: it leaves when the writer stopped or on a cancel.
  void leaveIfStopped(Pump pump);
  // Runs both pumps once on their queues, to see a cancel.
  void wakePumps();
  void finish(Pump pump);
  void finishExport();

  VideoExportRequest request_;
  VideoExportInputs inputs_;
  std::shared_ptr<VideoExportRun> keepAlive_;
  std::shared_ptr<BackgroundTaskBox> backgroundTask_;

  PixelSize outputSize_;
  std::optional<EditState> orientationState_;
  bool stateIsNeutral_ = true;
  AudioPlan audioPlan_;
  float expectedFrames_ = 0;

  std::shared_ptr<platform::media::AssetReader> reader_;
  std::shared_ptr<platform::media::AssetReaderVideoOutput> videoOutput_;
  std::shared_ptr<platform::media::AssetReaderAudioOutput> audioOutput_;
  std::shared_ptr<platform::media::AssetWriter> writer_;
  std::shared_ptr<platform::media::AssetWriterInput> videoInput_;
  std::shared_ptr<platform::media::AssetWriterInput> audioInput_;
  std::shared_ptr<FrameTextureCache> textureCache_;
  std::shared_ptr<BilinearScaler> scaler_;

  std::counting_semaphore<> semaphore_{3};
  std::shared_ptr<platform::dispatch::SerialQueue> videoQueue_;
  std::shared_ptr<platform::dispatch::SerialQueue> audioQueue_;
  DispatchGroup group_;
  std::mutex pumpLock_;
  bool readerCancelled_ = false;
  bool videoDone_ = false;  // touched by the video pump only
  std::optional<platform::media::PixelBuffer> readAhead_;  // touched by the video pump only
  bool audioDone_ = false;  // touched by the audio pump only
  float framesWritten_ = 0;
};

}  // namespace halvane
