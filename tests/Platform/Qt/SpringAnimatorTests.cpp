// The animator of the editor's transitions: its spring and cubic curves against
// references computed here by other means, and its stop and completion rules, driven
// by setting the animation's time.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QPointer>

#include <cmath>

#include "Platform/Qt/SpringAnimator.h"

namespace platform::qt {
namespace {

// The settled spring at `seconds`: ω found by bisection on "the envelope reaches the
// threshold at the duration", then the oscillator integrated by fourth-order Runge-Kutta.
double springReference(double zeta, double duration, double seconds) {
  double low = 0.1, high = 1000;
  for (int i = 0; i < 200; ++i) {
    const double mid = (low + high) / 2;
    (std::exp(-zeta * mid * duration) / std::sqrt(1 - zeta * zeta) > SpringCurve::kSettleThreshold ? low : high) = mid;
  }
  const double omega = low, h = seconds / 4000;
  double x = 0, v = 0;
  auto accel = [&](double px, double pv) { return omega * omega * (1 - px) - 2 * zeta * omega * pv; };
  for (int i = 0; i < 4000; ++i) {
    const double k1x = v, k1v = accel(x, v);
    const double k2x = v + h / 2 * k1v, k2v = accel(x + h / 2 * k1x, v + h / 2 * k1v);
    const double k3x = v + h / 2 * k2v, k3v = accel(x + h / 2 * k2x, v + h / 2 * k2v);
    const double k4x = v + h * k3v, k4v = accel(x + h * k3x, v + h * k3v);
    x += h / 6 * (k1x + 2 * k2x + 2 * k3x + k4x);
    v += h / 6 * (k1v + 2 * k2v + 2 * k3v + k4v);
  }
  return x;
}

TEST(SpringCurve, FollowsTheDampedOscillatorAndSettlesAtTheDurationForEachEditorSpring) {
  for (const auto& [zeta, duration] : {std::pair(0.82, 0.42), std::pair(0.74, 0.24)}) {
    SCOPED_TRACE(zeta);
    const SpringCurve curve{zeta, duration};
    QObject target;
    target.setProperty("level", 0.0);
    SpringAnimator animator(SpringTiming{zeta, duration});
    animator.animate(&target, "level", 1.0);
    animator.start();  // no event loop runs: the time is set by hand
    const int durationMs = static_cast<int>(std::lround(duration * 1000));
    ASSERT_EQ(animator.durationMsecs(), durationMs);
    double peak = 0;
    for (int i = 1; i <= 50; ++i) {
      const int ms = durationMs * i / 51;
      const double expected = springReference(zeta, duration, ms / 1000.0);
      EXPECT_NEAR(curve.valueAt(ms / 1000.0), expected, 1e-3) << ms << " ms";
      animator.setCurrentTime(ms);
      EXPECT_NEAR(target.property("level").toDouble(), expected, 1e-3) << ms << " ms";
      peak = std::max(peak, expected);
    }
    EXPECT_GT(peak, 1.0) << "an underdamped spring overshoots";
    EXPECT_NEAR(curve.valueAt(duration), 1.0, SpringCurve::kSettleThreshold);
    EXPECT_EQ(std::pair(curve.valueForProgress(0.0), curve.valueForProgress(1.0)), std::pair(0.0, 1.0));
  }
}

TEST(CubicTiming, FollowsTheBezierCurveThroughItsControlPoints) {
  const CubicTiming standard{{0.2, 0.95}, {0.2, 1.0}, 0.3};
  // The curve's x(s) rises monotonically, so s for a given x is found by bisection.
  auto bezier = [](double s, double p1, double p2) {
    const double r = 1 - s;
    return 3 * r * r * s * p1 + 3 * r * s * s * p2 + s * s * s;
  };
  for (double x : {0.05, 0.1, 0.25, 0.5, 0.75, 0.95}) {
    double low = 0, high = 1;
    for (int i = 0; i < 60; ++i) {
      const double mid = (low + high) / 2;
      (bezier(mid, 0.2, 0.2) < x ? low : high) = mid;
    }
    EXPECT_NEAR(easedProgress(standard, x), bezier(low, 0.95, 1.0), 1e-3) << x;
  }
}

TEST(SpringAnimator, StoppedHalfWayStaysThereAndNeverCompletesRunToItsEndCompletesOnce) {
  for (const bool stopped : {true, false}) {
    SCOPED_TRACE(stopped ? "stopped half way" : "run to its end");
    QObject target;
    target.setProperty("level", 0.0);
    int completions = 0;
    double seen = -1;
    SpringAnimator animator(SpringTiming{0.74, 0.24});
    animator.animate(&target, "level", 4.0);
    animator.animate(QVariant(1.0), QVariant(1.03), [&](const QVariant& value) { seen = value.toDouble(); });
    animator.onCompleted = [&] { ++completions; };
    animator.start();
    if (stopped) {
      animator.setCurrentTime(120);
      const double halfWay = target.property("level").toDouble();
      ASSERT_TRUE(halfWay > 0 && halfWay < 4.2) << halfWay;
      animator.stop();
      QCoreApplication::processEvents();
      EXPECT_TRUE(!animator.isRunning() && target.property("level").toDouble() == halfWay);
    } else {
      animator.setCurrentTime(animator.durationMsecs());
      EXPECT_DOUBLE_EQ(target.property("level").toDouble(), 4.0);
      EXPECT_DOUBLE_EQ(seen, 1.03);
    }
    EXPECT_EQ(completions, stopped ? 0 : 1);
  }
}

TEST(SpringAnimator, ATransitionStartsFromTheCurrentValueAndReleasesItselfWhenStopped) {
  QObject target;
  target.setProperty("level", 2.0);
  int completions = 0;
  QPointer<SpringAnimator> transition = startTransition(
      SpringTiming{0.74, 0.24}, &target, [&](SpringAnimator& animator) { animator.animate(&target, "level", 6.0); },
      [&] { ++completions; });
  transition->setCurrentTime(1);
  EXPECT_NEAR(target.property("level").toDouble(), 2.0, 0.05);
  transition->stop();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_TRUE(transition.isNull() && completions == 0);
}

}  // namespace
}  // namespace platform::qt
