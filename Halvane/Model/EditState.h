#pragma once
// EditState: the whole of an edit as one plain value. It holds no
// pointers and owns no resources, so a copy is cheap and can go to any thread; the
// history stores it whole. Fields are plain: values out of range can live in memory,
// and every consumer that feeds the GPU cleans them again (RenderUniforms).
#include <cstdint>
#include <limits>

namespace halvane {

// The platform's one-byte Bool. Only the lowest bit carries the value: a byte that
// arrives with other bits set (a raw copy, a foreign writer) reads and compares by that
// bit alone, which a C++ `bool` holding such a byte could not do without undefined
// behaviour.
class Bool {
 public:
  constexpr Bool() noexcept = default;
  constexpr Bool(bool value) noexcept : byte_(value ? 1u : 0u) {}  // NOLINT: implicit by design
  static constexpr Bool fromByte(std::uint8_t byte) noexcept {
    Bool b;
    b.byte_ = byte;
    return b;
  }

  constexpr std::uint8_t byte() const noexcept { return byte_; }
  constexpr bool value() const noexcept { return (byte_ & 1u) != 0; }
  constexpr explicit operator bool() const noexcept { return value(); }

  friend constexpr bool operator==(Bool a, Bool b) noexcept { return ((a.byte_ ^ b.byte_) & 1u) == 0; }

 private:
  std::uint8_t byte_ = 0;
};
static_assert(sizeof(Bool) == 1);

// A rectangle of four doubles, origin top left. Equal when origins and sizes are
// numerically equal (a NaN makes it unequal, -0 equals 0).
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const Rect&) const = default;
};

struct EditState {
  // The current format version of the record.
  static constexpr std::int64_t kCurrentVersion = 1;

  std::int64_t version = kCurrentVersion;
  float exposure = 0;
  float brightness = 0;
  float contrast = 1;
  float highlights = 0;
  float shadows = 0;
  float whites = 0;
  float blacks = 0;
  float gamma = 1;
  float saturation = 1;
  float vibrance = 0;
  float temperature = 6500;
  float tint = 0;
  float sharpness = 0;
  float clarity = 0;
  float vignetteIntensity = 0;
  float vignetteRadius = 1;
  std::int64_t filterType = 0;
  float filterIntensity = 1;
  Bool flipHorizontal = false;
  float rotationAngle = 0;
  std::int64_t rotationQuarterTurns = 0;
  std::int64_t focusMode = 0;
  float focusCenterX = 0.5f;
  float focusCenterY = 0.5f;
  float focusRadius = 0.25f;
  float focusFeather = 0.5f;
  float focusAngle = 0;
  float focusStrength = 0;
  float focusAspect = 1;
  float focusBokehHighlights = 0;
  std::int64_t irisBlades = 6;
  float irisRotation = 0;
  float depthMix = 0;
  float focusDepth = 0.5f;
  float edgeProtect = 0;
  Rect cropRect{0, 0, 1, 1};
  double trimStart = 0;
  double trimEnd = 0;
  float audioVolume = 1;
  Bool audioMuted = false;

  // The record with every field at its default, built once on first use and shared.
  static const EditState& defaultState();

  // Field by field in declaration order: floats and doubles by numeric equality (a NaN
  // is unequal to everything, -0 equals 0), the crop by rectangle equality, Bools by
  // their lowest bit. `version` takes part.
  bool operator==(const EditState&) const = default;

  // True when the state shows no edit: equal to the default once its version is
  // replaced by the default's. Trim and audio fields count.
  bool isDefault() const;
};

// The valid range of a Float field and the value that replaces a NaN or an infinity.
// The same rule serves the decoder and the parameter block.
struct FloatRange {
  float lower;
  float upper;
  float fallback;

  // NaN or infinity: the fallback; at or below the lower end: the lower end (so -0
  // becomes a lower end of 0); above the upper end: the upper end.
  constexpr float clean(float value) const noexcept {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    if (value != value || value == infinity || value == -infinity) return fallback;
    if (value <= lower) return lower;
    if (value > upper) return upper;
    return value;
  }
};

// The inclusive range of an Int field: values are raised to the lower end and lowered
// to the upper end.
struct IntRange {
  std::int64_t lower;
  std::int64_t upper;

  constexpr std::int64_t clamp(std::int64_t value) const noexcept {
    if (value < lower) return lower;
    if (value > upper) return upper;
    return value;
  }
};

// The valid ranges of the fields; each fallback is the field's default.
namespace edit_ranges {
inline constexpr FloatRange exposure{-3, 3, 0};
inline constexpr FloatRange brightness{-1, 1, 0};
inline constexpr FloatRange contrast{0.5f, 2, 1};
inline constexpr FloatRange highlights{-1, 1, 0};
inline constexpr FloatRange shadows{-1, 1, 0};
inline constexpr FloatRange whites{-1, 1, 0};
inline constexpr FloatRange blacks{-1, 1, 0};
inline constexpr FloatRange gamma{0.2f, 5, 1};
inline constexpr FloatRange saturation{0, 2, 1};
inline constexpr FloatRange vibrance{-1, 1, 0};
inline constexpr FloatRange temperature{2000, 10000, 6500};
inline constexpr FloatRange tint{-1, 1, 0};
inline constexpr FloatRange sharpness{0, 2, 0};
inline constexpr FloatRange clarity{-1, 1, 0};
inline constexpr FloatRange vignetteIntensity{0, 2, 0};
inline constexpr FloatRange vignetteRadius{0, 2, 1};
inline constexpr FloatRange filterIntensity{0, 1, 1};
inline constexpr FloatRange rotationAngle{-45, 45, 0};
inline constexpr FloatRange focusCenterX{0, 1, 0.5f};
inline constexpr FloatRange focusCenterY{0, 1, 0.5f};
inline constexpr FloatRange focusRadius{0, 1, 0.25f};
inline constexpr FloatRange focusFeather{0, 1, 0.5f};
inline constexpr FloatRange focusAngle{-180, 180, 0};
inline constexpr FloatRange focusStrength{0, 1, 0};
inline constexpr FloatRange focusAspect{0.5f, 2, 1};
inline constexpr FloatRange focusBokehHighlights{0, 1, 0};
inline constexpr FloatRange irisRotation{0, 180, 0};
inline constexpr FloatRange depthMix{0, 1, 0};
inline constexpr FloatRange focusDepth{0, 1, 0.5f};
inline constexpr FloatRange edgeProtect{0, 1, 0};
inline constexpr FloatRange audioVolume{0, 2, 1};

// filterType's upper end is the catalogue's largest number (FilterCatalogue::maxFilterType).
inline constexpr IntRange rotationQuarterTurns{0, 3};
inline constexpr IntRange focusMode{0, 10};
inline constexpr IntRange irisBlades{3, 9};
}  // namespace edit_ranges

}  // namespace halvane
