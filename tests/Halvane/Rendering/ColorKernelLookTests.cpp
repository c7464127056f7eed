// The 146 looks of the colour pass on the CPU device: the table matches the catalogue;
// every look differs from every other on a natural photo; the intensity blends between
// the unfiltered and the full look, exactly at 0; black-and-white looks carry no hue
// but their tone; duo-tones span their two colours; patterns are deterministic; and the
// GPU agrees with the CPU reference for every look.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "Halvane/Model/FilterCatalogue.h"
#include "Halvane/Rendering/ColorKernelSupport.h"

namespace halvane {
namespace {

using namespace colortest;

class ColorLooks : public EngineTest {
 protected:
  Image look(const Image& input, int number, float intensity = 1) {
    return renderColor(*engine, input, {.filterType = number, .filterIntensity = intensity});
  }
};

TEST(ColorLookTable, EveryCatalogueLookHasItsRowUnderItsNumber) {
  const auto rows = colorref::lookRows();
  ASSERT_EQ(rows.size(), FilterCatalogue::all().size());
  // Rows stand in the order of their numbers, 1 to 146.
  for (size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].number, i + 1) << rows[i].id;
    EXPECT_EQ(FilterCatalogue::definitionForType(rows[i].number)->id, rows[i].id) << "look " << rows[i].number;
  }
}

// Every look: intensity 0 is exact and a half lies between the unfiltered and the full
// look; at full intensity the kernel and the CPU reference, which compile the same
// formulas, agree within 2 code values (the GPU's filtering of the wide neighbourhood
// uses fixed-point weights, its transcendental functions differ in the last bits) and
// nearly everywhere exactly, with no NaN.
TEST_F(ColorLooks, EveryLookBlendsByIntensityAndMatchesTheCpuReference) {
  const Image photo = naturalPhoto(80, 60);
  for (const auto& row : colorref::lookRows()) {
    SCOPED_TRACE(row.id);
    EXPECT_EQ(look(photo, int(row.number), 0).pixels, photo.pixels);
    const auto [full, cpu] = renderAgainstReference(*engine, photo, {.filterType = row.number}, 2);
    EXPECT_LE(meanAbsoluteDifference(full, cpu), 0.1);
    const Image half = look(photo, int(row.number), 0.5f);
    int outside = 0;
    for (size_t i = 0; i < photo.pixels.size(); i += 4)
      for (int c = 0; c < 3; ++c) {
        const auto [lo, hi] = std::minmax({int(photo.pixels[i + c]), int(full.pixels[i + c])});
        // One code value: each of the three results is rounded on its own.
        if (half.pixels[i + c] < lo - 1 || half.pixels[i + c] > hi + 1) ++outside;
      }
    EXPECT_EQ(outside, 0);
  }
}

// Every look at intensity 1 on a natural photo differs from every other by a mean of at
// least 2 code values.
TEST_F(ColorLooks, EveryLookDiffersFromEveryOther) {
  const Image photo = naturalPhoto(160, 120);
  const auto rows = colorref::lookRows();
  std::vector<Image> rendered;
  for (const auto& row : rows) rendered.push_back(look(photo, int(row.number)));
  for (size_t a = 0; a < rows.size(); ++a)
    for (size_t b = a + 1; b < rows.size(); ++b)
      EXPECT_GE(meanAbsoluteDifference(rendered[a], rendered[b]), 2.0) << rows[a].id << " and " << rows[b].id;
}

// The chroma of a pixel (its colour less its mean) in code values, split into the part
// along the look's tone and the part across it.
struct Chroma {
  double along;
  double across;
};

Chroma chromaAgainst(std::array<int, 3> c, std::array<double, 3> tone) {
  const double mean = (c[0] + c[1] + c[2]) / 3.0;
  std::array<double, 3> v = {c[0] - mean, c[1] - mean, c[2] - mean};
  double toneLength = std::sqrt(tone[0] * tone[0] + tone[1] * tone[1] + tone[2] * tone[2]);
  if (toneLength < 1e-9) return {0, std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2])};
  double along = (v[0] * tone[0] + v[1] * tone[1] + v[2] * tone[2]) / toneLength;
  double across2 = v[0] * v[0] + v[1] * v[1] + v[2] * v[2] - along * along;
  return {along, std::sqrt(std::max(0.0, across2))};
}

// The direction of a hue's chroma, as the kernel's split toning adds it.
std::array<double, 3> hueDirection(double hueDegrees) {
  auto channel = [&](double n) {
    const double k = std::fmod(n + hueDegrees / 60.0, 6.0);
    return 1.0 - std::max(0.0, std::min({k, 4.0 - k, 1.0}));
  };
  std::array<double, 3> c = {channel(5), channel(3), channel(1)};
  const double mean = (c[0] + c[1] + c[2]) / 3.0;
  return {c[0] - mean, c[1] - mean, c[2] - mean};
}

TEST_F(ColorLooks, BlackAndWhiteLooksCarryNoHueButTheirTone) {
  const Image photo = naturalPhoto(160, 120);
  const Image chart = makeColorChart();
  for (const auto& definition : FilterCatalogue::byCategory().at(FilterCategory::blackAndWhite)) {
    SCOPED_TRACE(definition.id);
    const int number = int(definition.shaderFilterType);
    ASSERT_TRUE(colorref::lookTraits(number).monochrome);
    const auto split = colorref::lookTraits(number).splitToning;
    const bool toned = split[1] != 0 || split[3] != 0;
    EXPECT_TRUE(!toned || split[0] == split[2]) << "one tone for shadows and highlights: " << split[0];
    const auto tone = toned ? hueDirection(split[0]) : std::array<double, 3>{0, 0, 0};
    for (const Image* input : {&photo, &chart}) {
      const Image out = look(*input, number);
      double worstAcross = 0, mostAlong = 0;
      for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
          Chroma c = chromaAgainst(rgb(out, x, y), tone);
          worstAcross = std::max(worstAcross, c.across);
          mostAlong = std::max(mostAlong, std::abs(c.along));
        }
      // About one code value across the tone: the rounding of three channels.
      EXPECT_LE(worstAcross, 1.3);
      EXPECT_TRUE(!toned || mostAlong >= 3.0) << "the tone shows: " << mostAlong;
    }
  }
}

TEST_F(ColorLooks, DuoTonesMapBlackAndWhiteOntoTheirTwoColours) {
  const Image steps = makePicture(32, 8, [](int x, int) { return grey(x < 16 ? 0 : 255); });
  for (const auto& definition : FilterCatalogue::byCategory().at(FilterCategory::duoTone)) {
    SCOPED_TRACE(definition.id);
    const auto colours = colorref::lookTraits(definition.shaderFilterType).duoTone;
    ASSERT_NE(colours[1], 0u);
    const Image out = look(steps, int(definition.shaderFilterType));
    auto dark = rgb(out, 4, 4), light = rgb(out, 28, 4);
    for (int c = 0; c < 3; ++c) {
      EXPECT_NEAR(dark[c], int((colours[0] >> (16 - 8 * c)) & 255), 2);
      EXPECT_NEAR(light[c], int((colours[1] >> (16 - 8 * c)) & 255), 2);
    }
  }
}

// The gentle categories are safe on skin: the ColorChecker's two skin patches and two
// more skin tones keep a skin hue, a moderate saturation and every channel short of
// clipping under every Basic and Portrait look.
TEST_F(ColorLooks, BasicAndPortraitLooksKeepSkinPleasant) {
  const std::array<int, 3> skins[] = {{194, 150, 130}, {115, 82, 68}, {226, 180, 155}, {160, 110, 85}};
  const Image patches = makePicture(4, 1, [&](int x, int) { return skins[x]; });
  for (FilterCategory category : {FilterCategory::basic, FilterCategory::portrait})
    for (const auto& definition : FilterCatalogue::byCategory().at(category)) {
      const Image out = look(patches, int(definition.shaderFilterType));
      for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(::testing::Message() << definition.id << ", skin " << i);
        const auto c = rgb(out, i, 0);
        const int most = std::max({c[0], c[1], c[2]}), least = std::min({c[0], c[1], c[2]});
        EXPECT_LT(most, 255);
        EXPECT_GT(least, 0);
        EXPECT_LE(double(most - least) / most, 0.6);
        // Red leads, then green, then blue: a hue between 0 and 60 degrees.
        EXPECT_EQ(most, c[0]);
        EXPECT_GE(c[1], c[2]);
      }
    }
}

// Grain and halftone are keyed to the output pixel's position: the same picture gives
// the same pattern every time, in a preview as in an export.
TEST_F(ColorLooks, PatternsAreDeterministicInPreviewAndExport) {
  const Image photo = naturalPhoto(96, 72);
  for (const char* id : {"grain", "filmGrain", "expired", "halftone"}) {
    SCOPED_TRACE(id);
    const EditState state{.filterType = FilterCatalogue::definitionForID(id)->shaderFilterType, .trimStart = 1};
    const auto texture = engine->makeTexture(photo);
    auto preview = engine->renderToImage(texture, state, {}, false);
    auto exported = engine->renderToImage(texture, state, {}, true);
    auto again = engine->renderToImage(texture, state, {}, true);
    ASSERT_TRUE(preview && exported && again);
    EXPECT_EQ(preview->pixels, exported->pixels);
    EXPECT_EQ(again->pixels, exported->pixels);
    EXPECT_GT(meanAbsoluteDifference(*exported, photo), 2.0);
  }
}

// Every look over a grey ramp: no NaN on the CPU, and a look that is a tone curve keeps
// the ramp in order.
TEST_F(ColorLooks, LooksKeepTheRampInOrderWhereTheyAreTonal) {
  // Tall enough that grain averages out down a column.
  const Image ramp = makeGreyRamp(256);
  for (const auto& row : colorref::lookRows()) {
    SCOPED_TRACE(row.id);
    size_t nonFinite = 0;
    const Image out = colorref::renderColorPass(ramp, EditState{.filterType = row.number}, &nonFinite);
    EXPECT_EQ(nonFinite, 0u);
    // Inverted and false colours run against the ramp by design; vignettes and lights
    // change it by position.
    if (row.id == "invert" || row.id == "infrared" || colorref::lookTraits(row.number).positional) continue;
    int breaks = 0;
    double highest = -1;
    for (int x = 0; x < 256; ++x) {
      double y = 0;
      for (int r = 0; r < ramp.height; ++r)
        y += (0.2126 * rgb(out, x, r)[0] + 0.7152 * rgb(out, x, r)[1] + 0.0722 * rgb(out, x, r)[2]) / ramp.height;
      // Three code values: what the finest grain leaves in the mean of a column
      // (about 0.6 of a code value each, against the highest column so far).
      if (y < highest - 3) ++breaks;
      highest = std::max(highest, y);
    }
    EXPECT_EQ(breaks, 0);
  }
}

}  // namespace
}  // namespace halvane
