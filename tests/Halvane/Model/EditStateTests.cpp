// EditState: defaults, equality (NaN, -0, the lowest bit of Bool) and the is-default
// test. The range rule shared by the decoder and the parameter block is walked over
// every field by EditStateCodingTests and RenderUniformsTests.
#include "Halvane/Model/EditState.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>
#include <variant>

#include "Halvane/Model/EditFieldTable.h"

namespace halvane {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A state must stay a flat value: the history copies it whole.
static_assert(std::is_trivially_copyable_v<EditState> && std::is_standard_layout_v<EditState>);

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
  EXPECT_TRUE(EditState{}.isDefault());
  for (const EditField& field : kEditFields) {
    const EditState s = withFieldChanged(field);
    EXPECT_NE(s, EditState::defaultState()) << field.key;
    // Trim and audio count too: such a state takes the full rendering path.
    EXPECT_EQ(s.isDefault(), field.key == "version") << field.key;
  }
}

TEST(EditState, NaNIsUnequalToItselfAndNegativeZeroEqualsZero) {
  const EditState nan{.temperature = float(kNaN)};
  EXPECT_FALSE(nan.isDefault());
  for (const EditState& s : {nan, EditState{.cropRect = {kNaN, 0, 1, 1}}, EditState{.trimEnd = kNaN}}) {
    EXPECT_FALSE(s == s);
  }
  const EditState zero{.exposure = -0.0f, .rotationAngle = -0.0f, .cropRect = {-0.0, 0, 1, 1}, .trimStart = -0.0};
  EXPECT_EQ(zero, EditState::defaultState());
  EXPECT_TRUE(zero.isDefault());
  EXPECT_NE(EditState{.exposure = std::numeric_limits<float>::denorm_min()}, EditState::defaultState());
}

TEST(Bool, ComparesOnItsLowestBitAloneAndSoDoTheStatesThatHoldOne) {
  EXPECT_EQ(Bool::fromByte(2), Bool(false));
  EXPECT_EQ(Bool::fromByte(0xFF), Bool(true));
  EXPECT_NE(Bool::fromByte(2), Bool::fromByte(3));
  EXPECT_TRUE(static_cast<bool>(Bool::fromByte(0x81)));
  EXPECT_EQ(Bool(true).byte(), 1);
  // Other bits set, lowest bit clear: false.
  const EditState s{.flipHorizontal = Bool::fromByte(2), .audioMuted = Bool::fromByte(0x40)};
  EXPECT_EQ(s, EditState::defaultState());
  EXPECT_TRUE(s.isDefault());
  EXPECT_EQ(EditState{.flipHorizontal = Bool::fromByte(3)}, EditState{.flipHorizontal = true});
}

}  // namespace
}  // namespace halvane
