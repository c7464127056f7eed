#include "Platform/Qt/AudioClock.h"

#include <algorithm>

namespace platform::qt {
namespace {
// The most the sound may lag the picture's clock: beyond it the device has stalled,
// and the picture should not stall with it.
constexpr double kMaximumLag = 0.5;
// How much of each new lag measurement is taken; about 20 reports to settle.
constexpr double kSmoothing = 0.1;
}  // namespace

double AudioClock::read(double hostNow) {
  lastRead_ = std::max(lastRead_, hostNow - lag_);
  return lastRead_;
}

void AudioClock::resumed(double hostNow) { resumeHost_ = hostNow; }

void AudioClock::observe(double hostNow, std::int64_t framesHeard, int sampleRate) {
  if (sampleRate <= 0) return;
  const double heardUntil = resumeHost_ + double(framesHeard) / sampleRate;
  const double measured = std::clamp(hostNow - heardUntil, 0.0, kMaximumLag);
  lag_ += kSmoothing * (measured - lag_);
}

}  // namespace platform::qt
