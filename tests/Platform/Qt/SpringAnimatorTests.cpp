// The animator of the editor's transitions: its spring and cubic curves against
// references computed here by other means, and its stop and completion rules, driven
// by setting the animation's time.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QObject>
#include <QPointer>

#include <cmath>
#include <memory>

#include "Platform/Qt/SpringAnimator.h"
#include "Support/QtApplicationEnvironment.h"

using platform::qt::AnimationTiming;
using platform::qt::CubicTiming;
using platform::qt::SpringAnimator;
using platform::qt::SpringCurve;
using platform::qt::SpringTiming;

namespace {

const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new halvane::testing::QtApplicationEnvironment<QCoreApplication>);

// The settled spring: ω found by bisection on "the envelope reaches the threshold at
// the duration", then the oscillator integrated by fourth-order Runge-Kutta.
class OscillatorReference {
 public:
  OscillatorReference(double zeta, double duration) : zeta_(zeta) {
    double low = 0.1, high = 1000;
    for (int i = 0; i < 200; ++i) {
      const double mid = (low + high) / 2;
      (envelope(mid, duration) > SpringCurve::kSettleThreshold ? low : high) = mid;
    }
    omega_ = low;
  }

  double positionAt(double seconds) const {
    const int steps = 4000;
    const double h = seconds / steps;
    double x = 0, v = 0;
    auto accel = [&](double px, double pv) { return omega_ * omega_ * (1 - px) - 2 * zeta_ * omega_ * pv; };
    for (int i = 0; i < steps; ++i) {
      const double k1x = v, k1v = accel(x, v);
      const double k2x = v + h / 2 * k1v, k2v = accel(x + h / 2 * k1x, v + h / 2 * k1v);
      const double k3x = v + h / 2 * k2v, k3v = accel(x + h / 2 * k2x, v + h / 2 * k2v);
      const double k4x = v + h * k3v, k4v = accel(x + h * k3x, v + h * k3v);
      x += h / 6 * (k1x + 2 * k2x + 2 * k3x + k4x);
      v += h / 6 * (k1v + 2 * k2v + 2 * k3v + k4v);
    }
    return x;
  }

 private:
  double envelope(double omega, double t) const {
    return std::exp(-zeta_ * omega * t) / std::sqrt(1 - zeta_ * zeta_);
  }
  double zeta_;
  double omega_ = 0;
};

struct SpringCase {
  double dampingRatio;
  double duration;
};

class SpringCurveTest : public ::testing::TestWithParam<SpringCase> {};

TEST_P(SpringCurveTest, FollowsTheDampedOscillatorAndSettlesAtTheDuration) {
  const auto [zeta, duration] = GetParam();
  const OscillatorReference reference(zeta, duration);
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
    const double expected = reference.positionAt(ms / 1000.0);
    EXPECT_NEAR(curve.valueAt(ms / 1000.0), expected, 1e-3) << ms << " ms";
    animator.setCurrentTime(ms);
    EXPECT_NEAR(target.property("level").toDouble(), expected, 1e-3) << ms << " ms";
    peak = std::max(peak, expected);
  }
  EXPECT_GT(peak, 1.0) << "an underdamped spring overshoots";
  EXPECT_NEAR(curve.valueAt(duration), 1.0, SpringCurve::kSettleThreshold);
  EXPECT_EQ(curve.valueForProgress(1.0), 1.0);
  EXPECT_EQ(curve.valueForProgress(0.0), 0.0);
}

INSTANTIATE_TEST_SUITE_P(EditorSprings, SpringCurveTest,
                         ::testing::Values(SpringCase{0.82, 0.42}, SpringCase{0.74, 0.24}));

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
    EXPECT_NEAR(platform::qt::easedProgress(standard, x), bezier(low, 0.95, 1.0), 1e-3) << x;
  }
}

struct Recorder {
  int completions = 0;
  QObject target;
  Recorder() { target.setProperty("level", 0.0); }
};

TEST(SpringAnimator, StoppedHalfWayStaysThereAndNeverCompletes) {
  Recorder recorder;
  SpringAnimator animator(SpringTiming{0.82, 0.42});
  animator.animate(&recorder.target, "level", 10.0);
  animator.onCompleted = [&] { ++recorder.completions; };
  animator.start();
  animator.setCurrentTime(210);
  const double halfWay = recorder.target.property("level").toDouble();
  ASSERT_GT(halfWay, 0.0);
  ASSERT_LT(halfWay, 10.5);
  animator.stop();
  QCoreApplication::processEvents();
  EXPECT_FALSE(animator.isRunning());
  EXPECT_EQ(recorder.target.property("level").toDouble(), halfWay);
  EXPECT_EQ(recorder.completions, 0);
}

TEST(SpringAnimator, CompletesOnceAtTheEndValueAndAValueCallbackFollows) {
  Recorder recorder;
  double seen = -1;
  SpringAnimator animator(SpringTiming{0.74, 0.24});
  animator.animate(&recorder.target, "level", 4.0);
  animator.animate(QVariant(1.0), QVariant(1.03), [&](const QVariant& value) { seen = value.toDouble(); });
  animator.onCompleted = [&] { ++recorder.completions; };
  animator.start();
  animator.setCurrentTime(animator.durationMsecs());
  EXPECT_EQ(recorder.completions, 1);
  EXPECT_DOUBLE_EQ(recorder.target.property("level").toDouble(), 4.0);
  EXPECT_DOUBLE_EQ(seen, 1.03);
}

TEST(SpringAnimator, ATransitionStartsFromTheCurrentValueAndReleasesItselfWhenStopped) {
  Recorder recorder;
  recorder.target.setProperty("level", 2.0);
  QPointer<SpringAnimator> transition = platform::qt::startTransition(
      SpringTiming{0.74, 0.24}, &recorder.target,
      [&](SpringAnimator& animator) { animator.animate(&recorder.target, "level", 6.0); },
      [&] { ++recorder.completions; });
  transition->setCurrentTime(1);
  EXPECT_NEAR(recorder.target.property("level").toDouble(), 2.0, 0.05);
  transition->stop();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_TRUE(transition.isNull());
  EXPECT_EQ(recorder.completions, 0);
}

}  // namespace
