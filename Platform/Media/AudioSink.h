#pragma once
// Where a Player sends its sound, and the clock it plays by. The player calls open,
// write, flush and setPaused from its decoding thread, setVolume from the thread that
// sets the player's volume (and when an item opens), clock() from any thread. An
// implementation must therefore be thread-safe.
//
// The clock is in seconds on the host's monotonic scale (that of mediaTime(), which
// display links use): the player maps item time to it, so a host time handed to
// itemTime(forHostTime:) is read on this clock. The silent sink's clock is mediaTime()
// itself (or a clock a test gives it). A device sink (the Qt Multimedia one, in
// Platform/Qt) stays on that scale but runs behind it by how far the heard sound lags
// what was written, so that the picture follows what is heard.
#include <atomic>
#include <cstddef>
#include <functional>

namespace platform::media {

class AudioSink {
 public:
  virtual ~AudioSink() = default;

  // Prepares the device for interleaved 32-bit float PCM of this rate and channel
  // count. False when there is no device or it refuses the format: the player then
  // plays without sound, on this sink's clock, and never writes.
  virtual bool open(int sampleRate, int channels) = 0;
  virtual void close() = 0;
  // Queues frames (a frame is one sample of every channel). Never blocks: returns how
  // many frames were taken, 0 when the device's buffer is full.
  virtual std::size_t write(const float* interleaved, std::size_t frames) = 0;
  // Drops everything queued and not yet played (a seek, a new item).
  virtual void flush() = 0;
  virtual void setPaused(bool paused) = 0;
  // Gain from 0 to 1, applied by the device.
  virtual void setVolume(float volume) = 0;
  virtual double clock() const = 0;
};

// No device: open() says false and the clock is the monotonic clock, or the function
// given (tests drive a player with a clock of their own this way).
class SilentAudioSink final : public AudioSink {
 public:
  SilentAudioSink();
  explicit SilentAudioSink(std::function<double()> clock);

  bool open(int sampleRate, int channels) override;
  void close() override {}
  std::size_t write(const float*, std::size_t frames) override { return frames; }
  void flush() override {}
  void setPaused(bool) override {}
  void setVolume(float volume) override { volume_ = volume; }
  double clock() const override;

  float volume() const { return volume_; }

 private:
  std::function<double()> clock_;
  std::atomic<float> volume_{1.0f};
};

}  // namespace platform::media
