#pragma once
// The item time of a player as arithmetic on its clock, and what the passing of time
// brings. time = anchor + rate x (clock - anchor clock), within [0, duration], held
// still while the item loads, while a seek is under way and at rate 0. Playback that
// passes a time reports it once; a seek passes nothing; the end is reported once per
// arrival. Plain arithmetic without threads or clocks of its own: the player calls it
// under its lock with its clock's reading, tests with any number they like.
#ifndef HALVANE_INSIDE_PlatformMedia
#error "a private header of Platform/Media: include its public headers"
#endif
#include "Platform/Media/AssetTypes.h"

namespace platform::media {

class PlaybackTimeline {
 public:
  // The span of item time that playback went through since the last advance.
  struct Passage {
    MediaTime from = MediaTime::zero();  // excluded
    MediaTime to = MediaTime::zero();    // included
    bool reachedEnd = false;             // the first arrival at the end since a reset or seek

    bool passed(MediaTime time) const { return from < time && time <= to; }
  };

  MediaTime timeAt(double clock) const;
  float rate() const { return rate_; }
  bool isSeeking() const { return seeking_; }
  bool isRunning() const { return ready_ && !seeking_ && rate_ != 0; }

  // Below 0 counts as 0: no reverse play.
  void setRate(float rate, double clock);
  // A new item: at 0, not ready, no duration, nothing passed yet.
  void reset(double clock);
  // The item can play; an invalid duration means unknown. Time goes on from where it stands.
  void itemReady(MediaTime duration, double clock);
  // The time jumps to the target, within [0, duration], and holds until finishSeek.
  // Returns the target as it was held.
  MediaTime beginSeek(MediaTime target, double clock);
  void finishSeek(double clock);

  // What playback went through since the last call; an empty passage while held. With
  // stopAtEnd the first arrival at the end also stops the time there (rate 0).
  Passage advance(double clock, bool stopAtEnd);

 private:
  MediaTime held(MediaTime time) const;
  void reanchor(double clock);

  bool ready_ = false;
  bool seeking_ = false;
  float rate_ = 0;
  MediaTime duration_ = MediaTime::invalid();
  MediaTime anchorTime_ = MediaTime::zero();
  double anchorClock_ = 0;
  MediaTime lastAdvance_ = MediaTime::zero();
  bool endReported_ = false;
};

}  // namespace platform::media
