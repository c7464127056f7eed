#include "Halvane/Panels/AdjustRuler.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace halvane::panels {

namespace {
RulerClick clickAt(float point, float range) {
  const float window = range * AdjustRuler::kSnapThreshold;
  return RulerClick({point}, window, 2 * window);
}
}  // namespace

AdjustRuler::AdjustRuler() : RulerSlider(-1, 1, kPointsPerUnit, clickAt(0, 2)) {}

void AdjustRuler::configure(float minimum, float maximum, float defaultValue) {
  currentDefault_ = defaultValue;
  reconfigure(minimum, maximum, kPointsPerUnit, clickAt(defaultValue, maximum - minimum));
}

RulerDots AdjustRuler::dots() const {
  const double r = range();
  const int n = std::clamp(int(r * 50), 20, 200);
  RulerDots result;
  result.dots.reserve(n + 1);
  for (int i = 0; i <= n; ++i) {
    const double u = minimum() + r * i / n;
    const RulerDot dot{r * (double(i) / n) * kPointsPerUnit, i % 10 == 0 ? kLargeDotRadius : kSmallDotRadius};
    // The first dot on the neutral value carries the mark instead of an ordinary dot.
    if (!result.mark && std::fabs(u - currentDefault_) < 0.6 * (r / n)) {
      result.mark = dot;
      continue;
    }
    result.dots.push_back(dot);
  }
  return result;
}

std::string AdjustRuler::builtInLabel(float value, float minimum, float maximum, float defaultValue) {
  const float r = maximum - minimum;
  const auto integer = [](double v) { return std::to_string(std::isfinite(v) ? std::lround(v) : 0L); };
  std::string text;
  if (r <= 0 || r > 100) {
    text = integer(value);
  } else if (r <= 2 && std::fabs(defaultValue - (minimum + maximum) / 2) <= 0.01f * r) {
    const long percent = std::lround((value - defaultValue) / (r / 2) * 100);
    text = (percent >= 1 ? "+" : "") + std::to_string(percent);
  } else {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.1f", value);
    text = buffer;
  }
  return "  " + text + "  ";
}

std::string AdjustRuler::labelText() const {
  if (customLabelFormatter) return customLabelFormatter(value());
  return builtInLabel(value(), minimum(), maximum(), currentDefault_);
}

}  // namespace halvane::panels
