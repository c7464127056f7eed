#include "MediaVideoTestSupport.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <cmath>
#include <cstring>
#include <map>
#include <mutex>

#include "Support/AvCheck.h"

namespace mediatest {

namespace {

void writePackets(AVFormatContext* format, AVCodecContext* encoder, AVStream* stream, AVFrame* frame) {
  testsupport::avCheck(avcodec_send_frame(encoder, frame), "send frame");
  AVPacket* packet = av_packet_alloc();
  while (avcodec_receive_packet(encoder, packet) == 0) {
    av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
    packet->stream_index = stream->index;
    testsupport::avCheck(av_interleaved_write_frame(format, packet), "write packet");
  }
  av_packet_free(&packet);
}

void generate(const std::string& path, const ClipSpec& clip) {
  av_log_set_level(AV_LOG_ERROR);
  AVFormatContext* format = nullptr;
  testsupport::avCheck(avformat_alloc_output_context2(&format, nullptr, "mov", path.c_str()), "output");
  const bool odd = clip.width % 2 || clip.height % 2;

  const AVCodec* videoCodec = avcodec_find_encoder_by_name("libx264");
  if (!videoCodec) throw std::runtime_error("no libx264");
  AVCodecContext* video = avcodec_alloc_context3(videoCodec);
  video->width = clip.width;
  video->height = clip.height;
  video->pix_fmt = odd ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV420P;
  video->time_base = AVRational{1, clip.fps};
  video->framerate = AVRational{clip.fps, 1};
  video->gop_size = clip.keyInterval;
  video->keyint_min = clip.keyInterval;
  video->max_b_frames = clip.bFrames ? 2 : 0;
  video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  av_opt_set(video->priv_data, "preset", "ultrafast", 0);
  av_opt_set(video->priv_data, "x264-params", "scenecut=0:log=-1", 0);
  av_opt_set(video->priv_data, "crf", "12", 0);
  testsupport::avCheck(avcodec_open2(video, videoCodec, nullptr), "open x264");
  AVStream* videoStream = avformat_new_stream(format, nullptr);
  videoStream->time_base = AVRational{1, 600};
  avcodec_parameters_from_context(videoStream->codecpar, video);
  if (clip.portraitMatrix) {
    std::int32_t matrix[9] = {0, 65536, 0, -65536, 0, 0, clip.height * 65536, 0, 1 << 30};
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 102)
    AVPacketSideData* side = av_packet_side_data_new(&videoStream->codecpar->coded_side_data,
                                                     &videoStream->codecpar->nb_coded_side_data,
                                                     AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix, 0);
    std::memcpy(side->data, matrix, sizeof matrix);
#else
    std::uint8_t* side = av_stream_new_side_data(videoStream, AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix);
    std::memcpy(side, matrix, sizeof matrix);
#endif
  }

  AVCodecContext* audio = nullptr;
  AVStream* audioStream = nullptr;
  if (clip.audio) {
    const AVCodec* audioCodec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    audio = avcodec_alloc_context3(audioCodec);
    audio->sample_fmt = AV_SAMPLE_FMT_FLTP;
    audio->sample_rate = clip.sampleRate;
    av_channel_layout_default(&audio->ch_layout, clip.channels);
    audio->bit_rate = 64000 * clip.channels;
    audio->time_base = AVRational{1, clip.sampleRate};
    audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    testsupport::avCheck(avcodec_open2(audio, audioCodec, nullptr), "open aac");
    audioStream = avformat_new_stream(format, nullptr);
    audioStream->time_base = audio->time_base;
    avcodec_parameters_from_context(audioStream->codecpar, audio);
  }

  testsupport::avCheck(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE), "create");
  testsupport::avCheck(avformat_write_header(format, nullptr), "header");

  AVFrame* frame = av_frame_alloc();
  frame->format = video->pix_fmt;
  frame->width = clip.width;
  frame->height = clip.height;
  testsupport::avCheck(av_frame_get_buffer(frame, 0), "frame");
  AVFrame* sound = nullptr;
  std::int64_t samplesWritten = 0;
  const std::int64_t totalSamples = std::int64_t(clip.frames) * clip.sampleRate / clip.fps;
  if (audio) {
    sound = av_frame_alloc();
    sound->format = audio->sample_fmt;
    sound->nb_samples = audio->frame_size;
    sound->sample_rate = audio->sample_rate;
    av_channel_layout_copy(&sound->ch_layout, &audio->ch_layout);
    testsupport::avCheck(av_frame_get_buffer(sound, 0), "sound");
  }
  const int barWidth = std::max(1, clip.width / 8);
  for (int n = 0; n < clip.frames; ++n) {
    testsupport::avCheck(av_frame_make_writable(frame), "writable");
    for (int y = 0; y < clip.height; ++y) {
      for (int x = 0; x < clip.width; ++x) {
        int luma;
        if (y < clip.height / 2) {
          const int bar = std::min(7, x / barWidth);
          luma = (n >> bar) & 1 ? 235 : 16;
        } else {
          luma = 40 + ((x + 3 * n) * 4) % 160;  // moves right by 3 pixels a frame
        }
        frame->data[0][y * frame->linesize[0] + x] = std::uint8_t(luma);
      }
    }
    const int chromaWidth = odd ? clip.width : clip.width / 2, chromaHeight = odd ? clip.height : clip.height / 2;
    for (int plane = 1; plane < 3; ++plane)
      for (int y = 0; y < chromaHeight; ++y)
        for (int x = 0; x < chromaWidth; ++x) frame->data[plane][y * frame->linesize[plane] + x] = 128;
    frame->pts = n;
    writePackets(format, video, videoStream, frame);
    // Sound up to this frame's end, in whole encoder frames.
    while (audio && samplesWritten < std::min(totalSamples, std::int64_t(n + 1) * clip.sampleRate / clip.fps)) {
      testsupport::avCheck(av_frame_make_writable(sound), "writable sound");
      for (int c = 0; c < clip.channels; ++c) {
        auto* samples = reinterpret_cast<float*>(sound->data[c]);
        for (int i = 0; i < sound->nb_samples; ++i)
          samples[i] = float(0.5 * std::sin(2 * M_PI * 440.0 * double(samplesWritten + i) / clip.sampleRate));
      }
      sound->pts = samplesWritten;
      samplesWritten += sound->nb_samples;
      writePackets(format, audio, audioStream, sound);
    }
  }
  writePackets(format, video, videoStream, nullptr);
  if (audio) writePackets(format, audio, audioStream, nullptr);
  testsupport::avCheck(av_write_trailer(format), "trailer");
  avio_closep(&format->pb);
  av_frame_free(&frame);
  av_frame_free(&sound);
  avcodec_free_context(&video);
  avcodec_free_context(&audio);
  avformat_free_context(format);
}

}  // namespace

std::string makeClip(const std::string& name, const ClipSpec& clip) {
  static std::mutex mutex;
  static std::map<std::string, std::string> made;
  std::lock_guard lock(mutex);
  auto found = made.find(name);
  if (found != made.end()) return found->second;
  const std::string path = temporaryFolder() + "/" + name + ".mov";
  generate(path, clip);
  made[name] = path;
  return path;
}

int frameNumber(const platform::media::PixelBuffer& frame, int quarterTurns) {
  if (!frame) return -1;
  // The picture as made was w x h; a turned one is h x w.
  const bool swapped = quarterTurns % 2 == 1;
  const int w = swapped ? frame.height() : frame.width();
  const int h = swapped ? frame.width() : frame.height();
  const double barWidth = double(w) / 8.0;
  int number = 0;
  for (int bar = 0; bar < 8; ++bar) {
    const int x = int((bar + 0.5) * barWidth), y = h / 4;
    int fx = x, fy = y;
    switch (quarterTurns % 4) {
      case 1: fx = h - 1 - y; fy = x; break;
      case 2: fx = w - 1 - x; fy = h - 1 - y; break;
      case 3: fx = y; fy = w - 1 - x; break;
      default: break;
    }
    const std::uint8_t* pixel = frame.row(fy) + std::size_t(fx) * 4;
    const int green = pixel[1];
    if (green > 100 && green < 160) return -1;  // neither bar colour: no pattern here
    if (green >= 160) number |= 1 << bar;
  }
  return number;
}

}  // namespace mediatest

// Read by LeakSanitizer in sanitizer builds: libx265 3.5 keeps about 1 KB of each
// encoder it opens (allocated in x265_encoder_open, never freed by its close). That is
// the library's, not ours; every other leak still fails the run.
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265.so\n"; }
