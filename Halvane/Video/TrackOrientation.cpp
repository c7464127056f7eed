#include "Halvane/Video/TrackOrientation.h"

#include <algorithm>
#include <cmath>

#include "Platform/Base/Fatal.h"

namespace halvane {

namespace {

bool near(double x, double y) { return std::fabs(x - y) < 0.01; }

bool matches(const platform::media::AffineTransform& t, double a, double b, double c, double d) {
  return near(t.a, a) && near(t.b, b) && near(t.c, c) && near(t.d, d);
}

}  // namespace

std::int64_t quarterTurnsFromTransform(const platform::media::AffineTransform& transform) {
  if (matches(transform, 0, 1, -1, 0)) return 1;
  if (matches(transform, -1, 0, 0, -1)) return 2;
  if (matches(transform, 0, -1, 1, 0)) return 3;
  return 0;
}

platform::media::MediaSize uprightSize(const platform::media::AffineTransform& t, platform::media::MediaSize size) {
  const double xs[4] = {0, t.a * size.width, t.c * size.height, t.a * size.width + t.c * size.height};
  const double ys[4] = {0, t.b * size.width, t.d * size.height, t.b * size.width + t.d * size.height};
  const auto [minX, maxX] = std::minmax_element(std::begin(xs), std::end(xs));
  const auto [minY, maxY] = std::minmax_element(std::begin(ys), std::end(ys));
  return {std::fabs(*maxX - *minX), std::fabs(*maxY - *minY)};
}

std::uint64_t wholePixels(double side) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  if (!std::isfinite(side) || side <= -limit || side >= limit) {
    platform::fatalError("a video size cannot be converted to an integer");
  }
  const auto whole = std::int64_t(side);
  return whole > 0 ? std::uint64_t(whole) : 0;
}

std::optional<EditState> orientationState(std::int64_t quarterTurns) {
  if (quarterTurns == 0) return std::nullopt;
  EditState state;
  state.rotationQuarterTurns = quarterTurns;
  return state;
}

}  // namespace halvane
