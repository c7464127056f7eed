// The two pumps of an export and their ways out. Each runs on its own serial queue,
// called by the writer whenever its input can take more, once more when the writer
// stops early, and by a cancel; a pump whose input is not ready leaves when the writer
// has stopped or the export is cancelled, so no failure leaves it waiting. pumpLock
// serialises the
// reader's status, copyNextSampleBuffer and cancelReading between them and is never
// held across a GPU wait or an append.
#include <algorithm>

#include "Halvane/Video/VideoExport.h"
#include "Platform/Dispatch/MainQueue.h"

namespace halvane {

using platform::gpu::CommandBuffer;
using platform::gpu::PixelFormat;
using platform::gpu::Texture;
using platform::media::AssetReaderStatus;
using platform::media::AssetWriterStatus;

namespace {

// In place: samples times the volume, then limited to -1 to 1. Packets and empty
// buffers pass unchanged.
void applyGain(platform::media::AudioSampleBuffer& buffer, float volume) {
  if (buffer.isPacket || buffer.data.empty()) return;
  float* samples = buffer.floatSamples();
  const std::size_t count = buffer.floatCount();
  for (std::size_t i = 0; i < count; ++i) samples[i] *= volume;
  for (std::size_t i = 0; i < count; ++i) samples[i] = std::clamp(samples[i], -1.0f, 1.0f);
}

}  // namespace

bool VideoExportRun::readerActiveLocked() const {
  return !readerCancelled_ && reader_->status() == AssetReaderStatus::reading;
}

void VideoExportRun::cancelReaderLocked() {
  if (readerCancelled_) return;
  readerCancelled_ = true;
  if (reader_->status() == AssetReaderStatus::reading) reader_->cancelReading();
}

void VideoExportRun::abandon(Pump pump) {
  {
    std::lock_guard lock(pumpLock_);
    cancelReaderLocked();
  }
  finish(pump);
}

void VideoExportRun::readNextSample() {
  std::lock_guard lock(pumpLock_);
  if (readerActiveLocked()) readAhead_ = videoOutput_->copyNextPixelBuffer();
}

void VideoExportRun::finish(Pump pump) {
  if (pump == Pump::video) {
    readAhead_.reset();
    videoInput_->markAsFinished();
    videoDone_ = true;
  } else {
    audioInput_->markAsFinished();
    audioDone_ = true;
  }
  group_.leave();
}

void VideoExportRun::leaveIfStopped(Pump pump) {
  const bool done = pump == Pump::video ? videoDone_ : audioDone_;
  if (done) return;
  const auto writerStatus = writer_->status();
  const bool writerStopped =
      writerStatus == AssetWriterStatus::failed || writerStatus == AssetWriterStatus::cancelled;
  if (writerStopped || rendererCancelled()) abandon(pump);
}

void VideoExportRun::videoPump() {
  const auto& engine = request_.engine;
  const auto texturePool = engine->texturePool();
  while (videoInput_->isReadyForMoreMediaData()) {
    if (videoDone_) return;
    if (rendererCancelled()) {
      abandon(Pump::video);
      return;
    }
    platform::media::PixelBuffer sample;
    if (readAhead_) {
      sample = std::move(*readAhead_);
      readAhead_.reset();
    } else {
      std::unique_lock lock(pumpLock_);
      if (!readerActiveLocked()) {
        lock.unlock();
        finish(Pump::video);
        return;
      }
      sample = videoOutput_->copyNextPixelBuffer();
    }
    if (!sample) {
      finish(Pump::video);
      return;
    }
    const platform::media::MediaTime presentationTime = sample.presentationTime();
    const auto source = textureCache_->makeSourceTexture(sample);
    if (!source) continue;

    // A frame that can't be prepared is left out of the file and of the progress.
    semaphore_.acquire();
    const auto bufferPool = videoInput_->pixelBufferPool();
    const platform::media::PixelBuffer pixelBuffer = bufferPool ? bufferPool->makePixelBuffer()
                                                                : platform::media::PixelBuffer();
    const bool bufferFits = pixelBuffer && pixelBuffer.width() == int(outputSize_.width) &&
                            pixelBuffer.height() == int(outputSize_.height);
    const auto destination = bufferFits ? textureCache_->makeTargetTexture(pixelBuffer) : nullptr;
    if (!destination || destination->pixelFormat() != PixelFormat::bgra8Unorm ||
        destination->width() != outputSize_.width || destination->height() != outputSize_.height) {
      semaphore_.release();
      continue;
    }
    const auto commandBuffer = engine->commandQueue()->commandBuffer();
    if (!commandBuffer) {
      semaphore_.release();
      continue;
    }

    const auto upright = orientationState_
                             ? engine->processTexture(source, *orientationState_, *commandBuffer, /*finalOutput=*/false)
                             : source;
    const auto edited =
        stateIsNeutral_ ? upright : engine->processTexture(upright, request_.state, *commandBuffer, /*finalOutput=*/true);
    auto giveBack = [texturePool, source, upright, edited](CommandBuffer&) {
      if (edited != upright) texturePool->release(edited);
      if (upright != source) texturePool->release(upright);
    };

    bool encoded = false;
    if (scaler_) {
      encoded = scaler_->encode(*commandBuffer, edited, destination);
    } else if (auto blit = commandBuffer->blitCommandEncoder()) {
      blit->copyFromTexture(edited, {0, 0},
                            {std::min(edited->width(), destination->width()),
                             std::min(edited->height(), destination->height()), 1},
                            destination, {0, 0});
      blit->endEncoding();
      encoded = true;
    }
    commandBuffer->addCompletedHandler(giveBack);
    commandBuffer->commit();
    readNextSample();
    commandBuffer->waitUntilCompleted();
    if (!encoded) {
      semaphore_.release();
      continue;
    }
    FrameTextureCache::copyBack(*destination, pixelBuffer);
    const bool appended = videoInput_->append(pixelBuffer, presentationTime);
    semaphore_.release();
    if (!appended) {
      writer_->cancelWriting();
      abandon(Pump::video);
      return;
    }

    framesWritten_ += 1;
    const float progress =
        std::min(expectedFrames_ > 1 ? framesWritten_ / expectedFrames_ : framesWritten_, 1.0f);
    if (request_.progress) {
      platform::dispatch::MainQueue::shared()->async([callback = request_.progress, progress] { callback(progress); });
    }
  }
  leaveIfStopped(Pump::video);
}

void VideoExportRun::audioPump() {
  while (audioInput_->isReadyForMoreMediaData()) {
    if (audioDone_) return;
    if (rendererCancelled()) {
      abandon(Pump::audio);
      return;
    }
    std::optional<platform::media::AudioSampleBuffer> sample;
    {
      std::unique_lock lock(pumpLock_);
      if (!readerActiveLocked()) {
        lock.unlock();
        finish(Pump::audio);
        return;
      }
      sample = audioOutput_->copyNextSampleBuffer();
    }
    if (!sample) {
      finish(Pump::audio);
      return;
    }
    if (audioPlan_.appliesGain) applyGain(*sample, request_.state.audioVolume);
    if (!audioInput_->append(*sample)) {
      writer_->cancelWriting();
      abandon(Pump::audio);
      return;
    }
  }
  leaveIfStopped(Pump::audio);
}

}  // namespace halvane
