// RenderUniforms: the byte layout of the block and its GLSL mirror, and every cleaning,
// rounding and angle rule of makeUniforms and outputSize.
#include "Halvane/Rendering/RenderUniforms.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <numbers>
#include <regex>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace halvane {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();

std::uint32_t bitsOf(float value) { return std::bit_cast<std::uint32_t>(value); }

RenderUniforms uniformsFor(const EditState& state, std::uint64_t width = 4000, std::uint64_t height = 3000) {
  return makeUniforms(width, height, state, false);
}

// ---- Layout ---------------------------------------------------------------------

struct FieldLayout {
  const char* name;
  const char* glslType;  // "float" or "uint"
  std::size_t offset;
};

#define HALVANE_FIELD(name, type) {#name, type, offsetof(RenderUniforms, name)}
const FieldLayout kFields[] = {
    HALVANE_FIELD(cropX, "float"),
    HALVANE_FIELD(cropY, "float"),
    HALVANE_FIELD(cropWidth, "float"),
    HALVANE_FIELD(cropHeight, "float"),
    HALVANE_FIELD(rotationRadians, "float"),
    HALVANE_FIELD(quarterTurns, "uint"),
    HALVANE_FIELD(flipHorizontal, "uint"),
    HALVANE_FIELD(reserved0, "uint"),
    HALVANE_FIELD(sourceWidth, "uint"),
    HALVANE_FIELD(sourceHeight, "uint"),
    HALVANE_FIELD(croppedWidth, "uint"),
    HALVANE_FIELD(croppedHeight, "uint"),
    HALVANE_FIELD(outputWidth, "uint"),
    HALVANE_FIELD(outputHeight, "uint"),
    HALVANE_FIELD(reserved1, "uint"),
    HALVANE_FIELD(reserved2, "uint"),
    HALVANE_FIELD(exposure, "float"),
    HALVANE_FIELD(brightness, "float"),
    HALVANE_FIELD(contrast, "float"),
    HALVANE_FIELD(highlights, "float"),
    HALVANE_FIELD(shadows, "float"),
    HALVANE_FIELD(whites, "float"),
    HALVANE_FIELD(blacks, "float"),
    HALVANE_FIELD(gamma, "float"),
    HALVANE_FIELD(saturation, "float"),
    HALVANE_FIELD(vibrance, "float"),
    HALVANE_FIELD(temperature, "float"),
    HALVANE_FIELD(tint, "float"),
    HALVANE_FIELD(sharpness, "float"),
    HALVANE_FIELD(clarity, "float"),
    HALVANE_FIELD(vignetteIntensity, "float"),
    HALVANE_FIELD(vignetteRadius, "float"),
    HALVANE_FIELD(filterType, "uint"),
    HALVANE_FIELD(filterIntensity, "float"),
    HALVANE_FIELD(reserved3, "uint"),
    HALVANE_FIELD(reserved4, "uint"),
    HALVANE_FIELD(focusMode, "uint"),
    HALVANE_FIELD(focusCenterX, "float"),
    HALVANE_FIELD(focusCenterY, "float"),
    HALVANE_FIELD(focusRadius, "float"),
    HALVANE_FIELD(focusFeather, "float"),
    HALVANE_FIELD(focusAngleRadians, "float"),
    HALVANE_FIELD(focusStrength, "float"),
    HALVANE_FIELD(focusAspect, "float"),
    HALVANE_FIELD(focusBokehHighlights, "float"),
    HALVANE_FIELD(irisBlades, "uint"),
    HALVANE_FIELD(irisRotationRadians, "float"),
    HALVANE_FIELD(depthMix, "float"),
    HALVANE_FIELD(focusDepth, "float"),
    HALVANE_FIELD(edgeProtect, "float"),
    HALVANE_FIELD(finalOutput, "uint"),
    HALVANE_FIELD(reserved5, "uint"),
};
#undef HALVANE_FIELD

// The GLSL block (std140, scalars only) must list the same fields, of the same types,
// in the same order, so each lands at the same offset.
TEST(RenderUniformsLayout, TheGlslMirrorMatchesFieldForField) {
  const std::string path = std::string(HALVANE_SHADER_SOURCE_DIR) + "/Uniforms.glsl";
  std::ifstream file(path);
  ASSERT_TRUE(file.good()) << "cannot read " << path;
  std::stringstream text;
  text << file.rdbuf();
  const std::string source = text.str();

  const std::size_t open = source.find("uniform RenderUniforms");
  ASSERT_NE(open, std::string::npos);
  ASSERT_NE(source.find("std140", source.rfind("layout", open)), std::string::npos);
  ASSERT_NE(source.find("binding = 0", source.rfind("layout", open)), std::string::npos);
  const std::size_t begin = source.find('{', open);
  const std::size_t end = source.find('}', begin);
  ASSERT_NE(end, std::string::npos);
  const std::string block = source.substr(begin + 1, end - begin - 1);

  const std::regex member(R"((float|uint|int)\s+(\w+)\s*;(?:\s*//\s*(\d+))?)");
  std::vector<std::smatch> members;
  for (auto it = std::sregex_iterator(block.begin(), block.end(), member); it != std::sregex_iterator(); ++it) {
    members.push_back(*it);
  }
  ASSERT_EQ(members.size(), std::size(kFields));
  for (std::size_t i = 0; i < members.size(); ++i) {
    SCOPED_TRACE(kFields[i].name);
    EXPECT_EQ(members[i][2].str(), kFields[i].name);
    EXPECT_EQ(members[i][1].str(), kFields[i].glslType);
    if (members[i][3].matched) {
      EXPECT_EQ(std::stoul(members[i][3].str()), kFields[i].offset) << "offset comment";
    }
  }
}

// ---- The default state ----------------------------------------------------------

TEST(MakeUniforms, DefaultStateGivesNeutralGeometry) {
  const RenderUniforms u = uniformsFor(EditState{});
  EXPECT_EQ(u.cropX, 0.0f);
  EXPECT_EQ(u.cropY, 0.0f);
  EXPECT_EQ(u.cropWidth, 1.0f);
  EXPECT_EQ(u.cropHeight, 1.0f);
  EXPECT_EQ(bitsOf(u.rotationRadians), 0u);
  EXPECT_EQ(u.quarterTurns, 0u);
  EXPECT_EQ(u.flipHorizontal, 0u);
  EXPECT_EQ(u.outputWidth, 4000u);
  EXPECT_EQ(u.outputHeight, 3000u);
  EXPECT_EQ(bitsOf(u.focusAngleRadians), 0u);
  EXPECT_EQ(bitsOf(u.irisRotationRadians), 0u);
  EXPECT_EQ(u.finalOutput, 0u);
}

TEST(MakeUniforms, ReservedWordsAreZeroWhateverTheState) {
  EditState s;
  s.exposure = kNaN;
  s.rotationQuarterTurns = -1;
  s.flipHorizontal = Bool::fromByte(0xFF);
  s.filterType = kInt64Max;
  for (const RenderUniforms& u : {makeUniforms(17, 9, s, true), makeUniforms(17, 9, EditState{}, false)}) {
    EXPECT_EQ(u.reserved0, 0u);
    EXPECT_EQ(u.reserved1, 0u);
    EXPECT_EQ(u.reserved2, 0u);
    EXPECT_EQ(u.reserved3, 0u);
    EXPECT_EQ(u.reserved4, 0u);
    EXPECT_EQ(u.reserved5, 0u);
  }
}

TEST(MakeUniforms, FinalOutputIsTheOnlyDifferenceBetweenPreviewAndExport) {
  EditState s;
  s.exposure = 0.7f;
  s.cropRect = Rect{0.1, 0.2, 0.3, 0.4};
  s.focusMode = 4;
  const RenderUniforms preview = makeUniforms(1920, 1080, s, false);
  RenderUniforms exported = makeUniforms(1920, 1080, s, true);
  EXPECT_EQ(preview.finalOutput, 0u);
  EXPECT_EQ(exported.finalOutput, 1u);
  exported.finalOutput = 0;
  EXPECT_EQ(std::memcmp(&preview, &exported, sizeof preview), 0);
}

TEST(MakeUniforms, IsPure) {
  EditState s;
  s.temperature = kNaN;
  s.rotationAngle = 10;
  const RenderUniforms a = makeUniforms(640, 480, s, true);
  const RenderUniforms b = makeUniforms(640, 480, s, true);
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
}

TEST(MakeUniforms, FieldsThatDoNotReachTheGpuChangeNothing) {
  EditState s;
  s.version = 42;
  s.trimStart = 3;
  s.trimEnd = 9;
  s.audioVolume = 0.1f;
  s.audioMuted = true;
  const RenderUniforms a = uniformsFor(s);
  const RenderUniforms b = uniformsFor(EditState{});
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
}

// ---- The members that take a field as it stands -----------------------------------

template <typename In, typename Out>
Out blockValue(In EditState::*in, Out RenderUniforms::*out, In value) {
  EditState s;
  s.*in = value;
  return uniformsFor(s).*out;
}

// A Float takes the field's range rule: its default for a NaN or an infinity, the ends
// beyond them. An integer is clamped in 64 bits before it is narrowed.
template <typename In, typename Out, typename Range>
void checkOneToOne(const char* name, In EditState::*in, Out RenderUniforms::*out, const Range& range) {
  SCOPED_TRACE(name);
  const In initial = EditState::defaultState().*in;
  EXPECT_EQ(uniformsFor(EditState{}).*out, static_cast<Out>(initial)) << "the default passes as it is";
  if constexpr (std::is_same_v<In, float>) {
    for (float bad : {kNaN, -kNaN, kInf, -kInf}) EXPECT_EQ(blockValue(in, out, bad), range.fallback);
    EXPECT_EQ(blockValue(in, out, std::nextafter(range.lower, -kInf)), range.lower);
    EXPECT_EQ(blockValue(in, out, std::numeric_limits<float>::lowest()), range.lower);
    EXPECT_EQ(blockValue(in, out, std::nextafter(range.upper, kInf)), range.upper);
    EXPECT_EQ(blockValue(in, out, std::numeric_limits<float>::max()), range.upper);
    const float middle = range.lower + (range.upper - range.lower) * 0.625f;
    EXPECT_EQ(blockValue(in, out, middle), middle);
  } else {
    EXPECT_EQ(blockValue(in, out, kInt64Min), static_cast<Out>(range.lower));
    EXPECT_EQ(blockValue(in, out, kInt64Max), static_cast<Out>(range.upper));
    EXPECT_EQ(blockValue(in, out, range.upper + 0x100000000), static_cast<Out>(range.upper)) << "no truncation";
    EXPECT_EQ(blockValue(in, out, range.lower), static_cast<Out>(range.lower));
  }
}

TEST(MakeUniforms, EveryOneToOneMemberTakesItsFieldByTheFieldsRule) {
  int checked = 0;
#define HALVANE_CHECK_Same(name) \
  checkOneToOne(#name, &EditState::name, &RenderUniforms::name, edit_ranges::name), ++checked;
#define HALVANE_CHECK_Own(name)
#define HALVANE_CHECK(name, Type, initial, lower, upper, block) HALVANE_CHECK_##block(name)
  HALVANE_EDIT_FIELDS(HALVANE_CHECK)
#undef HALVANE_CHECK
#undef HALVANE_CHECK_Own
#undef HALVANE_CHECK_Same
  EXPECT_GT(checked, 0);
}

TEST(MakeUniforms, NegativeZeroAtALowerEndOfZeroBecomesZero) {
  EditState s;
  s.focusStrength = -0.0f;
  s.sharpness = -0.0f;
  const RenderUniforms u = uniformsFor(s);
  EXPECT_EQ(bitsOf(u.focusStrength), 0u);
  EXPECT_EQ(bitsOf(u.sharpness), 0u);
}

TEST(MakeUniforms, TemperatureNaNGivesTheNeutral6500) {
  EditState s;
  s.temperature = kNaN;
  EXPECT_EQ(uniformsFor(s).temperature, 6500.0f);
  s.temperature = 12000;
  EXPECT_EQ(uniformsFor(s).temperature, 10000.0f);
}

// ---- Angles ---------------------------------------------------------------------

TEST(MakeUniforms, TheConstantIsThePartsPi) {
  EXPECT_EQ(bitsOf(kUniformPi), 0x40490FDAu);
  EXPECT_NE(kUniformPi, std::numbers::pi_v<float>);  // float pi is 0x40490FDB
}

float rotationRadians(float degrees) {
  EditState s;
  s.rotationAngle = degrees;
  return uniformsFor(s).rotationRadians;
}

float focusAngleRadians(float degrees) {
  EditState s;
  s.focusAngle = degrees;
  return uniformsFor(s).focusAngleRadians;
}

float irisRotationRadians(float degrees) {
  EditState s;
  s.irisRotation = degrees;
  return uniformsFor(s).irisRotationRadians;
}

// Expected bits come from IEEE single arithmetic done outside this code:
// (degrees × 0x40490FDA) rounded, then ÷ 180 rounded.
TEST(MakeUniforms, AnglesMultiplyByTheConstantFirstThenDivide) {
  EXPECT_EQ(bitsOf(rotationRadians(45)), 0x3F490FDAu);
  EXPECT_EQ(bitsOf(rotationRadians(-45)), 0xBF490FDAu);
  EXPECT_EQ(bitsOf(rotationRadians(1)), 0x3C8EFA35u);
  EXPECT_EQ(bitsOf(rotationRadians(30)), 0x3F060A91u);
  // 10 degrees tells the rules apart: float pi gives 0x3E32B8C3; the constant ÷ 180
  // taken first, or 10 ÷ 180 taken first, give 0x3E32B8C2.
  EXPECT_EQ(bitsOf(rotationRadians(10)), 0x3E32B8C1u);
  EXPECT_EQ(bitsOf(rotationRadians(23.739715576171875f)), 0x3ED423DFu);
  EXPECT_EQ(bitsOf(focusAngleRadians(10)), 0x3E32B8C1u);
  EXPECT_EQ(bitsOf(irisRotationRadians(10)), 0x3E32B8C1u);
}

TEST(MakeUniforms, RotationAngleIsClampedTo45Degrees) {
  // A rotationAngle of 90 gives the radians of 45 degrees.
  EXPECT_EQ(bitsOf(rotationRadians(90)), 0x3F490FDAu);
  EXPECT_EQ(bitsOf(rotationRadians(-1000)), 0xBF490FDAu);
  // NaN and infinities give 0, not an end of the range.
  EXPECT_EQ(bitsOf(rotationRadians(kNaN)), 0u);
  EXPECT_EQ(bitsOf(rotationRadians(kInf)), 0u);
  EXPECT_EQ(bitsOf(rotationRadians(-kInf)), 0u);
}

TEST(MakeUniforms, FocusAngleIsClampedTo180Degrees) {
  EXPECT_EQ(bitsOf(focusAngleRadians(180)), 0x40490FDAu);
  EXPECT_EQ(bitsOf(focusAngleRadians(270)), 0x40490FDAu);
  EXPECT_EQ(bitsOf(focusAngleRadians(-180)), 0xC0490FDAu);
  EXPECT_EQ(bitsOf(focusAngleRadians(-500)), 0xC0490FDAu);
  EXPECT_EQ(bitsOf(focusAngleRadians(90)), 0x3FC90FDAu);
  EXPECT_EQ(bitsOf(focusAngleRadians(kNaN)), 0u);
  EXPECT_EQ(bitsOf(focusAngleRadians(-kInf)), 0u);
  // Inside a range across zero a negative zero stays negative.
  EXPECT_EQ(bitsOf(focusAngleRadians(-0.0f)), 0x80000000u);
}

TEST(MakeUniforms, IrisRotationIsHeldTo0Through180) {
  EXPECT_EQ(bitsOf(irisRotationRadians(-10)), 0u);
  EXPECT_EQ(bitsOf(irisRotationRadians(200)), 0x40490FDAu);
  EXPECT_EQ(bitsOf(irisRotationRadians(180)), 0x40490FDAu);
  EXPECT_EQ(bitsOf(irisRotationRadians(0)), 0u);
  EXPECT_EQ(bitsOf(irisRotationRadians(-0.0f)), 0u);
  EXPECT_EQ(bitsOf(irisRotationRadians(kNaN)), 0u);
  EXPECT_EQ(bitsOf(irisRotationRadians(kInf)), 0u);
  EXPECT_EQ(bitsOf(irisRotationRadians(90)), 0x3FC90FDAu);
}

// ---- Integers -------------------------------------------------------------------

std::uint32_t quarterTurns(std::int64_t turns) {
  EditState s;
  s.rotationQuarterTurns = turns;
  return uniformsFor(s).quarterTurns;
}

TEST(MakeUniforms, QuarterTurnsTakeTheLowestTwoBits) {
  EXPECT_EQ(quarterTurns(0), 0u);
  EXPECT_EQ(quarterTurns(3), 3u);
  EXPECT_EQ(quarterTurns(4), 0u);
  EXPECT_EQ(quarterTurns(5), 1u);
  EXPECT_EQ(quarterTurns(7), 3u);
  EXPECT_EQ(quarterTurns(-1), 3u);
  EXPECT_EQ(quarterTurns(-2), 2u);
  EXPECT_EQ(quarterTurns(kInt64Min), 0u);
  EXPECT_EQ(quarterTurns(kInt64Max), 3u);
}

TEST(MakeUniforms, FlipTakesTheLowestBit) {
  EditState s;
  s.flipHorizontal = true;
  EXPECT_EQ(uniformsFor(s).flipHorizontal, 1u);
  s.flipHorizontal = Bool::fromByte(2);
  EXPECT_EQ(uniformsFor(s).flipHorizontal, 0u);
  s.flipHorizontal = Bool::fromByte(3);
  EXPECT_EQ(uniformsFor(s).flipHorizontal, 1u);
  s.flipHorizontal = Bool::fromByte(0xFE);
  EXPECT_EQ(uniformsFor(s).flipHorizontal, 0u);
}

// ---- Crop and sizes -------------------------------------------------------------

RenderUniforms withCrop(Rect crop, std::uint64_t width = 4000, std::uint64_t height = 3000,
                        std::int64_t turns = 0) {
  EditState s;
  s.cropRect = crop;
  s.rotationQuarterTurns = turns;
  return makeUniforms(width, height, s, false);
}

TEST(MakeUniforms, CentredHalfCropOf4000By3000) {
  const RenderUniforms u = withCrop({0.25, 0.25, 0.5, 0.5});
  EXPECT_EQ(u.cropX, 0.25f);
  EXPECT_EQ(u.cropWidth, 0.5f);
  EXPECT_EQ(u.croppedWidth, 2000u);
  EXPECT_EQ(u.croppedHeight, 1500u);
  EXPECT_EQ(u.outputWidth, 2000u);
  EXPECT_EQ(u.outputHeight, 1500u);
  const RenderUniforms turned = withCrop({0.25, 0.25, 0.5, 0.5}, 4000, 3000, 1);
  EXPECT_EQ(turned.croppedWidth, 2000u);
  EXPECT_EQ(turned.croppedHeight, 1500u);
  EXPECT_EQ(turned.outputWidth, 1500u);
  EXPECT_EQ(turned.outputHeight, 2000u);
}

TEST(MakeUniforms, OddTurnsSwapTheOutput) {
  for (std::int64_t turns : std::initializer_list<std::int64_t>{1, 3, 5, -1, -3, kInt64Max}) {
    const RenderUniforms u = withCrop({0, 0, 1, 1}, 40, 30, turns);
    EXPECT_EQ(u.outputWidth, 30u) << turns;
    EXPECT_EQ(u.outputHeight, 40u) << turns;
  }
  for (std::int64_t turns : std::initializer_list<std::int64_t>{0, 2, 4, -2, kInt64Min}) {
    const RenderUniforms u = withCrop({0, 0, 1, 1}, 40, 30, turns);
    EXPECT_EQ(u.outputWidth, 40u) << turns;
    EXPECT_EQ(u.outputHeight, 30u) << turns;
  }
}

TEST(MakeUniforms, TiltDoesNotChangeTheSize) {
  EditState s;
  s.rotationAngle = 30;
  const RenderUniforms u = makeUniforms(4000, 3000, s, false);
  EXPECT_EQ(u.outputWidth, 4000u);
  EXPECT_EQ(u.outputHeight, 3000u);
}

TEST(MakeUniforms, ATinyCropIsRaisedToOnePixel) {
  // A crop width of 0.0001 on a source 100 pixels wide gives 1 by the floor, not 0.
  const RenderUniforms u = withCrop({0, 0, 0.0001, 1}, 100, 100);
  EXPECT_EQ(u.cropWidth, 0.0001f);
  EXPECT_EQ(u.croppedWidth, 1u);
  EXPECT_EQ(u.outputWidth, 1u);
}

TEST(MakeUniforms, NoFloorOfTheDecoderOnTheCropSides) {
  const RenderUniforms zero = withCrop({0, 0, 0, 0}, 100, 100);
  EXPECT_EQ(bitsOf(zero.cropWidth), 0u);
  EXPECT_EQ(bitsOf(zero.cropHeight), 0u);
  EXPECT_EQ(zero.croppedWidth, 1u);
  EXPECT_EQ(zero.croppedHeight, 1u);
  const RenderUniforms negative = withCrop({0, 0, -0.5, -0.0}, 100, 100);
  EXPECT_EQ(bitsOf(negative.cropWidth), 0u);
  EXPECT_EQ(bitsOf(negative.cropHeight), 0u);
  const RenderUniforms tiny = withCrop({0, 0, 0.005, 1}, 100, 100);
  EXPECT_EQ(tiny.cropWidth, 0.005f);
}

TEST(MakeUniforms, CropOriginCleaning) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(withCrop({nan, 0, 0.5, 1}).cropX, 0.0f);
  EXPECT_EQ(withCrop({inf, 0, 0.5, 1}).cropX, 0.0f);
  EXPECT_EQ(withCrop({-inf, 0, 0.5, 1}).cropX, 0.0f);
  EXPECT_EQ(withCrop({-0.25, 0, 0.5, 1}).cropX, 0.0f);
  EXPECT_EQ(bitsOf(withCrop({-0.0, 0, 0.5, 1}).cropX), 0u);
  EXPECT_EQ(withCrop({0, nan, 1, 0.5}).cropY, 0.0f);
  // A Double beyond the Float range is an infinity once taken as Float.
  EXPECT_EQ(withCrop({1e39, 0, 0.5, 1}).cropX, 0.0f);
  // Above 1: lowered to 1, leaving no room for a positive side.
  const RenderUniforms beyond = withCrop({1.5, 0, 0.5, 1}, 100, 100);
  EXPECT_EQ(beyond.cropX, 1.0f);
  EXPECT_EQ(bitsOf(beyond.cropWidth), 0u);
  EXPECT_EQ(beyond.croppedWidth, 1u);
  // Unlike the decoder the origin does not move back.
  EXPECT_EQ(withCrop({1, 1, 1, 1}).cropX, 1.0f);
}

TEST(MakeUniforms, CropSideCleaning) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  // A NaN or an infinity gives 1, without the cut to the room left.
  const RenderUniforms u = withCrop({0.5, 0.25, nan, -inf}, 100, 100);
  EXPECT_EQ(u.cropWidth, 1.0f);
  EXPECT_EQ(u.cropHeight, 1.0f);
  EXPECT_EQ(u.croppedWidth, 100u);
  EXPECT_EQ(u.croppedHeight, 100u);
  EXPECT_EQ(u.cropX, 0.5f);
  // A positive side is cut to 1 - origin, computed in Float.
  const RenderUniforms cut = withCrop({0.9, 0.9, 0.5, 0.5}, 1000, 1000);
  EXPECT_EQ(cut.cropWidth, 1.0f - 0.9f);
  EXPECT_EQ(cut.croppedWidth, 100u);
  // Values are taken as Float.
  EXPECT_EQ(withCrop({0.3, 0, 0.2, 1}).cropX, 0.3f);
  EXPECT_EQ(withCrop({0.3, 0, 0.2, 1}).cropWidth, 0.2f);
}

TEST(MakeUniforms, RoundingIsToNearestWithHalvesAwayFromZero) {
  EXPECT_EQ(withCrop({0, 0, 0.5, 1}, 5, 1).croppedWidth, 3u);   // 2.5: not 2 (to even)
  EXPECT_EQ(withCrop({0, 0, 0.5, 1}, 7, 1).croppedWidth, 4u);   // 3.5
  EXPECT_EQ(withCrop({0, 0, 0.5, 1}, 9, 1).croppedWidth, 5u);   // 4.5: not 4
  EXPECT_EQ(withCrop({0, 0, 0.25, 1}, 10, 1).croppedWidth, 3u);  // 2.5
  EXPECT_EQ(withCrop({0, 0, 0.75, 1}, 2, 1).croppedWidth, 2u);   // 1.5
  EXPECT_EQ(withCrop({0, 0, 0.375, 1}, 4, 1).croppedWidth, 2u);  // 1.5
  EXPECT_EQ(withCrop({0, 0, 0.3125, 1}, 4, 1).croppedWidth, 1u);  // 1.25
  EXPECT_EQ(withCrop({0, 0, 0.4375, 1}, 4, 1).croppedWidth, 2u);  // 1.75
}

TEST(MakeUniforms, SizesAreComputedInFloat) {
  // 0.49999999 becomes 0.5 as a Float: 1.5 rounds to 2 (in Double it would be 1).
  EXPECT_EQ(withCrop({0, 0, 0.49999999, 1}, 3, 1).croppedWidth, 2u);
  // 2^24 + 1 is no Float: the product is 2^24.
  const RenderUniforms u = withCrop({0, 0, 1, 1}, 16777217, 1);
  EXPECT_EQ(u.sourceWidth, 16777217u);
  EXPECT_EQ(u.croppedWidth, 16777216u);
}

TEST(MakeUniforms, ZeroSizedSourceGivesOnePixel) {
  const RenderUniforms u = makeUniforms(0, 0, EditState{}, false);
  EXPECT_EQ(u.sourceWidth, 0u);
  EXPECT_EQ(u.croppedWidth, 1u);
  EXPECT_EQ(u.croppedHeight, 1u);
}

TEST(MakeUniforms, TheLargestSizesThatFit) {
  // 2^32 - 256 is a Float and fits 32 bits.
  const RenderUniforms u = makeUniforms(4294967040u, 1, EditState{}, false);
  EXPECT_EQ(u.croppedWidth, 4294967040u);
  // The largest u32 source is accepted when its crop stays small enough.
  const RenderUniforms half = withCrop({0, 0, 0.5, 1}, 4294967295u, 1);
  EXPECT_EQ(half.sourceWidth, 4294967295u);
  EXPECT_EQ(half.croppedWidth, 2147483648u);
}

TEST(MakeUniformsDeathTest, ASourceAboveThirtyTwoBitsStops) {
  EXPECT_DEATH(makeUniforms(4294967296u, 10, EditState{}, false), "source width");
  EXPECT_DEATH(makeUniforms(10, std::numeric_limits<std::uint64_t>::max(), EditState{}, false), "source height");
}

TEST(MakeUniformsDeathTest, ACroppedSizeThatRoundsPastThirtyTwoBitsStops) {
  // 4294967295 as a Float is 2^32, which does not fit u32.
  EXPECT_DEATH(makeUniforms(4294967295u, 10, EditState{}, false), "cropped width");
  EXPECT_DEATH(makeUniforms(10, 4294967295u, EditState{}, false), "cropped height");
  EXPECT_DEATH(outputSize(4294967295u, 10, EditState{}), "cropped width");
}

// ---- outputSize -----------------------------------------------------------------

TEST(OutputSize, IsTheBlocksOutputSize) {
  EditState s;
  s.cropRect = Rect{0.25, 0.25, 0.5, 0.5};
  EXPECT_EQ(outputSize(4000, 3000, s), (OutputSize{2000, 1500}));
  s.rotationQuarterTurns = 1;
  EXPECT_EQ(outputSize(4000, 3000, s), (OutputSize{1500, 2000}));
  s.rotationQuarterTurns = -1;
  EXPECT_EQ(outputSize(4000, 3000, s), (OutputSize{1500, 2000}));
  s.rotationQuarterTurns = 2;
  EXPECT_EQ(outputSize(4000, 3000, s), (OutputSize{2000, 1500}));
  s.rotationAngle = 40;
  EXPECT_EQ(outputSize(4000, 3000, s), (OutputSize{2000, 1500}));
}

TEST(OutputSize, MatchesMakeUniformsOnAGridOfCrops) {
  const double values[] = {-1.0, 0.0, 1e-6, 0.1, 0.3333333, 0.5, 0.7, 0.99, 1.0, 1.5,
                           std::numeric_limits<double>::quiet_NaN()};
  for (double x : values) {
    for (double width : values) {
      EditState s;
      s.cropRect = Rect{x, 0.2, width, 0.7};
      s.rotationQuarterTurns = 3;
      const RenderUniforms u = makeUniforms(1921, 1079, s, true);
      EXPECT_EQ(outputSize(1921, 1079, s), (OutputSize{u.outputWidth, u.outputHeight}));
      EXPECT_GE(u.outputWidth, 1u);
      EXPECT_GE(u.outputHeight, 1u);
    }
  }
}

TEST(OutputSize, AtLeastOnePixel) {
  EditState s;
  s.cropRect = Rect{0, 0, 0, 0};
  EXPECT_EQ(outputSize(1000, 1000, s), (OutputSize{1, 1}));
  EXPECT_EQ(outputSize(0, 0, EditState{}), (OutputSize{1, 1}));
}

}  // namespace
}  // namespace halvane
