#include "Platform/Media/AudioSink.h"

#include "Platform/Dispatch/MediaClock.h"

namespace platform::media {

SilentAudioSink::SilentAudioSink() : clock_(&dispatch::mediaTime) {}

SilentAudioSink::SilentAudioSink(std::function<double()> clock)
    : clock_(clock ? std::move(clock) : std::function<double()>(&dispatch::mediaTime)) {}

bool SilentAudioSink::open(int, int) { return false; }

double SilentAudioSink::clock() const { return clock_(); }

}  // namespace platform::media
