// mediaTime(): monotonic seconds on the same clock as the steady clock.
#include <gtest/gtest.h>

#include <chrono>

#include "Platform/Dispatch/MediaClock.h"

namespace platform::dispatch {
namespace {

TEST(MediaClock, NeverGoesBackwardsAndAgreesWithTheSteadyClock) {
  double previous = mediaTime();
  EXPECT_GT(previous, 0.0);
  for (int i = 0; i < 100000; ++i) {
    const double now = mediaTime();
    ASSERT_GE(now, previous);
    previous = now;
  }
  // Both read CLOCK_MONOTONIC, so a reading lies between two steady-clock readings
  // taken around it (a microsecond of slack for rounding to double).
  using Seconds = std::chrono::duration<double>;
  const double before = Seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
  const double media = mediaTime();
  const double after = Seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
  EXPECT_GE(media, before - 1e-6);
  EXPECT_LE(media, after + 1e-6);
}

}  // namespace
}  // namespace platform::dispatch
