#pragma once
// Plays a Player's sound through Qt Multimedia (QAudioSink: PipeWire, PulseAudio or
// ALSA) on the default output device. The device lives on an audio thread of the
// sink's own, fed every few milliseconds from a ring of about a fifth of a second that
// write() fills without blocking. Its clock follows what is heard (see AudioClock).
// With no output device, one that refuses the format, or no Qt application object,
// open() says false and the clock is the monotonic clock: the player then plays in
// silence.
#include <atomic>
#include <memory>

#include "Platform/Media/AudioSink.h"

namespace platform::qt {

class QtAudioSink final : public media::AudioSink {
 public:
  QtAudioSink();
  ~QtAudioSink() override;
  QtAudioSink(const QtAudioSink&) = delete;
  QtAudioSink& operator=(const QtAudioSink&) = delete;

  bool open(int sampleRate, int channels) override;
  void close() override;
  std::size_t write(const float* interleaved, std::size_t frames) override;
  void flush() override;
  void setPaused(bool paused) override;
  void setVolume(float volume) override;
  double clock() const override;

 private:
  struct Device;
  std::unique_ptr<Device> device_;
};

}  // namespace platform::qt
