#pragma once
// The adjust slider's ruler: a RulerSlider of 80 points a unit whose ends and neutral
// value the adjust panel sets per tool, with a dot every fiftieth of a unit (20 to 200
// of them), a mark on the dot at the neutral value, one click there, and the label
// above the ruler. No Qt. Main thread only.
#include <functional>
#include <string>

#include "Halvane/Panels/RulerSlider.h"

namespace halvane::panels {

class AdjustRuler : public RulerSlider {
 public:
  static constexpr double kPointsPerUnit = 80;
  // Shares of the range: the click window, and the distance that re-arms it.
  static constexpr float kSnapThreshold = 0.02f;
  static constexpr double kSmallDotRadius = 1.25;
  static constexpr double kLargeDotRadius = 2;

  AdjustRuler();

  float currentDefault() const { return currentDefault_; }
  // New ends and neutral value; the value and the geometry wait for the next layout
  // and set.
  void configure(float minimum, float maximum, float defaultValue);

  RulerDots dots() const;
  // The label's text: the formatter's as it stands, or the built-in text with two
  // blanks either side.
  std::string labelText() const;
  static std::string builtInLabel(float value, float minimum, float maximum, float defaultValue);

  std::function<std::string(float)> customLabelFormatter;

 private:
  float currentDefault_ = 0;
};

}  // namespace halvane::panels
