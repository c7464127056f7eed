#include "Support/TestClips.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/display.h>
#include <libavutil/error.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>

#include "Platform/Media/Asset.h"

namespace testsupport {

using namespace platform::media;

namespace {

// The clip makers and readers stop at the first FFmpeg failure with its text.
void avCheck(int status, const char* what) {
  if (status >= 0) return;
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(status, text, sizeof text);
  throw std::runtime_error(std::string(what) + ": " + text);
}

struct Bgra {
  std::uint8_t b, g, r;
};
// Red top left, green top right, blue bottom left, white bottom right.
constexpr Bgra kQuadrants[2][2] = {{{0, 0, 255}, {0, 255, 0}}, {{255, 0, 0}, {255, 255, 255}}};

// --- writing ---

struct Encoder {
  AVCodecContext* context = nullptr;
  AVStream* stream = nullptr;
  ~Encoder() { avcodec_free_context(&context); }
};

void drain(AVFormatContext* format, Encoder& encoder, const AVFrame* frame) {
  avCheck(avcodec_send_frame(encoder.context, frame), "send frame");
  for (AVPacket* packet = av_packet_alloc();; av_packet_unref(packet)) {
    if (avcodec_receive_packet(encoder.context, packet) != 0) return av_packet_free(&packet);
    // Video packets come without a duration; the last frame needs one to count in the
    // movie's length.
    if (packet->duration == 0 && encoder.context->codec_type == AVMEDIA_TYPE_VIDEO) packet->duration = 1;
    av_packet_rescale_ts(packet, encoder.context->time_base, encoder.stream->time_base);
    packet->stream_index = encoder.stream->index;
    avCheck(av_interleaved_write_frame(format, packet), "write packet");
  }
}

// The matrix of a QuickTime track header (a, b, u, c, d, v, tx, ty, w; 16.16 but for
// u, v, w at 2.30), with the translation a phone writes beside the turn.
void setDisplayMatrix(AVStream* stream, int quarterTurns, int storedWidth, int storedHeight) {
  constexpr std::int32_t one = 1 << 16;
  std::int32_t matrix[9] = {};
  av_display_rotation_set(matrix, 90.0 * quarterTurns);
  if (quarterTurns == 1) matrix[6] = storedHeight * one;
  if (quarterTurns == 2) matrix[6] = storedWidth * one, matrix[7] = storedHeight * one;
  if (quarterTurns == 3) matrix[7] = storedWidth * one;
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 102)
  AVPacketSideData* side =
      av_packet_side_data_new(&stream->codecpar->coded_side_data, &stream->codecpar->nb_coded_side_data,
                              AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix, 0);
  std::memcpy(side->data, matrix, sizeof matrix);
#else
  std::memcpy(av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix), matrix, sizeof matrix);
#endif
}

// Opens the configured encoder and adds its stream.
void addStream(AVFormatContext* format, Encoder& encoder, const AVCodec* codec, AVRational timeBase) {
  encoder.context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  avCheck(avcodec_open2(encoder.context, codec, nullptr), "open encoder");
  encoder.stream = avformat_new_stream(format, nullptr);
  encoder.stream->time_base = timeBase;
  avCheck(avcodec_parameters_from_context(encoder.stream->codecpar, encoder.context), "stream parameters");
}

void openVideo(AVFormatContext* format, Encoder& encoder, const ClipDescription& clip, int storedWidth,
               int storedHeight) {
  const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
  if (!codec) throw std::runtime_error("no libx264");
  AVCodecContext* video = encoder.context = avcodec_alloc_context3(codec);
  video->width = storedWidth, video->height = storedHeight;
  // 4:2:0 needs even sides; odd ones go 4:4:4.
  video->pix_fmt = (storedWidth % 2 || storedHeight % 2) ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV420P;
  video->time_base = AVRational{1, clip.fps}, video->framerate = AVRational{clip.fps, 1};
  video->gop_size = video->keyint_min = 10, video->max_b_frames = 2;
  for (const auto& [key, value] :
       {std::pair{"preset", "ultrafast"}, {"x264-params", "scenecut=0:log=-1"}, {"crf", "10"}})
    av_opt_set(video->priv_data, key, value, 0);
  addStream(format, encoder, codec, AVRational{1, 600 * clip.fps});
  if (const int turns = (clip.quarterTurns % 4 + 4) % 4)
    setDisplayMatrix(encoder.stream, turns, storedWidth, storedHeight);
}

void openAudio(AVFormatContext* format, Encoder& encoder, const ClipDescription& clip) {
  const bool pcm = clip.audio == ClipAudio::pcm;
  const bool opus = clip.audio == ClipAudio::opus;
  const AVCodec* codec = opus ? avcodec_find_encoder_by_name("libopus")
                              : avcodec_find_encoder(pcm ? AV_CODEC_ID_PCM_S16LE : AV_CODEC_ID_AAC);
  if (!codec) throw std::runtime_error("no audio encoder for the clip");
  AVCodecContext* audio = encoder.context = avcodec_alloc_context3(codec);
  audio->sample_rate = clip.sampleRate, audio->time_base = AVRational{1, clip.sampleRate};
  av_channel_layout_default(&audio->ch_layout, clip.channels);
  // Opus takes interleaved float, the same layout as planar for one channel.
  audio->sample_fmt = pcm ? AV_SAMPLE_FMT_S16 : opus ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_FLTP;
  audio->bit_rate = pcm ? 0 : 64000 * clip.channels;
  addStream(format, encoder, codec, AVRational{1, clip.sampleRate});
}

void writeVideo(AVFormatContext* format, Encoder& encoder, const ClipDescription& clip) {
  AVCodecContext* video = encoder.context;
  AVFrame* frame = av_frame_alloc();
  frame->format = video->pix_fmt, frame->width = video->width, frame->height = video->height;
  avCheck(av_frame_get_buffer(frame, 0), "video frame");
  SwsContext* sws = sws_getContext(video->width, video->height, AV_PIX_FMT_BGRA, video->width, video->height,
                                   video->pix_fmt, SWS_POINT, nullptr, nullptr, nullptr);
  for (int n = 0; n < clip.frames; ++n) {
    // Stored turned back, so that the display matrix turns it upright again.
    const PixelBuffer stored = turned(patternFrame(clip.width, clip.height, n), 4 - clip.quarterTurns % 4);
    avCheck(av_frame_make_writable(frame), "writable frame");
    const std::uint8_t* source[4] = {stored.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {int(stored.bytesPerRow()), 0, 0, 0};
    sws_scale(sws, source, strides, 0, stored.height(), frame->data, frame->linesize);
    frame->pts = n;
    drain(format, encoder, frame);
  }
  drain(format, encoder, nullptr);
  sws_freeContext(sws);
  av_frame_free(&frame);
}

void writeAudio(AVFormatContext* format, Encoder& encoder, const ClipDescription& clip) {
  AVCodecContext* audio = encoder.context;
  const int frameSize = audio->frame_size > 0 ? audio->frame_size : 1024;
  const std::int64_t total = std::int64_t(clip.sampleRate) * clip.frames / clip.fps;
  AVFrame* frame = av_frame_alloc();
  frame->format = audio->sample_fmt, frame->sample_rate = audio->sample_rate, frame->nb_samples = frameSize;
  avCheck(av_channel_layout_copy(&frame->ch_layout, &audio->ch_layout), "layout");
  avCheck(av_frame_get_buffer(frame, 0), "audio frame");
  for (std::int64_t start = 0; start < total; start += frameSize) {
    avCheck(av_frame_make_writable(frame), "writable frame");
    frame->nb_samples = int(std::min<std::int64_t>(frameSize, total - start));
    for (int i = 0; i < frame->nb_samples; ++i) {
      const float value = clip.toneAmplitude * float(std::sin(2 * M_PI * 440 * double(start + i) / clip.sampleRate));
      for (int c = 0; c < clip.channels; ++c) {
        if (clip.audio == ClipAudio::pcm)
          reinterpret_cast<std::int16_t*>(frame->data[0])[i * clip.channels + c] = std::int16_t(value * 32767);
        else
          reinterpret_cast<float*>(frame->data[c])[i] = value;
      }
    }
    frame->pts = start;
    drain(format, encoder, frame);
  }
  drain(format, encoder, nullptr);
  av_frame_free(&frame);
}

void generate(const std::string& path, const ClipDescription& clip) {
  av_log_set_level(AV_LOG_ERROR);
  AVFormatContext* format = nullptr;
  const char* container = clip.audio == ClipAudio::opus ? "mp4" : "mov";
  avCheck(avformat_alloc_output_context2(&format, nullptr, container, path.c_str()), "output");
  const bool sideways = clip.quarterTurns % 2 != 0;
  const int storedWidth = sideways ? clip.height : clip.width, storedHeight = sideways ? clip.width : clip.height;
  Encoder video, audio;
  const bool hasAudio = clip.audio != ClipAudio::none;
  if (hasAudio && clip.audioFirst) openAudio(format, audio, clip);
  openVideo(format, video, clip, storedWidth, storedHeight);
  if (hasAudio && !clip.audioFirst) openAudio(format, audio, clip);
  avCheck(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE), "open file");
  avCheck(avformat_write_header(format, nullptr), "header");
  writeVideo(format, video, clip);
  if (hasAudio) writeAudio(format, audio, clip);
  avCheck(av_write_trailer(format), "trailer");
  avio_closep(&format->pb);
  avformat_free_context(format);
}

// --- reading ---

struct Input {
  AVFormatContext* format = nullptr;
  explicit Input(const std::string& path) {
    avCheck(avformat_open_input(&format, path.c_str(), nullptr, nullptr), "open input");
    avCheck(avformat_find_stream_info(format, nullptr), "stream info");
  }
  ~Input() { avformat_close_input(&format); }
  int best(AVMediaType type) const { return av_find_best_stream(format, type, -1, -1, nullptr, 0); }
};

// Hands every packet of `streamIndex` on, in file order, while the handler returns true;
// true when all were handed on.
bool forEachPacket(Input& input, int streamIndex, const std::function<bool(const AVPacket*)>& handle) {
  AVPacket* packet = av_packet_alloc();
  bool more = true;
  while (more && av_read_frame(input.format, packet) >= 0) {
    if (packet->stream_index == streamIndex) more = handle(packet);
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  return more;
}

// Feeds every packet of `streamIndex` to a decoder and hands each decoded frame on; the
// handler returns false to stop.
void decodeStream(Input& input, int streamIndex, const std::function<bool(AVFrame*)>& handle) {
  const AVStream* stream = input.format->streams[streamIndex];
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (!codec) throw std::runtime_error("no decoder");
  std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)> decoder(
      avcodec_alloc_context3(codec), [](AVCodecContext* c) { avcodec_free_context(&c); });
  avCheck(avcodec_parameters_to_context(decoder.get(), stream->codecpar), "decoder parameters");
  decoder->pkt_timebase = stream->time_base;
  avCheck(avcodec_open2(decoder.get(), codec, nullptr), "open decoder");
  AVFrame* frame = av_frame_alloc();
  bool more = true;
  auto decode = [&](const AVPacket* packet) {
    avcodec_send_packet(decoder.get(), packet);
    while (more && avcodec_receive_frame(decoder.get(), frame) == 0) {
      more = handle(frame);
      av_frame_unref(frame);
    }
    return more;
  };
  if (forEachPacket(input, streamIndex, decode)) decode(nullptr);
  av_frame_free(&frame);
}

// swscale's packed-RGB writers work in blocks of pixels and may write past the end of
// a row; the last row needs room after it.
PixelBuffer paddedBuffer(int width, int height) {
  const std::size_t bytesPerRow = (std::size_t(width) * 4 + 63) / 64 * 64;
  std::shared_ptr<std::uint8_t> memory(new std::uint8_t[bytesPerRow * std::size_t(height + 1)](),
                                       std::default_delete<std::uint8_t[]>());
  return PixelBuffer(width, height, bytesPerRow, memory);
}

Bgra pixelAt(const PixelBuffer& frame, int x, int y) {
  const std::uint8_t* p = frame.row(y) + std::size_t(x) * 4;
  return {p[0], p[1], p[2]};
}

bool near(Bgra a, Bgra b) { return std::abs(a.b - b.b) < 60 && std::abs(a.g - b.g) < 60 && std::abs(a.r - b.r) < 60; }

}  // namespace

std::string freshPath(const std::string& name) {
  const std::string path = temporaryFolder() + "/" + name;
  std::filesystem::remove(path);
  return path;
}

std::string makeClip(const std::string& name, const ClipDescription& clip) {
  static std::mutex lock;
  static std::map<std::string, std::string> made;
  std::lock_guard guard(lock);
  if (auto found = made.find(name); found != made.end()) return found->second;
  const std::string path = temporaryFolder() + "/" + name + (clip.audio == ClipAudio::opus ? ".mp4" : ".mov");
  generate(path, clip);
  made[name] = path;
  return path;
}

PixelBuffer patternFrame(int width, int height, int number) {
  PixelBuffer frame = PixelBuffer::allocate(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint8_t level = (number >> std::min(7, x * 8 / width)) & 1 ? 255 : 0;
      const bool bars = y >= height * 3 / 8 && y < height * 5 / 8;
      const Bgra colour = bars ? Bgra{level, level, level} : kQuadrants[y >= height / 2][x >= width / 2];
      std::uint8_t* p = frame.row(y) + std::size_t(x) * 4;
      p[0] = colour.b, p[1] = colour.g, p[2] = colour.r, p[3] = 255;
    }
  }
  return frame;
}

int frameNumber(const PixelBuffer& turnedFrame, int quarterTurns) {
  if (!turnedFrame) return -1;
  const PixelBuffer frame = turned(turnedFrame, 4 - quarterTurns % 4);
  int number = 0;
  for (int bit = 0; bit < 8; ++bit) {
    const Bgra p = pixelAt(frame, (2 * bit + 1) * frame.width() / 16, frame.height() / 2);
    const int level = (p.b + p.g + p.r) / 3;
    if (level > 95 && level <= 160) return -1;  // neither black nor white
    number |= (level > 160) << bit;
  }
  return number;
}

bool showsUprightQuadrants(const PixelBuffer& frame) {
  if (!frame) return false;
  const int w = frame.width(), h = frame.height();
  const int top = std::max(0, h * 3 / 16), bottom = std::min(h - 1, h * 13 / 16);
  return near(pixelAt(frame, w / 4, top), kQuadrants[0][0]) && near(pixelAt(frame, w * 3 / 4, top), kQuadrants[0][1]) &&
         near(pixelAt(frame, w / 4, bottom), kQuadrants[1][0]) &&
         near(pixelAt(frame, w * 3 / 4, bottom), kQuadrants[1][1]);
}

PixelBuffer turned(const PixelBuffer& frame, int quarterTurns) {
  const int q = ((quarterTurns % 4) + 4) % 4;
  if (q == 0) return frame;
  const int w = frame.width(), h = frame.height();
  PixelBuffer out = PixelBuffer::allocate(q % 2 ? h : w, q % 2 ? w : h);
  for (int y = 0; y < out.height(); ++y) {
    for (int x = 0; x < out.width(); ++x) {
      // The source pixel shown at (x, y) after q clockwise quarter turns.
      const int sx = q == 1 ? y : q == 2 ? w - 1 - x : w - 1 - y;
      const int sy = q == 1 ? h - 1 - x : q == 2 ? h - 1 - y : x;
      std::memcpy(out.row(y) + std::size_t(x) * 4, frame.row(sy) + std::size_t(sx) * 4, 4);
    }
  }
  return out;
}

double meanDifference(const PixelBuffer& a, const PixelBuffer& b) {
  if (!a || !b || a.width() != b.width() || a.height() != b.height()) return 255;
  double sum = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width() * 4; ++x)
      if (x % 4 != 3) sum += std::abs(int(a.row(y)[x]) - int(b.row(y)[x]));
  return sum / (double(a.width()) * a.height() * 3);
}

double meanLevel(const PixelBuffer& frame) {
  return meanDifference(frame, PixelBuffer::allocate(frame.width(), frame.height()));  // from black
}

MovieFacts probeMovie(const std::string& path) {
  Input input(path);
  MovieFacts facts;
  facts.formatName = input.format->iformat->name;
  for (unsigned i = 0; i < input.format->nb_streams; ++i) {
    const AVStream* stream = input.format->streams[i];
    const AVCodecParameters* parameters = stream->codecpar;
    char tag[AV_FOURCC_MAX_STRING_SIZE] = {};
    av_fourcc_make_string(tag, parameters->codec_tag);
    const bool matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr) != nullptr;
    const StreamFacts streamFacts(avcodec_get_name(parameters->codec_id), tag, parameters->width, parameters->height,
                                  matrix, parameters->sample_rate, parameters->ch_layout.nb_channels,
                                  parameters->bit_rate);
    if (parameters->codec_type == AVMEDIA_TYPE_VIDEO) facts.video.push_back(streamFacts);
    if (parameters->codec_type == AVMEDIA_TYPE_AUDIO) facts.audio.push_back(streamFacts);
  }
  return facts;
}

int displayQuarterTurns(const std::string& path) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_VIDEO);
  const auto* matrix = index < 0 ? nullptr
                                 : reinterpret_cast<const int32_t*>(av_stream_get_side_data(
                                       input.format->streams[index], AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  if (!matrix) return 0;
  // The angle read here is anticlockwise: ffprobe's -90 is one clockwise quarter turn.
  return int(std::lround(-av_display_rotation_get(matrix) / 90.0) % 4 + 4) % 4;
}

std::vector<std::vector<std::uint8_t>> audioPackets(const std::string& path) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_AUDIO);
  std::vector<std::vector<std::uint8_t>> packets;
  if (index >= 0)
    forEachPacket(input, index,
                  [&](const AVPacket* p) { return packets.emplace_back(p->data, p->data + p->size), true; });
  return packets;
}

std::vector<float> decodedAudio(const std::string& path) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_AUDIO);
  std::vector<float> samples;
  if (index < 0) return samples;
  decodeStream(input, index, [&](AVFrame* frame) {
    const auto format = AVSampleFormat(frame->format);
    if (format != AV_SAMPLE_FMT_FLTP && format != AV_SAMPLE_FMT_FLT && format != AV_SAMPLE_FMT_S16)
      throw std::runtime_error("unexpected sample format");
    const int channels = frame->ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(format);
    for (int i = 0; i < frame->nb_samples; ++i) {
      for (int c = 0; c < channels; ++c) {
        const std::uint8_t* plane = frame->data[planar ? c : 0];
        const int at = planar ? i : i * channels + c;
        samples.push_back(format == AV_SAMPLE_FMT_S16 ? reinterpret_cast<const std::int16_t*>(plane)[at] / 32768.0f
                                                      : reinterpret_cast<const float*>(plane)[at]);
      }
    }
    return true;
  });
  return samples;
}

std::vector<PixelBuffer> decodedFrames(const std::string& path, int limit) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_VIDEO);
  std::vector<PixelBuffer> frames;
  if (index < 0 || limit <= 0) return frames;
  const AVRational base = input.format->streams[index]->time_base;
  SwsContext* sws = nullptr;
  decodeStream(input, index, [&](AVFrame* frame) {
    sws = sws_getCachedContext(sws, frame->width, frame->height, AVPixelFormat(frame->format), frame->width,
                               frame->height, AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr, nullptr);
    PixelBuffer out = paddedBuffer(frame->width, frame->height);
    out.setPresentationTime({frame->best_effort_timestamp * base.num, base.den});
    std::uint8_t* planes[4] = {out.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {int(out.bytesPerRow()), 0, 0, 0};
    sws_scale(sws, frame->data, frame->linesize, 0, frame->height, planes, strides);
    frames.push_back(out);
    return int(frames.size()) < limit;
  });
  sws_freeContext(sws);
  return frames;
}

// Reads the first track of `type` in `range` through the engine's reader: `read` adds
// its output, starts the reader and takes every sample; the reader must have completed.
void readTrack(const std::string& path, MediaType type, TimeRange range,
               const std::function<void(AssetReader&, const AssetTrack&)>& read) {
  auto asset = Asset::make(path);
  auto reader = AssetReader::make(asset);
  ASSERT_TRUE(reader.hasValue()) << path;
  (*reader)->setTimeRange(range);
  read(**reader, asset->loadNow()->tracksOfType(type).front());
  EXPECT_EQ((*reader)->status(), AssetReaderStatus::completed) << path;
}

std::vector<PixelBuffer> readFrames(const std::string& path, TimeRange range) {
  std::vector<PixelBuffer> frames;
  readTrack(path, MediaType::video, range, [&](AssetReader& reader, const AssetTrack& track) {
    auto output = reader.addVideoOutput(track);
    EXPECT_TRUE(reader.startReading());
    while (PixelBuffer frame = output->copyNextPixelBuffer()) frames.push_back(frame);
  });
  return frames;
}

std::vector<AudioSampleBuffer> readAudio(const std::string& path, AudioReadMode mode, TimeRange range) {
  std::vector<AudioSampleBuffer> buffers;
  readTrack(path, MediaType::audio, range, [&](AssetReader& reader, const AssetTrack& track) {
    auto output = reader.addAudioOutput(track, mode);
    EXPECT_TRUE(reader.startReading());
    while (auto buffer = output->copyNextSampleBuffer()) buffers.push_back(std::move(*buffer));
  });
  return buffers;
}

}  // namespace testsupport

// Read by LeakSanitizer in sanitizer builds: libx265 3.5 keeps about 1 KB of each
// encoder it opens (allocated in x265_encoder_open, never freed by its close). That is
// the library's, not ours; every other leak still fails the run.
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265.so\n"; }
