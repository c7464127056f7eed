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
    for (auto [slider, value] : {std::pair{info.sliderMin, range.lower}, std::pair{info.sliderMax, range.upper},
                                 std::pair{info.sliderDefault, range.fallback}}) {
      EditState state;
      setSliderValue(info.tool, state, slider);
      EXPECT_EQ(state.*info.field, value) << "slider at " << slider;
    }
    EXPECT_FLOAT_EQ(sliderValue(info.tool, EditState::defaultState()), info.sliderDefault);
  }
}

TEST(AdjustTool, TemperatureCurveAndItsInverse) {
  // K = 40 s + 6500 - 0.05 s², held to [-100, 100].
  for (auto [slider, kelvin] : {std::pair{-100.0f, 2000.0f}, {0.0f, 6500.0f}, {100.0f, 10000.0f}, {25.0f, 7468.75f},
                                {-50.0f, 4375.0f}, {-250.0f, 2000.0f}, {250.0f, 10000.0f}})
    EXPECT_FLOAT_EQ(kelvinFromSlider(slider), kelvin) << slider;
  for (float slider = -100; slider <= 100; slider += 12.5f) {
    EXPECT_NEAR(sliderFromKelvin(kelvinFromSlider(slider)), slider, 1e-3f) << slider;
  }
  EXPECT_EQ(sliderFromKelvin(1000), -100.0f);
  EXPECT_EQ(sliderFromKelvin(20000), 100.0f);
}

}  // namespace
}  // namespace halvane
