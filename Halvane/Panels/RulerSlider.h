#pragma once
// The behaviour of the ruler sliders: a value set by scrolling a ruler of dots under a
// fixed centre, shared by the family (adjust, filter intensity, focus), which differ in
// range, scale, dots, click points and label. It maps values to scroll offsets, guards
// against feedback between a programmatic value and the scroll it causes, and decides
// the haptic clicks. No Qt; the widget moves its scroll surface when told and reports
// the user's scrolls. Main thread only.
#include <functional>
#include <optional>
#include <vector>

namespace halvane::panels {

// When a moving value clicks: once on arriving within `window` of a point, and again
// at that point only after it has moved more than `rearm` away from it.
class RulerClick {
 public:
  RulerClick(std::vector<float> points, float window, float rearm);
  // True when `value` fires a click.
  bool passes(float value);
  // Forgets the last click, as a reconfigured slider does.
  void reset() { lastPoint_.reset(); }

 private:
  std::vector<float> points_;
  float window_;
  float rearm_;
  std::optional<float> lastPoint_;
};

struct RulerDot {
  double x;  // along the ruler, from the start of its content
  double radius;
  bool operator==(const RulerDot&) const = default;
};

struct RulerDots {
  std::vector<RulerDot> dots;
  // The marked dot, drawn in its own colour; none when no dot falls on the mark.
  std::optional<RulerDot> mark;
};

class RulerSlider {
 public:
  RulerSlider(float minimum, float maximum, double pointsPerUnit, RulerClick click);

  float value() const { return value_; }
  float minimum() const { return minimum_; }
  float maximum() const { return maximum_; }
  float range() const { return maximum_ - minimum_; }
  double pointsPerUnit() const { return pointsPerUnit_; }
  bool isSetting() const { return isSetting_; }
  bool hasLaidOut() const { return hasLaidOut_; }

  // New ends (and scale, and click points): the geometry waits for the next layout.
  void reconfigure(float minimum, float maximum, double pointsPerUnit, RulerClick click);
  // The programmatic path: clamps, and moves the ruler without an event or a click.
  void setValue(float value);
  // Fixes the geometry for a control of this width and puts the value under the centre.
  void layout(double viewWidth);
  // The user's path: the scroll surface stands at `offset`. Stores the value under the
  // centre, sends onValueChanged and may click. Ignored while a programmatic set runs.
  void scrolled(double offset);
  // A discrete change by the user (keyboard, assistive technology): the value, clamped,
  // moves the ruler, then onValueChanged and onTrackingEnded.
  void userSet(float value);
  // userSet by a share of the range.
  void step(float fractionOfRange) { userSet(value_ + fractionOfRange * range()); }

  double viewWidth() const { return viewWidth_; }
  double contentWidth() const;
  // Where a value stands on the ruler, and the scroll offset that puts it under the centre.
  double contentX(float value) const;
  double offsetFor(float value) const;
  // The value under the centre at a scroll offset, clamped to the range.
  float valueAt(double offset) const;

  // The scroll surface must move to this offset, without animation and without
  // reporting it back.
  std::function<void(double offset)> onScrollTo;
  // A change the user caused.
  std::function<void()> onValueChanged;
  std::function<void()> onTrackingEnded;
  std::function<void()> onClick;

 private:
  float clamp(float value) const;
  void scrollToValue();

  float minimum_;
  float maximum_;
  double pointsPerUnit_;
  RulerClick click_;
  float value_ = 0;
  double viewWidth_ = 0;
  bool isSetting_ = false;
  bool hasLaidOut_ = false;
};

}  // namespace halvane::panels
