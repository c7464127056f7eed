// The sixteen adjustments of the colour pass on the CPU device (neutral values leave the
// pass out, see ColorVariants.FeaturesFollowTheCleanedBlock): values computed by hand
// where the formula is known (the CPU reference shares the kernel's source, so only
// these catch a wrong formula); each adjustment moves a grey ramp and a colour chart in
// its documented direction, monotonically, without a NaN and without breaking the
// ramp's order anywhere in its range; white balance by the Planckian locus; sharpness
// equal to the CPU reference across the borders of the 16 by 16 groups.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "Halvane/Rendering/ColorKernelSupport.h"

namespace halvane {
namespace {

using namespace colortest;
using ColorAdjustments = EngineTest;

// ---- Measures -------------------------------------------------------------------------

using RGB = std::array<double, 3>;
double luma(const RGB& c) { return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2]; }
double chroma(const RGB& c) { return std::max({c[0], c[1], c[2]}) - std::min({c[0], c[1], c[2]}); }
double warmth(const RGB& c) { return c[0] - c[2]; }
double magenta(const RGB& c) { return 0.5 * (c[0] + c[2]) - c[1]; }

// The mean of f over the ramp's columns from..to of row 0, or over chart patches.
template <typename F>
double overRamp(const Image& ramp, int from, int to, F f) {
  double sum = 0;
  for (int x = from; x <= to; ++x) {
    auto c = rgb(ramp, x, 0);
    sum += f(RGB{double(c[0]), double(c[1]), double(c[2])});
  }
  return sum / (to - from + 1);
}
template <typename F>
double overChart(const Image& chart, const std::vector<int>& patches, F f) {
  double sum = 0;
  for (int p : patches) sum += f(chartPatch(chart, p));
  return sum / patches.size();
}

// The mean of the three channels over the ramp's columns from..to, and their spread over
// the whole ramp (its rows are alike under every adjustment the ramp measures).
double level(const RGB& c) { return (c[0] + c[1] + c[2]) / 3; }
double rampMean(const Image& ramp, int from = 0, int to = 255) { return overRamp(ramp, from, to, level); }
double rampSpread(const Image& ramp) {
  const double mean = rampMean(ramp);
  return std::sqrt(overRamp(ramp, 0, 255, [&](const RGB& c) { return (level(c) - mean) * (level(c) - mean); }));
}

// ---- The sixteen adjustments ----------------------------------------------------------

using Measure = std::function<double(const Image&)>;

struct Adjustment {
  const char* name;
  float EditState::*field;
  float min, neutral, max;
  // Grow with the value; none where the picture does not answer to the adjustment.
  // Exposure, brightness, contrast and gamma act on each channel alike, so the grey
  // ramp measures them; the chart measures what acts on colour or on luma.
  Measure onRamp;
  Measure onChart;
  // The least move, in code values of the measure, from neutral to each extreme.
  double leastMove;
};

// Patches by luma: bright (white, neutral 8, yellow, orange yellow), dark (the four
// darkest chromatic patches and neutral 3.5).
const std::vector<int> kBrightPatches = {18, 19, 15, 11};
const std::vector<int> kDarkPatches = {0, 9, 12, 3, 22};

std::vector<Adjustment> adjustments() {
  auto rampRange = [](int from, int to) { return [=](const Image& r) { return rampMean(r, from, to); }; };
  auto patches = [](std::vector<int> list) { return [=](const Image& c) { return overChart(c, list, luma); }; };
  std::vector<int> all(24), colours(18);
  for (int i = 0; i < 24; ++i) all[i] = i;
  for (int i = 0; i < 18; ++i) colours[i] = i;
  auto chartChroma = [=](const Image& c) { return overChart(c, colours, chroma); };
  auto rampWarmth = [](const Image& r) { return overRamp(r, 32, 224, warmth); };
  auto chartWarmth = [=](const Image& c) { return overChart(c, all, warmth); };
  auto rampMagenta = [](const Image& r) { return overRamp(r, 32, 224, magenta); };
  auto chartMagenta = [=](const Image& c) { return overChart(c, all, magenta); };
  return {
      {"exposure", &EditState::exposure, -3, 0, 3, [](const Image& r) { return rampMean(r); }, nullptr, 20},
      {"brightness", &EditState::brightness, -1, 0, 1, [](const Image& r) { return rampMean(r); }, nullptr, 20},
      {"contrast", &EditState::contrast, 0.5f, 1, 2, rampSpread, nullptr, 5},
      {"highlights", &EditState::highlights, -1, 0, 1, rampRange(170, 240), patches(kBrightPatches), 5},
      {"shadows", &EditState::shadows, -1, 0, 1, rampRange(15, 100), patches(kDarkPatches), 5},
      {"whites", &EditState::whites, -1, 0, 1, rampRange(225, 255), patches({18}), 5},
      {"blacks", &EditState::blacks, -1, 0, 1, rampRange(0, 40), patches({23}), 3},
      {"gamma", &EditState::gamma, 0.2f, 1, 5, [](const Image& r) { return rampMean(r); }, nullptr, 20},
      {"saturation", &EditState::saturation, 0, 1, 2, nullptr, chartChroma, 15},
      {"vibrance", &EditState::vibrance, -1, 0, 1, nullptr, chartChroma, 10},
      {"temperature", &EditState::temperature, 2000, 6500, 10000, rampWarmth, chartWarmth, 10},
      {"tint", &EditState::tint, -1, 0, 1, rampMagenta, chartMagenta, 5},
      {"sharpness", &EditState::sharpness, 0, 0, 2, nullptr, nullptr, 0},
      {"clarity", &EditState::clarity, -1, 0, 1, nullptr, nullptr, 0},
      {"vignetteIntensity", &EditState::vignetteIntensity, 0, 0, 2, nullptr, nullptr, 0},
      {"vignetteRadius", &EditState::vignetteRadius, 0, 1, 2, nullptr, nullptr, 0},
  };
}

// The values of a sweep: nine steps from the minimum to the maximum, with the neutral
// value among them.
std::vector<float> sweep(const Adjustment& a) {
  std::vector<float> values;
  for (int i = 0; i <= 8; ++i) values.push_back(a.min + (a.max - a.min) * float(i) / 8.0f);
  values.push_back(a.neutral);
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

// Small pictures with values worked out by hand from the documented formulas, in double
// precision; within one code value for the GPU's float functions and the rounding.
TEST_F(ColorAdjustments, ValuesComputedByHandWhereTheFormulaIsKnown) {
  struct Case {
    const char* what;
    EditState state;
    int size;  // 2 by 2 pixels, or 3 by 3 for the vignette's centre
    std::vector<std::array<int, 3>> input, expected;
  };
  const std::vector<std::array<int, 3>> flat200(9, {200, 200, 200});
  const Case cases[] = {
      // +1 stop doubles linear light below the shoulder's knee (0.875 at a peak of 2):
      // 90 is 0.1022 linear, doubled 0.2045, encoded 124.8.
      {"exposure +1", {.exposure = 1}, 2,
       {{40, 90, 160}, {10, 60, 110}, {170, 170, 170}, {120, 30, 175}},
       {{58, 125, 218}, {18, 85, 152}, {232, 232, 232}, {165, 45, 238}}},
      // Saturation 0: every channel the encoded luminance 0.2126 R + 0.7152 G + 0.0722 B
      // of linear light; a grey stays.
      {"saturation 0", {.saturation = 0}, 2,
       {{40, 90, 160}, {10, 60, 110}, {170, 170, 170}, {120, 30, 175}},
       {{90, 90, 90}, {59, 59, 59}, {170, 170, 170}, {80, 80, 80}}},
      // Contrast s about the pivot p = 0.4614 (18% grey), on encoded values: below it
      // p t / ((s - 1)(1 - t) + 1) with t = v / p, mirrored above; black and white stay.
      {"contrast 2", {.contrast = 2}, 2,
       {{0, 59, 118}, {204, 255, 118}, {59, 59, 59}, {255, 0, 204}},
       {{0, 39, 118}, {224, 255, 118}, {39, 39, 39}, {255, 0, 224}}},
      {"contrast 0.5", {.contrast = 0.5f}, 2,
       {{0, 59, 118}, {204, 255, 118}, {59, 59, 59}, {255, 0, 204}},
       {{0, 79, 118}, {181, 255, 118}, {79, 79, 79}, {255, 0, 181}}},
      // Gamma g: v^(1/g) on encoded values.
      {"gamma 2", {.gamma = 2}, 2,
       {{0, 16, 64}, {128, 255, 0}, {64, 64, 64}, {16, 128, 255}},
       {{0, 64, 128}, {181, 255, 0}, {128, 128, 128}, {64, 181, 255}}},
      // Vignette: 2^(-2 i smoothstep(r/2, r/2 + 0.75, d)) on linear light, d the distance
      // from the centre with the corners at 1. The centre pixel of 3 by 3 is at d = 0;
      // the edge pixels at 0.471 and the corners at 0.667.
      {"vignette 2, radius 0", {.vignetteIntensity = 2, .vignetteRadius = 0}, 3, flat200,
       {{56, 56, 56}, {83, 83, 83}, {56, 56, 56}, {83, 83, 83}, {200, 200, 200}, {83, 83, 83},
        {56, 56, 56}, {83, 83, 83}, {56, 56, 56}}},
      {"vignette 1, radius 1", {.vignetteIntensity = 1, .vignetteRadius = 1}, 3, flat200,
       {{185, 185, 185}, {200, 200, 200}, {185, 185, 185}, {200, 200, 200}, {200, 200, 200},
        {200, 200, 200}, {185, 185, 185}, {200, 200, 200}, {185, 185, 185}}},
      // Radius 2: the clear centre reaches past the corners.
      {"vignette 2, radius 2", {.vignetteIntensity = 2, .vignetteRadius = 2}, 3, flat200, flat200},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Image input = makePicture(c.size, c.size, [&](int x, int y) { return c.input[y * c.size + x]; });
    const Image out = renderColor(*engine, input, c.state);
    for (int i = 0; i < c.size * c.size; ++i) {
      const auto got = rgb(out, i % c.size, i / c.size);
      for (int k = 0; k < 3; ++k) EXPECT_NEAR(got[k], c.expected[i][k], 1) << "pixel " << i << " channel " << k;
    }
  }
}

// A measure over a sweep never falls (half a code value of slack, since the measures
// average many rounded pixels), and it moves by at least `leastMove` from the neutral
// value to each extreme.
void expectRisesAndMoves(const Adjustment& a, const std::vector<float>& values, const std::vector<double>& m,
                         const char* picture) {
  for (size_t i = 1; i < m.size(); ++i) EXPECT_GE(m[i], m[i - 1] - 0.5) << picture << " at " << values[i];
  const size_t neutral = size_t(std::find(values.begin(), values.end(), a.neutral) - values.begin());
  EXPECT_GE(m.back() - m[neutral], a.leastMove) << picture;
  EXPECT_TRUE(neutral == 0 || m[neutral] - m.front() >= a.leastMove) << picture << ": " << m[neutral] - m.front();
}

// Each adjustment over its whole range on the ramp and the chart: the measure grows
// with the value, moves at both extremes, the ramp keeps its order, no result is a NaN,
// and the GPU agrees with the CPU reference.
TEST_F(ColorAdjustments, EachAdjustmentMovesRampAndChartInItsDirection) {
  const Image ramp = makeGreyRamp();
  const Image chart = makeColorChart();
  for (const Adjustment& a : adjustments()) {
    SCOPED_TRACE(a.name);
    const std::vector<float> values = sweep(a);
    std::vector<double> onRamp, onChart;
    for (float value : values) {
      SCOPED_TRACE(value);
      EditState state;
      state.*a.field = value;
      if (a.field == &EditState::vignetteRadius) state.vignetteIntensity = 1;
      // One code value: the GPU's float functions against the CPU's, then rounding.
      const Image r = renderAgainstReference(*engine, ramp, state, 1).gpu;
      const Image c = renderAgainstReference(*engine, chart, state, 1).gpu;

      // The ramp keeps its order in every channel (the vignette darkens by position,
      // so it is left to its own test).
      if (a.field != &EditState::vignetteIntensity && a.field != &EditState::vignetteRadius) {
        for (int x = 1; x < 256; ++x) {
          auto before = rgb(r, x - 1, 0), here = rgb(r, x, 0);
          for (int i = 0; i < 3; ++i) ASSERT_GE(here[i], before[i] - 1) << "ramp breaks at " << x;
        }
      }
      if (a.onRamp) onRamp.push_back(a.onRamp(r));
      if (a.onChart) onChart.push_back(a.onChart(c));
    }
    if (a.onRamp) expectRisesAndMoves(a, values, onRamp, "ramp");
    if (a.onChart) expectRisesAndMoves(a, values, onChart, "chart");
  }
}

TEST_F(ColorAdjustments, VibranceSparesSkin) {
  // Light skin (patch 1) against the blue flower (patch 4), of about the same
  // saturation: vibrance raises the flower's chroma clearly more.
  const Image chart = makeColorChart();
  const Image out = renderColor(*engine, chart, {.vibrance = 1});
  const double skinGain = chroma(chartPatch(out, 1)) / chroma(chartPatch(chart, 1));
  const double flowerGain = chroma(chartPatch(out, 4)) / chroma(chartPatch(chart, 4));
  EXPECT_GT(flowerGain, 1.15);
  EXPECT_LT(skinGain - 1, 0.5 * (flowerGain - 1));
}

// Mean absolute difference of each pixel from the mean of its 5 by 5 neighbourhood.
double localContrast(const Image& image) {
  double sum = 0;
  for (int y = 2; y < image.height - 2; ++y)
    for (int x = 2; x < image.width - 2; ++x) {
      double mean = 0;
      for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx) mean += rgb(image, x + dx, y + dy)[1] / 25.0;
      sum += std::abs(rgb(image, x, y)[1] - mean);
    }
  return sum / ((image.width - 4) * (image.height - 4));
}

// Mid-grey with a texture of 3-pixel blocks, 20 code values apart: detail that
// sharpness and clarity act on.
int textureAt(int x, int y) {
  uint32_t h = uint32_t(x / 3) * 73856093u ^ uint32_t(y / 3) * 19349663u;
  h = (h ^ (h >> 13)) * 0x5bd1e995u;
  return 108 + int((h >> 7) % 41);
}

TEST_F(ColorAdjustments, SharpnessAndClarityRaiseLocalContrast) {
  const Image texture = makePicture(96, 96, [](int x, int y) { return grey(textureAt(x, y)); });
  const double before = localContrast(texture);
  for (auto [field, values] : {std::pair{&EditState::sharpness, std::vector<float>{0, 0.5f, 1, 1.5f, 2}},
                               std::pair{&EditState::clarity, std::vector<float>{-1, -0.5f, 0, 0.5f, 1}}}) {
    double previous = -1;
    for (float value : values) {
      EditState state;
      state.*field = value;
      const double c = localContrast(renderColor(*engine, texture, state));
      EXPECT_GE(c, previous - 0.05) << value;
      previous = c;
      EXPECT_TRUE(value != 1 || c > before * 1.15) << "at 1: " << c << " from " << before;
      EXPECT_TRUE(value != -1 || c < before * 0.85) << "at -1: " << c << " from " << before;
    }
  }
}

// Sharpness reads the group's tile with its border: across the borders of the 16 by 16
// groups and at the picture's edges it equals the CPU reference of the same formula.
TEST_F(ColorAdjustments, SharpnessMatchesTheReferenceAcrossGroupBorders) {
  // Hard edges on and beside the group borders, across and along.
  const Image input = makePicture(61, 45, [](int x, int y) {
    if (y == 15 || y == 16 || y == 31 || y == 32) return grey(y % 2 ? 200 : 60);
    if (x == 15 || x == 16 || x == 31 || x == 32 || x == 47 || x == 48) return grey(x % 2 ? 40 : 220);
    return grey(textureAt(x, y));
  });
  for (float amount : {0.4f, 1.0f, 2.0f}) {
    const Image gpu = renderAgainstReference(*engine, input, {.sharpness = amount}, 1).gpu;
    EXPECT_GT(meanAbsoluteDifference(gpu, input), 1.0) << amount;
  }
}

// ---- White balance ----------------------------------------------------------------------

using Vec3 = std::array<double, 3>;
using Mat3 = std::array<Vec3, 3>;

Vec3 times(const Mat3& m, const Vec3& v) {
  return {m[0][0] * v[0] + m[0][1] * v[1] + m[0][2] * v[2], m[1][0] * v[0] + m[1][1] * v[1] + m[1][2] * v[2],
          m[2][0] * v[0] + m[2][1] * v[1] + m[2][2] * v[2]};
}

Vec3 xyzOf(double x, double y) { return {x / y, 1.0, (1.0 - x - y) / y}; }

// Published matrices (Lindbloom), derived from the sRGB primaries and the D65 white
// and from the Bradford cone response, in double precision.
const Mat3 kXyzToSrgb = {
    {{3.2404542, -1.5371385, -0.4985314}, {-0.9692660, 1.8760108, 0.0415560}, {0.0556434, -0.2040259, 1.0572252}}};
const Mat3 kBradford = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
const Mat3 kBradfordInverse = {
    {{0.9869929, -0.1470543, 0.1599627}, {0.4323053, 0.5183603, 0.0492912}, {-0.0085287, 0.0400428, 0.9684867}}};

// Krystek's rational approximation of the Planckian locus (1000 to 15000 K): an
// independent check of the kernel's spline and of its constants, which were derived
// from the Kim et al. spline.
std::array<double, 2> krystekXY(double T) {
  const double u =
      (0.860117757 + 1.54118254e-4 * T + 1.28641212e-7 * T * T) / (1 + 8.42420235e-4 * T + 7.08145163e-7 * T * T);
  const double v =
      (0.317398726 + 4.22806245e-5 * T + 4.20481691e-8 * T * T) / (1 - 2.89741816e-5 * T + 1.61456053e-7 * T * T);
  const double d = 2 * u - 8 * v + 4;
  return {3 * u / d, 2 * v / d};
}

// A grey card lit by a black body of T kelvin, as a camera balanced for 6500 K records
// it (the light's white, adapted by the camera from 6500 K to the D65 white of sRGB),
// is tinted; the temperature T makes it neutral again within a few code values. Over
// the slider's range this checks the kernel's locus and its cone constants against a
// derivation of its own.
TEST_F(ColorAdjustments, AGreyLitByABlackBodyComesOutNeutralAtItsTemperature) {
  auto cone = [&](std::array<double, 2> xy) { return times(kBradford, xyzOf(xy[0], xy[1])); };
  const Vec3 balance = cone(krystekXY(6500));
  const Vec3 d65 = cone(std::array<double, 2>{0.3127, 0.3290});
  for (double kelvin : {2000.0, 2500.0, 3200.0, 4000.0, 5500.0, 8000.0, 10000.0}) {
    SCOPED_TRACE(kelvin);
    const Vec3 light = cone(krystekXY(kelvin));
    Vec3 recorded;
    for (int i = 0; i < 3; ++i) recorded[i] = 0.2 * light[i] * d65[i] / balance[i];
    const Vec3 linear = times(kXyzToSrgb, times(kBradfordInverse, recorded));
    std::array<int, 3> code;
    for (int i = 0; i < 3; ++i) code[i] = int(std::lround(linearToSrgb(linear[i]) * 255));
    EXPECT_GE(std::abs(code[0] - code[2]), 10) << "the card is tinted as recorded";
    auto out =
        rgb(renderColor(*engine, makeFlat(16, 16, code[0], code[1], code[2]), {.temperature = float(kelvin)}), 8, 8);
    EXPECT_LE(std::max({out[0], out[1], out[2]}) - std::min({out[0], out[1], out[2]}), 3)
        << out[0] << " " << out[1] << " " << out[2];
  }
}

}  // namespace
}  // namespace halvane
