#pragma once
// Writes a QuickTime movie (.mov): HEVC video through libx265, tagged 'hvc1' so that
// phones and desktop players open it, and AAC audio or the source's audio packets
// copied unchanged. The file is written under a temporary name beside the destination
// and renamed only when finishWriting succeeds: a failed or cancelled write, or a
// writer dropped before finishing, leaves no file, and a file it replaces stays as it
// was until then.
//
// Threads: the writer's calls are safe from any thread. Each input is fed from its own
// serial queue: requestMediaDataWhenReady runs the block there whenever the input can
// take more, and again after each run while it still can. Appends encode on the
// calling thread. An input is not ready when it runs more than half a second ahead of
// the other, unfinished input, so the two stay interleaved in the file: an input that
// will get no more samples must be marked finished. When writing stops early (a failed
// append or write, cancelWriting), the block of each input not yet marked finished runs
// once more although the input is not ready, so that its feeder learns of the end from
// status() instead of waiting for ever. finishWriting's completion runs on a global
// queue.
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Base/Expected.h"
#include "Platform/Dispatch/SerialQueue.h"
#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetReader.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/PixelBuffer.h"
#include "Platform/Media/TemporaryFile.h"

namespace platform::media {

namespace detail {
struct WriterCore;
struct WriterInputState;
}  // namespace detail

// Status numbers as the engine knows them: 2 completed, 4 cancelled.
enum class AssetWriterStatus { unknown = 0, writing = 1, completed = 2, failed = 3, cancelled = 4 };

struct VideoEncoderSettings {
  int width = 0;   // even
  int height = 0;  // even
  // Average bit rate in bits per second (libx265's ABR mode), used without `quality`,
  // except for a picture under 16 pixels on a side, which always takes constant quality.
  std::int64_t averageBitRate = 0;
  // Constant quality from 0 to 1; wins over the bit rate. Mapped onto x265's constant
  // rate factor (see AssetWriter.cpp).
  std::optional<double> quality;
  // For rate control only (x265 spends the bit rate per frame): timestamps come from
  // the appends, so a variable frame rate is kept as it is.
  double expectedFrameRate = 30;
};

struct AudioEncoderSettings {
  int sampleRate = 44100;
  int channels = 2;
  std::int64_t bitRate = 128000;
};

class AssetWriterInput {
 public:
  MediaType mediaType() const;
  bool isReadyForMoreMediaData() const;
  void requestMediaDataWhenReady(std::shared_ptr<dispatch::SerialQueue> queue, std::function<void()> block);
  // Video: a BGRA buffer of the input's size at its presentation time on the source's
  // timeline (the session's start time becomes 0 in the file). Times must increase.
  bool append(const PixelBuffer& buffer, MediaTime presentationTime);
  // Audio: float PCM (any rate and channel count; converted) for an AAC input, packets
  // of the source for a passthrough input. Its presentationTime is on the source's
  // timeline as for video.
  bool append(const AudioSampleBuffer& buffer);
  // No more samples: the input stops being ready and no longer holds the other back.
  void markAsFinished();
  // Video inputs: buffers of the input's size, reused once released.
  std::shared_ptr<PixelBufferPool> pixelBufferPool() const;

 private:
  friend class AssetWriter;
  std::shared_ptr<detail::WriterInputState> state_;
};

class AssetWriter {
 public:
  // A path or file:// URL of a .mov to write. With `keep` it fails if something stands
  // there already or appears before the move; with `replace` the finished movie takes
  // the place of what stands there.
  static platform::Expected<std::shared_ptr<AssetWriter>, MediaError> make(const std::string& pathOrURL,
                                                                           ExistingFile existing = ExistingFile::keep);
  ~AssetWriter();

  // Before startWriting. An encoder that can't be set up (libx265 missing, an odd
  // size) fails here.
  platform::Expected<std::shared_ptr<AssetWriterInput>, MediaError> addVideoInput(const VideoEncoderSettings& settings);
  platform::Expected<std::shared_ptr<AssetWriterInput>, MediaError> addAudioInput(const AudioEncoderSettings& settings);
  // Copies the source's packets; the description comes from the source track.
  platform::Expected<std::shared_ptr<AssetWriterInput>, MediaError> addAudioPassthroughInput(
      const AudioFormatDescription& sourceFormatHint);

  // Creates the temporary file and writes the header. False (status failed, error set)
  // when it can't, e.g. in a missing folder.
  bool startWriting();
  // The source time that becomes time 0 of the file. Before the first append.
  void startSession(MediaTime sourceTime);
  // Marks every input finished, drains the encoders, completes the file and moves it
  // into place; the status then is completed, or failed with an error. The completion
  // runs on a global queue.
  void finishWriting(std::function<void()> completion);
  // Stops at once and removes the partial file. The status becomes cancelled.
  void cancelWriting();

  AssetWriterStatus status() const;
  std::optional<MediaError> error() const;
  const std::string& path() const;

 private:
  AssetWriter() = default;
  std::shared_ptr<detail::WriterCore> core_;
};

}  // namespace platform::media
