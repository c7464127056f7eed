#pragma once
// EditState: the whole of an edit as one plain value. It holds no
// pointers and owns no resources, so a copy is cheap and can go to any thread; the
// history stores it whole. Fields are plain: values out of range can live in memory,
// and every consumer that feeds the GPU cleans them again (RenderUniforms).
#include <cstdint>
#include <limits>
#include <type_traits>

#include "Halvane/Model/EditFields.h"

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

struct EditState {
  // The current format version of the record.
  static constexpr std::int64_t kCurrentVersion = 1;

#define HALVANE_EDIT_MEMBER(name, Type, initial, lower, upper, block) Type name = initial;
  HALVANE_EDIT_FIELDS(HALVANE_EDIT_MEMBER)
#undef HALVANE_EDIT_MEMBER

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

// No range: the field's type has its own rule of validity.
struct NoRange {};

template <typename Type, typename Lower, typename Upper, typename Initial>
constexpr auto rangeOf(Type EditState::*, Lower lower, Upper upper, const Initial& initial) {
  if constexpr (std::is_same_v<Type, float>) {
    return FloatRange{static_cast<float>(lower), static_cast<float>(upper), static_cast<float>(initial)};
  } else if constexpr (std::is_same_v<Type, std::int64_t>) {
    return IntRange{static_cast<std::int64_t>(lower), static_cast<std::int64_t>(upper)};
  } else {
    return NoRange{};
  }
}

// The valid range of each field by its name: edit_ranges::exposure, edit_ranges::irisBlades.
namespace edit_ranges {
#define HALVANE_EDIT_RANGE(name, Type, initial, lower, upper, block) \
  inline constexpr auto name = rangeOf(&EditState::name, lower, upper, initial);
HALVANE_EDIT_FIELDS(HALVANE_EDIT_RANGE)
#undef HALVANE_EDIT_RANGE
}  // namespace edit_ranges

}  // namespace halvane
