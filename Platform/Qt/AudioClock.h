#pragma once
// The clock of a device sink: host time (the mediaTime() scale, which display links
// use) less how far the heard sound runs behind it. Each time the sink feeds the
// device it reports how many frames have been heard since playback last resumed; the
// lag is the host time elapsed since then less the duration heard, smoothed so that a
// device's coarse position reports do not make the picture jitter, and held between 0
// and half a second. The clock never goes back. Not thread-safe: the sink locks it.
#ifndef HALVANE_INSIDE_PlatformQt
#error "a private header of Platform/Qt: include its public headers"
#endif
#include <cstdint>

namespace platform::qt {

class AudioClock {
 public:
  // The clock at host time `hostNow`.
  double read(double hostNow);
  // Playback (re)starts at host time `hostNow`: heard frames count from here.
  void resumed(double hostNow);
  // `framesHeard` frames at `sampleRate` have been heard since the last resume.
  void observe(double hostNow, std::int64_t framesHeard, int sampleRate);
  double lag() const { return lag_; }

 private:
  double resumeHost_ = 0;
  double lag_ = 0;
  double lastRead_ = 0;
};

}  // namespace platform::qt
