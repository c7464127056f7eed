#include "Platform/Dispatch/MediaClock.h"

#include <time.h>

namespace platform::dispatch {

double mediaTime() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace platform::dispatch
