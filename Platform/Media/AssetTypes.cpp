#include "Platform/Media/AssetTypes.h"

#include <cmath>

namespace platform::media {

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t timescale) {
  if (!std::isfinite(seconds) || timescale <= 0) return invalid();
  return {std::llround(seconds * double(timescale)), timescale};
}

MediaTime MediaTime::convertedTo(std::int32_t newTimescale) const {
  if (!isValid() || newTimescale <= 0) return invalid();
  if (newTimescale == timescale) return *this;
  const __int128 scaled = __int128(value) * newTimescale;
  const __int128 half = timescale / 2;
  const __int128 rounded = scaled >= 0 ? (scaled + half) / timescale : -((-scaled + half) / timescale);
  return {std::int64_t(rounded), newTimescale};
}

int compare(MediaTime lhs, MediaTime rhs) {
  if (!lhs.isValid() || !rhs.isValid()) return int(lhs.isValid()) - int(rhs.isValid());
  const __int128 l = __int128(lhs.value) * rhs.timescale;
  const __int128 r = __int128(rhs.value) * lhs.timescale;
  return l < r ? -1 : (l > r ? 1 : 0);
}

}  // namespace platform::media
