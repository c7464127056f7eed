#include "Platform/Media/PlaybackTimeline.h"

#include <algorithm>

namespace platform::media {

namespace {
// Nanoseconds: fine enough that a clock reading never rounds a frame away.
constexpr std::int32_t kTimelineTimescale = 1'000'000'000;
}  // namespace

MediaTime PlaybackTimeline::held(MediaTime time) const {
  if (time < MediaTime::zero()) return MediaTime::zero();
  if (duration_.isValid() && time > duration_) return duration_;
  return time;
}

MediaTime PlaybackTimeline::timeAt(double clock) const {
  if (!isRunning() || clock == anchorClock_) return held(anchorTime_);
  return held(MediaTime::fromSeconds(anchorTime_.seconds() + double(rate_) * (clock - anchorClock_),
                                     kTimelineTimescale));
}

void PlaybackTimeline::reanchor(double clock) {
  anchorTime_ = timeAt(clock);
  anchorClock_ = clock;
}

void PlaybackTimeline::setRate(float rate, double clock) {
  reanchor(clock);
  rate_ = std::max(rate, 0.0f);
}

void PlaybackTimeline::reset(double clock) {
  ready_ = false;
  seeking_ = false;
  duration_ = MediaTime::invalid();
  anchorTime_ = MediaTime::zero();
  anchorClock_ = clock;
  lastAdvance_ = MediaTime::zero();
  endReported_ = false;
}

void PlaybackTimeline::itemReady(MediaTime duration, double clock) {
  ready_ = true;
  duration_ = duration;
  anchorTime_ = held(anchorTime_);
  anchorClock_ = clock;
}

MediaTime PlaybackTimeline::beginSeek(MediaTime target, double clock) {
  seeking_ = true;
  anchorTime_ = held(target);
  anchorClock_ = clock;
  lastAdvance_ = anchorTime_;
  endReported_ = false;
  return anchorTime_;
}

void PlaybackTimeline::finishSeek(double clock) {
  seeking_ = false;
  anchorClock_ = clock;
  lastAdvance_ = anchorTime_;
}

PlaybackTimeline::Passage PlaybackTimeline::advance(double clock, bool stopAtEnd) {
  if (!isRunning()) return Passage{lastAdvance_, lastAdvance_, false};
  const MediaTime now = timeAt(clock);
  Passage passage{lastAdvance_, std::max(now, lastAdvance_), false};
  lastAdvance_ = now;
  if (duration_.isValid() && now >= duration_ && !endReported_) {
    endReported_ = true;
    passage.reachedEnd = true;
    if (stopAtEnd) setRate(0, clock);
  }
  return passage;
}

}  // namespace platform::media
