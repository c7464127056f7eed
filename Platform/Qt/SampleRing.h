#pragma once
// A bounded first-in first-out store of interleaved float frames between the player's
// decoding thread (which writes) and the audio thread (which reads). Thread-safe;
// never blocks for longer than a copy.
#ifndef HALVANE_INSIDE_PlatformQt
#error "a private header of Platform/Qt: include its public headers"
#endif
#include <cstddef>
#include <mutex>
#include <vector>

namespace platform::qt {

class SampleRing {
 public:
  SampleRing(std::size_t capacityFrames, int channels);

  // Takes as many frames as fit; returns how many.
  std::size_t write(const float* interleaved, std::size_t frames);
  // Moves up to `frames` frames out; returns how many.
  std::size_t read(float* interleaved, std::size_t frames);
  void clear();
  std::size_t frames() const;
  int channels() const { return channels_; }

 private:
  mutable std::mutex mutex_;
  std::vector<float> samples_;
  int channels_;
  std::size_t capacity_;  // in frames
  std::size_t head_ = 0;  // first frame to read
  std::size_t count_ = 0;
};

}  // namespace platform::qt
