#pragma once
// A video or audio file and what it holds. Opening probes the file once, off the
// calling thread, on a global queue; every load then answers from that probe. Loads
// are asynchronous and can fail (a missing or unreadable file fails them all); their
// completions run on the shared main queue (MainQueue::shared()), or on the loading
// thread when no main queue is set. Thread-safe.
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Media/AssetTypes.h"

namespace platform::media {

class AudioCodecParameters;  // opaque: the codec parameters a passthrough copies

struct AudioFormatDescription {
  double sampleRate = 0;
  int channels = 0;
  std::string codec;         // FFmpeg's short codec name: "aac", "pcm_s16le"...
  std::int64_t bitRate = 0;  // bits per second, 0 when the file does not say
  // Whether a QuickTime movie can carry these packets as they are; when not, an export
  // decodes the sound and encodes it again.
  bool copiesIntoMovie = true;
  std::shared_ptr<const AudioCodecParameters> codecParameters;
};

// One track with every property that the file gives; a track that loaded has them all.
struct AssetTrack {
  int trackID = -1;  // the stream's index in the container: audio may come first
  MediaType mediaType = MediaType::video;
  AffineTransform preferredTransform;  // video: from the display matrix or "rotate" tag
  MediaSize naturalSize;               // video: the stored (unturned) size
  double nominalFrameRate = 0;         // video: frames per second, 0 when unknown
  double estimatedDataRate = 0;        // bits per second
  double duration = 0;                 // seconds
  std::optional<AudioFormatDescription> audioFormat;  // audio tracks only
};

struct AssetInfo {
  double duration = 0;  // seconds; 0 when unknown
  std::vector<AssetTrack> tracks;
  std::vector<AssetTrack> tracksOfType(MediaType type) const;
};

class Asset : public std::enable_shared_from_this<Asset> {
 public:
  template <typename T>
  using Completion = std::function<void(platform::Expected<T, MediaError>)>;

  // A path or a file:// URL. Nothing is read until the first load.
  static std::shared_ptr<Asset> make(std::string pathOrURL);
  const std::string& path() const { return path_; }

  void loadTracks(MediaType type, Completion<std::vector<AssetTrack>> completion);
  void loadDuration(Completion<double> completion);
  void load(Completion<AssetInfo> completion);

  // The probe, made on the calling thread if it was not yet: for code that already
  // runs off the main thread (readers, workers). Blocks on file input.
  platform::Expected<AssetInfo, MediaError> loadNow();

 private:
  explicit Asset(std::string path) : path_(std::move(path)) {}
  template <typename T>
  void deliver(Completion<T> completion, std::function<platform::Expected<T, MediaError>(
                                             const platform::Expected<AssetInfo, MediaError>&)> pick);

  std::string path_;
  std::mutex mutex_;
  std::optional<platform::Expected<AssetInfo, MediaError>> probe_;
};

}  // namespace platform::media
