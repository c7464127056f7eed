#pragma once
// Playback of one item at a time: demuxing and decoding run on a worker thread of the
// player's own, ahead of the clock by a few frames (a small bounded queue per output),
// so the main thread only takes finished BGRA frames. The clock is the audio sink's
// (the silent sink's is the monotonic clock); item time = anchor + rate x (clock -
// anchor clock), held still while an item loads or a seek is under way, and kept
// within 0 and the duration.
//
// Threads: Player, PlayerItem and the output are used from the main thread (the
// output's calls are also safe from any thread). Seek completions, boundary observers
// and the end-of-item notification run on the shared main queue (MainQueue::shared()).
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Media/Asset.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/AudioSink.h"
#include "Platform/Media/PixelBuffer.h"

namespace platform::media {

namespace detail {
struct PlayerCore;
struct VideoOutputState;
struct PlayerItemState;
}  // namespace detail

// Hands out the item's frames as BGRA pixel buffers, as a display link asks for them.
class PlayerItemVideoOutput {
 public:
  PlayerItemVideoOutput();
  // The item time at a host time read on the player's clock (see AudioSink::clock).
  // Invalid while the output's item is not the current item of a player.
  MediaTime itemTime(double hostTime) const;
  // A frame due at itemTime (its presentation time at or before it) that was not
  // copied yet.
  bool hasNewPixelBuffer(MediaTime itemTime) const;
  // The latest frame due at itemTime; older ones are dropped. Empty when none is due.
  PixelBuffer copyPixelBuffer(MediaTime itemTime);

 private:
  friend class Player;
  friend class PlayerItem;
  std::shared_ptr<detail::VideoOutputState> state_;
};

class PlayerItem {
 public:
  enum class Status { unknown, readyToPlay, failed };
  static std::shared_ptr<PlayerItem> make(std::shared_ptr<Asset> asset);
  const std::shared_ptr<Asset>& asset() const { return asset_; }
  // Attach outputs before the item is given to a player.
  void addOutput(std::shared_ptr<PlayerItemVideoOutput> output);
  Status status() const;
  std::optional<MediaError> error() const;

 private:
  friend class Player;
  friend struct detail::PlayerCore;
  explicit PlayerItem(std::shared_ptr<Asset> asset);
  std::shared_ptr<Asset> asset_;
  std::shared_ptr<detail::PlayerItemState> state_;
};

// Posted to the default notification centre, with the item as its object, each time
// playback reaches the end of the current item.
inline constexpr const char* kPlayerItemDidPlayToEndTimeNotification = "PlayerItemDidPlayToEndTime";

// What happens when the item's end is reached while playing. `none` keeps the rate,
// so a seek back plays on at once.
enum class ActionAtItemEnd { advance = 0, pause = 1, none = 2 };

class Player {
 public:
  using TimeObserverToken = std::uint64_t;

  // The sink plays the sound and gives the clock; none means a SilentAudioSink.
  explicit Player(std::shared_ptr<AudioSink> audioSink = nullptr);
  ~Player();
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  // Stops the present item and starts loading this one (or none) at time zero, with
  // the rate unchanged.
  void replaceCurrentItem(std::shared_ptr<PlayerItem> item);
  std::shared_ptr<PlayerItem> currentItem() const;

  void play() { setRate(1.0f); }
  void pause() { setRate(0.0f); }
  float rate() const;
  // Any rate above 0 runs the clock that fast (below 0 counts as 0: no reverse play);
  // sound is played at rate 1 only.
  void setRate(float rate);
  float volume() const;
  void setVolume(float volume);
  MediaTime currentTime() const;
  ActionAtItemEnd actionAtItemEnd() const;
  void setActionAtItemEnd(ActionAtItemEnd action);

  // Exact seek (zero tolerance): decodes from the key frame before `time` and drops the
  // frames before it, so the first frame out is the one shown at `time`. The clock
  // stands at `time` until that frame is ready. The completion gets true, or false
  // when another seek or a new item overtook this one.
  void seek(MediaTime time, std::function<void(bool finished)> completion = {});

  // `block` runs whenever playback crosses one of the times (not when a seek jumps
  // over it). Removing the token stops deliveries, including ones already queued.
  TimeObserverToken addBoundaryTimeObserver(std::vector<MediaTime> times, std::function<void()> block);
  void removeTimeObserver(TimeObserverToken token);

 private:
  std::shared_ptr<detail::PlayerCore> core_;
};

}  // namespace platform::media
