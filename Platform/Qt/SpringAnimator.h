#pragma once
// The animator behind every animated transition of the editor. It moves properties of
// Qt objects (or a value handed to a callback) from where they are to where they should
// be, over a spring or a cubic timing curve, on the main thread's event loop.
//
// Stopping leaves every property where it is at that moment and never runs the
// completion; the completion runs only when every animation has reached its end value.
// A target destroyed while animating stops its animation, which then counts as stopped.
#include <QEasingCurve>
#include <QObject>
#include <QParallelAnimationGroup>
#include <QPointF>
#include <QVariant>

#include <functional>
#include <variant>

namespace platform::qt {

// The step response of a damped spring x'' + 2ζω x' + ω² x = ω² with x(0) = 0 and
// x'(0) = 0, for a damping ratio ζ below 1. The natural frequency ω is chosen so that
// the response has settled at `duration`: the envelope of its distance to 1,
// e^(-ζωt) / sqrt(1 - ζ²), has fallen to kSettleThreshold there. The curve is then 1
// from the duration on, a step smaller than the threshold.
struct SpringCurve {
  static constexpr double kSettleThreshold = 1e-3;

  double dampingRatio = 1;
  double duration = 1;  // seconds

  double naturalFrequency() const;
  // Position at `seconds` after the start, from 0 towards 1 (overshooting a little).
  double valueAt(double seconds) const;
  // Position at the fraction `progress` of the duration.
  double valueForProgress(double progress) const;
};

struct SpringTiming {
  double dampingRatio = 1;
  double duration = 0;  // seconds
};

// A cubic Bézier timing curve from (0, 0) to (1, 1) with two control points.
struct CubicTiming {
  QPointF control1;
  QPointF control2;
  double duration = 0;  // seconds
};

using AnimationTiming = std::variant<SpringTiming, CubicTiming>;

double durationOf(const AnimationTiming& timing);
QEasingCurve easingCurve(const CubicTiming& timing);
// Eased progress at the fraction `progress` of the duration.
double easedProgress(const AnimationTiming& timing, double progress);

// One transition: any number of animations started together, sharing one timing.
// Main thread only.
class SpringAnimator final : public QObject {
 public:
  explicit SpringAnimator(AnimationTiming timing, QObject* parent = nullptr);
  ~SpringAnimator() override;

  // Animates `property` of `target` from its value at start() to `to`.
  void animate(QObject* target, const QByteArray& property, const QVariant& to);
  // Animates a value from `from` to `to`, handing each step to `onValue`.
  void animate(const QVariant& from, const QVariant& to, std::function<void(const QVariant&)> onValue);

  void start();
  // Leaves everything where it is now; the completion will not run.
  void stop();
  bool isRunning() const;
  // Moves all animations to `msecs` after the start (tests drive animations this way).
  void setCurrentTime(int msecs);
  int durationMsecs() const;
  // Deletes the animator once it has finished or been stopped.
  void releaseWhenDone();

  // Runs once, when every animation has reached its end value.
  std::function<void()> onCompleted;

 private:
  AnimationTiming timing_;
  QParallelAnimationGroup group_;
};

// Starts a transition that deletes itself at its end or when stopped, and returns it
// so that a caller can stop it; the pointer is valid until then. `parent` ends it too.
SpringAnimator* startTransition(AnimationTiming timing, QObject* parent,
                                const std::function<void(SpringAnimator&)>& animations,
                                std::function<void()> completion = {});

}  // namespace platform::qt
