#pragma once
// Private to Platform/Media: owning wrappers around FFmpeg objects and the few
// conversions every video and audio service shares (errors, times, the display matrix,
// BGRA and float PCM conversion, a one-stream frame reader). Never included by a public
// header, so no FFmpeg type leaves this layer.
#ifndef HALVANE_INSIDE_PlatformMedia
#error "a private header of Platform/Media: include its public headers"
#endif
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/PixelBuffer.h"

namespace platform::media {

// The opaque codec parameters that a passthrough audio input copies.
class AudioCodecParameters {
 public:
  AudioCodecParameters(const AVCodecParameters* source, AVRational timeBase);
  ~AudioCodecParameters();
  AudioCodecParameters(const AudioCodecParameters&) = delete;
  AudioCodecParameters& operator=(const AudioCodecParameters&) = delete;
  const AVCodecParameters* get() const { return parameters_; }
  AVRational timeBase() const { return timeBase_; }

 private:
  AVCodecParameters* parameters_ = nullptr;
  AVRational timeBase_;
};

namespace av {

struct FormatContextCloser { void operator()(AVFormatContext* c) const { avformat_close_input(&c); } };
struct CodecContextFreer { void operator()(AVCodecContext* c) const { avcodec_free_context(&c); } };
struct FrameFreer { void operator()(AVFrame* f) const { av_frame_free(&f); } };
struct PacketFreer { void operator()(AVPacket* p) const { av_packet_free(&p); } };
struct SwsFreer { void operator()(SwsContext* s) const { sws_freeContext(s); } };
struct SwrFreer { void operator()(SwrContext* s) const { swr_free(&s); } };
struct FifoFreer { void operator()(AVAudioFifo* f) const { av_audio_fifo_free(f); } };

using FormatContextPtr = std::unique_ptr<AVFormatContext, FormatContextCloser>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextFreer>;
using FramePtr = std::unique_ptr<AVFrame, FrameFreer>;
using PacketPtr = std::unique_ptr<AVPacket, PacketFreer>;
using SwsPtr = std::unique_ptr<SwsContext, SwsFreer>;
using SwrPtr = std::unique_ptr<SwrContext, SwrFreer>;
using FifoPtr = std::unique_ptr<AVAudioFifo, FifoFreer>;

FramePtr makeFrame();
PacketPtr makePacket();

// Silences FFmpeg's own logging (once per process).
void initialize();

std::string errorText(int averror);
MediaError error(MediaError::Code code, const std::string& what, int averror = 0);

// Sound the QuickTime movie takes packet for packet: AAC, ALAC, MP3, AC-3 and PCM.
// FFmpeg writes Opus and FLAC only into MP4, and others not at all.
bool movieCarriesAudioPackets(AVCodecID codec);

MediaTime timeFromTimestamp(std::int64_t timestamp, AVRational timeBase);
std::int64_t timestampFromTime(MediaTime time, AVRational timeBase);

// Opens and probes a file for reading.
platform::Expected<FormatContextPtr, MediaError> openInput(const std::string& path);

// The stream's display matrix (side data) or its legacy "rotate" tag, as a transform.
AffineTransform streamTransform(const AVStream* stream);
// Quarter turns clockwise (0 to 3) of a transform whose 2 by 2 part is one, else 0.
int quarterTurns(const AffineTransform& transform);

// A decoder for one stream, threads chosen by FFmpeg.
platform::Expected<CodecContextPtr, MediaError> openDecoder(const AVStream* stream);

// Converts decoded frames of any size and pixel format into BGRA pixel buffers,
// honouring the frame's range (full or limited) and matrix (BT.601 or BT.709).
class BgraConverter {
 public:
  platform::Expected<PixelBuffer, MediaError> convert(const AVFrame* frame, MediaTime time,
                                                      int outWidth = 0, int outHeight = 0);

 private:
  SwsPtr context_;
  // Frames of one size reuse the memory their users have let go: no fresh pages to
  // fault in and clear for every frame.
  std::unique_ptr<PixelBufferPool> buffers_;
};

// Converts decoded audio frames into interleaved 32-bit float at the frame's own rate
// and channel count.
class PcmConverter {
 public:
  platform::Expected<std::vector<float>, MediaError> convert(const AVFrame* frame);
  int channels() const { return channels_; }

 private:
  SwrPtr context_;
  int inFormat_ = -1, inRate_ = 0, channels_ = 0;
};

// Demuxes one stream of a file of its own (every other stream discarded) and decodes
// it, or hands out its packets untouched. Not thread-safe: one user at a time.
class StreamFrameReader {
 public:
  static platform::Expected<std::unique_ptr<StreamFrameReader>, MediaError> open(const std::string& path,
                                                                                int streamIndex, bool decode);
  AVStream* stream() const { return stream_; }
  AVCodecContext* decoder() const { return decoder_.get(); }

  // Seeks to the key frame at or before `time` and resets the decoder.
  void seek(MediaTime time);
  // The next decoded frame into `frame`: true, or false at the end (error() then says
  // whether it was a failure).
  bool nextFrame(AVFrame* frame);
  // The next packet of the stream (decode = false readers): true, or false at the end.
  bool nextPacket(AVPacket* packet);
  const std::optional<MediaError>& error() const { return error_; }
  MediaTime frameTime(const AVFrame* frame) const;

 private:
  FormatContextPtr format_;
  CodecContextPtr decoder_;
  AVStream* stream_ = nullptr;
  PacketPtr packet_ = makePacket();
  bool demuxEnded_ = false;
  bool drained_ = false;
  std::optional<MediaError> error_;
};

}  // namespace av
}  // namespace platform::media
