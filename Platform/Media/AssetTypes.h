#pragma once
// Small values shared by the video and audio services of Platform/Media: exact media
// times (a value over a timescale, as a container stores them; the engine keeps double
// seconds and crosses this edge with timescale 600), time ranges, the affine transform
// of a track, sizes and the typed error of every media operation. Plain values, safe to
// copy between threads.
#include <cstdint>
#include <string>

#include "Platform/Base/Expected.h"

namespace platform::media {

// value / timescale seconds. A timescale of 0 marks an invalid time.
struct MediaTime {
  std::int64_t value = 0;
  std::int32_t timescale = 0;

  static constexpr MediaTime zero() { return {0, 1}; }
  static constexpr MediaTime invalid() { return {0, 0}; }
  // Rounds to the nearest tick (halves away from zero). Non-finite seconds give invalid.
  static MediaTime fromSeconds(double seconds, std::int32_t timescale = 600);

  constexpr bool isValid() const { return timescale > 0; }
  double seconds() const { return isValid() ? double(value) / double(timescale) : 0.0; }
  // The same instant (rounded) on another timescale.
  MediaTime convertedTo(std::int32_t newTimescale) const;
};

// Exact comparisons (cross-multiplied); an invalid time compares below every valid one.
int compare(MediaTime lhs, MediaTime rhs);
inline bool operator==(MediaTime l, MediaTime r) { return compare(l, r) == 0; }
inline bool operator!=(MediaTime l, MediaTime r) { return compare(l, r) != 0; }
inline bool operator<(MediaTime l, MediaTime r) { return compare(l, r) < 0; }
inline bool operator<=(MediaTime l, MediaTime r) { return compare(l, r) <= 0; }
inline bool operator>(MediaTime l, MediaTime r) { return compare(l, r) > 0; }
inline bool operator>=(MediaTime l, MediaTime r) { return compare(l, r) >= 0; }

struct TimeRange {
  MediaTime start = MediaTime::zero();
  MediaTime duration = MediaTime::invalid();  // invalid: up to the end of the asset
};

// x' = a x + c y + tx, y' = b x + d y + ty: the layout of a QuickTime track matrix and
// of a CGAffineTransform. A track stored landscape and shown portrait, turned one
// quarter clockwise, is (0, 1, -1, 0, height, 0).
struct AffineTransform {
  double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
  bool operator==(const AffineTransform&) const = default;
};

struct MediaSize {
  double width = 0;
  double height = 0;
  bool operator==(const MediaSize&) const = default;
};

enum class MediaType { video, audio };

struct MediaError {
  enum class Code {
    openFailed,      // missing, unreadable or not a media file
    noSuchTrack,
    decodeFailed,
    encodeFailed,
    writeFailed,     // the output can't be created, written or moved into place
    invalidArgument,
    invalidState,    // called in the wrong status (append before startWriting...)
    cancelled,
  };
  Code code = Code::openFailed;
  std::string message;  // English, for a user-facing "localized description"

  const std::string& localizedDescription() const { return message; }
};

// The failure of a call that returns Expected<T, MediaError>.
inline Unexpected<MediaError> mediaFailure(MediaError::Code code, std::string message) {
  return unexpected(MediaError{code, std::move(message)});
}

}  // namespace platform::media
