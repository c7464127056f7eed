#include "Platform/Qt/SpringAnimator.h"

#include <QPropertyAnimation>
#include <QVariantAnimation>

#include <algorithm>
#include <cmath>
#include <optional>

namespace platform::qt {

namespace {

// A ratio of 1 or more has no oscillation to settle; such springs behave as a nearly
// critical one, and a ratio of 0 would never settle.
double usableDampingRatio(double ratio) { return std::clamp(ratio, 0.01, 0.999); }

// A cubic timing is the animation's easing curve. Qt's custom easing curves take a
// plain function without state, so a spring instead shapes the progress where the
// animation interpolates, over a linear easing curve.
template <class Base>
class TimedAnimation : public Base {
 public:
  explicit TimedAnimation(const AnimationTiming& timing) {
    this->setDuration(static_cast<int>(std::lround(durationOf(timing) * 1000)));
    if (const auto* spring = std::get_if<SpringTiming>(&timing))
      spring_ = SpringCurve{spring->dampingRatio, spring->duration};
    else
      this->setEasingCurve(easingCurve(std::get<CubicTiming>(timing)));
  }

 protected:
  QVariant interpolated(const QVariant& from, const QVariant& to, qreal progress) const override {
    return Base::interpolated(from, to, spring_ ? spring_->valueForProgress(progress) : progress);
  }

 private:
  std::optional<SpringCurve> spring_;
};

using TimedPropertyAnimation = TimedAnimation<QPropertyAnimation>;
using TimedValueAnimation = TimedAnimation<QVariantAnimation>;

}  // namespace

double SpringCurve::naturalFrequency() const {
  const double zeta = usableDampingRatio(dampingRatio);
  const double envelopeScale = 1 / std::sqrt(1 - zeta * zeta);
  return std::log(envelopeScale / kSettleThreshold) / (zeta * std::max(duration, 1e-6));
}

double SpringCurve::valueAt(double seconds) const {
  const double zeta = usableDampingRatio(dampingRatio);
  const double omega = naturalFrequency();
  const double root = std::sqrt(1 - zeta * zeta);
  const double damped = omega * root * seconds;
  return 1 - std::exp(-zeta * omega * seconds) * (std::cos(damped) + zeta / root * std::sin(damped));
}

double SpringCurve::valueForProgress(double progress) const {
  if (progress <= 0) return 0;
  if (progress >= 1) return 1;
  return valueAt(progress * duration);
}

double durationOf(const AnimationTiming& timing) {
  return std::visit([](const auto& t) { return t.duration; }, timing);
}

QEasingCurve easingCurve(const CubicTiming& timing) {
  QEasingCurve curve(QEasingCurve::BezierSpline);
  curve.addCubicBezierSegment(timing.control1, timing.control2, QPointF(1, 1));
  return curve;
}

double easedProgress(const AnimationTiming& timing, double progress) {
  if (const auto* spring = std::get_if<SpringTiming>(&timing))
    return SpringCurve{spring->dampingRatio, spring->duration}.valueForProgress(progress);
  return easingCurve(std::get<CubicTiming>(timing)).valueForProgress(std::clamp(progress, 0.0, 1.0));
}

SpringAnimator::SpringAnimator(AnimationTiming timing, QObject* parent) : QObject(parent), timing_(timing) {
  connect(&group_, &QAbstractAnimation::finished, this, [this] {
    if (onCompleted) onCompleted();
  });
}

SpringAnimator::~SpringAnimator() { group_.stop(); }

void SpringAnimator::animate(QObject* target, const QByteArray& property, const QVariant& to) {
  auto* animation = new TimedPropertyAnimation(timing_);
  animation->setTargetObject(target);
  animation->setPropertyName(property);
  animation->setEndValue(to);
  group_.addAnimation(animation);
}

void SpringAnimator::animate(const QVariant& from, const QVariant& to,
                             std::function<void(const QVariant&)> onValue) {
  auto* animation = new TimedValueAnimation(timing_);
  animation->setStartValue(from);
  animation->setEndValue(to);
  connect(animation, &QVariantAnimation::valueChanged, this,
          [onValue = std::move(onValue)](const QVariant& value) {
            if (onValue) onValue(value);
          });
  group_.addAnimation(animation);
}

void SpringAnimator::start() { group_.start(); }

void SpringAnimator::stop() { group_.stop(); }

bool SpringAnimator::isRunning() const { return group_.state() == QAbstractAnimation::Running; }

void SpringAnimator::setCurrentTime(int msecs) { group_.setCurrentTime(msecs); }

int SpringAnimator::durationMsecs() const { return group_.duration(); }

void SpringAnimator::releaseWhenDone() {
  connect(&group_, &QAbstractAnimation::stateChanged, this, [this](QAbstractAnimation::State state) {
    if (state == QAbstractAnimation::Stopped) deleteLater();
  });
}

SpringAnimator* startTransition(AnimationTiming timing, QObject* parent,
                                const std::function<void(SpringAnimator&)>& animations,
                                std::function<void()> completion) {
  auto* animator = new SpringAnimator(timing, parent);
  animator->onCompleted = std::move(completion);
  animations(*animator);
  animator->releaseWhenDone();
  animator->start();
  return animator;
}

}  // namespace platform::qt
