// EditState: defaults, equality (NaN, -0, the lowest bit of Bool), the is-default test,
// and the range rule shared by the decoder and the parameter block.
#include "Halvane/Model/EditState.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "Halvane/Model/EditStateCoding.h"

namespace halvane {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// A state must stay a flat value: the history copies it whole.
static_assert(std::is_trivially_copyable_v<EditState>);
static_assert(std::is_standard_layout_v<EditState>);

TEST(EditState, DefaultsAreTheTableOfPart12) {
  const EditState& s = EditState::defaultState();
  EXPECT_EQ(s.version, 1);
  EXPECT_EQ(s.exposure, 0.0f);
  EXPECT_EQ(s.brightness, 0.0f);
  EXPECT_EQ(s.contrast, 1.0f);
  EXPECT_EQ(s.highlights, 0.0f);
  EXPECT_EQ(s.shadows, 0.0f);
  EXPECT_EQ(s.whites, 0.0f);
  EXPECT_EQ(s.blacks, 0.0f);
  EXPECT_EQ(s.gamma, 1.0f);
  EXPECT_EQ(s.saturation, 1.0f);
  EXPECT_EQ(s.vibrance, 0.0f);
  EXPECT_EQ(s.temperature, 6500.0f);
  EXPECT_EQ(s.tint, 0.0f);
  EXPECT_EQ(s.sharpness, 0.0f);
  EXPECT_EQ(s.clarity, 0.0f);
  EXPECT_EQ(s.vignetteIntensity, 0.0f);
  EXPECT_EQ(s.vignetteRadius, 1.0f);
  EXPECT_EQ(s.filterType, 0);
  EXPECT_EQ(s.filterIntensity, 1.0f);
  EXPECT_FALSE(static_cast<bool>(s.flipHorizontal));
  EXPECT_EQ(s.flipHorizontal.byte(), 0);
  EXPECT_EQ(s.rotationAngle, 0.0f);
  EXPECT_EQ(s.rotationQuarterTurns, 0);
  EXPECT_EQ(s.focusMode, 0);
  EXPECT_EQ(s.focusCenterX, 0.5f);
  EXPECT_EQ(s.focusCenterY, 0.5f);
  EXPECT_EQ(s.focusRadius, 0.25f);
  EXPECT_EQ(s.focusFeather, 0.5f);
  EXPECT_EQ(s.focusAngle, 0.0f);
  EXPECT_EQ(s.focusStrength, 0.0f);
  EXPECT_EQ(s.focusAspect, 1.0f);
  EXPECT_EQ(s.focusBokehHighlights, 0.0f);
  EXPECT_EQ(s.irisBlades, 6);
  EXPECT_EQ(s.irisRotation, 0.0f);
  EXPECT_EQ(s.depthMix, 0.0f);
  EXPECT_EQ(s.focusDepth, 0.5f);
  EXPECT_EQ(s.edgeProtect, 0.0f);
  EXPECT_EQ(s.cropRect, (Rect{0, 0, 1, 1}));
  EXPECT_EQ(s.trimStart, 0.0);
  EXPECT_EQ(s.trimEnd, 0.0);
  EXPECT_EQ(s.audioVolume, 1.0f);
  EXPECT_FALSE(static_cast<bool>(s.audioMuted));
}

TEST(EditState, DefaultIsBuiltOnceAndShared) {
  EXPECT_EQ(&EditState::defaultState(), &EditState::defaultState());
  EXPECT_EQ(EditState{}, EditState::defaultState());
  EXPECT_TRUE(EditState{}.isDefault());
}

// One change per field, in the order of the table, each to a valid non-default value.
struct FieldChange {
  std::string name;
  std::function<void(EditState&)> change;
};

std::vector<FieldChange> fieldChanges() {
  return {
      {"version", [](EditState& s) { s.version = 2; }},
      {"exposure", [](EditState& s) { s.exposure = 0.5f; }},
      {"brightness", [](EditState& s) { s.brightness = 0.5f; }},
      {"contrast", [](EditState& s) { s.contrast = 1.5f; }},
      {"highlights", [](EditState& s) { s.highlights = 0.5f; }},
      {"shadows", [](EditState& s) { s.shadows = 0.5f; }},
      {"whites", [](EditState& s) { s.whites = 0.5f; }},
      {"blacks", [](EditState& s) { s.blacks = 0.5f; }},
      {"gamma", [](EditState& s) { s.gamma = 2.0f; }},
      {"saturation", [](EditState& s) { s.saturation = 0.0f; }},
      {"vibrance", [](EditState& s) { s.vibrance = 0.5f; }},
      {"temperature", [](EditState& s) { s.temperature = 5000.0f; }},
      {"tint", [](EditState& s) { s.tint = 0.5f; }},
      {"sharpness", [](EditState& s) { s.sharpness = 1.0f; }},
      {"clarity", [](EditState& s) { s.clarity = 0.5f; }},
      {"vignetteIntensity", [](EditState& s) { s.vignetteIntensity = 1.0f; }},
      {"vignetteRadius", [](EditState& s) { s.vignetteRadius = 0.5f; }},
      {"filterType", [](EditState& s) { s.filterType = 7; }},
      {"filterIntensity", [](EditState& s) { s.filterIntensity = 0.5f; }},
      {"flipHorizontal", [](EditState& s) { s.flipHorizontal = true; }},
      {"rotationAngle", [](EditState& s) { s.rotationAngle = 10.0f; }},
      {"rotationQuarterTurns", [](EditState& s) { s.rotationQuarterTurns = 1; }},
      {"focusMode", [](EditState& s) { s.focusMode = 3; }},
      {"focusCenterX", [](EditState& s) { s.focusCenterX = 0.25f; }},
      {"focusCenterY", [](EditState& s) { s.focusCenterY = 0.25f; }},
      {"focusRadius", [](EditState& s) { s.focusRadius = 0.5f; }},
      {"focusFeather", [](EditState& s) { s.focusFeather = 0.25f; }},
      {"focusAngle", [](EditState& s) { s.focusAngle = 90.0f; }},
      {"focusStrength", [](EditState& s) { s.focusStrength = 0.5f; }},
      {"focusAspect", [](EditState& s) { s.focusAspect = 2.0f; }},
      {"focusBokehHighlights", [](EditState& s) { s.focusBokehHighlights = 0.5f; }},
      {"irisBlades", [](EditState& s) { s.irisBlades = 5; }},
      {"irisRotation", [](EditState& s) { s.irisRotation = 30.0f; }},
      {"depthMix", [](EditState& s) { s.depthMix = 0.5f; }},
      {"focusDepth", [](EditState& s) { s.focusDepth = 0.25f; }},
      {"edgeProtect", [](EditState& s) { s.edgeProtect = 0.5f; }},
      {"cropRect", [](EditState& s) { s.cropRect.height = 0.5; }},
      {"trimStart", [](EditState& s) { s.trimStart = 1.0; }},
      {"trimEnd", [](EditState& s) { s.trimEnd = 2.0; }},
      {"audioVolume", [](EditState& s) { s.audioVolume = 0.5f; }},
      {"audioMuted", [](EditState& s) { s.audioMuted = true; }},
  };
}

TEST(EditState, EveryFieldTakesPartInEquality) {
  const auto changes = fieldChanges();
  ASSERT_EQ(changes.size(), 41u);
  for (std::size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(changes[i].name);
    EXPECT_EQ(changes[i].name, kEditStateCodingKeys[i]) << "the table and the coding keys are in one order";
    EditState s;
    changes[i].change(s);
    EXPECT_NE(s, EditState::defaultState());
    EXPECT_FALSE(s == EditState::defaultState());
  }
}

TEST(EditState, IsDefaultIgnoresOnlyTheVersion) {
  for (const FieldChange& field : fieldChanges()) {
    SCOPED_TRACE(field.name);
    EditState s;
    field.change(s);
    // Trim and audio count too: such a state takes the full rendering path.
    EXPECT_EQ(s.isDefault(), field.name == "version");
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
