#pragma once
// Reads an asset's samples over a time range, in order, for an export: the video
// track as timestamped BGRA frames as stored (the track's transform is NOT applied;
// the engine bakes orientation itself), the audio track either as the file's own
// packets, untouched (passthrough), or as interleaved 32-bit float PCM at the source's
// rate and channel count. Each output decodes on the thread that calls it, from a file
// handle of its own, so a video pump and an audio pump can read side by side. Every
// call is thread-safe; one output is meant to be read by one thread at a time.
//
// Times are the source's own: a range [start, start + duration) delivers the frames
// shown in it (a frame shown at `start` but stored before it comes with `start` as its
// time), and sound cut to the sample (PCM) or the packets that overlap the range
// (passthrough).
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/PixelBuffer.h"

namespace platform::media {

namespace detail {
struct ReaderCore;
struct ReaderOutputState;
}  // namespace detail

// Status numbers as the engine knows them: 1 reading, 2 completed, 3 failed, 4 cancelled.
enum class AssetReaderStatus { unknown = 0, reading = 1, completed = 2, failed = 3, cancelled = 4 };

enum class AudioReadMode {
  passthrough,  // the file's packets as they are, for a writer input that copies them
  floatPCM,     // decoded, interleaved 32-bit float, source rate and channels
};

// A run of sound: either float PCM or one compressed packet of the source's codec.
struct AudioSampleBuffer {
  MediaTime presentationTime = MediaTime::invalid();
  MediaTime duration = MediaTime::invalid();
  int sampleRate = 0;
  int channels = 0;
  std::int64_t frameCount = 0;  // samples per channel
  bool isPacket = false;        // passthrough: `data` is one packet of the source codec
  std::vector<std::uint8_t> data;

  // PCM buffers: the samples, in place (gain is applied here).
  float* floatSamples() { return reinterpret_cast<float*>(data.data()); }
  const float* floatSamples() const { return reinterpret_cast<const float*>(data.data()); }
  std::size_t floatCount() const { return data.size() / sizeof(float); }
};

class AssetReaderVideoOutput {
 public:
  // The next frame, or an empty buffer at the end of the range (and after a cancel
  // or a failure: status() tells which).
  PixelBuffer copyNextPixelBuffer();
  const AssetTrack& track() const;

 private:
  friend class AssetReader;
  std::shared_ptr<detail::ReaderOutputState> state_;
};

class AssetReaderAudioOutput {
 public:
  // The next buffer, or none at the end (see the video output).
  std::optional<AudioSampleBuffer> copyNextSampleBuffer();
  const AssetTrack& track() const;
  AudioReadMode mode() const;

 private:
  friend class AssetReader;
  std::shared_ptr<detail::ReaderOutputState> state_;
};

class AssetReader {
 public:
  // Fails when the asset can't be opened.
  static platform::Expected<std::shared_ptr<AssetReader>, MediaError> make(std::shared_ptr<Asset> asset);

  // Before startReading. The default is the whole asset.
  void setTimeRange(TimeRange range);
  TimeRange timeRange() const;
  // Before startReading; the track must be one of this asset's (from its loads).
  std::shared_ptr<AssetReaderVideoOutput> addVideoOutput(const AssetTrack& track);
  std::shared_ptr<AssetReaderAudioOutput> addAudioOutput(const AssetTrack& track, AudioReadMode mode);

  // Opens every output and seeks it to the range's start. False (status failed) when
  // one can't be opened.
  bool startReading();
  // Outputs give nothing from now on; the status becomes cancelled.
  void cancelReading();
  AssetReaderStatus status() const;
  std::optional<MediaError> error() const;

 private:
  explicit AssetReader(std::shared_ptr<Asset> asset);
  std::shared_ptr<detail::ReaderOutputState> addOutput(const AssetTrack& track, bool video, AudioReadMode mode);
  std::shared_ptr<Asset> asset_;
  std::shared_ptr<detail::ReaderCore> core_;
};

}  // namespace platform::media
