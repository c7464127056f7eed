#include "Halvane/Rendering/RenderUniforms.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>


namespace halvane {

namespace {

[[noreturn]] void stop(const char* what, double value) {
  std::fprintf(stderr, "RenderUniforms: %s %.17g does not fit an unsigned 32-bit integer\n", what, value);
  std::fflush(stderr);
  std::abort();
}

std::uint32_t sourceSide(std::uint64_t side, const char* what) {
  if (side > std::numeric_limits<std::uint32_t>::max()) stop(what, static_cast<double>(side));
  return static_cast<std::uint32_t>(side);
}

bool finite(float value) { return std::isfinite(value); }

// Crop origin: a NaN, an infinity, zero or a negative gives 0; otherwise at most 1.
float cleanOrigin(double stored) {
  const float value = static_cast<float>(stored);
  if (!finite(value) || value <= 0) return 0;
  return std::fmin(value, 1.0f);
}

// Crop side: a NaN or an infinity gives 1; a positive value at most 1 - origin;
// anything else 0. No floor of 0.01, unlike the decoder.
float cleanSide(double stored, float origin) {
  const float value = static_cast<float>(stored);
  if (!finite(value)) return 1;
  if (value > 0) return std::fmin(value, 1.0f - origin);
  return 0;
}

struct CleanCrop {
  float x, y, width, height;
};

CleanCrop cleanCrop(const Rect& crop) {
  CleanCrop c;
  c.x = cleanOrigin(crop.x);
  c.y = cleanOrigin(crop.y);
  c.width = cleanSide(crop.width, c.x);
  c.height = cleanSide(crop.height, c.y);
  return c;
}

// side × source in Float, rounded to nearest with halves away from zero, as u32, at
// least 1. A product that rounds to 2^32 or more stops the program.
std::uint32_t croppedSide(float side, std::uint32_t source, const char* what) {
  const float rounded = std::round(side * static_cast<float>(source));
  if (!(rounded < 4294967296.0f)) stop(what, rounded);
  const auto pixels = static_cast<std::uint32_t>(rounded);
  return pixels < 1 ? 1 : pixels;
}

// Degrees to radians with the block's constant: multiplication first, then division.
float radians(float degrees) { return degrees * kUniformPi / 180.0f; }

float blockValue(const FloatRange& range, float value) { return range.clean(value); }
std::uint32_t blockValue(const IntRange& range, std::int64_t value) {
  return static_cast<std::uint32_t>(range.clamp(value));
}

}  // namespace

RenderUniforms makeUniforms(std::uint64_t sourceWidth, std::uint64_t sourceHeight, const EditState& s,
                            bool finalOutput) {
  namespace r = edit_ranges;
  RenderUniforms u{};

  const CleanCrop crop = cleanCrop(s.cropRect);
  u.cropX = crop.x;
  u.cropY = crop.y;
  u.cropWidth = crop.width;
  u.cropHeight = crop.height;
  u.rotationRadians = radians(r::rotationAngle.clean(s.rotationAngle));
  // The lowest two bits, no clamp: -1 gives 3, 5 gives 1.
  u.quarterTurns = static_cast<std::uint32_t>(s.rotationQuarterTurns) & 3u;
  u.flipHorizontal = s.flipHorizontal.byte() & 1u;

  u.sourceWidth = sourceSide(sourceWidth, "source width");
  u.sourceHeight = sourceSide(sourceHeight, "source height");
  u.croppedWidth = croppedSide(crop.width, u.sourceWidth, "cropped width");
  u.croppedHeight = croppedSide(crop.height, u.sourceHeight, "cropped height");
  const bool swapped = (s.rotationQuarterTurns & 1) != 0;
  u.outputWidth = swapped ? u.croppedHeight : u.croppedWidth;
  u.outputHeight = swapped ? u.croppedWidth : u.croppedHeight;

  // The members that take a field's cleaned value as it stands.
#define HALVANE_BLOCK_Same(name) u.name = blockValue(r::name, s.name);
#define HALVANE_BLOCK_Own(name)
#define HALVANE_BLOCK_MEMBER(name, Type, initial, lower, upper, block) HALVANE_BLOCK_##block(name)
  HALVANE_EDIT_FIELDS(HALVANE_BLOCK_MEMBER)
#undef HALVANE_BLOCK_MEMBER
#undef HALVANE_BLOCK_Own
#undef HALVANE_BLOCK_Same

  // Angles reach the kernels in radians. A NaN, an infinity, zero or a negative iris
  // rotation gives 0; otherwise at most 180 degrees.
  u.focusAngleRadians = radians(r::focusAngle.clean(s.focusAngle));
  u.irisRotationRadians = radians(r::irisRotation.clean(s.irisRotation));

  u.finalOutput = finalOutput ? 1u : 0u;
  return u;
}

OutputSize outputSize(std::uint64_t sourceWidth, std::uint64_t sourceHeight, const EditState& state) {
  const RenderUniforms u = makeUniforms(sourceWidth, sourceHeight, state, false);
  return OutputSize{u.outputWidth, u.outputHeight};
}

bool geometryIsIdentity(const RenderUniforms& u) {
  return u.croppedWidth == u.sourceWidth && u.croppedHeight == u.sourceHeight && u.quarterTurns == 0 &&
         u.flipHorizontal == 0 && u.rotationRadians == 0.0f;
}

}  // namespace halvane
