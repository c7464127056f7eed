#include "Halvane/Panels/RulerSlider.h"

#include <algorithm>
#include <cmath>

namespace halvane::panels {

RulerClick::RulerClick(std::vector<float> points, float window, float rearm)
    : points_(std::move(points)), window_(window), rearm_(rearm) {}

bool RulerClick::passes(float value) {
  for (float point : points_) {
    if (std::fabs(value - point) < window_ && point != lastPoint_) {
      lastPoint_ = point;
      return true;
    }
  }
  if (lastPoint_ && std::fabs(value - *lastPoint_) > rearm_) lastPoint_.reset();
  return false;
}

RulerSlider::RulerSlider(float minimum, float maximum, double pointsPerUnit, RulerClick click)
    : minimum_(minimum), maximum_(maximum), pointsPerUnit_(pointsPerUnit), click_(std::move(click)) {
  value_ = clamp(0);
}

void RulerSlider::reconfigure(float minimum, float maximum, double pointsPerUnit, RulerClick click) {
  minimum_ = minimum;
  maximum_ = maximum;
  pointsPerUnit_ = pointsPerUnit;
  click_ = std::move(click);
  hasLaidOut_ = false;
}

float RulerSlider::clamp(float value) const {
  // A NaN lands on the lower end rather than poisoning the ruler.
  if (std::isnan(value)) return minimum_;
  return std::clamp(value, minimum_, std::max(minimum_, maximum_));
}

double RulerSlider::contentWidth() const { return std::max(0.0, double(range()) * pointsPerUnit_); }

double RulerSlider::contentX(float value) const { return (double(value) - minimum_) * pointsPerUnit_; }

double RulerSlider::offsetFor(float value) const { return contentX(value) - viewWidth_ / 2; }

float RulerSlider::valueAt(double offset) const {
  const float r = range();
  if (r <= 0) return minimum_;
  const double fraction = (viewWidth_ / 2 + offset) / contentWidth();
  return clamp(minimum_ + r * float(fraction));
}

void RulerSlider::scrollToValue() {
  isSetting_ = true;
  if (onScrollTo) onScrollTo(offsetFor(value_));
  isSetting_ = false;
}

void RulerSlider::setValue(float value) {
  value_ = clamp(value);
  // Inside a scroll callback the ruler already stands where the user put it.
  if (isSetting_ || !hasLaidOut_) return;
  scrollToValue();
}

void RulerSlider::layout(double viewWidth) {
  viewWidth_ = viewWidth;
  hasLaidOut_ = true;
  if (range() > 0) scrollToValue();
}

void RulerSlider::scrolled(double offset) {
  if (isSetting_) return;
  isSetting_ = true;
  value_ = valueAt(offset);
  isSetting_ = false;
  if (onValueChanged) onValueChanged();
  if (click_.passes(value_) && onClick) onClick();
}

void RulerSlider::userSet(float value) {
  setValue(value);
  if (onValueChanged) onValueChanged();
  if (onTrackingEnded) onTrackingEnded();
}

}  // namespace halvane::panels
