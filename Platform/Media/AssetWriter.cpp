#include "Platform/Media/AssetWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <mutex>
#include <vector>

#include "Platform/Dispatch/GlobalQueue.h"
#include "Platform/Media/FfmpegSupport.h"
#include "Platform/Media/HevcPadding.h"
#include "Platform/Media/MediaURL.h"
#include "Platform/Media/TemporaryFile.h"

namespace platform::media {
namespace detail {

// Video timestamps: fine enough for 600-based phone clips, 30000/1001 and 25 fps alike.
constexpr AVRational kVideoTimeBase{1, 90000};

namespace {
// How far one input may run ahead of the other before it waits, in seconds.
constexpr double kInterleaveWindow = 0.5;

// maxQuality asks for constant quality 1.0. x265's constant rate factor runs from 0
// (lossless-like) to 51; 28 is its default. Quality q maps linearly to CRF 40 - 24 q:
// 1.0 gives CRF 16, visually lossless for camera footage at a fraction of the size of
// CRF 0 to 10; 0.5 gives x265's default 28.
double crfForQuality(double quality) { return 40.0 - 24.0 * std::clamp(quality, 0.0, 1.0); }

struct OutputFreer {
  void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};

// FFmpeg writes the movie through our own descriptor of a temporary file (see
// TemporaryFile.h), never through a path it would open itself.
class MovieFile {
 public:
  static platform::Expected<std::unique_ptr<MovieFile>, std::error_code> createBeside(const std::string& target) {
    auto temporary = TemporaryFile::createBeside(target);
    if (!temporary) return platform::unexpected(temporary.error());
    auto file = std::unique_ptr<MovieFile>(new MovieFile(std::move(*temporary)));
    constexpr int kBufferSize = 1 << 16;
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
    if (buffer) file->io_ = avio_alloc_context(buffer, kBufferSize, 1, file.get(), nullptr, &MovieFile::write, &MovieFile::seek);
    if (!file->io_) {
      av_free(buffer);
      return platform::unexpected(std::make_error_code(std::errc::not_enough_memory));
    }
    return file;
  }
  ~MovieFile() { freeContext(); }

  AVIOContext* io() const { return io_; }
  // Writes out FFmpeg's buffer and closes the file; the first error of any write.
  int close() {
    if (!io_) return AVERROR(EBADF);
    avio_flush(io_);
    int status = io_->error;
    freeContext();
    if (auto closed = file_.syncAndClose(); !closed && status >= 0) status = AVERROR(closed.error().value());
    return status;
  }
  platform::Expected<void, std::error_code> moveOnto(const std::string& target, ExistingFile existing) {
    return file_.moveOnto(target, existing);
  }
  void remove() {
    freeContext();
    file_.remove();
  }

 private:
  explicit MovieFile(TemporaryFile file) : file_(std::move(file)) {}
  void freeContext() {
    if (!io_) return;
    av_freep(&io_->buffer);
    avio_context_free(&io_);
  }
#if LIBAVFORMAT_VERSION_MAJOR >= 61
  static int write(void* opaque, const std::uint8_t* data, int size) {
#else
  static int write(void* opaque, std::uint8_t* data, int size) {
#endif
    auto* self = static_cast<MovieFile*>(opaque);
    if (auto written = self->file_.writeAll(data, std::size_t(size)); !written) return AVERROR(written.error().value());
    return size;
  }
  static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
    const int fd = static_cast<MovieFile*>(opaque)->file_.descriptor();
    if (whence & AVSEEK_SIZE) {
      struct stat info {};
      return ::fstat(fd, &info) == 0 ? std::int64_t(info.st_size) : AVERROR(errno);
    }
    const off_t position = ::lseek(fd, off_t(offset), whence & ~AVSEEK_FORCE);
    return position < 0 ? AVERROR(errno) : std::int64_t(position);
  }

  TemporaryFile file_;
  AVIOContext* io_ = nullptr;
};
}  // namespace

enum class InputKind { video, aac, passthrough };

struct WriterInputState {
  std::weak_ptr<WriterCore> core;
  InputKind kind = InputKind::video;
  AVStream* stream = nullptr;

  std::mutex encodeMutex;  // one append (or drain) at a time
  av::CodecContextPtr encoder;
  av::FramePtr frame;
  av::SwsPtr sws;
  av::BsfPtr cropFilter;  // only for pictures padded up to x265's smallest size
  av::SwrPtr swr;
  int swrRate = 0, swrChannels = 0;
  av::FifoPtr fifo;
  std::int64_t nextAudioPts = AV_NOPTS_VALUE;
  std::int64_t lastVideoPts = AV_NOPTS_VALUE;
  // Video: the encoder gives packets without a duration, and the muxer ends the track
  // (its edit list) where the last packet ends, so each packet waits for the next one
  // to learn its duration; the last one takes its predecessor's.
  av::PacketPtr heldPacket;
  std::int64_t lastDuration = 0;
  VideoEncoderSettings video;
  AudioEncoderSettings audio;
  std::shared_ptr<PixelBufferPool> pool;

  // Under WriterCore::stateMutex.
  bool finished = false;  // marked by its user (or by finishWriting)
  bool toldOfEnd = false;  // its block ran once after writing stopped
  double lastTime = -std::numeric_limits<double>::infinity();
  bool scheduled = false;
  std::shared_ptr<dispatch::SerialQueue> queue;
  std::function<void()> block;
};

struct WriterCore : std::enable_shared_from_this<WriterCore> {
  std::string path;
  ExistingFile existing = ExistingFile::keep;
  mutable std::mutex stateMutex;
  AssetWriterStatus status = AssetWriterStatus::unknown;
  std::optional<MediaError> error;
  bool sessionStarted = false;
  MediaTime sessionStart = MediaTime::zero();
  std::vector<std::shared_ptr<WriterInputState>> inputs;

  std::mutex muxMutex;
  std::unique_ptr<AVFormatContext, OutputFreer> format;
  std::unique_ptr<MovieFile> file;  // from startWriting until moved into place or dropped
  bool headerWritten = false;
  bool closed = false;

  // An unfinished file goes with the writer (the file's own destructor removes it).

  void failLocked(const MediaError& failure) {
    if (status != AssetWriterStatus::writing && status != AssetWriterStatus::unknown) return;
    status = AssetWriterStatus::failed;
    error = failure;
    wakeAllLocked();
  }
  void fail(const MediaError& failure) {
    std::lock_guard lock(stateMutex);
    failLocked(failure);
  }

  bool readyLocked(const WriterInputState& input) const {
    if (status != AssetWriterStatus::writing || input.finished) return false;
    for (const auto& other : inputs) {
      if (other.get() == &input || other->finished) continue;
      if (input.lastTime > other->lastTime + kInterleaveWindow) return false;
    }
    return true;
  }

  // Writing stopped (failed or cancelled) under an input its user has not finished: its
  // block runs once more, though the input is not ready, so that a pump waiting for it
  // learns of the end instead of waiting for ever.
  bool owesEndCallLocked(const WriterInputState& input) const {
    const bool stopped = status == AssetWriterStatus::failed || status == AssetWriterStatus::cancelled;
    return stopped && !input.finished && !input.toldOfEnd;
  }

  void scheduleLocked(const std::shared_ptr<WriterInputState>& input) {
    if (!input->block || !input->queue || input->scheduled) return;
    if (!readyLocked(*input)) {
      if (!owesEndCallLocked(*input)) return;
      input->toldOfEnd = true;
    }
    input->scheduled = true;
    input->queue->async([weak = weak_from_this(), input] {
      auto core = weak.lock();
      if (!core) return;
      std::function<void()> block;
      {
        std::lock_guard lock(core->stateMutex);
        block = input->block;
      }
      if (block) block();
      std::lock_guard lock(core->stateMutex);
      input->scheduled = false;
      core->scheduleLocked(input);
    });
  }

  // Whether an input may append now, and the session's start time if so.
  bool sessionStartForAppend(const WriterInputState& input, MediaTime& start) {
    std::lock_guard lock(stateMutex);
    if (status != AssetWriterStatus::writing || input.finished) return false;
    if (!sessionStarted) {
      failLocked({MediaError::Code::invalidState, "Append before startSession"});
      return false;
    }
    start = sessionStart;
    return true;
  }

  void wakeAllLocked() {
    for (const auto& input : inputs) scheduleLocked(input);
  }

  // Takes the packet's reference.
  int writePacket(AVPacket* packet) {
    std::lock_guard lock(muxMutex);
    if (!headerWritten || closed) {
      av_packet_unref(packet);
      return AVERROR(EINVAL);
    }
    return av_interleaved_write_frame(format.get(), packet);
  }

  // Drops our own temporary file, and nothing else.
  void closeAndRemove() {
    std::lock_guard lock(muxMutex);
    closed = true;
    if (format) format->pb = nullptr;
    if (file) file->remove();
    file.reset();
  }

  // Sends whatever the encoder has ready (all of it when flushing) to the muxer.
  bool drainEncoder(WriterInputState& input) {
    av::PacketPtr packet = av::makePacket();
    for (;;) {
      const int status = avcodec_receive_packet(input.encoder.get(), packet.get());
      if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return true;
      if (status < 0) {
        fail(av::error(MediaError::Code::encodeFailed, "Encoding failed", status));
        return false;
      }
      if (input.cropFilter) {
        const int cropped = av::cropPacket(*input.cropFilter, *packet);
        if (cropped < 0) {
          fail(av::error(MediaError::Code::encodeFailed, "Cannot crop the HEVC stream", cropped));
          return false;
        }
      }
      av_packet_rescale_ts(packet.get(), input.encoder->time_base, input.stream->time_base);
      packet->stream_index = input.stream->index;
      if (input.kind == InputKind::video) {
        std::swap(packet, input.heldPacket);
        if (!packet) {
          packet = av::makePacket();
          continue;
        }
        input.lastDuration = input.heldPacket->pts - packet->pts;
        packet->duration = input.lastDuration;
      }
      if (!write(packet.get())) return false;
    }
  }

  bool write(AVPacket* packet) {
    const int written = writePacket(packet);
    if (written < 0) {
      fail(av::error(MediaError::Code::writeFailed, "Writing the movie failed", written));
      return false;
    }
    return true;
  }

  bool encodeAudioFrames(WriterInputState& input, bool flushing) {
    AVCodecContext* encoder = input.encoder.get();
    const int frameSize = encoder->frame_size > 0 ? encoder->frame_size : 1024;
    while (av_audio_fifo_size(input.fifo.get()) >= frameSize ||
           (flushing && av_audio_fifo_size(input.fifo.get()) > 0)) {
      const int count = std::min(frameSize, av_audio_fifo_size(input.fifo.get()));
      av::FramePtr frame = av::makeFrame();
      frame->nb_samples = count;
      frame->format = encoder->sample_fmt;
      frame->sample_rate = encoder->sample_rate;
      av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout);
      if (av_frame_get_buffer(frame.get(), 0) < 0) {
        fail(MediaError{MediaError::Code::encodeFailed, "Out of memory"});
        return false;
      }
      av_audio_fifo_read(input.fifo.get(), reinterpret_cast<void**>(frame->data), count);
      frame->pts = input.nextAudioPts;
      input.nextAudioPts += count;
      const int sent = avcodec_send_frame(encoder, frame.get());
      if (sent < 0) {
        fail(av::error(MediaError::Code::encodeFailed, "Audio encoding failed", sent));
        return false;
      }
      if (!drainEncoder(input)) return false;
    }
    return true;
  }

  // Drains an input's encoder at the end of writing.
  bool flushInput(WriterInputState& input) {
    std::lock_guard lock(input.encodeMutex);
    if (!input.encoder) return true;
    if (input.kind == InputKind::aac && input.swr && input.nextAudioPts != AV_NOPTS_VALUE) {
      // What the resampler still holds.
      av::FramePtr tail = av::makeFrame();
      tail->nb_samples = int(swr_get_delay(input.swr.get(), input.encoder->sample_rate)) + 32;
      tail->format = input.encoder->sample_fmt;
      av_channel_layout_copy(&tail->ch_layout, &input.encoder->ch_layout);
      if (av_frame_get_buffer(tail.get(), 0) >= 0) {
        const int got = swr_convert(input.swr.get(), tail->data, tail->nb_samples, nullptr, 0);
        if (got > 0) av_audio_fifo_write(input.fifo.get(), reinterpret_cast<void**>(tail->data), got);
      }
      if (!encodeAudioFrames(input, true)) return false;
    }
    avcodec_send_frame(input.encoder.get(), nullptr);
    if (!drainEncoder(input)) return false;
    if (input.heldPacket) {
      if (input.lastDuration <= 0) {
        // A single frame: one frame time at the expected rate.
        const double rate = input.video.expectedFrameRate > 0 ? input.video.expectedFrameRate : 30.0;
        input.lastDuration = std::max<std::int64_t>(1, std::llround(1.0 / rate / av_q2d(input.stream->time_base)));
      }
      input.heldPacket->duration = input.lastDuration;
      av::PacketPtr last = std::move(input.heldPacket);
      return write(last.get());
    }
    return true;
  }
};

}  // namespace detail

using detail::InputKind;
using detail::WriterCore;
using detail::WriterInputState;
using detail::kVideoTimeBase;

// --- input ---

MediaType AssetWriterInput::mediaType() const {
  return state_->kind == InputKind::video ? MediaType::video : MediaType::audio;
}

bool AssetWriterInput::isReadyForMoreMediaData() const {
  auto core = state_->core.lock();
  if (!core) return false;
  std::lock_guard lock(core->stateMutex);
  return core->readyLocked(*state_);
}

void AssetWriterInput::requestMediaDataWhenReady(std::shared_ptr<dispatch::SerialQueue> queue,
                                                 std::function<void()> block) {
  auto core = state_->core.lock();
  if (!core) return;
  std::lock_guard lock(core->stateMutex);
  state_->queue = std::move(queue);
  state_->block = std::move(block);
  core->scheduleLocked(state_);
}

void AssetWriterInput::markAsFinished() {
  auto core = state_->core.lock();
  if (!core) return;
  std::lock_guard lock(core->stateMutex);
  state_->finished = true;
  core->wakeAllLocked();
}

std::shared_ptr<PixelBufferPool> AssetWriterInput::pixelBufferPool() const { return state_->pool; }

bool AssetWriterInput::append(const PixelBuffer& buffer, MediaTime presentationTime) {
  auto core = state_->core.lock();
  if (!core || state_->kind != InputKind::video) return false;
  WriterInputState& input = *state_;
  std::lock_guard encodeLock(input.encodeMutex);
  MediaTime start;
  if (!core->sessionStartForAppend(input, start)) return false;
  AVCodecContext* encoder = input.encoder.get();
  if (!buffer || buffer.width() != input.video.width || buffer.height() != input.video.height ||
      !presentationTime.isValid()) {
    core->fail({MediaError::Code::invalidArgument, "The frame does not match the video input"});
    return false;
  }
  const std::int64_t pts = av::timestampFromTime(presentationTime, kVideoTimeBase) -
                           av::timestampFromTime(start, kVideoTimeBase);
  if (input.lastVideoPts != AV_NOPTS_VALUE && pts <= input.lastVideoPts) {
    core->fail({MediaError::Code::invalidArgument, "Frame times must increase"});
    return false;
  }
  if (av_frame_make_writable(input.frame.get()) < 0) {
    core->fail({MediaError::Code::encodeFailed, "Out of memory"});
    return false;
  }
  const std::uint8_t* source[4] = {buffer.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {int(buffer.bytesPerRow()), 0, 0, 0};
  sws_scale(input.sws.get(), source, strides, 0, buffer.height(), input.frame->data, input.frame->linesize);
  av::repeatEdges(*input.frame, buffer.width(), buffer.height());
  input.frame->pts = pts;
  const int sent = avcodec_send_frame(encoder, input.frame.get());
  if (sent < 0) {
    core->fail(av::error(MediaError::Code::encodeFailed, "Video encoding failed", sent));
    return false;
  }
  if (!core->drainEncoder(input)) return false;
  input.lastVideoPts = pts;
  std::lock_guard lock(core->stateMutex);
  input.lastTime = presentationTime.seconds();
  core->wakeAllLocked();
  return core->status == AssetWriterStatus::writing;
}

bool AssetWriterInput::append(const AudioSampleBuffer& buffer) {
  auto core = state_->core.lock();
  if (!core || state_->kind == InputKind::video) return false;
  WriterInputState& input = *state_;
  std::lock_guard encodeLock(input.encodeMutex);
  MediaTime start;
  if (!core->sessionStartForAppend(input, start)) return false;
  if (!buffer.presentationTime.isValid()) {
    core->fail({MediaError::Code::invalidArgument, "Audio without a time"});
    return false;
  }
  if (input.kind == InputKind::passthrough) {
    if (!buffer.isPacket) {
      core->fail({MediaError::Code::invalidArgument, "A passthrough input takes the source's packets"});
      return false;
    }
    av::PacketPtr packet = av::makePacket();
    if (av_new_packet(packet.get(), int(buffer.data.size())) < 0) {
      core->fail({MediaError::Code::writeFailed, "Out of memory"});
      return false;
    }
    std::memcpy(packet->data, buffer.data.data(), buffer.data.size());
    const AVRational timeBase = input.stream->time_base;
    packet->pts = packet->dts =
        av::timestampFromTime(buffer.presentationTime, timeBase) - av::timestampFromTime(start, timeBase);
    if (buffer.duration.isValid()) packet->duration = av::timestampFromTime(buffer.duration, timeBase);
    packet->flags |= AV_PKT_FLAG_KEY;
    packet->stream_index = input.stream->index;
    const int written = core->writePacket(packet.get());
    if (written < 0) {
      core->fail(av::error(MediaError::Code::writeFailed, "Writing the movie failed", written));
      return false;
    }
  } else {
    if (buffer.isPacket || buffer.channels <= 0 || buffer.sampleRate <= 0) {
      core->fail({MediaError::Code::invalidArgument, "An AAC input takes float PCM"});
      return false;
    }
    AVCodecContext* encoder = input.encoder.get();
    if (!input.swr || input.swrRate != buffer.sampleRate || input.swrChannels != buffer.channels) {
      AVChannelLayout inLayout;
      av_channel_layout_default(&inLayout, buffer.channels);
      SwrContext* raw = nullptr;
      int status = swr_alloc_set_opts2(&raw, &encoder->ch_layout, encoder->sample_fmt, encoder->sample_rate, &inLayout,
                                       AV_SAMPLE_FMT_FLT, buffer.sampleRate, 0, nullptr);
      av_channel_layout_uninit(&inLayout);
      input.swr.reset(raw);
      if (status < 0 || (status = swr_init(input.swr.get())) < 0) {
        core->fail(av::error(MediaError::Code::encodeFailed, "Cannot convert the sound", status));
        return false;
      }
      input.swrRate = buffer.sampleRate;
      input.swrChannels = buffer.channels;
    }
    if (input.nextAudioPts == AV_NOPTS_VALUE) {
      const AVRational timeBase{1, encoder->sample_rate};
      input.nextAudioPts =
          av::timestampFromTime(buffer.presentationTime, timeBase) - av::timestampFromTime(start, timeBase);
    }
    const int inCount = int(buffer.floatCount() / std::size_t(buffer.channels));
    av::FramePtr converted = av::makeFrame();
    converted->nb_samples = swr_get_out_samples(input.swr.get(), inCount) + 32;
    converted->format = encoder->sample_fmt;
    av_channel_layout_copy(&converted->ch_layout, &encoder->ch_layout);
    if (av_frame_get_buffer(converted.get(), 0) < 0) {
      core->fail({MediaError::Code::encodeFailed, "Out of memory"});
      return false;
    }
    const std::uint8_t* in[1] = {buffer.data.data()};
    const int got = swr_convert(input.swr.get(), converted->data, converted->nb_samples, in, inCount);
    if (got < 0) {
      core->fail(av::error(MediaError::Code::encodeFailed, "Cannot convert the sound", got));
      return false;
    }
    av_audio_fifo_write(input.fifo.get(), reinterpret_cast<void**>(converted->data), got);
    if (!core->encodeAudioFrames(input, false)) return false;
  }
  std::lock_guard lock(core->stateMutex);
  input.lastTime = buffer.presentationTime.seconds();
  core->wakeAllLocked();
  return core->status == AssetWriterStatus::writing;
}

// --- writer ---

platform::Expected<std::shared_ptr<AssetWriter>, MediaError> AssetWriter::make(const std::string& pathOrURL,
                                                                               ExistingFile existing) {
  av::initialize();
  const std::string path = pathFromURL(pathOrURL);
  if (existing == ExistingFile::keep && somethingStandsAt(path))
    return platform::unexpected(MediaError{MediaError::Code::writeFailed, "A file already exists at " + path});
  auto core = std::make_shared<WriterCore>();
  core->path = path;
  core->existing = existing;
  AVFormatContext* raw = nullptr;
  const int status = avformat_alloc_output_context2(&raw, nullptr, "mov", path.c_str());
  if (status < 0 || !raw)
    return platform::unexpected(av::error(MediaError::Code::writeFailed, "Cannot set up a QuickTime movie", status));
  core->format.reset(raw);
  auto writer = std::shared_ptr<AssetWriter>(new AssetWriter());
  writer->core_ = std::move(core);
  return writer;
}

AssetWriter::~AssetWriter() {
  // The blocks of the inputs hold the core only weakly: it goes with the writer, and
  // an unfinished file with it.
}

platform::Expected<std::shared_ptr<AssetWriterInput>, MediaError> AssetWriter::addVideoInput(
    const VideoEncoderSettings& settings) {
  std::lock_guard lock(core_->stateMutex);
  if (core_->status != AssetWriterStatus::unknown)
    return mediaFailure(MediaError::Code::invalidState, "Writing has begun");
  if (settings.width <= 0 || settings.height <= 0 || settings.width % 2 || settings.height % 2)
    return mediaFailure(MediaError::Code::invalidArgument, "HEVC video needs an even width and height");
  const AVCodec* codec = avcodec_find_encoder_by_name("libx265");
  if (!codec) return mediaFailure(MediaError::Code::encodeFailed, "This FFmpeg has no libx265 encoder");
  auto input = std::make_shared<WriterInputState>();
  input->core = core_;
  input->kind = InputKind::video;
  input->video = settings;
  input->encoder.reset(avcodec_alloc_context3(codec));
  AVCodecContext* encoder = input->encoder.get();
  const av::CodedSize coded = av::hevcCodedSize(settings.width, settings.height);
  encoder->width = coded.width;
  encoder->height = coded.height;
  encoder->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder->time_base = kVideoTimeBase;
  encoder->framerate = av_d2q(settings.expectedFrameRate > 0 ? settings.expectedFrameRate : 30.0, 1 << 16);
  encoder->color_range = AVCOL_RANGE_MPEG;
  encoder->colorspace = AVCOL_SPC_BT709;
  encoder->color_primaries = AVCOL_PRI_BT709;
  encoder->color_trc = AVCOL_TRC_BT709;
  if (core_->format->oformat->flags & AVFMT_GLOBALHEADER) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  // "fast" keeps a desktop export near real time on a few cores; x265 keeps quiet
  // (its failures come back as errors). No B-frames: packets then come in presentation
  // order, so each one's duration is the gap to the next (see heldPacket), and the
  // file starts at 0 with no decode-time shift to hide behind an edit list. No cu-tree: libx265 3.5 writes
  // past its lookahead buffers on pictures 48 pixels wide or narrower with it on.
  av_opt_set(encoder->priv_data, "preset", "fast", 0);
  av_opt_set(encoder->priv_data, "x265-params", "log-level=none:bframes=0:cutree=0", 0);
  // A picture padded up to x265's smallest takes constant quality whatever was asked:
  // at such sizes a bit rate means little, and there libx265 3.5 reads memory it does
  // not own; at an average bit rate a few processes in a hundred wrote wrong colours,
  // at constant quality about one in three hundred still does.
  const bool padded = coded.width != settings.width || coded.height != settings.height;
  if (settings.quality || padded) {
    av_opt_set_double(encoder->priv_data, "crf", detail::crfForQuality(settings.quality.value_or(1.0)), 0);
  } else if (settings.averageBitRate > 0) {
    encoder->bit_rate = settings.averageBitRate;
  }
  int status = avcodec_open2(encoder, codec, nullptr);
  if (status < 0)
    return platform::unexpected(av::error(MediaError::Code::encodeFailed, "Cannot open the HEVC encoder", status));
  input->stream = avformat_new_stream(core_->format.get(), nullptr);
  if (!input->stream) return mediaFailure(MediaError::Code::encodeFailed, "Out of memory");
  input->stream->time_base = encoder->time_base;
  avcodec_parameters_from_context(input->stream->codecpar, encoder);
  if (padded) {
    auto filter = av::makeHevcCropFilter(*encoder, settings.width, settings.height);
    if (!filter) return platform::unexpected(filter.error());
    input->cropFilter = std::move(*filter);
    avcodec_parameters_copy(input->stream->codecpar, input->cropFilter->par_out);
    input->stream->codecpar->width = settings.width;
    input->stream->codecpar->height = settings.height;
  }
  input->stream->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
  input->frame = av::makeFrame();
  input->frame->format = encoder->pix_fmt;
  input->frame->width = encoder->width;
  input->frame->height = encoder->height;
  if (av_frame_get_buffer(input->frame.get(), 0) < 0)
    return mediaFailure(MediaError::Code::encodeFailed, "Out of memory");
  input->sws.reset(sws_getContext(settings.width, settings.height, AV_PIX_FMT_BGRA, settings.width, settings.height,
                                  AV_PIX_FMT_YUV420P, SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  if (!input->sws) return mediaFailure(MediaError::Code::encodeFailed, "Cannot convert frames for the encoder");
  // BGRA (full range) into limited-range BT.709, as the stream is tagged.
  sws_setColorspaceDetails(input->sws.get(), sws_getCoefficients(SWS_CS_ITU709), 1, sws_getCoefficients(SWS_CS_ITU709),
                           0, 0, 1 << 16, 1 << 16);
  input->pool = std::make_shared<PixelBufferPool>(settings.width, settings.height);
  core_->inputs.push_back(input);
  auto result = std::shared_ptr<AssetWriterInput>(new AssetWriterInput());
  result->state_ = input;
  return result;
}

platform::Expected<std::shared_ptr<AssetWriterInput>, MediaError> AssetWriter::addAudioInput(
    const AudioEncoderSettings& settings) {
  std::lock_guard lock(core_->stateMutex);
  if (core_->status != AssetWriterStatus::unknown)
    return mediaFailure(MediaError::Code::invalidState, "Writing has begun");
  if (settings.sampleRate <= 0 || settings.channels <= 0 || settings.bitRate <= 0)
    return mediaFailure(MediaError::Code::invalidArgument, "Bad audio settings");
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
  if (!codec) return mediaFailure(MediaError::Code::encodeFailed, "This FFmpeg has no AAC encoder");
  auto input = std::make_shared<WriterInputState>();
  input->core = core_;
  input->kind = InputKind::aac;
  input->audio = settings;
  input->encoder.reset(avcodec_alloc_context3(codec));
  AVCodecContext* encoder = input->encoder.get();
  encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
  encoder->sample_rate = settings.sampleRate;
  av_channel_layout_default(&encoder->ch_layout, settings.channels);
  encoder->bit_rate = settings.bitRate;
  encoder->time_base = AVRational{1, settings.sampleRate};
  encoder->profile = FF_PROFILE_AAC_LOW;
  if (core_->format->oformat->flags & AVFMT_GLOBALHEADER) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  int status = avcodec_open2(encoder, codec, nullptr);
  if (status < 0)
    return platform::unexpected(av::error(MediaError::Code::encodeFailed, "Cannot open the AAC encoder", status));
  input->stream = avformat_new_stream(core_->format.get(), nullptr);
  if (!input->stream) return mediaFailure(MediaError::Code::encodeFailed, "Out of memory");
  input->stream->time_base = encoder->time_base;
  avcodec_parameters_from_context(input->stream->codecpar, encoder);
  input->fifo.reset(av_audio_fifo_alloc(encoder->sample_fmt, settings.channels, 4096));
  if (!input->fifo) return mediaFailure(MediaError::Code::encodeFailed, "Out of memory");
  core_->inputs.push_back(input);
  auto result = std::shared_ptr<AssetWriterInput>(new AssetWriterInput());
  result->state_ = input;
  return result;
}

platform::Expected<std::shared_ptr<AssetWriterInput>, MediaError> AssetWriter::addAudioPassthroughInput(
    const AudioFormatDescription& hint) {
  std::lock_guard lock(core_->stateMutex);
  if (core_->status != AssetWriterStatus::unknown)
    return mediaFailure(MediaError::Code::invalidState, "Writing has begun");
  if (!hint.codecParameters || !hint.codecParameters->get())
    return mediaFailure(MediaError::Code::invalidArgument, "The format description has no codec parameters");
  if (!av::movieCarriesAudioPackets(hint.codecParameters->get()->codec_id))
    return mediaFailure(MediaError::Code::invalidArgument,
                        "A QuickTime movie cannot carry " + hint.codec + " sound as it is");
  auto input = std::make_shared<WriterInputState>();
  input->core = core_;
  input->kind = InputKind::passthrough;
  input->stream = avformat_new_stream(core_->format.get(), nullptr);
  if (!input->stream) return mediaFailure(MediaError::Code::encodeFailed, "Out of memory");
  avcodec_parameters_copy(input->stream->codecpar, hint.codecParameters->get());
  input->stream->codecpar->codec_tag = 0;  // the muxer picks this container's tag
  const int rate = input->stream->codecpar->sample_rate;
  input->stream->time_base = rate > 0 ? AVRational{1, rate} : hint.codecParameters->timeBase();
  core_->inputs.push_back(input);
  auto result = std::shared_ptr<AssetWriterInput>(new AssetWriterInput());
  result->state_ = input;
  return result;
}

bool AssetWriter::startWriting() {
  std::lock_guard lock(core_->stateMutex);
  if (core_->status != AssetWriterStatus::unknown) return false;
  std::lock_guard muxLock(core_->muxMutex);
  AVFormatContext* format = core_->format.get();
  auto file = detail::MovieFile::createBeside(core_->path);
  if (!file) {
    core_->failLocked(MediaError{MediaError::Code::writeFailed, "Cannot create " + core_->path + ": " +
                                                                     file.error().message()});
    return false;
  }
  core_->file = std::move(*file);
  format->pb = core_->file->io();
  const int status = avformat_write_header(format, nullptr);
  if (status < 0) {
    format->pb = nullptr;
    core_->file.reset();
    core_->failLocked(av::error(MediaError::Code::writeFailed, "Cannot start the movie", status));
    return false;
  }
  core_->headerWritten = true;
  core_->status = AssetWriterStatus::writing;
  core_->wakeAllLocked();
  return true;
}

void AssetWriter::startSession(MediaTime sourceTime) {
  std::lock_guard lock(core_->stateMutex);
  if (core_->sessionStarted) return;
  core_->sessionStarted = true;
  core_->sessionStart = sourceTime.isValid() ? sourceTime : MediaTime::zero();
}

void AssetWriter::finishWriting(std::function<void()> completion) {
  dispatch::GlobalQueue::async(dispatch::QualityOfService::utility, [core = core_, completion = std::move(completion)] {
    bool writing;
    {
      std::lock_guard lock(core->stateMutex);
      writing = core->status == AssetWriterStatus::writing;
      if (core->status == AssetWriterStatus::unknown)
        core->failLocked({MediaError::Code::invalidState, "finishWriting before startWriting"});
      for (const auto& input : core->inputs) input->finished = true;
    }
    if (writing) {
      bool ok = true;
      for (const auto& input : core->inputs) ok = ok && core->flushInput(*input);
      std::unique_lock lock(core->stateMutex);
      if (ok && core->status == AssetWriterStatus::writing) {
        std::lock_guard muxLock(core->muxMutex);
        int status = av_write_trailer(core->format.get());
        const int closed = core->file->close();
        core->format->pb = nullptr;
        if (status >= 0) status = closed;
        core->closed = true;
        if (status < 0) {
          core->failLocked(av::error(MediaError::Code::writeFailed, "Cannot complete the movie", status));
        } else if (auto moved = core->file->moveOnto(core->path, core->existing); !moved) {
          const std::string reason =
              moved.error() == std::errc::file_exists ? "a file appeared there meanwhile" : moved.error().message();
          core->failLocked({MediaError::Code::writeFailed, "Cannot move the movie into place: " + reason});
        } else {
          core->status = AssetWriterStatus::completed;
        }
      }
    }
    bool completed;
    {
      std::lock_guard lock(core->stateMutex);
      completed = core->status == AssetWriterStatus::completed;
    }
    if (!completed) core->closeAndRemove();
    if (completion) completion();
  });
}

void AssetWriter::cancelWriting() {
  {
    std::lock_guard lock(core_->stateMutex);
    if (core_->status == AssetWriterStatus::completed) return;
    core_->status = AssetWriterStatus::cancelled;
    core_->wakeAllLocked();
  }
  // Wait for appends under way, then drop the file.
  for (const auto& input : core_->inputs) std::lock_guard wait(input->encodeMutex);
  core_->closeAndRemove();
}

AssetWriterStatus AssetWriter::status() const {
  std::lock_guard lock(core_->stateMutex);
  return core_->status;
}

std::optional<MediaError> AssetWriter::error() const {
  std::lock_guard lock(core_->stateMutex);
  return core_->error;
}

const std::string& AssetWriter::path() const { return core_->path; }

}  // namespace platform::media
