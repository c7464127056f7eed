// The adjust table against the fields it sets, and the temperature slider's curve.
#include "Halvane/Model/AdjustTool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "Halvane/Model/EditFieldTable.h"

namespace halvane {
namespace {

const FloatRange& rangeOfField(float EditState::*member) {
  for (const EditField& field : kEditFields) {
    const auto* candidate = std::get_if<float EditState::*>(&field.member);
    if (candidate != nullptr && *candidate == member) return std::get<FloatRange>(field.range);
  }
  throw std::logic_error("not a Float field");
}

TEST(AdjustTool, SlidersSpanTheirFieldsAndRestAtTheirDefaults) {
  std::vector<float EditState::*> fields;
  for (std::size_t i = 0; i < kAdjustTools.size(); ++i) {
    const AdjustToolInfo& info = kAdjustTools[i];
    SCOPED_TRACE(std::string(info.name));
    EXPECT_EQ(static_cast<std::size_t>(info.tool), i) << "the table is in the order of the cases";
    EXPECT_EQ(std::count(fields.begin(), fields.end(), info.field), 0) << "one tool a field";
    fields.push_back(info.field);
    const FloatRange& range = rangeOfField(info.field);
    EditState lower, upper, rest;
    setSliderValue(info.tool, lower, info.sliderMin);
    setSliderValue(info.tool, upper, info.sliderMax);
    setSliderValue(info.tool, rest, info.sliderDefault);
    EXPECT_EQ(lower.*info.field, range.lower);
    EXPECT_EQ(upper.*info.field, range.upper);
    EXPECT_EQ(rest.*info.field, range.fallback);
    EXPECT_FLOAT_EQ(sliderValue(info.tool, EditState::defaultState()), info.sliderDefault);
  }
}

TEST(AdjustTool, TemperatureCurveAndItsInverse) {
  struct Case {
    float slider;
    float kelvin;
  };
  // K = 40 s + 6500 - 0.05 s², held to [-100, 100].
  for (const Case c : {Case{-100, 2000}, Case{0, 6500}, Case{100, 10000}, Case{25, 7468.75f}, Case{-50, 4375},
                       Case{-250, 2000}, Case{250, 10000}}) {
    EXPECT_FLOAT_EQ(kelvinFromSlider(c.slider), c.kelvin) << c.slider;
  }
  for (float slider = -100; slider <= 100; slider += 12.5f) {
    EXPECT_NEAR(sliderFromKelvin(kelvinFromSlider(slider)), slider, 1e-3f) << slider;
  }
  EXPECT_EQ(sliderFromKelvin(1000), -100.0f);
  EXPECT_EQ(sliderFromKelvin(20000), 100.0f);
}

}  // namespace
}  // namespace halvane
