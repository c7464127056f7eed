// EditState: defaults, equality (NaN, -0, the lowest bit of Bool) and the is-default
// test. The range rule shared by the decoder and the parameter block is walked over
// every field by EditStateCodingTests and RenderUniformsTests.
#include "Halvane/Model/EditState.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <variant>

#include "Halvane/Model/EditFieldTable.h"

namespace halvane {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// A state must stay a flat value: the history copies it whole.
static_assert(std::is_trivially_copyable_v<EditState>);
static_assert(std::is_standard_layout_v<EditState>);

// The state with one field moved to a valid value other than its default.
EditState withFieldChanged(const EditField& field) {
  EditState s;
  std::visit(
      [&](auto EditState::*member) {
        auto& value = s.*member;
        using Type = std::remove_reference_t<decltype(value)>;
        if constexpr (std::is_same_v<Type, float>) {
          const FloatRange range = std::get<FloatRange>(field.range);
          value = value == range.upper ? range.lower : range.upper;
        } else if constexpr (std::is_same_v<Type, std::int64_t>) {
          const IntRange range = std::get<IntRange>(field.range);
          value = value == range.upper ? range.lower : value + 1;
        } else if constexpr (std::is_same_v<Type, double>) {
          value = 2.5;
        } else if constexpr (std::is_same_v<Type, Bool>) {
          value = true;
        } else {
          value.height = 0.5;
        }
      },
      field.member);
  return s;
}

TEST(EditState, EveryFieldTakesPartInEqualityAndOnlyTheVersionIsNotAnEdit) {
  EXPECT_EQ(&EditState::defaultState(), &EditState::defaultState());
  EXPECT_TRUE(EditState{}.isDefault());
  for (const EditField& field : kEditFields) {
    SCOPED_TRACE(field.key);
    const EditState s = withFieldChanged(field);
    EXPECT_NE(s, EditState::defaultState());
    EXPECT_FALSE(s == EditState::defaultState());
    // Trim and audio count too: such a state takes the full rendering path.
    EXPECT_EQ(s.isDefault(), field.key == "version");
  }
}

TEST(EditState, NaNIsUnequalToItselfAndNegativeZeroEqualsZero) {
  EditState nan;
  nan.temperature = kNaN;
  EXPECT_FALSE(nan == nan);
  EXPECT_FALSE(nan.isDefault());
  EditState crop;
  crop.cropRect.x = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(crop == crop);
  EditState trim;
  trim.trimEnd = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(trim == trim);

  EditState zero;
  zero.exposure = -0.0f;
  zero.rotationAngle = -0.0f;
  zero.cropRect.x = -0.0;
  zero.trimStart = -0.0;
  EXPECT_EQ(zero, EditState::defaultState());
  EXPECT_TRUE(zero.isDefault());
  EditState tiny;
  tiny.exposure = std::numeric_limits<float>::denorm_min();
  EXPECT_NE(tiny, EditState::defaultState());
}

TEST(Bool, ComparesOnItsLowestBitAloneAndSoDoTheStatesThatHoldOne) {
  EXPECT_EQ(Bool::fromByte(2), Bool(false));
  EXPECT_EQ(Bool::fromByte(0xFF), Bool(true));
  EXPECT_NE(Bool::fromByte(2), Bool::fromByte(3));
  EXPECT_TRUE(static_cast<bool>(Bool::fromByte(0x81)));
  EXPECT_EQ(Bool(true).byte(), 1);
  EditState s;
  s.flipHorizontal = Bool::fromByte(2);  // other bits set, lowest bit clear: false
  s.audioMuted = Bool::fromByte(0x40);
  EXPECT_EQ(s, EditState::defaultState());
  EXPECT_TRUE(s.isDefault());
  EditState t;
  t.flipHorizontal = Bool::fromByte(3);
  EditState u;
  u.flipHorizontal = true;
  EXPECT_EQ(t, u);
}

}  // namespace
}  // namespace halvane
