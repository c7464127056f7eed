// The coded form of EditState: key order and value types of the encoder, the round
// trip, and every repair rule of the decoder.
#include "Halvane/Model/EditStateCoding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "Halvane/Model/EditFieldTable.h"
#include "Halvane/Model/FilterCatalogue.h"

namespace halvane {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

EditState decodeWith(const std::string& key, const json& value) {
  json document = json::object();
  document[key] = value;
  return decodeEditState(document);
}

Rect decodeCrop(const json& value) { return decodeWith("cropRect", value).cropRect; }

Rect crop(double x, double y, double width, double height) {
  return decodeCrop(json::array({json::array({x, y}), json::array({width, height})}));
}

// A state with every field away from its default and in range.
EditState everyFieldChanged() {
  EditState s;
  s.version = 1;
  s.exposure = -1.25f;
  s.brightness = 0.1f;
  s.contrast = 1.7f;
  s.highlights = -0.3f;
  s.shadows = 0.45f;
  s.whites = -0.9f;
  s.blacks = 0.2f;
  s.gamma = 2.2f;
  s.saturation = 0.0f;
  s.vibrance = -0.6f;
  s.temperature = 4321.5f;
  s.tint = 0.33f;
  s.sharpness = 1.9f;
  s.clarity = -0.1f;
  s.vignetteIntensity = 0.7f;
  s.vignetteRadius = 1.3f;
  s.filterType = 146;
  s.filterIntensity = 0.42f;
  s.flipHorizontal = true;
  s.rotationAngle = -12.5f;
  s.rotationQuarterTurns = 3;
  s.focusMode = 10;
  s.focusCenterX = 0.1f;
  s.focusCenterY = 0.9f;
  s.focusRadius = 0.6f;
  s.focusFeather = 0.05f;
  s.focusAngle = -170.0f;
  s.focusStrength = 0.8f;
  s.focusAspect = 0.5f;
  s.focusBokehHighlights = 0.3f;
  s.irisBlades = 9;
  s.irisRotation = 179.5f;
  s.depthMix = 0.25f;
  s.focusDepth = 0.75f;
  s.edgeProtect = 1.0f;
  s.cropRect = Rect{0.125, 0.25, 0.5, 0.625};  // exact in Float, so the repair keeps it
  s.trimStart = 1.000000000001;
  s.trimEnd = 12.3456789012345;
  s.audioVolume = 1.75f;
  s.audioMuted = true;
  return s;
}

// ---- Encoding -------------------------------------------------------------------

TEST(EditStateEncoding, DefaultStateAsText) {
  EXPECT_EQ(encodeEditState(EditState::defaultState()).dump(),
            R"({"version":1,"exposure":0.0,"brightness":0.0,"contrast":1.0,"highlights":0.0,)"
            R"("shadows":0.0,"whites":0.0,"blacks":0.0,"gamma":1.0,"saturation":1.0,"vibrance":0.0,)"
            R"("temperature":6500.0,"tint":0.0,"sharpness":0.0,"clarity":0.0,"vignetteIntensity":0.0,)"
            R"("vignetteRadius":1.0,"filterType":0,"filterIntensity":1.0,"flipHorizontal":false,)"
            R"("rotationAngle":0.0,"rotationQuarterTurns":0,"focusMode":0,"focusCenterX":0.5,)"
            R"("focusCenterY":0.5,"focusRadius":0.25,"focusFeather":0.5,"focusAngle":0.0,)"
            R"("focusStrength":0.0,"focusAspect":1.0,"focusBokehHighlights":0.0,"irisBlades":6,)"
            R"("irisRotation":0.0,"depthMix":0.0,"focusDepth":0.5,"edgeProtect":0.0,)"
            R"("cropRect":[[0.0,0.0],[1.0,1.0]],"trimStart":0.0,"trimEnd":0.0,"audioVolume":1.0,)"
            R"("audioMuted":false})");
}

TEST(EditStateEncoding, IntegersBooleansAndNumbersHaveTheirTypes) {
  const ordered_json coded = encodeEditState(everyFieldChanged());
  for (const char* key : {"version", "filterType", "rotationQuarterTurns", "focusMode", "irisBlades"}) {
    EXPECT_TRUE(coded.at(key).is_number_integer()) << key;
  }
  for (const char* key : {"flipHorizontal", "audioMuted"}) EXPECT_TRUE(coded.at(key).is_boolean()) << key;
  for (const char* key : {"trimStart", "trimEnd", "exposure", "temperature", "audioVolume"}) {
    EXPECT_TRUE(coded.at(key).is_number_float()) << key;
  }
  EXPECT_EQ(coded.at("filterType").get<std::int64_t>(), 146);
  EXPECT_EQ(coded.at("flipHorizontal").get<bool>(), true);
  EXPECT_EQ(coded.at("trimEnd").get<double>(), 12.3456789012345);
}

TEST(EditStateEncoding, CropIsAPairOfOriginAndSize) {
  EditState s;
  s.cropRect = Rect{0.1, 0.2, 0.3, 0.4};
  const ordered_json coded = encodeEditState(s).at("cropRect");
  EXPECT_EQ(coded, ordered_json::parse("[[0.1,0.2],[0.3,0.4]]"));
}

TEST(EditStateEncoding, FloatsAreWrittenAsTheirShortestDecimal) {
  EditState s;
  s.exposure = 0.1f;
  s.temperature = 6500.1f;
  const ordered_json coded = encodeEditState(s);
  EXPECT_EQ(coded.at("exposure").get<double>(), 0.1);
  EXPECT_EQ(coded.at("temperature").get<double>(), 6500.1);
  EXPECT_NE(coded.dump().find(R"("exposure":0.1,)"), std::string::npos) << coded.dump();
}

TEST(EditStateEncoding, BoolsAreWrittenByTheirLowestBit) {
  EditState s;
  s.flipHorizontal = Bool::fromByte(2);
  s.audioMuted = Bool::fromByte(3);
  const ordered_json coded = encodeEditState(s);
  EXPECT_EQ(coded.at("flipHorizontal"), false);
  EXPECT_EQ(coded.at("audioMuted"), true);
}

TEST(EditStateEncoding, NonFiniteValuesAreAnErrorOfTheEncoder) {
  struct Case {
    const char* key;
    void (*spoil)(EditState&);
  };
  const Case cases[] = {
      {"temperature", [](EditState& s) { s.temperature = std::numeric_limits<float>::quiet_NaN(); }},
      {"exposure", [](EditState& s) { s.exposure = -std::numeric_limits<float>::infinity(); }},
      {"cropRect", [](EditState& s) { s.cropRect.height = kNaN; }},
      {"trimStart", [](EditState& s) { s.trimStart = kInf; }},
      {"audioVolume", [](EditState& s) { s.audioVolume = std::numeric_limits<float>::infinity(); }},
  };
  for (const Case& c : cases) {
    EditState s;
    c.spoil(s);
    try {
      (void)encodeEditState(s);
      ADD_FAILURE() << c.key << ": encoding succeeded";
    } catch (const EditStateCodingError& error) {
      EXPECT_EQ(error.key(), c.key);
    }
  }
}

// ---- Round trip -----------------------------------------------------------------

TEST(EditStateCoding, RoundTripKeepsEveryField) {
  const EditState s = everyFieldChanged();
  EXPECT_EQ(decodeEditState(encodeEditState(s)), s);
  // Through text too: the shortest decimals read back to the same Floats.
  EXPECT_EQ(decodeEditState(json::parse(encodeEditState(s).dump())), s);
  EXPECT_EQ(decodeEditState(ordered_json::parse(encodeEditState(s).dump())), s);
  EXPECT_EQ(decodeEditState(encodeEditState(EditState::defaultState())), EditState::defaultState());
}

TEST(EditStateCoding, RoundTripOfFloatsIsExactThroughText) {
  std::mt19937 random(12345);
  std::uniform_int_distribution<std::uint32_t> bits;
  // A whole encode, dump, parse and decode per value: a few thousand values of every
  // exponent keep this quick, also under the sanitizers.
  for (int i = 0; i < 4000; ++i) {
    // Any finite Float in the exposure range, of any exponent, denormals included.
    float value;
    const std::uint32_t pattern = bits(random);
    std::memcpy(&value, &pattern, sizeof value);
    if (!std::isfinite(value) || std::fabs(value) > 3.0f) continue;
    EditState s;
    s.exposure = value;
    const EditState back = decodeEditState(json::parse(encodeEditState(s).dump()));
    ASSERT_EQ(std::memcmp(&back.exposure, &s.exposure, sizeof value), 0) << "bits " << pattern;
  }
}

TEST(EditStateCoding, RoundTripOfTinyAndExtremeInRangeFloats) {
  EditState s;
  s.exposure = std::numeric_limits<float>::denorm_min();
  s.brightness = -std::numeric_limits<float>::min();
  s.temperature = std::nextafter(10000.0f, 0.0f);
  s.gamma = std::nextafter(0.2f, 1.0f);
  EXPECT_EQ(decodeEditState(json::parse(encodeEditState(s).dump())), s);
}

// ---- Decoding: the document -----------------------------------------------------

TEST(EditStateDecoding, OnlyANonObjectFails) {
  for (const json& document : {json::array(), json(nullptr), json("{}"), json(3), json(true), json::array({1, 2})}) {
    EXPECT_THROW((void)decodeEditState(document), EditStateCodingError) << document.dump();
  }
  EXPECT_NO_THROW((void)decodeEditState(json::object()));
}

TEST(EditStateDecoding, EmptyObjectIsTheDefault) {
  const EditState s = decodeEditState(json::object());
  EXPECT_EQ(s, EditState::defaultState());
  EXPECT_EQ(s.version, 1);
}

TEST(EditStateDecoding, MissingKeysTakeTheirDefaults) {
  const EditState s = decodeEditState(json::parse(R"({"exposure": 0.5, "irisBlades": 4})"));
  EditState expected;
  expected.exposure = 0.5f;
  expected.irisBlades = 4;
  EXPECT_EQ(s, expected);
}

TEST(EditStateDecoding, UnknownKeysAreIgnored) {
  const EditState s =
      decodeEditState(json::parse(R"({"exposure": 0.5, "hdrBoost": 3, "cropRect2": [], "layers": {"a": 1}})"));
  EditState expected;
  expected.exposure = 0.5f;
  EXPECT_EQ(s, expected);
}

TEST(EditStateDecoding, OrderedAndUnorderedDocumentsReadAlike) {
  const std::string text = R"({"audioMuted": true, "version": 3, "tint": -0.25})";
  EXPECT_EQ(decodeEditState(json::parse(text)), decodeEditState(ordered_json::parse(text)));
}

// ---- Decoding: Float fields -----------------------------------------------------

struct FloatField {
  std::string_view key;
  float EditState::*member;
  FloatRange range;
};

std::vector<FloatField> floatFields() {
  std::vector<FloatField> fields;
  for (const EditField& field : kEditFields) {
    if (const auto* member = std::get_if<float EditState::*>(&field.member)) {
      fields.push_back({field.key, *member, std::get<FloatRange>(field.range)});
    }
  }
  return fields;
}

TEST(EditStateDecoding, EveryFloatFallsBackToItsDefaultWithinItsRange) {
  ASSERT_FALSE(floatFields().empty());
  for (const FloatField& f : floatFields()) {
    SCOPED_TRACE(f.key);
    EXPECT_EQ(f.range.fallback, EditState::defaultState().*f.member);
    EXPECT_EQ(f.range.clean(f.range.fallback), f.range.fallback);
    EXPECT_LT(f.range.lower, f.range.upper);
  }
}

TEST(EditStateDecoding, EveryFloatFieldIsRepairedByOneRule) {
  for (const FloatField& f : floatFields()) {
    SCOPED_TRACE(f.key);
    const float fallback = f.range.fallback;
    const float lower = f.range.lower;
    const float upper = f.range.upper;
    // Failure of the read: missing, wrong type.
    EXPECT_EQ(decodeWith("unrelated", 1).*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), "0.5").*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), nullptr).*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), true).*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), json::array({0.5})).*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), json::object()).*f.member, fallback);
    // NaN and infinities, where the container can express them.
    EXPECT_EQ(decodeWith(std::string(f.key), kNaN).*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), kInf).*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), -kInf).*f.member, fallback);
    // Beyond the largest Float the read fails, so it is the fallback, not the upper end.
    EXPECT_EQ(decodeWith(std::string(f.key), 1e300).*f.member, fallback);
    EXPECT_EQ(decodeWith(std::string(f.key), -1e300).*f.member, fallback);
    // Out of range, and at the ends.
    EXPECT_EQ(decodeWith(std::string(f.key), static_cast<double>(upper) + 1000).*f.member, upper);
    EXPECT_EQ(decodeWith(std::string(f.key), static_cast<double>(lower) - 1000).*f.member, lower);
    EXPECT_EQ(decodeWith(std::string(f.key), static_cast<double>(upper)).*f.member, upper);
    EXPECT_EQ(decodeWith(std::string(f.key), static_cast<double>(lower)).*f.member, lower);
    EXPECT_EQ(decodeWith(std::string(f.key), 3.0e38).*f.member, upper);  // fits a Float: clamped
    // Inside the range the value is kept, to Float precision.
    const float middle = lower + (upper - lower) * 0.375f;
    EXPECT_EQ(decodeWith(std::string(f.key), static_cast<double>(middle)).*f.member, middle);
  }
}

TEST(EditStateDecoding, TemperatureEdgeCases) {
  EXPECT_EQ(decodeWith("temperature", "NaN").temperature, 6500.0f);
  EXPECT_EQ(decodeWith("temperature", kNaN).temperature, 6500.0f);
  EXPECT_EQ(decodeWith("temperature", 12000).temperature, 10000.0f);
  EXPECT_EQ(decodeWith("temperature", 12000.0).temperature, 10000.0f);
  EXPECT_EQ(decodeWith("temperature", 1999).temperature, 2000.0f);
  EXPECT_EQ(decodeWith("temperature", 7000).temperature, 7000.0f);            // an integer reads as Float
  EXPECT_EQ(decodeWith("temperature", 7000u).temperature, 7000.0f);
  EXPECT_EQ(decodeWith("temperature", 0.1).temperature, 2000.0f);
  EXPECT_EQ(decodeWith("exposure", 0.1).exposure, 0.1f);                      // Float precision
  EXPECT_EQ(decodeWith("temperature", std::numeric_limits<std::uint64_t>::max()).temperature, 10000.0f);
}

TEST(EditStateDecoding, NegativeZeroAtALowerEndOfZeroBecomesZero) {
  const float strength = decodeWith("focusStrength", -0.0).focusStrength;
  EXPECT_EQ(strength, 0.0f);
  EXPECT_FALSE(std::signbit(strength));
  EXPECT_EQ(decodeWith("focusStrength", -1e-30).focusStrength, 0.0f);
  EXPECT_EQ(decodeWith("focusStrength", 1e-30).focusStrength, 1e-30f);
}

// ---- Decoding: integers ---------------------------------------------------------

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
    EXPECT_EQ(read(range.upper), range.upper);
    EXPECT_EQ(read(range.lower), range.lower);
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
}

TEST(EditStateDecoding, IntegerRangesAreThoseTheKernelsAndTheCatalogueExpect) {
  EXPECT_EQ(edit_ranges::filterType.upper, FilterCatalogue::maxFilterType());
  // Quarter turns are clamped, not reduced: 5 is 3, not 1.
  EXPECT_EQ(decodeWith("rotationQuarterTurns", 5).rotationQuarterTurns, 3);
}

TEST(EditStateDecoding, VersionIsKeptAsItStands) {
  EXPECT_EQ(decodeWith("version", 7).version, 7);
  EXPECT_EQ(decodeWith("version", -4).version, -4);
  EXPECT_EQ(decodeWith("version", 0).version, 0);
  EXPECT_EQ(decodeWith("version", 2.0).version, 2);
  EXPECT_EQ(decodeWith("version", "2").version, 1);
  EXPECT_EQ(decodeWith("version", 1.5).version, 1);
  EXPECT_EQ(decodeWith("unrelated", 0).version, 1);
  // No branch on the version: a newer record is read by the same rules.
  const EditState newer = decodeEditState(json::parse(R"({"version": 9, "irisBlades": 12, "futureField": 1})"));
  EXPECT_EQ(newer.irisBlades, 9);
  EXPECT_NE(newer, EditState::defaultState());
}

TEST(EditStateDecoding, StatesDifferingOnlyInVersionAreBothDefault) {
  const EditState a = decodeWith("version", 2);
  const EditState b = decodeWith("version", 1);
  EXPECT_NE(a, b);
  EXPECT_TRUE(a.isDefault());
  EXPECT_TRUE(b.isDefault());
}

// ---- Decoding: Bools ------------------------------------------------------------

TEST(EditStateDecoding, BoolsReadOnlyTrueAndFalse) {
  EXPECT_TRUE(static_cast<bool>(decodeWith("flipHorizontal", true).flipHorizontal));
  EXPECT_FALSE(static_cast<bool>(decodeWith("flipHorizontal", false).flipHorizontal));
  EXPECT_FALSE(static_cast<bool>(decodeWith("flipHorizontal", 1).flipHorizontal));
  EXPECT_FALSE(static_cast<bool>(decodeWith("flipHorizontal", "true").flipHorizontal));
  EXPECT_TRUE(static_cast<bool>(decodeWith("audioMuted", true).audioMuted));
  EXPECT_FALSE(static_cast<bool>(decodeWith("audioMuted", 1.0).audioMuted));
  EXPECT_FALSE(static_cast<bool>(decodeWith("unrelated", true).audioMuted));
}

// ---- Decoding: the crop ---------------------------------------------------------

// Expected values are computed in Float and stored as Double, as the repair does.
constexpr double f(float value) { return static_cast<double>(value); }

TEST(EditStateDecodingCrop, AFailedReadIsTheWholeImage) {
  const Rect whole{0, 0, 1, 1};
  EXPECT_EQ(decodeWith("unrelated", 1).cropRect, whole);
  EXPECT_EQ(decodeCrop(json::parse("[0.1, 0.2, 0.3, 0.4]")), whole);
  EXPECT_EQ(decodeCrop(json::parse(R"({"x": 0.1, "y": 0.2, "width": 0.3, "height": 0.4})")), whole);
  EXPECT_EQ(decodeCrop(json::parse("[[0.1, 0.2]]")), whole);
  EXPECT_EQ(decodeCrop(json::parse("[[0.1], [0.3, 0.4]]")), whole);
  EXPECT_EQ(decodeCrop(json::parse(R"([[0.1, "0.2"], [0.3, 0.4]])")), whole);
  EXPECT_EQ(decodeCrop(json::parse("[[0.1, null], [0.3, 0.4]]")), whole);
  EXPECT_EQ(decodeCrop(json::parse("[[0.1, 0.2], [true, 0.4]]")), whole);
  EXPECT_EQ(decodeCrop("0 0 1 1"), whole);
  EXPECT_EQ(decodeCrop(nullptr), whole);
}

TEST(EditStateDecodingCrop, FurtherElementsAreNotRead) {
  EXPECT_EQ(decodeCrop(json::parse("[[0.25, 0.5, 9], [0.5, 0.25, 9], 9]")), (Rect{0.25, 0.5, 0.5, 0.25}));
}

TEST(EditStateDecodingCrop, IntegersReadAsDoubles) {
  EXPECT_EQ(decodeCrop(json::parse("[[0, 0], [1, 1]]")), (Rect{0, 0, 1, 1}));
}

TEST(EditStateDecodingCrop, ValuesAreTakenToFloatPrecision) {
  const Rect r = crop(0.3, 0.1, 0.2, 0.7);
  EXPECT_EQ(r.x, f(0.3f));
  EXPECT_NE(r.x, 0.3);
  EXPECT_EQ(r.y, f(0.1f));
  EXPECT_EQ(r.width, f(0.2f));
  EXPECT_EQ(r.height, f(0.7f));
}

TEST(EditStateDecodingCrop, SizeIsCutToTheRoomLeft) {
  // (0.9, 0.9, 0.5, 0.5): the sides become 1 - 0.9 in Float, about 0.1.
  const Rect r = crop(0.9, 0.9, 0.5, 0.5);
  EXPECT_EQ(r.x, f(0.9f));
  EXPECT_EQ(r.y, f(0.9f));
  EXPECT_EQ(r.width, f(1.0f - 0.9f));
  EXPECT_EQ(r.height, f(1.0f - 0.9f));
  EXPECT_NEAR(r.width, 0.1, 1e-7);
  EXPECT_NE(r.width, 0.1);  // the Float difference, not the Double one
}

TEST(EditStateDecodingCrop, NoRoomMovesTheOriginBack) {
  // (1, 1, 1, 1): the sides get the floor 0.01 and the origin moves to 1 - 0.01.
  const Rect r = crop(1, 1, 1, 1);
  EXPECT_EQ(r.width, f(0.01f));
  EXPECT_EQ(r.height, f(0.01f));
  EXPECT_EQ(r.x, f(1.0f - 0.01f));
  EXPECT_EQ(r.y, f(1.0f - 0.01f));
  EXPECT_NEAR(r.x, 0.99, 1e-7);
}

TEST(EditStateDecodingCrop, ZeroOrNegativeSidesTakeTheFloor) {
  EXPECT_EQ(crop(0, 0, 0, 1).width, f(0.01f));
  EXPECT_EQ(crop(0, 0, -0.0, 1).width, f(0.01f));
  EXPECT_EQ(crop(0, 0, -5, 1).width, f(0.01f));
  EXPECT_EQ(crop(0, 0, 1, 0).height, f(0.01f));
  // Positive but at or below the floor: raised to it.
  EXPECT_EQ(crop(0, 0, 0.005, 1).width, f(0.01f));
  EXPECT_EQ(crop(0, 0, 0.01, 1).width, f(0.01f));
  EXPECT_EQ(crop(0, 0, 1e-60, 1).width, f(0.01f));  // 0 in Float
  EXPECT_EQ(crop(0, 0, std::nextafter(0.01f, 1.0f), 1).width, f(std::nextafter(0.01f, 1.0f)));
}

TEST(EditStateDecodingCrop, OriginRepair) {
  EXPECT_EQ(crop(kNaN, 0.5, 0.5, 0.5).x, 0.0);
  EXPECT_EQ(crop(kInf, 0.5, 0.5, 0.5).x, 0.0);
  EXPECT_EQ(crop(-kInf, 0.5, 0.5, 0.5).x, 0.0);
  EXPECT_EQ(crop(-0.25, 0.5, 0.5, 0.5).x, 0.0);
  EXPECT_FALSE(std::signbit(crop(-0.0, 0.5, 0.5, 0.5).x));
  EXPECT_EQ(crop(0.5, kNaN, 0.5, 0.5).y, 0.0);
  // Above 1: lowered to 1, then moved back by the floor of the size.
  const Rect r = crop(1.5, 0, 0.5, 1);
  EXPECT_EQ(r.width, f(0.01f));
  EXPECT_EQ(r.x, f(1.0f - 0.01f));
  // Beyond the Float range a Double becomes an infinity first, and so 0.
  EXPECT_EQ(crop(1e39, 0, 0.5, 1).x, 0.0);
  EXPECT_EQ(crop(1e39, 0, 0.5, 1).width, 0.5);
}

TEST(EditStateDecodingCrop, NonFiniteSidesBecomeWholeAndPushTheOriginToZero) {
  // A NaN width gives 1 (no cut to the room left), and then x = min(x, 1 - 1) = 0.
  const Rect r = crop(0.5, 0.25, kNaN, 0.5);
  EXPECT_EQ(r.width, 1.0);
  EXPECT_EQ(r.x, 0.0);
  EXPECT_EQ(r.y, 0.25);
  EXPECT_EQ(r.height, 0.5);
  const Rect s = crop(0.25, 0.75, 0.5, -kInf);
  EXPECT_EQ(s.height, 1.0);
  EXPECT_EQ(s.y, 0.0);
  EXPECT_EQ(crop(0, 0, 1e39, 1).width, 1.0);  // an infinity in Float
}

TEST(EditStateDecodingCrop, AValidCropIsKept) {
  EXPECT_EQ(crop(0.25, 0.25, 0.5, 0.5), (Rect{0.25, 0.25, 0.5, 0.5}));
  EXPECT_EQ(crop(0, 0, 1, 1), (Rect{0, 0, 1, 1}));
  EXPECT_EQ(crop(0.5, 0.5, 0.5, 0.5), (Rect{0.5, 0.5, 0.5, 0.5}));
}

// ---- Decoding: trim and audio ---------------------------------------------------

EditState trim(const json& start, const json& end) {
  json document = json::object();
  document["trimStart"] = start;
  document["trimEnd"] = end;
  return decodeEditState(document);
}

TEST(EditStateDecodingTrim, EndBeforeStartIsRaised) {
  EXPECT_EQ(trim(10.0, 4.0).trimEnd, 10.0);
  EXPECT_EQ(trim(10.0, 4.0).trimStart, 10.0);
  EXPECT_EQ(trim(1.5, 1.25).trimEnd, 1.5);
  EXPECT_EQ(trim(2.0, 2.0).trimEnd, 2.0);
  EXPECT_EQ(trim(2.0, 3.0).trimEnd, 3.0);
}

TEST(EditStateDecodingTrim, ZeroEndMeansTheWholeLengthAndStays) {
  EXPECT_EQ(trim(10.0, 0.0).trimEnd, 0.0);
  EXPECT_EQ(trim(10.0, -4.0).trimEnd, 0.0);
  EXPECT_EQ(trim(10.0, kNaN).trimEnd, 0.0);
  EXPECT_EQ(trim(10.0, "12").trimEnd, 0.0);
}

TEST(EditStateDecodingTrim, BadValuesGiveZero) {
  EXPECT_EQ(trim(kNaN, 5.0).trimStart, 0.0);
  EXPECT_EQ(trim(kInf, 5.0).trimStart, 0.0);
  EXPECT_EQ(trim(-kInf, 5.0).trimStart, 0.0);
  EXPECT_EQ(trim(-3.0, 5.0).trimStart, 0.0);
  EXPECT_EQ(trim("1", 5.0).trimStart, 0.0);
  EXPECT_EQ(trim(0.0, kInf).trimEnd, 0.0);
  EXPECT_EQ(trim(3, 7).trimEnd, 7.0);  // integers read as doubles
  EXPECT_EQ(trim(0.1, 0.2).trimStart, 0.1);  // Double precision, not Float
  EXPECT_FALSE(std::signbit(trim(-0.0, 1.0).trimStart));
}

TEST(EditStateDecodingAudio, VolumeIsHeldTo0Through2) {
  EXPECT_EQ(decodeWith("audioVolume", kNaN).audioVolume, 1.0f);
  EXPECT_EQ(decodeWith("audioVolume", kInf).audioVolume, 1.0f);
  EXPECT_EQ(decodeWith("audioVolume", "loud").audioVolume, 1.0f);
  EXPECT_EQ(decodeWith("audioVolume", 3).audioVolume, 2.0f);
  EXPECT_EQ(decodeWith("audioVolume", -1).audioVolume, 0.0f);
  EXPECT_EQ(decodeWith("audioVolume", 0.5).audioVolume, 0.5f);
}

// ---- JSON text from outside -----------------------------------------------------------

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
