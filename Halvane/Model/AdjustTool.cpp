#include "Halvane/Model/AdjustTool.h"

#include <algorithm>
#include <cmath>

namespace halvane {

float kelvinFromSlider(float slider) {
  const float s = std::clamp(slider, -100.0f, 100.0f);
  return 40.0f * s + 6500.0f - 0.05f * s * s;
}

float sliderFromKelvin(float kelvin) {
  const float discriminant = kelvin <= 2000.0f ? 250000.0f : 290000.0f - 20.0f * std::fmin(kelvin, 10000.0f);
  return 400.0f - std::sqrt(discriminant);
}

float sliderValue(AdjustTool tool, const EditState& state) {
  const float value = state.*adjustToolInfo(tool).field;
  return tool == AdjustTool::temperature ? sliderFromKelvin(value) : value;
}

void setSliderValue(AdjustTool tool, EditState& state, float slider) {
  state.*adjustToolInfo(tool).field = tool == AdjustTool::temperature ? kelvinFromSlider(slider) : slider;
}

}  // namespace halvane
