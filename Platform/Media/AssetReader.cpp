#include "Platform/Media/AssetReader.h"

#include <cstring>

#include "Platform/Media/FfmpegSupport.h"

namespace platform::media {
namespace detail {

struct ReaderCore {
  mutable std::mutex mutex;
  AssetReaderStatus status = AssetReaderStatus::unknown;
  std::optional<MediaError> error;
  TimeRange range;
  std::string path;
  std::vector<std::shared_ptr<ReaderOutputState>> outputs;
  std::size_t ended = 0;

  bool reading() const {
    std::lock_guard lock(mutex);
    return status == AssetReaderStatus::reading;
  }
  void fail(const MediaError& failure) {
    std::lock_guard lock(mutex);
    if (status != AssetReaderStatus::reading) return;
    status = AssetReaderStatus::failed;
    error = failure;
  }
  void outputEnded() {
    std::lock_guard lock(mutex);
    if (++ended == outputs.size() && status == AssetReaderStatus::reading) status = AssetReaderStatus::completed;
  }
  MediaTime start() const { return range.start.isValid() ? range.start : MediaTime::zero(); }
  // Exclusive end, invalid for "to the end of the asset".
  MediaTime end() const { return range.duration.isValid() ? addTimes(start(), range.duration) : MediaTime::invalid(); }
  static MediaTime addTimes(MediaTime a, MediaTime b) {
    if (a.timescale == b.timescale) return {a.value + b.value, a.timescale};
    const std::int64_t scale = std::int64_t(a.timescale) * b.timescale;
    if (scale <= INT32_MAX) return {a.value * b.timescale + b.value * a.timescale, std::int32_t(scale)};
    return MediaTime::fromSeconds(a.seconds() + b.seconds(), 1'000'000'000);
  }
};

struct ReaderOutputState {
  std::weak_ptr<ReaderCore> core;
  AssetTrack track;
  bool video = true;
  AudioReadMode mode = AudioReadMode::floatPCM;
  std::mutex mutex;  // one copy at a time
  std::unique_ptr<av::StreamFrameReader> reader;
  bool ended = false;
  av::FramePtr frame = av::makeFrame();
  av::FramePtr held;   // video: the last frame before the range's start
  av::FramePtr stash;  // video: a frame decoded ahead, given by the next call
  av::BgraConverter bgra;
  av::PcmConverter pcm;
  av::PacketPtr packet = av::makePacket();

  void finish(const std::shared_ptr<ReaderCore>& owner) {
    if (ended) return;
    ended = true;
    if (reader && reader->error()) owner->fail(*reader->error());
    owner->outputEnded();
  }
};

}  // namespace detail

namespace {

MediaTime frameTime(const av::StreamFrameReader& reader, const AVFrame* frame) { return reader.frameTime(frame); }

av::FramePtr referenceTo(const AVFrame* frame) {
  av::FramePtr copy = av::makeFrame();
  av_frame_ref(copy.get(), frame);
  return copy;
}

}  // namespace

// --- video ---

const AssetTrack& AssetReaderVideoOutput::track() const { return state_->track; }

PixelBuffer AssetReaderVideoOutput::copyNextPixelBuffer() {
  auto& s = *state_;
  std::lock_guard lock(s.mutex);
  auto core = s.core.lock();
  if (!core || !core->reading() || s.ended || !s.reader) return {};
  auto deliver = [&](const AVFrame* frame, MediaTime time) -> PixelBuffer {
    auto buffer = s.bgra.convert(frame, time);
    if (!buffer) {
      core->fail(buffer.error());
      s.finish(core);
      return {};
    }
    return std::move(buffer.value());
  };
  if (s.stash) {
    av::FramePtr next = std::move(s.stash);
    return deliver(next.get(), frameTime(*s.reader, next.get()));
  }
  const MediaTime start = core->start();
  const MediaTime end = core->end();
  for (;;) {
    const bool got = s.reader->nextFrame(s.frame.get());
    const MediaTime time = got ? frameTime(*s.reader, s.frame.get()) : MediaTime::invalid();
    if (!got || (end.isValid() && time.isValid() && time >= end)) {
      av_frame_unref(s.frame.get());
      if (s.held) {
        // The range lies within one frame's time: that frame, at the start.
        av::FramePtr held = std::move(s.held);
        PixelBuffer buffer = deliver(held.get(), start);
        s.finish(core);
        return buffer;
      }
      s.finish(core);
      return {};
    }
    if (time.isValid() && time < start) {
      s.held = referenceTo(s.frame.get());
      av_frame_unref(s.frame.get());
      continue;
    }
    if (s.held && time.isValid() && time > start) {
      s.stash = referenceTo(s.frame.get());
      av_frame_unref(s.frame.get());
      av::FramePtr held = std::move(s.held);
      return deliver(held.get(), start);
    }
    s.held.reset();
    PixelBuffer buffer = deliver(s.frame.get(), time);
    av_frame_unref(s.frame.get());
    return buffer;
  }
}

// --- audio ---

const AssetTrack& AssetReaderAudioOutput::track() const { return state_->track; }
AudioReadMode AssetReaderAudioOutput::mode() const { return state_->mode; }

std::optional<AudioSampleBuffer> AssetReaderAudioOutput::copyNextSampleBuffer() {
  auto& s = *state_;
  std::lock_guard lock(s.mutex);
  auto core = s.core.lock();
  if (!core || !core->reading() || s.ended || !s.reader) return std::nullopt;
  const MediaTime start = core->start();
  const MediaTime end = core->end();
  AVStream* stream = s.reader->stream();
  const int sampleRate = stream->codecpar->sample_rate;
  const int channels = stream->codecpar->ch_layout.nb_channels;

  if (s.mode == AudioReadMode::passthrough) {
    while (s.reader->nextPacket(s.packet.get())) {
      AVPacket* packet = s.packet.get();
      const MediaTime time = av::timeFromTimestamp(packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts,
                                                   stream->time_base);
      const MediaTime duration = av::timeFromTimestamp(packet->duration, stream->time_base);
      if (end.isValid() && time.isValid() && time >= end) break;
      if (time.isValid() && duration.isValid() &&
          detail::ReaderCore::addTimes(time, duration) < start)
        continue;  // a packet ending at the start stays: the decoder needs it to begin
      AudioSampleBuffer buffer;
      buffer.presentationTime = time;
      buffer.duration = duration;
      buffer.sampleRate = sampleRate;
      buffer.channels = channels;
      buffer.frameCount = sampleRate > 0 && duration.isValid() ? std::int64_t(duration.seconds() * sampleRate + 0.5) : 0;
      buffer.isPacket = true;
      buffer.data.assign(packet->data, packet->data + packet->size);
      av_packet_unref(packet);
      return buffer;
    }
    av_packet_unref(s.packet.get());
    s.finish(core);
    return std::nullopt;
  }

  while (s.reader->nextFrame(s.frame.get())) {
    const MediaTime time = frameTime(*s.reader, s.frame.get());
    auto samples = s.pcm.convert(s.frame.get());
    av_frame_unref(s.frame.get());
    if (!samples) {
      core->fail(samples.error());
      s.finish(core);
      return std::nullopt;
    }
    const int frameChannels = s.pcm.channels();
    std::int64_t first = 0;
    std::int64_t count = std::int64_t(samples->size()) / frameChannels;
    const double seconds = time.isValid() ? time.seconds() : 0.0;
    const int rate = sampleRate > 0 ? sampleRate : 1;
    if (end.isValid() && time.isValid() && time >= end) break;
    if (time.isValid() && time < start) first = std::min<std::int64_t>(count, std::llround((start.seconds() - seconds) * rate));
    if (end.isValid()) count = std::min<std::int64_t>(count, std::llround((end.seconds() - seconds) * rate));
    if (count <= first) continue;
    AudioSampleBuffer buffer;
    buffer.presentationTime = time.isValid() ? MediaTime::fromSeconds(seconds + double(first) / rate, rate) : time;
    if (time.isValid() && time.timescale == rate) buffer.presentationTime = {time.value + first, rate};
    buffer.duration = {count - first, rate};
    buffer.sampleRate = rate;
    buffer.channels = frameChannels;
    buffer.frameCount = count - first;
    const std::size_t offset = std::size_t(first) * frameChannels;
    const std::size_t length = std::size_t(count - first) * frameChannels;
    buffer.data.resize(length * sizeof(float));
    std::memcpy(buffer.data.data(), samples->data() + offset, length * sizeof(float));
    return buffer;
  }
  s.finish(core);
  return std::nullopt;
}

// --- reader ---

AssetReader::AssetReader(std::shared_ptr<Asset> asset)
    : asset_(std::move(asset)), core_(std::make_shared<detail::ReaderCore>()) {
  core_->path = asset_->path();
}

platform::Expected<std::shared_ptr<AssetReader>, MediaError> AssetReader::make(std::shared_ptr<Asset> asset) {
  if (!asset) return platform::unexpected(MediaError{MediaError::Code::invalidArgument, "No asset"});
  auto info = asset->loadNow();
  if (!info) return platform::unexpected(info.error());
  return std::shared_ptr<AssetReader>(new AssetReader(std::move(asset)));
}

void AssetReader::setTimeRange(TimeRange range) {
  std::lock_guard lock(core_->mutex);
  if (core_->status == AssetReaderStatus::unknown) core_->range = range;
}

TimeRange AssetReader::timeRange() const {
  std::lock_guard lock(core_->mutex);
  return core_->range;
}

std::shared_ptr<detail::ReaderOutputState> AssetReader::addOutput(const AssetTrack& track, bool video,
                                                                   AudioReadMode mode) {
  auto state = std::make_shared<detail::ReaderOutputState>();
  state->core = core_;
  state->track = track;
  state->video = video;
  state->mode = mode;
  std::lock_guard lock(core_->mutex);
  core_->outputs.push_back(state);
  return state;
}

std::shared_ptr<AssetReaderVideoOutput> AssetReader::addVideoOutput(const AssetTrack& track) {
  auto output = std::shared_ptr<AssetReaderVideoOutput>(new AssetReaderVideoOutput());
  output->state_ = addOutput(track, true, AudioReadMode::floatPCM);
  return output;
}

std::shared_ptr<AssetReaderAudioOutput> AssetReader::addAudioOutput(const AssetTrack& track, AudioReadMode mode) {
  auto output = std::shared_ptr<AssetReaderAudioOutput>(new AssetReaderAudioOutput());
  output->state_ = addOutput(track, false, mode);
  return output;
}

bool AssetReader::startReading() {
  std::vector<std::shared_ptr<detail::ReaderOutputState>> outputs;
  MediaTime start;
  {
    std::lock_guard lock(core_->mutex);
    if (core_->status != AssetReaderStatus::unknown) return false;
    outputs = core_->outputs;
    start = core_->start();
  }
  for (auto& output : outputs) {
    const bool decode = output->video || output->mode == AudioReadMode::floatPCM;
    auto reader = av::StreamFrameReader::open(core_->path, output->track.trackID, decode);
    const AVMediaType wanted = output->video ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    if (reader && (*reader)->stream()->codecpar->codec_type != wanted)
      reader = platform::unexpected(MediaError{MediaError::Code::noSuchTrack, "The track is not of the asked type"});
    if (!reader) {
      std::lock_guard lock(core_->mutex);
      core_->status = AssetReaderStatus::failed;
      core_->error = reader.error();
      return false;
    }
    if (start > MediaTime::zero()) (*reader)->seek(start);
    std::lock_guard outputLock(output->mutex);
    output->reader = std::move(reader.value());
  }
  std::lock_guard lock(core_->mutex);
  core_->status = outputs.empty() ? AssetReaderStatus::completed : AssetReaderStatus::reading;
  return true;
}

void AssetReader::cancelReading() {
  std::lock_guard lock(core_->mutex);
  if (core_->status == AssetReaderStatus::reading || core_->status == AssetReaderStatus::unknown)
    core_->status = AssetReaderStatus::cancelled;
}

AssetReaderStatus AssetReader::status() const {
  std::lock_guard lock(core_->mutex);
  return core_->status;
}

std::optional<MediaError> AssetReader::error() const {
  std::lock_guard lock(core_->mutex);
  return core_->error;
}

}  // namespace platform::media
