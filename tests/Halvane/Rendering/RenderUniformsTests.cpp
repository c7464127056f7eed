// RenderUniforms: the byte layout of the block and its GLSL mirror, and every cleaning,
// rounding and angle rule of makeUniforms and outputSize.
#include "Halvane/Rendering/RenderUniforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <regex>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "Support/TestFiles.h"

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

// The members of a block in declaration order, as (type, name), with the type named as
// GLSL names it. The C++ offsets are pinned by the header's static assertions; this
// holds the GLSL mirror to the same list, so each member lands at the same offset.
std::vector<std::pair<std::string, std::string>> blockMembers(const std::string& path, const std::string& opening,
                                                              const std::regex& member) {
  const std::string source = testsupport::fileContents(path);
  EXPECT_FALSE(source.empty()) << "cannot read " << path;
  const std::size_t begin = source.find('{', source.find(opening));
  const std::string block = source.substr(begin, source.find('}', begin) - begin);
  std::vector<std::pair<std::string, std::string>> members;
  for (auto it = std::sregex_iterator(block.begin(), block.end(), member); it != std::sregex_iterator(); ++it) {
    members.emplace_back((*it)[1] == "float" ? "float" : "uint", (*it)[2]);
    if ((*it)[3].length() > 0) {
      EXPECT_EQ(std::stoul((*it)[3]), 4 * (members.size() - 1)) << (*it)[2] << ": offset comment";
    }
  }
  return members;
}

TEST(RenderUniformsLayout, TheGlslMirrorMatchesFieldForField) {
  const std::string shaders = HALVANE_SHADER_SOURCE_DIR;
  const auto glsl = blockMembers(shaders + "/Uniforms.glsl", "std140) uniform RenderUniforms",
                                 std::regex(R"((float|uint|int)\s+(\w+)\s*;(?:\s*//\s*(\d+))?)"));
  const auto cpp = blockMembers(shaders + "/../Rendering/RenderUniforms.h", "struct RenderUniforms {",
                                std::regex(R"((float|std::uint32_t)\s+(\w+)\s*=\s*0;())"));
  EXPECT_EQ(cpp.size() * 4, sizeof(RenderUniforms));
  EXPECT_EQ(glsl, cpp);
}

// ---- The default state and what does not reach the block --------------------------

TEST(MakeUniforms, FinalOutputIsTheOnlyDifferenceAndOtherFieldsChangeNothing) {
  EditState s{.exposure = 0.7f, .focusMode = 4, .cropRect = {0.1, 0.2, 0.3, 0.4}};
  const RenderUniforms preview = makeUniforms(1920, 1080, s, false);
  RenderUniforms exported = makeUniforms(1920, 1080, s, true);
  EXPECT_EQ(exported.finalOutput, 1u);
  exported.finalOutput = 0;
  EXPECT_EQ(std::memcmp(&preview, &exported, sizeof preview), 0);
  // Fields that never reach a kernel.
  const RenderUniforms a =
      uniformsFor({.version = 42, .trimStart = 3, .trimEnd = 9, .audioVolume = 0.1f, .audioMuted = true});
  const RenderUniforms b = uniformsFor(EditState{});
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
  // Whatever the state, the reserved words are zero.
  s.exposure = kNaN, s.rotationQuarterTurns = -1, s.flipHorizontal = Bool::fromByte(0xFF), s.filterType = kInt64Max;
  const RenderUniforms dirty = makeUniforms(17, 9, s, true);
  EXPECT_EQ(dirty.reserved0 | dirty.reserved1 | dirty.reserved2 | dirty.reserved3 | dirty.reserved4 | dirty.reserved5,
            0u);
}

// ---- The members that take a field as it stands -----------------------------------

template <typename In, typename Out>
Out blockValue(In EditState::*in, Out RenderUniforms::*out, In value) {
  EditState s;
  s.*in = value;
  return uniformsFor(s).*out;
}

// A member takes its field through the field's own rule (the rule itself is walked over
// every field by the decoder's tests): a Float's range, an integer clamped in 64 bits
// before it is narrowed.
template <typename In, typename Out, typename Range>
void checkOneToOne(const char* name, In EditState::*in, Out RenderUniforms::*out, const Range& range) {
  SCOPED_TRACE(name);
  const In initial = EditState::defaultState().*in;
  EXPECT_EQ(uniformsFor(EditState{}).*out, static_cast<Out>(initial)) << "the default passes as it is";
  if constexpr (std::is_same_v<In, float>) {
    for (float value : {kNaN, -kNaN, kInf, -kInf, std::nextafter(range.lower, -kInf), std::nextafter(range.upper, kInf),
                        std::numeric_limits<float>::lowest(), std::numeric_limits<float>::max(),
                        range.lower + (range.upper - range.lower) * 0.625f})
      EXPECT_EQ(blockValue(in, out, value), range.clean(value)) << value;
  } else {
    for (std::int64_t value : {kInt64Min, kInt64Max, range.upper + 0x100000000, range.lower})  // no truncation
      EXPECT_EQ(blockValue(in, out, value), static_cast<Out>(range.clamp(value))) << value;
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

// ---- Angles ---------------------------------------------------------------------

// Expected bits come from IEEE single arithmetic done outside this code:
// (degrees × 0x40490FDA, the constant kUniformPi, not float pi 0x40490FDB) rounded,
// then ÷ 180 rounded.
TEST(MakeUniforms, AnglesMultiplyByTheConstantFirstThenDivideAndAreHeldToTheirRanges) {
  struct Case {
    float EditState::*field;
    float RenderUniforms::*radians;
    float degrees;
    std::uint32_t bits;
  };
  constexpr auto rotation = &EditState::rotationAngle, focus = &EditState::focusAngle, iris = &EditState::irisRotation;
  constexpr auto rotationOut = &RenderUniforms::rotationRadians, focusOut = &RenderUniforms::focusAngleRadians,
                 irisOut = &RenderUniforms::irisRotationRadians;
  const Case cases[] = {
      {rotation, rotationOut, 45, 0x3F490FDAu},   {rotation, rotationOut, -45, 0xBF490FDAu},
      {rotation, rotationOut, 1, 0x3C8EFA35u},    {rotation, rotationOut, 30, 0x3F060A91u},
      // 10 degrees tells the rules apart: float pi gives 0x3E32B8C3; the constant ÷ 180
      // taken first, or 10 ÷ 180 taken first, give 0x3E32B8C2.
      {rotation, rotationOut, 10, 0x3E32B8C1u},   {rotation, rotationOut, 23.739715576171875f, 0x3ED423DFu},
      {focus, focusOut, 10, 0x3E32B8C1u},         {iris, irisOut, 10, 0x3E32B8C1u},
      // Held to ±45, ±180 and 0...180; NaN and infinities give 0, not an end of the range.
      {rotation, rotationOut, 90, 0x3F490FDAu},   {rotation, rotationOut, -1000, 0xBF490FDAu},
      {rotation, rotationOut, kNaN, 0},           {rotation, rotationOut, -kInf, 0},
      {focus, focusOut, 270, 0x40490FDAu},        {focus, focusOut, -500, 0xC0490FDAu},
      {focus, focusOut, 90, 0x3FC90FDAu},         {focus, focusOut, kNaN, 0},
      {focus, focusOut, -0.0f, 0x80000000u},  // inside a range across zero -0 stays negative
      {iris, irisOut, -10, 0},                    {iris, irisOut, 200, 0x40490FDAu},
      {iris, irisOut, -0.0f, 0},                  {iris, irisOut, kInf, 0},
  };
  for (const Case& c : cases) {
    EditState s;
    s.*c.field = c.degrees;
    EXPECT_EQ(bitsOf(uniformsFor(s).*c.radians), c.bits) << c.degrees;
  }
}

// ---- Integers -------------------------------------------------------------------

TEST(MakeUniforms, QuarterTurnsTakeTheLowestTwoBitsAndFlipTheLowestBit) {
  for (auto [turns, expected] : {std::pair{std::int64_t{3}, 3u}, std::pair{std::int64_t{5}, 1u},
                                 std::pair{std::int64_t{-1}, 3u}, std::pair{std::int64_t{-2}, 2u},
                                 std::pair{kInt64Min, 0u}, std::pair{kInt64Max, 3u}}) {
    EXPECT_EQ(uniformsFor({.rotationQuarterTurns = turns}).quarterTurns, expected) << turns;
  }
  for (auto [byte, expected] : {std::pair{1, 1u}, std::pair{2, 0u}, std::pair{3, 1u}, std::pair{0xFE, 0u}}) {
    EXPECT_EQ(uniformsFor({.flipHorizontal = Bool::fromByte(std::uint8_t(byte))}).flipHorizontal, expected) << byte;
  }
}

// ---- Crop and sizes -------------------------------------------------------------

TEST(MakeUniforms, CropCleaningAndSizesInFloatRoundedHalfAwayFromZero) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double inf = std::numeric_limits<double>::infinity();
  struct Case {
    Rect crop;
    std::uint64_t width, height;
    float cropX, cropWidth;
    std::uint32_t croppedWidth, croppedHeight;
  };
  const Case cases[] = {
      {{0.25, 0.25, 0.5, 0.5}, 4000, 3000, 0.25f, 0.5f, 2000, 1500},
      {{0.3, 0, 0.2, 1}, 4000, 3000, 0.3f, 0.2f, 800, 3000},             // values taken as Float
      // No floor of the decoder on the sides, but at least one pixel.
      {{0, 0, 0.0001, 1}, 100, 100, 0, 0.0001f, 1, 100},
      {{0, 0, 0, 0}, 100, 100, 0, 0, 1, 1},
      {{0, 0, -0.5, -0.0}, 100, 100, 0, 0, 1, 1},
      // Bad origins give 0; above 1 is lowered to 1, leaving no room, and unlike the
      // decoder the origin does not move back. A Double beyond Float is an infinity.
      {{nan, nan, 0.5, 1}, 100, 100, 0, 0.5f, 50, 100},
      {{inf, 0, 0.5, 1}, 100, 100, 0, 0.5f, 50, 100},
      {{-0.25, 0, 0.5, 1}, 100, 100, 0, 0.5f, 50, 100},
      {{-0.0, 0, 0.5, 1}, 100, 100, 0, 0.5f, 50, 100},
      {{1e39, 0, 0.5, 1}, 100, 100, 0, 0.5f, 50, 100},
      {{1.5, 0, 0.5, 1}, 100, 100, 1, 0, 1, 100},
      {{1, 1, 1, 1}, 100, 100, 1, 0, 1, 1},
      // Bad sides give 1, without the cut to the room left; a positive side is cut to
      // 1 - origin in Float.
      {{0.5, 0.25, nan, -inf}, 100, 100, 0.5f, 1, 100, 100},
      {{0.9, 0.9, 0.5, 0.5}, 1000, 1000, 0.9f, 1.0f - 0.9f, 100, 100},
      // Halves round away from zero, not to even.
      {{0, 0, 0.5, 1}, 5, 1, 0, 0.5f, 3, 1},
      {{0, 0, 0.375, 1}, 4, 1, 0, 0.375f, 2, 1},
      {{0, 0, 0.3125, 1}, 4, 1, 0, 0.3125f, 1, 1},
      // In Float: 0.49999999 is 0.5, so 1.5 rounds to 2; 2^24 + 1 is no Float.
      {{0, 0, 0.49999999, 1}, 3, 1, 0, 0.5f, 2, 1},
      {{0, 0, 1, 1}, 16777217, 1, 0, 1, 16777216, 1},
      // A zero-sized source gives one pixel; the largest sizes that fit 32 bits.
      {{0, 0, 1, 1}, 0, 0, 0, 1, 1, 1},
      {{0, 0, 1, 1}, 4294967040u, 1, 0, 1, 4294967040u, 1},
      {{0, 0, 0.5, 1}, 4294967295u, 1, 0, 0.5f, 2147483648u, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.crop.x << ' ' << c.crop.y << ' ' << c.crop.width << ' ' << c.crop.height
                                      << " of " << c.width << 'x' << c.height);
    const EditState s{.cropRect = c.crop};
    const RenderUniforms u = makeUniforms(c.width, c.height, s, false);
    const std::uint64_t sourceWidth = u.sourceWidth;
    EXPECT_EQ(std::tuple(bitsOf(u.cropX), bitsOf(u.cropWidth), u.croppedWidth, u.croppedHeight, sourceWidth),
              std::tuple(bitsOf(c.cropX), bitsOf(c.cropWidth), c.croppedWidth, c.croppedHeight, c.width));
    EXPECT_EQ(outputSize(c.width, c.height, s), (OutputSize{u.outputWidth, u.outputHeight}));
    EXPECT_EQ(std::tie(u.outputWidth, u.outputHeight), std::tie(c.croppedWidth, c.croppedHeight));
  }
}

TEST(MakeUniformsDeathTest, ASourceOrACroppedSizePastThirtyTwoBitsStops) {
  EXPECT_DEATH(makeUniforms(4294967296u, 10, EditState{}, false), "source width");
  EXPECT_DEATH(makeUniforms(10, std::numeric_limits<std::uint64_t>::max(), EditState{}, false), "source height");
  // 4294967295 as a Float is 2^32, which does not fit u32.
  EXPECT_DEATH(makeUniforms(4294967295u, 10, EditState{}, false), "cropped width");
  EXPECT_DEATH(makeUniforms(10, 4294967295u, EditState{}, false), "cropped height");
  EXPECT_DEATH(outputSize(4294967295u, 10, EditState{}), "cropped width");
}

// ---- outputSize -----------------------------------------------------------------

// Odd turns swap the output, tilt does not, and the crop is taken before the turns.
TEST(OutputSize, MatchesMakeUniformsOnAGridOfCropsAndTurns) {
  const double values[] = {-1.0, 0.0, 1e-6, 0.1, 0.3333333, 0.5, 0.7, 0.99, 1.0, 1.5,
                           std::numeric_limits<double>::quiet_NaN()};
  for (std::int64_t turns : {std::int64_t{0}, std::int64_t{1}, std::int64_t{2}, std::int64_t{-1}, std::int64_t{-3},
                             kInt64Min, kInt64Max})
    for (double x : values)
      for (double width : values) {
        const EditState s{.rotationAngle = 40, .rotationQuarterTurns = turns, .cropRect = {x, 0.2, width, 0.7}};
        const RenderUniforms u = makeUniforms(1921, 1079, s, true);
        const RenderUniforms upright = makeUniforms(1921, 1079, EditState{.cropRect = s.cropRect}, true);
        SCOPED_TRACE(::testing::Message() << turns << " turns, crop x " << x << " width " << width);
        EXPECT_EQ(outputSize(1921, 1079, s), (OutputSize{u.outputWidth, u.outputHeight}));
        EXPECT_EQ(std::tie(u.croppedWidth, u.croppedHeight), std::tie(upright.croppedWidth, upright.croppedHeight));
        EXPECT_EQ(std::tie(u.outputWidth, u.outputHeight), (turns & 1) ? std::tie(u.croppedHeight, u.croppedWidth)
                                                                        : std::tie(u.croppedWidth, u.croppedHeight));
        EXPECT_GE(std::min(u.outputWidth, u.outputHeight), 1u);
      }
}

}  // namespace
}  // namespace halvane
