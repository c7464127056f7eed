#include "Platform/Qt/SampleRing.h"

#include <algorithm>
#include <cstring>

namespace platform::qt {

SampleRing::SampleRing(std::size_t capacityFrames, int channels)
    : samples_(capacityFrames * std::size_t(std::max(channels, 1))),
      channels_(std::max(channels, 1)),
      capacity_(capacityFrames) {}

std::size_t SampleRing::write(const float* interleaved, std::size_t frames) {
  std::lock_guard lock(mutex_);
  const std::size_t taken = std::min(frames, capacity_ - count_);
  const std::size_t channels = std::size_t(channels_);
  for (std::size_t done = 0; done < taken;) {
    const std::size_t tail = (head_ + count_) % capacity_;
    const std::size_t run = std::min(taken - done, capacity_ - tail);
    std::memcpy(&samples_[tail * channels], interleaved + done * channels, run * channels * sizeof(float));
    count_ += run;
    done += run;
  }
  return taken;
}

std::size_t SampleRing::read(float* interleaved, std::size_t frames) {
  std::lock_guard lock(mutex_);
  const std::size_t given = std::min(frames, count_);
  const std::size_t channels = std::size_t(channels_);
  for (std::size_t done = 0; done < given;) {
    const std::size_t run = std::min(given - done, capacity_ - head_);
    std::memcpy(interleaved + done * channels, &samples_[head_ * channels], run * channels * sizeof(float));
    head_ = (head_ + run) % capacity_;
    count_ -= run;
    done += run;
  }
  return given;
}

void SampleRing::clear() {
  std::lock_guard lock(mutex_);
  head_ = 0;
  count_ = 0;
}

std::size_t SampleRing::frames() const {
  std::lock_guard lock(mutex_);
  return count_;
}

}  // namespace platform::qt
