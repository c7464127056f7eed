#include "Halvane/Video/VideoExport.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Halvane/Video/NeutralRendering.h"
#include "Halvane/Video/TrackOrientation.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

using platform::dispatch::MainQueue;
using platform::media::AssetReaderStatus;
using platform::media::AssetTrack;
using platform::media::AssetWriterStatus;
using platform::media::MediaType;

namespace {

platform::media::MediaError gpuSetupError(std::string text) {
  return {platform::media::MediaError::Code::invalidState, std::move(text)};
}

void failDirectly(const VideoExportRequest& request, VideoRenderError error) {
  if (request.completion) request.completion(platform::unexpected(std::move(error)));
}

// Stage one, on the main queue: each load's completion comes back there. The renderer
// is held weakly throughout; the cancel flag is not looked at.
void loadExportInputs(std::shared_ptr<VideoExportRequest> request) {
  auto renderer = request->renderer.lock();
  if (!renderer) {
    failDirectly(*request, VideoRenderError::cancelled());
    return;
  }
  auto inputs = std::make_shared<VideoExportInputs>();
  inputs->asset = renderer->asset();
  renderer.reset();
  if (!inputs->asset) {
    failDirectly(*request, VideoRenderError::noVideoTrack());
    return;
  }
  inputs->asset->loadTracks(MediaType::video, [request, inputs](auto videoTracks) {
    if (!videoTracks) {
      failDirectly(*request, VideoRenderError::noVideoTrack(videoTracks.error()));
      return;
    }
    if (videoTracks->empty()) {
      failDirectly(*request, VideoRenderError::noVideoTrack());
      return;
    }
    inputs->videoTrack = videoTracks->front();
    inputs->asset->loadTracks(MediaType::audio, [request, inputs](auto audioTracks) {
      // A failed list of audio tracks counts as none.
      if (audioTracks && !audioTracks->empty()) {
        inputs->audioTrack = audioTracks->front();
        inputs->audioFormat = inputs->audioTrack->audioFormat;
      }
      inputs->asset->loadDuration([request, inputs](auto duration) {
        const double seconds = duration ? *duration : 0.0;
        inputs->durationSeconds = std::isfinite(seconds) ? seconds : 0.0;
        inputs->frameRate = std::max(float(inputs->videoTrack.nominalFrameRate), 1.0f);
        if (!request->renderer.lock()) {
          failDirectly(*request, VideoRenderError::cancelled());
          return;
        }
        std::make_shared<VideoExportRun>(std::move(*request), std::move(*inputs))->runExport();
      });
    });
  });
}

}  // namespace

void startVideoExport(VideoExportRequest request) {
  auto shared = std::make_shared<VideoExportRequest>(std::move(request));
  MainQueue::shared()->async([shared] { loadExportInputs(shared); });
}

VideoExportRun::VideoExportRun(VideoExportRequest request, VideoExportInputs inputs)
    : request_(std::move(request)), inputs_(std::move(inputs)) {}

// --- Stage two ---

void VideoExportRun::runExport() {
  platform::dispatch::assertMainQueue();
  keepAlive_ = shared_from_this();

  // Leaving the screen must not kill the export at once; on expiry it is cancelled.
  backgroundTask_ = std::make_shared<BackgroundTaskBox>();
  std::weak_ptr<platform::media::BackgroundTaskService> weakService = request_.backgroundTasks;
  const auto identifier = request_.backgroundTasks->beginBackgroundTask(
      [cancelState = request_.cancelState, box = backgroundTask_, weakService] {
        if (auto flag = cancelState.lock()) flag->set(true);
        platform::media::BackgroundTaskIdentifier old;
        {
          std::lock_guard lock(box->lock);
          old = std::exchange(box->identifier, platform::media::invalidBackgroundTask);
        }
        auto service = weakService.lock();
        if (service && old != platform::media::invalidBackgroundTask) service->endBackgroundTask(old);
      });
  {
    std::lock_guard lock(backgroundTask_->lock);
    backgroundTask_->identifier = identifier;
  }

  const platform::media::MediaSize upright =
      uprightSize(inputs_.videoTrack.preferredTransform, inputs_.videoTrack.naturalSize);
  const std::int64_t quarterTurns = quarterTurnsFromTransform(inputs_.videoTrack.preferredTransform);
  const PixelSize renderSize =
      RenderingEngine::outputSize(wholePixels(upright.width), wholePixels(upright.height), request_.state);
  outputSize_ = exportOutputSize(renderSize, request_.preset);

  const auto range = exportTimeRange(inputs_.durationSeconds, request_.state);
  if (!range) {
    fail(VideoRenderError::exportFailed());
    return;
  }
  const platform::media::TimeRange timeRange = range->mediaRange();

  auto reader = platform::media::AssetReader::make(inputs_.asset);
  if (!reader) {
    fail(VideoRenderError::writerSetupFailed(reader.error()));
    return;
  }
  reader_ = *reader;
  reader_->setTimeRange(timeRange);
  videoOutput_ = reader_->addVideoOutput(inputs_.videoTrack);

  auto writer = platform::media::AssetWriter::make(request_.outputURL, request_.existing);
  if (!writer) {
    fail(VideoRenderError::writerSetupFailed(writer.error()));
    return;
  }
  writer_ = *writer;
  // No transform on the input: the orientation is baked into the pixels.
  auto videoInput = writer_->addVideoInput(videoEncoderSettings(request_.preset, outputSize_, inputs_.frameRate));
  if (!videoInput) {
    fail(VideoRenderError::writerSetupFailed(videoInput.error()));
    return;
  }
  videoInput_ = *videoInput;

  audioPlan_ = planAudio(request_.state, request_.preset, inputs_.audioTrack.has_value(), inputs_.audioFormat);
  if (audioPlan_.route != AudioRoute::none) {
    const bool passthrough = audioPlan_.route == AudioRoute::passthrough;
    audioOutput_ = reader_->addAudioOutput(*inputs_.audioTrack, passthrough
                                                                    ? platform::media::AudioReadMode::passthrough
                                                                    : platform::media::AudioReadMode::floatPCM);
    auto audioInput = passthrough ? writer_->addAudioPassthroughInput(*inputs_.audioFormat)
                                  : writer_->addAudioInput(audioPlan_.encoder);
    if (!audioInput) {
      fail(VideoRenderError::writerSetupFailed(audioInput.error()));
      return;
    }
    audioInput_ = *audioInput;
  }

  if (!reader_->startReading()) {
    failSetup(/*cancelReading=*/false, reader_->error());
    return;
  }
  if (!writer_->startWriting()) {
    failSetup(/*cancelReading=*/true, writer_->error());
    return;
  }
  writer_->startSession(timeRange.start);

  orientationState_ = orientationState(quarterTurns);
  stateIsNeutral_ = isNeutralForRendering(request_.state);
  textureCache_ = FrameTextureCache::create(request_.engine->metalDevice());
  if (!textureCache_) {
    failSetup(/*cancelReading=*/true, gpuSetupError("the GPU cannot map video frames"));
    return;
  }
  expectedFrames_ = float(timeRange.duration.seconds()) * inputs_.frameRate;
  if (!(outputSize_ == renderSize)) {
    scaler_ = BilinearScaler::create(*request_.engine);
    if (!scaler_) {
      failSetup(/*cancelReading=*/true, gpuSetupError("the GPU cannot scale video frames"));
      return;
    }
  }

  videoQueue_ = std::make_shared<platform::dispatch::SerialQueue>("video.export.video");
  audioQueue_ = std::make_shared<platform::dispatch::SerialQueue>("video.export.audio");
  std::weak_ptr<VideoExportRun> weakSelf = weak_from_this();
  group_.enter();
  videoInput_->requestMediaDataWhenReady(videoQueue_, [weakSelf] {
    if (auto self = weakSelf.lock()) self->videoPump();
  });
  if (audioInput_ && audioOutput_) {
    group_.enter();
    audioInput_->requestMediaDataWhenReady(audioQueue_, [weakSelf] {
      if (auto self = weakSelf.lock()) self->audioPump();
    });
  }
  group_.notify([weakSelf] {
    if (auto self = weakSelf.lock()) self->finishExport();
  });
  if (auto cancelState = request_.cancelState.lock()) {
    cancelState->setOnCancel([weakSelf] {
      if (auto self = weakSelf.lock()) self->wakePumps();
    });
    // A cancel that came during set-up had no one to wake.
    if (cancelState->isSet()) wakePumps();
  }
}

void VideoExportRun::wakePumps() {
  std::weak_ptr<VideoExportRun> weakSelf = weak_from_this();
  videoQueue_->async([weakSelf] {
    if (auto self = weakSelf.lock()) self->videoPump();
  });
  if (audioInput_ && audioOutput_) {
    audioQueue_->async([weakSelf] {
      if (auto self = weakSelf.lock()) self->audioPump();
    });
  }
}

// The writer writes under a temporary name of its own and moves the movie into place
// only once complete, so cancelling it removes what this export made, and never a file
// that stands at the output's path.
void VideoExportRun::failSetup(bool cancelReading, std::optional<platform::media::MediaError> cause) {
  if (cancelReading) reader_->cancelReading();
  writer_->cancelWriting();
  fail(VideoRenderError::writerSetupFailed(std::move(cause)));
}

bool VideoExportRun::rendererCancelled() const {
  auto flag = request_.cancelState.lock();
  return flag && flag->isSet();
}

void VideoExportRun::fail(VideoRenderError error) { deliver(platform::unexpected(std::move(error))); }

void VideoExportRun::deliver(VideoExportResult result) {
  auto self = shared_from_this();  // the last reference may be the one let go below
  if (auto cancelState = request_.cancelState.lock()) cancelState->setOnCancel(nullptr);
  if (request_.completion) request_.completion(std::move(result));
  platform::media::BackgroundTaskIdentifier old;
  {
    std::lock_guard lock(backgroundTask_->lock);
    old = std::exchange(backgroundTask_->identifier, platform::media::invalidBackgroundTask);
  }
  if (old != platform::media::invalidBackgroundTask) request_.backgroundTasks->endBackgroundTask(old);
  keepAlive_.reset();
}

// --- Finishing, on the main queue once both pumps have left ---

void VideoExportRun::finishExport() {
  if (rendererCancelled()) {
    writer_->cancelWriting();
    {
      std::lock_guard lock(pumpLock_);
      cancelReaderLocked();
    }
    fail(VideoRenderError::cancelled());
    return;
  }
  if (reader_->status() == AssetReaderStatus::failed) {
    writer_->cancelWriting();
    fail(VideoRenderError::exportFailed(reader_->error()));
    return;
  }
  const auto writerStatus = writer_->status();
  if (writerStatus == AssetWriterStatus::cancelled || writerStatus == AssetWriterStatus::failed) {
    writer_->cancelWriting();  // a writer that failed by itself drops its file here
    fail(VideoRenderError::exportFailed(writer_->error()));
    return;
  }
  // A movie without a single picture is no export (a range shorter than any frame, or
  // frames that all failed to come through).
  if (framesWritten_ == 0) {
    writer_->cancelWriting();
    fail(VideoRenderError::exportFailed(platform::media::MediaError{
        platform::media::MediaError::Code::decodeFailed, "no frame of the video could be read in the range"}));
    return;
  }
  // A cancel from here on is ignored: a success stays a success.
  std::weak_ptr<VideoExportRun> weakSelf = weak_from_this();
  writer_->finishWriting([weakSelf] {
    MainQueue::shared()->async([weakSelf] {
      auto self = weakSelf.lock();
      if (!self) return;
      if (self->writer_->status() == AssetWriterStatus::completed) {
        self->deliver(self->request_.outputURL);
        return;
      }
      const auto error = self->writer_->error();  // the writer dropped its file
      self->fail(VideoRenderError::exportFailed(error));
    });
  });
}

}  // namespace halvane
