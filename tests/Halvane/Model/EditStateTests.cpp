// EditState: defaults, equality (NaN, -0, the lowest bit of Bool), the is-default test,
// and the range rule shared by the decoder and the parameter block.
#include "Halvane/Model/EditState.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "Halvane/Model/EditFieldTable.h"

namespace halvane {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// A state must stay a flat value: the history copies it whole.
static_assert(std::is_trivially_copyable_v<EditState>);
static_assert(std::is_standard_layout_v<EditState>);

TEST(EditState, DefaultIsBuiltOnceAndShared) {
  EXPECT_EQ(&EditState::defaultState(), &EditState::defaultState());
  EXPECT_EQ(EditState{}, EditState::defaultState());
  EXPECT_TRUE(EditState{}.isDefault());
}

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
  for (const EditField& field : kEditFields) {
    SCOPED_TRACE(field.key);
    const EditState s = withFieldChanged(field);
    EXPECT_NE(s, EditState::defaultState());
    EXPECT_FALSE(s == EditState::defaultState());
    // Trim and audio count too: such a state takes the full rendering path.
    EXPECT_EQ(s.isDefault(), field.key == "version");
  }
}

TEST(EditState, StatesOfDifferentVersionsAreUnequalButBothDefault) {
  EditState older;
  older.version = 0;
  EditState newer;
  newer.version = 99;
  EXPECT_NE(older, newer);
  EXPECT_TRUE(older.isDefault());
  EXPECT_TRUE(newer.isDefault());
  newer.exposure = 0.1f;
  EXPECT_FALSE(newer.isDefault());
}

TEST(EditState, NaNMakesStatesUnequalEvenToThemselves) {
  EditState s;
  s.temperature = kNaN;
  const EditState copy = s;
  EXPECT_NE(s, copy);
  EXPECT_FALSE(s == s);
  EXPECT_FALSE(s.isDefault());

  EditState crop;
  crop.cropRect.x = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(crop == crop);

  EditState trim;
  trim.trimEnd = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(trim == trim);
}

TEST(EditState, NegativeZeroEqualsZero) {
  EditState s;
  s.exposure = -0.0f;
  s.rotationAngle = -0.0f;
  s.cropRect.x = -0.0;
  s.cropRect.y = -0.0;
  s.trimStart = -0.0;
  s.trimEnd = -0.0;
  EXPECT_TRUE(std::signbit(s.exposure));
  EXPECT_EQ(s, EditState::defaultState());
  EXPECT_TRUE(s.isDefault());
}

TEST(EditState, InfinitiesCompareByValue) {
  EditState a;
  a.exposure = kInf;
  EditState b = a;
  EXPECT_EQ(a, b);
  b.exposure = -kInf;
  EXPECT_NE(a, b);
}

TEST(EditState, TinyDifferencesCount) {
  EditState s;
  s.exposure = std::numeric_limits<float>::denorm_min();
  EXPECT_NE(s, EditState::defaultState());
}

TEST(Bool, ComparesOnItsLowestBit) {
  EXPECT_EQ(Bool::fromByte(2), Bool(false));
  EXPECT_EQ(Bool::fromByte(3), Bool(true));
  EXPECT_EQ(Bool::fromByte(0xFF), Bool(true));
  EXPECT_EQ(Bool::fromByte(0xFE), Bool::fromByte(0));
  EXPECT_NE(Bool::fromByte(2), Bool::fromByte(3));
  EXPECT_FALSE(static_cast<bool>(Bool::fromByte(2)));
  EXPECT_TRUE(static_cast<bool>(Bool::fromByte(0x81)));
  EXPECT_EQ(Bool(true).byte(), 1);
  EXPECT_EQ(Bool().byte(), 0);
}

TEST(EditState, BoolFieldsCompareOnTheirLowestBit) {
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
  EXPECT_NE(t, EditState::defaultState());
  t.audioMuted = Bool::fromByte(5);
  EXPECT_NE(t, u);
}

TEST(EditState, CropComparesAsARectangle) {
  EditState a;
  EditState b;
  b.cropRect = Rect{0, 0, 1, 1};
  EXPECT_EQ(a, b);
  b.cropRect.width = 0.5;
  EXPECT_NE(a, b);
  b.cropRect = Rect{0, 0, 1, 1};
  b.cropRect.y = 1e-300;
  EXPECT_NE(a, b);
}

TEST(FloatRange, NaNAndInfinitiesTakeTheFallback) {
  const FloatRange& t = edit_ranges::temperature;
  EXPECT_EQ(t.clean(kNaN), 6500.0f);
  EXPECT_EQ(t.clean(kInf), 6500.0f);
  EXPECT_EQ(t.clean(-kInf), 6500.0f);
  EXPECT_EQ(t.clean(12000.0f), 10000.0f);
  EXPECT_EQ(t.clean(1000.0f), 2000.0f);
  EXPECT_EQ(t.clean(2000.0f), 2000.0f);
  EXPECT_EQ(t.clean(10000.0f), 10000.0f);
  EXPECT_EQ(t.clean(7000.5f), 7000.5f);
  EXPECT_EQ(t.clean(std::numeric_limits<float>::max()), 10000.0f);
  EXPECT_EQ(t.clean(std::numeric_limits<float>::lowest()), 2000.0f);
}

TEST(FloatRange, AtOrBelowTheLowerEndGivesTheLowerEnd) {
  // -0 is "at" a lower end of 0, so it comes out as +0.
  const float cleaned = edit_ranges::focusStrength.clean(-0.0f);
  EXPECT_EQ(cleaned, 0.0f);
  EXPECT_FALSE(std::signbit(cleaned));
  // Inside a range that spans zero, -0 stays as it is.
  EXPECT_TRUE(std::signbit(edit_ranges::exposure.clean(-0.0f)));
  EXPECT_EQ(edit_ranges::gamma.clean(0.2f), 0.2f);
  EXPECT_EQ(edit_ranges::gamma.clean(0.0f), 0.2f);
  EXPECT_EQ(edit_ranges::gamma.clean(std::nextafter(5.0f, 6.0f)), 5.0f);
  EXPECT_EQ(edit_ranges::gamma.clean(std::numeric_limits<float>::denorm_min()), 0.2f);
}

TEST(IntRange, Clamps) {
  EXPECT_EQ(edit_ranges::irisBlades.clamp(2), 3);
  EXPECT_EQ(edit_ranges::irisBlades.clamp(12), 9);
  EXPECT_EQ(edit_ranges::irisBlades.clamp(std::numeric_limits<std::int64_t>::min()), 3);
  EXPECT_EQ(edit_ranges::rotationQuarterTurns.clamp(5), 3);
  EXPECT_EQ(edit_ranges::focusMode.clamp(-1), 0);
  EXPECT_EQ(edit_ranges::focusMode.clamp(std::numeric_limits<std::int64_t>::max()), 10);
}

}  // namespace
}  // namespace halvane
