// EditState's equality and is-default test, and its coded form: key order and value
// types of the encoder, the round trip, and every repair rule of the decoder, walked
// over the field table where the rule is one per kind of field. The range rule shared by
// the decoder and the parameter block is walked over every field here and by
// RenderUniformsTests.
#include "Halvane/Model/EditStateCoding.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "Halvane/Model/EditFieldTable.h"

namespace halvane {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

EditState decodeWith(const std::string& key, const json& value) { return decodeEditState(json{{key, value}}); }

Rect crop(const json& value) { return decodeWith("cropRect", value).cropRect; }
Rect crop(double x, double y, double width, double height) {
  return crop(json::array({json::array({x, y}), json::array({width, height})}));
}

EditState trim(const json& start, const json& end) {
  return decodeEditState(json{{"trimStart", start}, {"trimEnd", end}});
}

// The field moved to a valid value other than its default: a number to a point inside
// its range that is exact neither in binary nor in short decimals, an integer to an end.
void change(EditState& s, const EditField& field) {
  std::visit(
      [&](auto EditState::*member) {
        auto& value = s.*member;
        using Type = std::remove_reference_t<decltype(value)>;
        if constexpr (std::is_same_v<Type, float>) {
          const FloatRange range = std::get<FloatRange>(field.range);
          value = range.lower + (range.upper - range.lower) * 0.3173f;
        } else if constexpr (std::is_same_v<Type, std::int64_t>) {
          const IntRange range = std::get<IntRange>(field.range);
          value = value == range.upper ? range.lower : range.upper;
        } else if constexpr (std::is_same_v<Type, double>) {
          value = 2.5;
        } else if constexpr (std::is_same_v<Type, Bool>) {
          value = true;
        } else {
          value.height = 0.5;
        }
      },
      field.member);
}

// Every field but the version changed.
EditState everyFieldChanged() {
  EditState s;
  for (const EditField& field : kEditFields)
    if (field.key != "version") change(s, field);
  s.cropRect = Rect{0.125, 0.25, 0.5, 0.625};  // exact in Float, so the repair keeps it
  s.trimStart = 1.000000000001;
  s.trimEnd = 12.3456789012345;
  return s;
}

// ---- EditState: equality (NaN, -0, the lowest bit of Bool) and the is-default test ----

// A state must stay a flat value: the history copies it whole.
static_assert(std::is_trivially_copyable_v<EditState> && std::is_standard_layout_v<EditState>);

TEST(EditState, EveryFieldTakesPartInEqualityAndOnlyTheVersionIsNotAnEdit) {
  EXPECT_TRUE(EditState{}.isDefault());
  for (const EditField& field : kEditFields) {
    EditState s;
    change(s, field);
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

// ---- Encoding -------------------------------------------------------------------

// Key order, and the type of every kind of field: integers without a fraction, floats
// with one even when whole, Bools, the crop as two pairs.
TEST(EditStateEncoding, DefaultStateAsText) {
  EXPECT_EQ(encodeEditState(EditState::defaultState()).dump(),
            R"({"version":1,"exposure":0.0,"brightness":0.0,"contrast":1.0,"highlights":0.0,"shadows":0.0,)"
            R"("whites":0.0,"blacks":0.0,"gamma":1.0,"saturation":1.0,"vibrance":0.0,"temperature":6500.0,)"
            R"("tint":0.0,"sharpness":0.0,"clarity":0.0,"vignetteIntensity":0.0,"vignetteRadius":1.0,"filterType":0,)"
            R"("filterIntensity":1.0,"flipHorizontal":false,"rotationAngle":0.0,"rotationQuarterTurns":0,)"
            R"("focusMode":0,"focusCenterX":0.5,"focusCenterY":0.5,"focusRadius":0.25,"focusFeather":0.5,)"
            R"("focusAngle":0.0,"focusStrength":0.0,"focusAspect":1.0,"focusBokehHighlights":0.0,"irisBlades":6,)"
            R"("irisRotation":0.0,"depthMix":0.0,"focusDepth":0.5,"edgeProtect":0.0,)"
            R"("cropRect":[[0.0,0.0],[1.0,1.0]],"trimStart":0.0,"trimEnd":0.0,"audioVolume":1.0,"audioMuted":false})");
}

TEST(EditStateEncoding, FloatsAreShortestDecimalsAndBoolsTheirLowestBit) {
  const ordered_json coded = encodeEditState(
      {.exposure = 0.1f, .temperature = 6500.1f, .flipHorizontal = Bool::fromByte(2), .audioMuted = Bool::fromByte(3)});
  EXPECT_EQ(coded.at("temperature").get<double>(), 6500.1);
  EXPECT_NE(coded.dump().find(R"("exposure":0.1,)"), std::string::npos) << coded.dump();
  EXPECT_EQ(coded.at("flipHorizontal"), false);
  EXPECT_EQ(coded.at("audioMuted"), true);
}

TEST(EditStateEncoding, NonFiniteValuesAreAnErrorOfTheEncoder) {
  const std::pair<const char*, EditState> cases[] = {
      {"temperature", {.temperature = float(kNaN)}}, {"exposure", {.exposure = -float(kInf)}},
      {"cropRect", {.cropRect = {0, 0, 1, kNaN}}}, {"trimStart", {.trimStart = kInf}}};
  for (const auto& [key, s] : cases) {
    try {
      (void)encodeEditState(s);
      ADD_FAILURE() << key << ": encoding succeeded";
    } catch (const EditStateCodingError& error) {
      EXPECT_EQ(error.key(), key);
    }
  }
}

// ---- Round trip -----------------------------------------------------------------

TEST(EditStateCoding, RoundTripKeepsEveryFieldThroughText) {
  for (const EditState& s : {everyFieldChanged(), EditState::defaultState()}) {
    EXPECT_EQ(decodeEditState(encodeEditState(s)), s);
    EXPECT_EQ(decodeEditState(json::parse(encodeEditState(s).dump())), s);
    EXPECT_EQ(decodeEditState(ordered_json::parse(encodeEditState(s).dump())), s);
  }
  EditState tiny{.exposure = std::numeric_limits<float>::denorm_min(), .temperature = std::nextafter(10000.0f, 0.0f)};
  tiny.brightness = -std::numeric_limits<float>::min();
  EXPECT_EQ(decodeEditState(json::parse(encodeEditState(tiny).dump())), tiny);
}

TEST(EditStateCoding, RoundTripOfFloatsIsExactThroughText) {
  std::mt19937 random(12345);
  std::uniform_int_distribution<std::uint32_t> bits;
  // A whole encode, dump, parse and decode per value: a few thousand values of every
  // exponent keep this quick, also under the sanitizers.
  for (int i = 0; i < 4000; ++i) {
    // Any finite Float in the exposure range, of any exponent, denormals included.
    const std::uint32_t pattern = bits(random);
    const float value = std::bit_cast<float>(pattern);
    if (!std::isfinite(value) || std::fabs(value) > 3.0f) continue;
    const EditState s{.exposure = value};
    const EditState back = decodeEditState(json::parse(encodeEditState(s).dump()));
    ASSERT_EQ(std::memcmp(&back.exposure, &s.exposure, sizeof value), 0) << "bits " << pattern;
  }
}

// ---- Decoding: the document -----------------------------------------------------

TEST(EditStateDecoding, OnlyANonObjectFailsAndMissingOrUnknownKeysChangeNothing) {
  for (const json& document : {json::array(), json(nullptr), json("{}"), json(3), json(true), json::array({1, 2})}) {
    EXPECT_THROW((void)decodeEditState(document), EditStateCodingError) << document.dump();
  }
  EXPECT_EQ(decodeEditState(json::object()), EditState::defaultState());
  EXPECT_EQ(decodeEditState(json::parse(
                R"({"exposure": 0.5, "irisBlades": 4, "hdrBoost": 3, "cropRect2": [], "layers": {"a": 1}})")),
            (EditState{.exposure = 0.5f, .irisBlades = 4}));
  const std::string text = R"({"audioMuted": true, "version": 3, "tint": -0.25})";
  EXPECT_EQ(decodeEditState(json::parse(text)), decodeEditState(ordered_json::parse(text)));
}

// ---- Decoding: numbers, walked over the table -----------------------------------

TEST(EditStateDecoding, EveryFloatFieldIsRepairedByOneRule) {
  for (const EditField& field : kEditFields) {
    const auto* member = std::get_if<float EditState::*>(&field.member);
    if (member == nullptr) continue;
    SCOPED_TRACE(field.key);
    const FloatRange range = std::get<FloatRange>(field.range);
    EXPECT_EQ(range.clean(range.fallback), range.fallback);
    const double lower = range.lower, upper = range.upper, fallback = range.fallback;
    const float middle = range.lower + (range.upper - range.lower) * 0.375f;
    // A failed read (wrong type, NaN, infinity, beyond the largest Float) is the default;
    // a number that fits a Float is clamped; inside the range it is kept to Float precision.
    const std::pair<json, double> cases[] = {
        {"0.5", fallback},        {nullptr, fallback},       {true, fallback},   {json::array({0.5}), fallback},
        {json::object(), fallback}, {kNaN, fallback},        {kInf, fallback},   {-kInf, fallback},
        {1e300, fallback},        {-1e300, fallback},        {upper + 1000, upper}, {lower - 1000, lower},
        {upper, upper},           {lower, lower},            {3.0e38, upper},    {double(middle), middle},
    };
    for (const auto& [value, expected] : cases) {
      EXPECT_EQ(decodeWith(std::string(field.key), value).**member, expected) << value.dump();
    }
  }
  // Integers read as Floats.
  EXPECT_EQ(decodeWith("temperature", 12000).temperature, 10000.0f);
  EXPECT_EQ(decodeWith("temperature", 7000u).temperature, 7000.0f);
  EXPECT_EQ(decodeWith("temperature", std::numeric_limits<std::uint64_t>::max()).temperature, 10000.0f);
  // -0 at a lower end of 0 becomes +0; inside a range across zero it stays as it is.
  EXPECT_FALSE(std::signbit(decodeWith("focusStrength", -0.0).focusStrength));
  EXPECT_TRUE(std::signbit(decodeWith("exposure", -0.0).exposure));
  EXPECT_EQ(decodeWith("focusStrength", 1e-30).focusStrength, 1e-30f);
}

TEST(EditStateDecoding, EveryIntegerFieldIsClampedAndAFailedReadIsItsDefault) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (const EditField& field : kEditFields) {
    const auto* member = std::get_if<std::int64_t EditState::*>(&field.member);
    if (member == nullptr) continue;
    SCOPED_TRACE(field.key);
    const std::string key(field.key);
    const IntRange range = std::get<IntRange>(field.range);
    const std::int64_t fallback = EditState::defaultState().**member;
    auto read = [&](const json& value) { return decodeWith(key, value).**member; };
    EXPECT_EQ(read(kMax), range.clamp(kMax));
    EXPECT_EQ(read(kMin), range.clamp(kMin));
    // A whole number written with a fraction part is an integer.
    EXPECT_EQ(read(2.0), range.clamp(2));
    EXPECT_EQ(decodeEditState(json::parse("{\"" + key + "\": 1e2}")).**member, range.clamp(100));
    // An integer that does not fit 64 signed bits, a fraction, a string, a Bool, a NaN:
    // the read fails and the default stands, not a clamped value.
    for (const json& bad : {json(std::uint64_t{9223372036854775808u}), json(1e19), json(3.5), json("2"), json(true),
                            json(kNaN), json(nullptr)}) {
      EXPECT_EQ(read(bad), fallback) << bad.dump();
    }
  }
  // Quarter turns are clamped, not reduced: 5 is 3, not 1.
  EXPECT_EQ(decodeWith("rotationQuarterTurns", 5).rotationQuarterTurns, 3);
}

TEST(EditStateDecoding, VersionIsKeptAsItStandsAndReadByTheSameRules) {
  EXPECT_EQ(decodeWith("version", -4).version, -4);
  EXPECT_EQ(decodeWith("version", "2").version, 1);
  EXPECT_TRUE(decodeWith("version", 2).isDefault());
  const EditState newer = decodeEditState(json::parse(R"({"version": 9, "irisBlades": 12, "futureField": 1})"));
  EXPECT_EQ(newer.irisBlades, 9);
}

TEST(EditStateDecoding, BoolsReadOnlyTrueAndFalse) {
  for (const char* key : {"flipHorizontal", "audioMuted"}) {
    const auto member = std::get<Bool EditState::*>(findEditField(key)->member);
    EXPECT_TRUE(static_cast<bool>(decodeWith(key, true).*member)) << key;
    for (const json& other : {json(false), json(1), json(1.0), json("true")}) {
      EXPECT_FALSE(static_cast<bool>(decodeWith(key, other).*member)) << key << other.dump();
    }
  }
}

// ---- Decoding: the crop ---------------------------------------------------------

// Expected values are computed in Float and stored as Double, as the repair does.
constexpr double f(float value) { return static_cast<double>(value); }

TEST(EditStateDecodingCrop, AFailedReadIsTheWholeImage) {
  const Rect whole{0, 0, 1, 1};
  for (const char* text : {"[0.1, 0.2, 0.3, 0.4]", R"({"x": 0.1, "y": 0.2, "width": 0.3, "height": 0.4})",
                           "[[0.1, 0.2]]", "[[0.1], [0.3, 0.4]]", R"([[0.1, "0.2"], [0.3, 0.4]])",
                           "[[0.1, null], [0.3, 0.4]]", "[[0.1, 0.2], [true, 0.4]]", R"("0 0 1 1")", "null"}) {
    EXPECT_EQ(crop(json::parse(text)), whole) << text;
  }
  // Further elements are not read; integers read as doubles.
  EXPECT_EQ(crop(json::parse("[[0.25, 0.5, 9], [0.5, 0.25, 9], 9]")), (Rect{0.25, 0.5, 0.5, 0.25}));
  EXPECT_EQ(crop(json::parse("[[0, 0], [1, 1]]")), whole);
}

TEST(EditStateDecodingCrop, RepairsInFloatPrecision) {
  struct Case {
    double x, y, width, height;
    Rect expected;
  };
  const double floor = f(0.01f);
  const Case cases[] = {
      {0.3, 0.1, 0.2, 0.7, {f(0.3f), f(0.1f), f(0.2f), f(0.7f)}},                    // kept, to Float precision
      {0.25, 0.25, 0.5, 0.5, {0.25, 0.25, 0.5, 0.5}},
      {0.9, 0.9, 0.5, 0.5, {f(0.9f), f(0.9f), f(1.0f - 0.9f), f(1.0f - 0.9f)}},      // cut to the room left
      {1, 1, 1, 1, {f(1.0f - 0.01f), f(1.0f - 0.01f), floor, floor}},                // no room: origin moves back
      {0, 0, 0, 1, {0, 0, floor, 1}},                                                // zero, negative, tiny: the floor
      {0, 0, -5, 1, {0, 0, floor, 1}},
      {0, 0, 0.005, 1, {0, 0, floor, 1}},
      {0, 0, 0.01, 1, {0, 0, floor, 1}},
      {0, 0, 1e-60, 1, {0, 0, floor, 1}},
      {0, 0, f(std::nextafter(0.01f, 1.0f)), 1, {0, 0, f(std::nextafter(0.01f, 1.0f)), 1}},
      {kNaN, kNaN, 0.5, 0.5, {0, 0, 0.5, 0.5}},                                      // bad origins: 0
      {kInf, -kInf, 0.5, 0.5, {0, 0, 0.5, 0.5}},
      {-0.25, 0.5, 0.5, 0.5, {0, 0.5, 0.5, 0.5}},
      {1.5, 0, 0.5, 1, {f(1.0f - 0.01f), 0, floor, 1}},                              // above 1: lowered, moved back
      {1e39, 0, 0.5, 1, {0, 0, 0.5, 1}},                                             // an infinity in Float
      {0.5, 0.25, kNaN, 0.5, {0, 0.25, 1, 0.5}},                                     // bad sides: whole, origin 0
      {0.25, 0.75, 0.5, -kInf, {0.25, 0, 0.5, 1}},
      {0, 0, 1e39, 1, {0, 0, 1, 1}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(crop(c.x, c.y, c.width, c.height), c.expected) << c.x << ' ' << c.y << ' ' << c.width << ' ' << c.height;
  }
  EXPECT_NE(crop(0.9, 0.9, 0.5, 0.5).width, 0.1);  // the Float difference, not the Double one
  EXPECT_FALSE(std::signbit(crop(-0.0, 0.5, 0.5, 0.5).x));
}

// ---- Decoding: trim and audio ---------------------------------------------------

TEST(EditStateDecodingTrim, EndIsRaisedToTheStartUnlessZeroAndBadValuesGiveZero) {
  struct Case {
    json start, end;
    double trimStart, trimEnd;
  };
  const Case cases[] = {
      {10.0, 4.0, 10.0, 10.0}, {1.5, 1.25, 1.5, 1.5}, {2.0, 3.0, 2.0, 3.0}, {3, 7, 3.0, 7.0},
      {10.0, 0.0, 10.0, 0.0},  {10.0, -4.0, 10.0, 0.0}, {10.0, kNaN, 10.0, 0.0}, {10.0, "12", 10.0, 0.0},
      {kNaN, 5.0, 0.0, 5.0},   {kInf, 5.0, 0.0, 5.0},  {-3.0, 5.0, 0.0, 5.0},  {"1", 5.0, 0.0, 5.0},
      {0.0, kInf, 0.0, 0.0},   {0.1, 0.2, 0.1, 0.2},  // Double precision, not Float
  };
  for (const Case& c : cases) {
    const EditState s = trim(c.start, c.end);
    EXPECT_EQ(s.trimStart, c.trimStart) << c.start.dump() << ' ' << c.end.dump();
    EXPECT_EQ(s.trimEnd, c.trimEnd) << c.start.dump() << ' ' << c.end.dump();
  }
  EXPECT_FALSE(std::signbit(trim(-0.0, 1.0).trimStart));
}

// ---- JSON text from outside -----------------------------------------------------

TEST(EditJSONText, DepthAndSizeAreRefusedBeforeParsing) {
  const std::string deep = std::string(60000, '[') + std::string(60000, ']');
  const std::vector<std::string> refused = {
      deep,
      "{\"exposure\": 1, \"x\": " + deep + "}",
      std::string(kMaxEditJSONDepth + 1, '{'),  // unclosed, but too deep before that matters
      std::string(kMaxEditJSONBytes + 1, ' '),
      "{\"exposure\": }",
  };
  for (const auto& text : refused) EXPECT_THROW(parseEditJSON(text), EditStateCodingError) << text.size();
  // Brackets inside strings are text, escaped quotes included.
  const json document = parseEditJSON(R"({"note": "[[[{{{\"[[[", "exposure": 2})");
  EXPECT_EQ(decodeEditState(document).exposure, 2.0f);
  EXPECT_NO_THROW(parseEditJSON(std::string(kMaxEditJSONDepth, '[') + std::string(kMaxEditJSONDepth, ']')));
}

TEST(EditJSONText, ManyKeysDecodeLikeFew) {
  std::string text = "{";
  for (int i = 0; i < 200000; ++i) text += "\"key" + std::to_string(i) + "\": " + std::to_string(i) + ", ";
  text += "\"exposure\": 1.5, \"irisBlades\": 4}";
  const EditState state = decodeEditState(parseEditJSON(text));
  EXPECT_EQ(state.exposure, 1.5f);
  EXPECT_EQ(state.irisBlades, 4);
}

}  // namespace
}  // namespace halvane
