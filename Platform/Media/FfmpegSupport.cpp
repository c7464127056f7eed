#include "Platform/Media/FfmpegSupport.h"

#include <cmath>
#include <cstring>
#include <mutex>

namespace platform::media {

AudioCodecParameters::AudioCodecParameters(const AVCodecParameters* source, AVRational timeBase)
    : parameters_(avcodec_parameters_alloc()), timeBase_(timeBase) {
  if (parameters_ && source) avcodec_parameters_copy(parameters_, source);
}

AudioCodecParameters::~AudioCodecParameters() { avcodec_parameters_free(&parameters_); }

namespace av {

FramePtr makeFrame() { return FramePtr(av_frame_alloc()); }
PacketPtr makePacket() { return PacketPtr(av_packet_alloc()); }

void initialize() {
  static std::once_flag once;
  // The program writes no log: failures reach the user as errors with their causes.
  std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

std::string errorText(int averror) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(averror, text, sizeof text);
  return text;
}

MediaError error(MediaError::Code code, const std::string& what, int averror) {
  return MediaError{code, averror ? what + ": " + errorText(averror) : what};
}

bool movieCarriesAudioPackets(AVCodecID codec) {
  switch (codec) {
    case AV_CODEC_ID_AAC:
    case AV_CODEC_ID_ALAC:
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
    case AV_CODEC_ID_PCM_S16LE:
    case AV_CODEC_ID_PCM_S16BE:
    case AV_CODEC_ID_PCM_S24LE:
    case AV_CODEC_ID_PCM_S24BE:
    case AV_CODEC_ID_PCM_S32LE:
    case AV_CODEC_ID_PCM_S32BE:
    case AV_CODEC_ID_PCM_F32LE:
    case AV_CODEC_ID_PCM_F32BE:
    case AV_CODEC_ID_PCM_F64LE:
    case AV_CODEC_ID_PCM_F64BE:
    case AV_CODEC_ID_PCM_U8:
    case AV_CODEC_ID_PCM_ALAW:
    case AV_CODEC_ID_PCM_MULAW:
      return true;
    default:
      return false;
  }
}

MediaTime timeFromTimestamp(std::int64_t timestamp, AVRational timeBase) {
  if (timestamp == AV_NOPTS_VALUE || timeBase.den <= 0) return MediaTime::invalid();
  if (timeBase.num == 1) return {timestamp, timeBase.den};
  return {timestamp * timeBase.num, timeBase.den};
}

std::int64_t timestampFromTime(MediaTime time, AVRational timeBase) {
  if (!time.isValid()) return AV_NOPTS_VALUE;
  return av_rescale_q_rnd(time.value, AVRational{1, time.timescale}, timeBase,
                          AVRounding(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX));
}

platform::Expected<FormatContextPtr, MediaError> openInput(const std::string& path) {
  initialize();
  AVFormatContext* raw = nullptr;
  int status = avformat_open_input(&raw, path.c_str(), nullptr, nullptr);
  if (status < 0) return platform::unexpected(error(MediaError::Code::openFailed, "Cannot open " + path, status));
  FormatContextPtr format(raw);
  status = avformat_find_stream_info(format.get(), nullptr);
  if (status < 0) return platform::unexpected(error(MediaError::Code::openFailed, "Cannot read " + path, status));
  return format;
}

static const std::int32_t* displayMatrix(const AVStream* stream) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 102)
  const AVPacketSideData* side = av_packet_side_data_get(stream->codecpar->coded_side_data,
                                                         stream->codecpar->nb_coded_side_data,
                                                         AV_PKT_DATA_DISPLAYMATRIX);
  return side && side->size >= 9 * sizeof(std::int32_t) ? reinterpret_cast<const std::int32_t*>(side->data) : nullptr;
#else
  size_t size = 0;
  const std::uint8_t* data = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  return data && size >= 9 * sizeof(std::int32_t) ? reinterpret_cast<const std::int32_t*>(data) : nullptr;
#endif
}

AffineTransform streamTransform(const AVStream* stream) {
  if (const std::int32_t* m = displayMatrix(stream)) {
    // The matrix is stored as in the QuickTime track header: a, b, u, c, d, v, tx, ty, w,
    // in 16.16 fixed point but for u, v, w (2.30).
    constexpr double one = 65536.0;
    return {m[0] / one, m[1] / one, m[3] / one, m[4] / one, m[6] / one, m[7] / one};
  }
  if (const AVDictionaryEntry* tag = av_dict_get(stream->metadata, "rotate", nullptr, 0)) {
    // The legacy tag is the clockwise turn that displays the picture upright.
    const double w = stream->codecpar->width, h = stream->codecpar->height;
    double degrees = std::fmod(std::atof(tag->value), 360.0);
    if (degrees < 0) degrees += 360.0;
    if (degrees == 90) return {0, 1, -1, 0, h, 0};
    if (degrees == 180) return {-1, 0, 0, -1, w, h};
    if (degrees == 270) return {0, -1, 1, 0, 0, w};
    const double radians = degrees * M_PI / 180.0;
    return {std::cos(radians), std::sin(radians), -std::sin(radians), std::cos(radians), 0, 0};
  }
  return {};
}

int quarterTurns(const AffineTransform& t) {
  auto near = [](double x, double y) { return std::fabs(x - y) < 0.01; };
  if (near(t.a, 0) && near(t.b, 1) && near(t.c, -1) && near(t.d, 0)) return 1;
  if (near(t.a, -1) && near(t.b, 0) && near(t.c, 0) && near(t.d, -1)) return 2;
  if (near(t.a, 0) && near(t.b, -1) && near(t.c, 1) && near(t.d, 0)) return 3;
  return 0;
}

platform::Expected<CodecContextPtr, MediaError> openDecoder(const AVStream* stream) {
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (!codec) {
    return platform::unexpected(error(MediaError::Code::decodeFailed,
                                      std::string("No decoder for ") + avcodec_get_name(stream->codecpar->codec_id)));
  }
  CodecContextPtr context(avcodec_alloc_context3(codec));
  if (!context) return platform::unexpected(error(MediaError::Code::decodeFailed, "Out of memory"));
  int status = avcodec_parameters_to_context(context.get(), stream->codecpar);
  if (status < 0) return platform::unexpected(error(MediaError::Code::decodeFailed, "Bad codec parameters", status));
  context->pkt_timebase = stream->time_base;
  context->thread_count = 0;
  status = avcodec_open2(context.get(), codec, nullptr);
  if (status < 0) return platform::unexpected(error(MediaError::Code::decodeFailed, "Cannot open decoder", status));
  return context;
}

// The deprecated full-range "J" formats become their plain twins with a full range.
static AVPixelFormat plainFormat(AVPixelFormat format, bool& fullRange) {
  switch (format) {
    case AV_PIX_FMT_YUVJ420P: fullRange = true; return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P: fullRange = true; return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P: fullRange = true; return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P: fullRange = true; return AV_PIX_FMT_YUV440P;
    default: return format;
  }
}

platform::Expected<PixelBuffer, MediaError> BgraConverter::convert(const AVFrame* frame, MediaTime time, int outWidth,
                                                                   int outHeight) {
  if (outWidth <= 0 || outHeight <= 0) {
    outWidth = frame->width;
    outHeight = frame->height;
  }
  bool fullRange = frame->color_range == AVCOL_RANGE_JPEG;
  const AVPixelFormat source = plainFormat(AVPixelFormat(frame->format), fullRange);
  // Without SWS_ACCURATE_RND a frame kept at its size takes swscale's SIMD converter
  // (about 0.6 ms for 1080p against 10 ms), which repeats each chroma sample over its
  // 2 x 2 pixels instead of interpolating it.
  context_.reset(sws_getCachedContext(context_.release(), frame->width, frame->height, source, outWidth, outHeight,
                                      AV_PIX_FMT_BGRA, SWS_BILINEAR | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
  if (!context_) return platform::unexpected(error(MediaError::Code::decodeFailed, "Cannot convert frame to BGRA"));
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(source);
  if (descriptor && !(descriptor->flags & AV_PIX_FMT_FLAG_RGB)) {
    // Untagged video follows the usual rule: BT.709 from HD up, BT.601 below.
    int colorspace = frame->colorspace;
    if (colorspace == AVCOL_SPC_UNSPECIFIED || colorspace == AVCOL_SPC_RESERVED)
      colorspace = frame->height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    const int* coefficients = sws_getCoefficients(colorspace);
    sws_setColorspaceDetails(context_.get(), coefficients, fullRange ? 1 : 0, sws_getCoefficients(SWS_CS_DEFAULT), 1,
                             0, 1 << 16, 1 << 16);
  }
  if (!buffers_ || buffers_->width() != outWidth || buffers_->height() != outHeight)
    buffers_ = std::make_unique<PixelBufferPool>(outWidth, outHeight);
  PixelBuffer buffer = buffers_->makePixelBuffer();
  buffer.setPresentationTime(time);
  std::uint8_t* destination[4] = {buffer.data(), nullptr, nullptr, nullptr};
  int strides[4] = {int(buffer.bytesPerRow()), 0, 0, 0};
  const int rows = sws_scale(context_.get(), frame->data, frame->linesize, 0, frame->height, destination, strides);
  if (rows <= 0) return platform::unexpected(error(MediaError::Code::decodeFailed, "Frame conversion failed"));
  return buffer;
}

platform::Expected<std::vector<float>, MediaError> PcmConverter::convert(const AVFrame* frame) {
  const int channels = frame->ch_layout.nb_channels;
  if (channels <= 0 || frame->sample_rate <= 0)
    return platform::unexpected(error(MediaError::Code::decodeFailed, "Audio frame without format"));
  if (!context_ || frame->format != inFormat_ || frame->sample_rate != inRate_ || channels != channels_) {
    AVChannelLayout layout;
    av_channel_layout_default(&layout, channels);
    // An unknown or unusual layout is taken as the default one of its channel count:
    // the samples go through unchanged, only interleaved and made float.
    SwrContext* raw = nullptr;
    int status = swr_alloc_set_opts2(&raw, &layout, AV_SAMPLE_FMT_FLT, frame->sample_rate, &layout,
                                     AVSampleFormat(frame->format), frame->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&layout);
    context_.reset(raw);
    if (status < 0 || (status = swr_init(context_.get())) < 0) {
      context_.reset();
      return platform::unexpected(error(MediaError::Code::decodeFailed, "Cannot convert audio", status));
    }
    inFormat_ = frame->format;
    inRate_ = frame->sample_rate;
    channels_ = channels;
  }
  std::vector<float> samples(std::size_t(frame->nb_samples) * channels);
  std::uint8_t* out[1] = {reinterpret_cast<std::uint8_t*>(samples.data())};
  const int converted = swr_convert(context_.get(), out, frame->nb_samples,
                                    const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples);
  if (converted < 0) return platform::unexpected(error(MediaError::Code::decodeFailed, "Audio conversion failed", converted));
  samples.resize(std::size_t(converted) * channels);
  return samples;
}

platform::Expected<std::unique_ptr<StreamFrameReader>, MediaError> StreamFrameReader::open(const std::string& path,
                                                                                          int streamIndex,
                                                                                          bool decode) {
  auto format = openInput(path);
  if (!format) return platform::unexpected(format.error());
  auto reader = std::unique_ptr<StreamFrameReader>(new StreamFrameReader());
  reader->format_ = std::move(format.value());
  AVFormatContext* context = reader->format_.get();
  if (streamIndex < 0 || unsigned(streamIndex) >= context->nb_streams)
    return platform::unexpected(av::error(MediaError::Code::noSuchTrack, "No such track"));
  for (unsigned i = 0; i < context->nb_streams; ++i)
    context->streams[i]->discard = int(i) == streamIndex ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  reader->stream_ = context->streams[streamIndex];
  if (decode) {
    auto decoder = openDecoder(reader->stream_);
    if (!decoder) return platform::unexpected(decoder.error());
    reader->decoder_ = std::move(decoder.value());
  }
  return reader;
}

void StreamFrameReader::seek(MediaTime time) {
  const std::int64_t target = timestampFromTime(time, stream_->time_base);
  // Backward: the key frame at or before the target, from which decoding reaches it.
  if (av_seek_frame(format_.get(), stream_->index, target, AVSEEK_FLAG_BACKWARD) < 0)
    av_seek_frame(format_.get(), stream_->index, INT64_MIN, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
  if (decoder_) avcodec_flush_buffers(decoder_.get());
  demuxEnded_ = false;
  drained_ = false;
}

bool StreamFrameReader::nextPacket(AVPacket* packet) {
  while (!demuxEnded_) {
    av_packet_unref(packet);
    const int status = av_read_frame(format_.get(), packet);
    if (status == AVERROR_EOF) {
      demuxEnded_ = true;
      break;
    }
    if (status < 0) {
      error_ = av::error(MediaError::Code::decodeFailed, "Read failed", status);
      demuxEnded_ = true;
      break;
    }
    if (packet->stream_index == stream_->index) return true;
  }
  return false;
}

bool StreamFrameReader::nextFrame(AVFrame* frame) {
  if (!decoder_ || drained_) return false;
  for (;;) {
    const int received = avcodec_receive_frame(decoder_.get(), frame);
    if (received == 0) return true;
    if (received == AVERROR_EOF) {
      drained_ = true;
      return false;
    }
    if (received != AVERROR(EAGAIN)) {
      error_ = av::error(MediaError::Code::decodeFailed, "Decoding failed", received);
      drained_ = true;
      return false;
    }
    if (nextPacket(packet_.get())) {
      const int sent = avcodec_send_packet(decoder_.get(), packet_.get());
      av_packet_unref(packet_.get());
      // A damaged packet costs its frame, not the stream.
      if (sent < 0 && sent != AVERROR(EAGAIN) && sent != AVERROR_INVALIDDATA) {
        error_ = av::error(MediaError::Code::decodeFailed, "Decoding failed", sent);
        drained_ = true;
        return false;
      }
    } else {
      if (error_) {
        drained_ = true;
        return false;
      }
      avcodec_send_packet(decoder_.get(), nullptr);  // drain what the decoder holds
    }
  }
}

MediaTime StreamFrameReader::frameTime(const AVFrame* frame) const {
  std::int64_t pts = frame->best_effort_timestamp;
  if (pts == AV_NOPTS_VALUE) pts = frame->pts;
  return timeFromTimestamp(pts, stream_->time_base);
}

}  // namespace av
}  // namespace platform::media
