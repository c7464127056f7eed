#include "Halvane/Video/VideoRenderer.h"

#include <cmath>
#include <limits>
#include <vector>

#include "Halvane/Video/NeutralRendering.h"
#include "Halvane/Video/TrackOrientation.h"
#include "Halvane/Video/VideoExport.h"
#include "Platform/Base/Fatal.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

using platform::dispatch::NotificationCenter;
using platform::gpu::Texture;
using platform::media::MediaTime;

namespace {

constexpr std::int32_t kTimescale = 600;

}  // namespace

void VideoDisplayLinkProxy::tick() const {
  if (auto alive = renderer.lock()) alive->renderTick();
}

std::shared_ptr<VideoRenderer> VideoRenderer::create(std::shared_ptr<RenderingEngine> engine,
                                                     VideoRendererOptions options) {
  return std::shared_ptr<VideoRenderer>(new VideoRenderer(std::move(engine), std::move(options)));
}

VideoRenderer::VideoRenderer(std::shared_ptr<RenderingEngine> engine, VideoRendererOptions options)
    : engine_(std::move(engine)),
      audioSink_(options.audioSink ? std::move(options.audioSink)
                                   : std::make_shared<platform::media::SilentAudioSink>()),
      backgroundTasks_(options.backgroundTasks ? std::move(options.backgroundTasks)
                                               : std::make_shared<platform::media::DesktopBackgroundTaskService>()),
      player_(std::make_unique<platform::media::Player>(audioSink_)) {
  if (!engine_) platform::fatalError("VideoRenderer needs a RenderingEngine");
}

VideoRenderer::~VideoRenderer() {
  player_->pause();
  player_->replaceCurrentItem(nullptr);
  if (endTimeObserver_) NotificationCenter::defaultCenter().removeObserver(endTimeObserver_);
  dropTrimBoundaryObserver();
}

void VideoRenderer::setAsset(std::shared_ptr<platform::media::Asset> asset) {
  platform::dispatch::assertMainQueue();
  asset_ = std::move(asset);
}

// --- Load sequence ---

void VideoRenderer::loadAsset(std::shared_ptr<platform::media::Asset> asset) {
  platform::dispatch::assertMainQueue();
  if (endTimeObserver_) {
    NotificationCenter::defaultCenter().removeObserver(endTimeObserver_);
    endTimeObserver_ = 0;
  }
  asset_ = asset;
  trackPropertiesLoaded_ = false;
  if (loadGeneration_ == std::numeric_limits<std::int64_t>::max()) platform::fatalError("loadGeneration overflowed");
  const std::int64_t generation = ++loadGeneration_;

  std::weak_ptr<VideoRenderer> weakSelf = weak_from_this();
  platform::dispatch::MainQueue::shared()->async([weakSelf, generation, asset] {
    if (auto self = weakSelf.lock()) self->runLoadTask(generation, asset);
  });

  auto output = std::make_shared<platform::media::PlayerItemVideoOutput>();
  auto item = platform::media::PlayerItem::make(asset);
  item->addOutput(output);
  videoOutput_ = output;
  player_->replaceCurrentItem(item);
  player_->setActionAtItemEnd(platform::media::ActionAtItemEnd::none);

  endTimeObserver_ = NotificationCenter::defaultCenter().addObserver(
      platform::media::kPlayerItemDidPlayToEndTimeNotification, item.get(), [weakSelf](const platform::dispatch::Notification&) {
        if (auto self = weakSelf.lock()) self->loopToTrimStart();
      });
}

void VideoRenderer::runLoadTask(std::int64_t generation, const std::shared_ptr<platform::media::Asset>& asset) {
  // The one generation test: a load overtaken before it began is dropped; one that
  // has begun runs to its end, holding the renderer, and its results stand until a
  // newer load's replace them.
  if (loadGeneration_ != generation) return;
  if (!asset) {
    finishLoad(0);
    return;
  }
  auto self = shared_from_this();
  asset->loadTracks(platform::media::MediaType::video, [self, asset](auto tracks) {
    // No track, or a failed list: the size, transform and turns stay as they are.
    if (tracks && !tracks->empty()) self->applyTrack(tracks->front());
    asset->loadDuration([self](auto duration) { self->finishLoad(duration ? *duration : 0.0); });
  });
}

void VideoRenderer::applyTrack(const platform::media::AssetTrack& track) {
  videoTrackTransform_ = track.preferredTransform;
  videoNaturalSize_ = uprightSize(track.preferredTransform, track.naturalSize);
  trackQuarterTurns_ = quarterTurnsFromTransform(track.preferredTransform);
}

void VideoRenderer::finishLoad(double durationSeconds) {
  const MediaTime duration = MediaTime::fromSeconds(durationSeconds, 1'000'000);
  cachedDuration_ = duration.isValid() ? duration : MediaTime::zero();
  currentRenderSize_ = videoNaturalSize_;
  trackPropertiesLoaded_ = true;
  if (onTrackPropertiesLoaded) {
    auto callback = onTrackPropertiesLoaded;
    callback();
    onTrackPropertiesLoaded = nullptr;
  }
}

// --- Edit state ---

void VideoRenderer::updateEditState(const EditState& state) {
  platform::dispatch::assertMainQueue();
  currentState_ = state;
  previewLoop_.setNeedsDisplay();
  const PixelSize size =
      RenderingEngine::outputSize(wholePixels(videoNaturalSize_.width), wholePixels(videoNaturalSize_.height), state);
  if (size.width >= 1 && size.height >= 1) currentRenderSize_ = {double(size.width), double(size.height)};
}

// --- The tick ---

void VideoRenderer::renderTick() {
  platform::dispatch::assertMainQueue();
  // No frame is taken before the orientation is known.
  if (!videoOutput_ || !trackPropertiesLoaded_) return;
  auto view = previewLoop_.drawableView();
  if (!view) return;

  std::shared_ptr<Texture> newTexture;
  platform::media::PixelBuffer newPixelBuffer;
  const MediaTime itemTime = videoOutput_->itemTime(audioSink_->clock());
  if (videoOutput_->hasNewPixelBuffer(itemTime)) {
    newPixelBuffer = videoOutput_->copyPixelBuffer(itemTime);
    if (newPixelBuffer) {
      newTexture = engine_->makeTexture(newPixelBuffer.data(), uint32_t(newPixelBuffer.width()),
                                        uint32_t(newPixelBuffer.height()), newPixelBuffer.bytesPerRow());
      if (newTexture) {
        previewLoop_.setNeedsDisplay();
      } else {
        newPixelBuffer = {};
      }
    }
  }

  if (!previewLoop_.needsDisplay()) return;
  if (!newTexture && !lastSourceTexture_) return;  // stays dirty until a frame comes
  previewLoop_.clearNeedsDisplay();
  auto commandBuffer = engine_->commandQueue()->commandBuffer();
  if (!commandBuffer) return;

  std::vector<std::shared_ptr<Texture>> giveBack;
  if (newTexture) {
    if (trackQuarterTurns_ != 0) {
      const auto upright = engine_->processTexture(newTexture, *orientationState(trackQuarterTurns_), *commandBuffer,
                                                   /*finalOutput=*/false);
      if (orientedTexture_) giveBack.push_back(orientedTexture_);
      orientedTexture_ = upright;
      lastSourceTexture_ = upright;
      // An orientation pass that fell back to its input still reads the buffer.
      lastSourcePixelBuffer_ = upright == newTexture ? newPixelBuffer : platform::media::PixelBuffer();
    } else {
      if (orientedTexture_) giveBack.push_back(orientedTexture_);
      orientedTexture_.reset();
      lastSourceTexture_ = newTexture;
      lastSourcePixelBuffer_ = newPixelBuffer;
    }
  }
  if (!lastSourceTexture_) {
    const auto pool = engine_->texturePool();
    for (const auto& texture : giveBack) pool->release(texture);
    return;
  }
  PreviewLoop::drawFrame(*engine_, *view, lastSourceTexture_, currentState_, isNeutralForRendering(currentState_),
                         *commandBuffer, std::move(giveBack));

  if (onFirstSourceTexture && lastSourceTexture_) {
    auto callback = std::move(onFirstSourceTexture);
    onFirstSourceTexture = nullptr;
    callback(lastSourceTexture_);
  }
}

// --- Looping ---

void VideoRenderer::loopToTrimStart() {
  const double start = currentState_.trimStart;
  player_->seek(start > 0 ? MediaTime::fromSeconds(start, kTimescale) : MediaTime::zero());
}

void VideoRenderer::applyTrimRange(const EditState& state) {
  platform::dispatch::assertMainQueue();
  removeTrimBoundaryObserver();
  const MediaTime start = MediaTime::fromSeconds(state.trimStart, kTimescale);
  double durationSeconds = cachedDuration_.seconds();
  if (std::isnan(durationSeconds)) durationSeconds = 0;
  const MediaTime end = MediaTime::fromSeconds(state.trimEnd > 0 ? state.trimEnd : durationSeconds, kTimescale);
  player_->seek(start);
  std::weak_ptr<VideoRenderer> weakSelf = weak_from_this();
  trimBoundaryObserver_ = player_->addBoundaryTimeObserver({end}, [weakSelf, start] {
    if (auto self = weakSelf.lock()) self->player_->seek(start);
  });
}

void VideoRenderer::removeTrimBoundaryObserver() {
  platform::dispatch::assertMainQueue();
  dropTrimBoundaryObserver();
}

void VideoRenderer::dropTrimBoundaryObserver() {
  if (!trimBoundaryObserver_) return;
  player_->removeTimeObserver(*trimBoundaryObserver_);
  trimBoundaryObserver_.reset();
}

// --- Lifecycle ---

void VideoRenderer::startDisplayLink() {
  // A full pipeline pass per frame: below the screen's rate, never under 24.
  previewLoop_.start({24, 60, 30},
                     [proxy = std::make_shared<VideoDisplayLinkProxy>(weak_from_this())] { proxy->tick(); });
}

void VideoRenderer::stopPlayback() {
  platform::dispatch::assertMainQueue();
  previewLoop_.stop();
  player_->replaceCurrentItem(nullptr);
  videoOutput_.reset();
  lastSourcePixelBuffer_ = {};
  lastSourceTexture_.reset();
  orientedTexture_.reset();
}

// --- Export entry points ---

void VideoRenderer::exportVideo(std::string outputURL, const EditState& state, VideoExportPreset preset,
                                std::function<void(float)> progress, std::function<void(VideoExportResult)> completion,
                                platform::media::ExistingFile existing) {
  platform::dispatch::assertMainQueue();
  cancelState_->set(false);
  startVideoExport(VideoExportRequest{weak_from_this(), cancelState_, engine_, backgroundTasks_, std::move(outputURL),
                                      existing, state, preset, std::move(progress), std::move(completion)});
}

void VideoRenderer::cancelExport() { cancelState_->set(true); }

bool VideoRenderer::exportCancelled() const { return cancelState_->isSet(); }

}  // namespace halvane
