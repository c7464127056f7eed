#include "VideoTestClips.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <stdexcept>

#include "Support/AvCheck.h"

namespace videotest {

using platform::media::PixelBuffer;

namespace {

struct Bgra {
  std::uint8_t b, g, r;
};
constexpr Bgra kTopLeft{0, 0, 255};
constexpr Bgra kTopRight{0, 255, 0};
constexpr Bgra kBottomLeft{255, 0, 0};
constexpr Bgra kBottomRight{255, 255, 255};

bool inBarBand(int y, int height) { return y >= height * 3 / 8 && y < height * 5 / 8; }

// --- writing ---

struct Encoder {
  AVCodecContext* context = nullptr;
  AVStream* stream = nullptr;
  ~Encoder() { avcodec_free_context(&context); }
};

void drain(AVFormatContext* format, Encoder& encoder, const AVFrame* frame) {
  testsupport::avCheck(avcodec_send_frame(encoder.context, frame), "send frame");
  AVPacket* packet = av_packet_alloc();
  while (avcodec_receive_packet(encoder.context, packet) == 0) {
    // Video packets come without a duration; the last frame needs one to count in the
    // movie's length.
    if (packet->duration == 0 && encoder.context->codec_type == AVMEDIA_TYPE_VIDEO) packet->duration = 1;
    av_packet_rescale_ts(packet, encoder.context->time_base, encoder.stream->time_base);
    packet->stream_index = encoder.stream->index;
    testsupport::avCheck(av_interleaved_write_frame(format, packet), "write packet");
  }
  av_packet_free(&packet);
}

void openVideo(AVFormatContext* format, Encoder& encoder, const ClipDescription& clip, int storedWidth, int storedHeight) {
  const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
  if (!codec) throw std::runtime_error("no libx264");
  encoder.context = avcodec_alloc_context3(codec);
  AVCodecContext* video = encoder.context;
  video->width = storedWidth;
  video->height = storedHeight;
  // 4:2:0 needs even sides; odd ones go 4:4:4.
  video->pix_fmt = (storedWidth % 2 || storedHeight % 2) ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV420P;
  video->time_base = AVRational{1, clip.fps};
  video->framerate = AVRational{clip.fps, 1};
  video->gop_size = 10;
  video->max_b_frames = 2;
  video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  av_opt_set(video->priv_data, "preset", "ultrafast", 0);
  av_opt_set(video->priv_data, "x264-params", "scenecut=0:log=-1", 0);
  av_opt_set(video->priv_data, "crf", "10", 0);
  testsupport::avCheck(avcodec_open2(video, codec, nullptr), "open libx264");
  encoder.stream = avformat_new_stream(format, nullptr);
  encoder.stream->time_base = AVRational{1, 600 * clip.fps};
  testsupport::avCheck(avcodec_parameters_from_context(encoder.stream->codecpar, video), "video parameters");
  if (clip.quarterTurns % 4 != 0) {
    auto* matrix = reinterpret_cast<int32_t*>(
        av_stream_new_side_data(encoder.stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(int32_t)));
    // The angle set here reads back negated (ffprobe shows -90 for one clockwise turn).
    av_display_rotation_set(matrix, 90.0 * clip.quarterTurns);
  }
}

void openAudio(AVFormatContext* format, Encoder& encoder, const ClipDescription& clip) {
  const bool pcm = clip.audio == ClipAudio::pcm;
  const bool opus = clip.audio == ClipAudio::opus;
  const AVCodec* codec = opus ? avcodec_find_encoder_by_name("libopus")
                              : avcodec_find_encoder(pcm ? AV_CODEC_ID_PCM_S16LE : AV_CODEC_ID_AAC);
  if (!codec) throw std::runtime_error("no audio encoder for the clip");
  encoder.context = avcodec_alloc_context3(codec);
  AVCodecContext* audio = encoder.context;
  audio->sample_rate = clip.sampleRate;
  av_channel_layout_default(&audio->ch_layout, clip.channels);
  // Opus takes interleaved float, the same layout as planar for one channel.
  audio->sample_fmt = pcm ? AV_SAMPLE_FMT_S16 : opus ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_FLTP;
  audio->time_base = AVRational{1, clip.sampleRate};
  audio->bit_rate = pcm ? 0 : 128000;
  audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  testsupport::avCheck(avcodec_open2(audio, codec, nullptr), "open audio encoder");
  encoder.stream = avformat_new_stream(format, nullptr);
  encoder.stream->time_base = AVRational{1, clip.sampleRate};
  testsupport::avCheck(avcodec_parameters_from_context(encoder.stream->codecpar, audio), "audio parameters");
}

void writeVideo(AVFormatContext* format, Encoder& encoder, const ClipDescription& clip) {
  AVCodecContext* video = encoder.context;
  AVFrame* frame = av_frame_alloc();
  frame->format = video->pix_fmt;
  frame->width = video->width;
  frame->height = video->height;
  testsupport::avCheck(av_frame_get_buffer(frame, 0), "video frame");
  SwsContext* sws = sws_getContext(video->width, video->height, AV_PIX_FMT_BGRA, video->width, video->height,
                                   video->pix_fmt, SWS_POINT, nullptr, nullptr, nullptr);
  for (int n = 0; n < clip.frames; ++n) {
    // Stored turned back, so that the display matrix turns it upright again.
    const PixelBuffer stored = turned(patternFrame(clip.width, clip.height, n), (4 - clip.quarterTurns % 4) % 4);
    testsupport::avCheck(av_frame_make_writable(frame), "writable frame");
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
  frame->format = audio->sample_fmt;
  frame->sample_rate = audio->sample_rate;
  testsupport::avCheck(av_channel_layout_copy(&frame->ch_layout, &audio->ch_layout), "layout");
  frame->nb_samples = frameSize;
  testsupport::avCheck(av_frame_get_buffer(frame, 0), "audio frame");
  for (std::int64_t start = 0; start < total; start += frameSize) {
    testsupport::avCheck(av_frame_make_writable(frame), "writable frame");
    frame->nb_samples = int(std::min<std::int64_t>(frameSize, total - start));
    for (int i = 0; i < frame->nb_samples; ++i) {
      const double t = double(start + i) / clip.sampleRate;
      const float value = clip.toneAmplitude * float(std::sin(2 * M_PI * 440 * t));
      for (int c = 0; c < clip.channels; ++c) {
        if (clip.audio == ClipAudio::pcm) {
          reinterpret_cast<std::int16_t*>(frame->data[0])[i * clip.channels + c] = std::int16_t(value * 32767);
        } else {
          reinterpret_cast<float*>(frame->data[c])[i] = value;
        }
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
  testsupport::avCheck(avformat_alloc_output_context2(&format, nullptr, container, path.c_str()), "output");
  const bool sideways = clip.quarterTurns % 2 != 0;
  const int storedWidth = sideways ? clip.height : clip.width;
  const int storedHeight = sideways ? clip.width : clip.height;
  Encoder video, audio;
  const bool hasAudio = clip.audio != ClipAudio::none;
  if (hasAudio && clip.audioFirst) openAudio(format, audio, clip);
  openVideo(format, video, clip, storedWidth, storedHeight);
  if (hasAudio && !clip.audioFirst) openAudio(format, audio, clip);
  testsupport::avCheck(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE), "open file");
  testsupport::avCheck(avformat_write_header(format, nullptr), "header");
  writeVideo(format, video, clip);
  if (hasAudio) writeAudio(format, audio, clip);
  testsupport::avCheck(av_write_trailer(format), "trailer");
  avio_closep(&format->pb);
  avformat_free_context(format);
}

// --- reading ---

struct Input {
  AVFormatContext* format = nullptr;
  explicit Input(const std::string& path) {
    testsupport::avCheck(avformat_open_input(&format, path.c_str(), nullptr, nullptr), "open input");
    testsupport::avCheck(avformat_find_stream_info(format, nullptr), "stream info");
  }
  ~Input() { avformat_close_input(&format); }
  int best(AVMediaType type) const { return av_find_best_stream(format, type, -1, -1, nullptr, 0); }
};

struct Decoder {
  AVCodecContext* context = nullptr;
  explicit Decoder(const AVStream* stream) {
    const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!codec) throw std::runtime_error("no decoder");
    context = avcodec_alloc_context3(codec);
    testsupport::avCheck(avcodec_parameters_to_context(context, stream->codecpar), "decoder parameters");
    context->pkt_timebase = stream->time_base;
    testsupport::avCheck(avcodec_open2(context, codec, nullptr), "open decoder");
  }
  ~Decoder() { avcodec_free_context(&context); }
};

// Feeds every packet of `streamIndex` and hands each decoded frame on; the handler
// returns false to stop.
void decodeStream(Input& input, int streamIndex, const std::function<bool(AVFrame*)>& handle) {
  Decoder decoder(input.format->streams[streamIndex]);
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  bool more = true;
  auto receive = [&] {
    while (more && avcodec_receive_frame(decoder.context, frame) == 0) {
      more = handle(frame);
      av_frame_unref(frame);
    }
  };
  while (more && av_read_frame(input.format, packet) >= 0) {
    if (packet->stream_index == streamIndex) {
      avcodec_send_packet(decoder.context, packet);
      receive();
    }
    av_packet_unref(packet);
  }
  if (more) {
    avcodec_send_packet(decoder.context, nullptr);
    receive();
  }
  av_frame_free(&frame);
  av_packet_free(&packet);
}

// swscale's packed-RGB writers work in blocks of pixels and may write past the end of
// a row; the last row needs room after it.
PixelBuffer paddedBuffer(int width, int height) {
  const std::size_t bytesPerRow = (std::size_t(width) * 4 + 63) / 64 * 64;
  const std::size_t size = bytesPerRow * std::size_t(height + 1);
  std::shared_ptr<std::uint8_t> memory(new std::uint8_t[size](), std::default_delete<std::uint8_t[]>());
  return PixelBuffer(width, height, bytesPerRow, memory);
}

Bgra pixelAt(const PixelBuffer& frame, int x, int y) {
  const std::uint8_t* p = frame.row(y) + std::size_t(x) * 4;
  return {p[0], p[1], p[2]};
}

bool near(Bgra a, Bgra b) {
  return std::abs(a.b - b.b) < 60 && std::abs(a.g - b.g) < 60 && std::abs(a.r - b.r) < 60;
}

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
    std::uint8_t* row = frame.row(y);
    for (int x = 0; x < width; ++x) {
      Bgra colour;
      if (inBarBand(y, height)) {
        const int bit = std::min(7, x * 8 / width);
        const std::uint8_t level = (number >> bit) & 1 ? 255 : 0;
        colour = {level, level, level};
      } else {
        const bool right = x >= width / 2;
        const bool bottom = y >= height / 2;
        colour = bottom ? (right ? kBottomRight : kBottomLeft) : (right ? kTopRight : kTopLeft);
      }
      std::uint8_t* p = row + std::size_t(x) * 4;
      p[0] = colour.b;
      p[1] = colour.g;
      p[2] = colour.r;
      p[3] = 255;
    }
  }
  return frame;
}

int frameNumber(const PixelBuffer& frame) {
  if (!frame) return -1;
  const int y = frame.height() / 2;
  int number = 0;
  for (int bit = 0; bit < 8; ++bit) {
    const int x = (2 * bit + 1) * frame.width() / 16;
    const Bgra p = pixelAt(frame, x, y);
    const int level = (p.b + p.g + p.r) / 3;
    if (level > 160) {
      number |= 1 << bit;
    } else if (level > 95) {
      return -1;  // neither black nor white
    }
  }
  return number;
}

bool showsUprightQuadrants(const PixelBuffer& frame) {
  if (!frame) return false;
  const int w = frame.width(), h = frame.height();
  const int top = std::max(0, h * 3 / 16), bottom = std::min(h - 1, h * 13 / 16);
  return near(pixelAt(frame, w / 4, top), kTopLeft) && near(pixelAt(frame, w * 3 / 4, top), kTopRight) &&
         near(pixelAt(frame, w / 4, bottom), kBottomLeft) && near(pixelAt(frame, w * 3 / 4, bottom), kBottomRight);
}

PixelBuffer turned(const PixelBuffer& frame, int quarterTurns) {
  const int q = ((quarterTurns % 4) + 4) % 4;
  if (q == 0) return frame;
  const int w = frame.width(), h = frame.height();
  const int ow = q % 2 ? h : w, oh = q % 2 ? w : h;
  PixelBuffer out = PixelBuffer::allocate(ow, oh);
  for (int y = 0; y < oh; ++y) {
    for (int x = 0; x < ow; ++x) {
      // The source pixel shown at (x, y) after q clockwise quarter turns.
      int sx, sy;
      if (q == 1) {
        sx = y, sy = h - 1 - x;
      } else if (q == 2) {
        sx = w - 1 - x, sy = h - 1 - y;
      } else {
        sx = w - 1 - y, sy = x;
      }
      std::memcpy(out.row(y) + std::size_t(x) * 4, frame.row(sy) + std::size_t(sx) * 4, 4);
    }
  }
  return out;
}

double meanDifference(const PixelBuffer& a, const PixelBuffer& b) {
  if (!a || !b || a.width() != b.width() || a.height() != b.height()) return 255;
  double sum = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x)
      for (int c = 0; c < 3; ++c) sum += std::abs(int(a.row(y)[x * 4 + c]) - int(b.row(y)[x * 4 + c]));
  return sum / (double(a.width()) * a.height() * 3);
}

double meanLevel(const PixelBuffer& frame) {
  double sum = 0;
  for (int y = 0; y < frame.height(); ++y)
    for (int x = 0; x < frame.width(); ++x)
      for (int c = 0; c < 3; ++c) sum += frame.row(y)[x * 4 + c];
  return sum / (double(frame.width()) * frame.height() * 3);
}

MovieFacts probeMovie(const std::string& path) {
  Input input(path);
  MovieFacts facts;
  facts.formatName = input.format->iformat->name;
  for (unsigned i = 0; i < input.format->nb_streams; ++i) {
    const AVStream* stream = input.format->streams[i];
    const AVCodecParameters* parameters = stream->codecpar;
    StreamFacts stream_facts;
    stream_facts.codec = avcodec_get_name(parameters->codec_id);
    char tag[AV_FOURCC_MAX_STRING_SIZE] = {};
    av_fourcc_make_string(tag, parameters->codec_tag);
    stream_facts.codecTag = tag;
    stream_facts.width = parameters->width;
    stream_facts.height = parameters->height;
    stream_facts.bitRate = parameters->bit_rate;
    stream_facts.sampleRate = parameters->sample_rate;
    stream_facts.channels = parameters->ch_layout.nb_channels;
    stream_facts.hasDisplayMatrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr) != nullptr;
    if (parameters->codec_type == AVMEDIA_TYPE_VIDEO) facts.video.push_back(stream_facts);
    if (parameters->codec_type == AVMEDIA_TYPE_AUDIO) facts.audio.push_back(stream_facts);
  }
  return facts;
}

int displayQuarterTurns(const std::string& path) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_VIDEO);
  if (index < 0) return 0;
  const auto* matrix = reinterpret_cast<const int32_t*>(
      av_stream_get_side_data(input.format->streams[index], AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  if (!matrix) return 0;
  // The angle read here is anticlockwise: ffprobe's -90 is one clockwise quarter turn.
  const double clockwise = -av_display_rotation_get(matrix);
  return int(std::lround(clockwise / 90.0) % 4 + 4) % 4;
}

std::vector<double> videoFrameTimes(const std::string& path) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_VIDEO);
  std::vector<double> times;
  if (index < 0) return times;
  const AVRational base = input.format->streams[index]->time_base;
  decodeStream(input, index, [&](AVFrame* frame) {
    times.push_back(double(frame->best_effort_timestamp) * av_q2d(base));
    return true;
  });
  return times;
}

std::vector<std::vector<std::uint8_t>> audioPackets(const std::string& path) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_AUDIO);
  std::vector<std::vector<std::uint8_t>> packets;
  if (index < 0) return packets;
  AVPacket* packet = av_packet_alloc();
  while (av_read_frame(input.format, packet) >= 0) {
    if (packet->stream_index == index) packets.emplace_back(packet->data, packet->data + packet->size);
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  return packets;
}

std::vector<float> decodedAudio(const std::string& path) {
  Input input(path);
  const int index = input.best(AVMEDIA_TYPE_AUDIO);
  std::vector<float> samples;
  if (index < 0) return samples;
  decodeStream(input, index, [&](AVFrame* frame) {
    const int channels = frame->ch_layout.nb_channels;
    for (int i = 0; i < frame->nb_samples; ++i) {
      for (int c = 0; c < channels; ++c) {
        switch (frame->format) {
          case AV_SAMPLE_FMT_FLTP: samples.push_back(reinterpret_cast<float*>(frame->data[c])[i]); break;
          case AV_SAMPLE_FMT_FLT: samples.push_back(reinterpret_cast<float*>(frame->data[0])[i * channels + c]); break;
          case AV_SAMPLE_FMT_S16:
            samples.push_back(reinterpret_cast<std::int16_t*>(frame->data[0])[i * channels + c] / 32768.0f);
            break;
          default: throw std::runtime_error("unexpected sample format");
        }
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
  SwsContext* sws = nullptr;
  decodeStream(input, index, [&](AVFrame* frame) {
    sws = sws_getCachedContext(sws, frame->width, frame->height, AVPixelFormat(frame->format), frame->width,
                               frame->height, AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr, nullptr);
    PixelBuffer out = paddedBuffer(frame->width, frame->height);
    std::uint8_t* planes[4] = {out.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {int(out.bytesPerRow()), 0, 0, 0};
    sws_scale(sws, frame->data, frame->linesize, 0, frame->height, planes, strides);
    frames.push_back(out);
    return int(frames.size()) < limit;
  });
  sws_freeContext(sws);
  return frames;
}

}  // namespace videotest
