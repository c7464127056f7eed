#include "Halvane/DesignSystem/Widgets/DSButton.h"

#include <QKeyEvent>
#include <QPainter>
#include <QVariantAnimation>

#include <cmath>

#include "Halvane/DesignSystem/Widgets/DSAnimation.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"

namespace halvane {

namespace {
constexpr int kIndicatorTurnMsecs = 1000;

bool isActivationKey(int key) {
  return key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Select;
}
}  // namespace

DSButton::DSButton(const QString& title, Style style, QWidget* parent)
    : QAbstractButton(parent), style_(style), indicatorAnimation_(new QVariantAnimation(this)) {
  setTitle(title);
  setFocusPolicy(Qt::StrongFocus);
  setFixedHeight(static_cast<int>(DSButtonMetrics::kHeight));
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  setAttribute(Qt::WA_Hover);

  indicatorAnimation_->setStartValue(0.0);
  indicatorAnimation_->setEndValue(1.0);
  indicatorAnimation_->setDuration(kIndicatorTurnMsecs);
  indicatorAnimation_->setLoopCount(-1);
  connect(indicatorAnimation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& turn) {
    indicatorTurn_ = turn.toDouble();
    update();
  });

  connect(this, &QAbstractButton::pressed, this, [this] { animatePress(DSButtonMetrics::kPressedScale); });
  connect(this, &QAbstractButton::released, this, [this] { animatePress(1.0); });
  connect(this, &QAbstractButton::clicked, this, [this] {
    if (onTap) onTap();
  });
}

DSButton::~DSButton() = default;

void DSButton::setTitle(const QString& title) {
  title_ = title;
  setAccessibleName(title);
  update();
  updateGeometry();
}

void DSButton::setLoading(bool loading) {
  if (loading_ == loading) return;
  loading_ = loading;
  if (loading) {
    setDown(false);
    letGoIfReleased();
    indicatorAnimation_->start();
  } else {
    indicatorAnimation_->stop();
    indicatorTurn_ = 0;
  }
  updateGeometry();
  update();
}

DSControlState DSButton::controlState() const {
  if (!isEnabled()) return DSControlState::disabled;
  if (isDown() || isChecked()) return DSControlState::highlighted;
  return DSControlState::enabled;
}

DSButtonPaintState DSButton::paintState() const {
  return {buttonAppearance(style_, controlState()),
          title_,
          DSFont::font(DSButtonMetrics::kTitleFont),
          loading_,
          indicatorTurn_,
          pressScale_,
          hasFocus() && !loading_};
}

QSize DSButton::sizeHint() const {
  const double width = buttonContentWidth(title_, DSFont::font(DSButtonMetrics::kTitleFont), loading_);
  return {static_cast<int>(std::ceil(width)), static_cast<int>(DSButtonMetrics::kHeight)};
}

QSize DSButton::minimumSizeHint() const { return sizeHint(); }

void DSButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  paintButton(painter, rect(), paintState());
}

bool DSButton::hitButton(const QPoint& position) const {
  return !loading_ && QAbstractButton::hitButton(position);
}

void DSButton::keyPressEvent(QKeyEvent* event) {
  if (isActivationKey(event->key()) && loading_) return event->accept();
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    if (!event->isAutoRepeat()) animateClick();
    return event->accept();
  }
  QAbstractButton::keyPressEvent(event);
}

void DSButton::keyReleaseEvent(QKeyEvent* event) {
  if (isActivationKey(event->key()) && loading_) return event->accept();
  QAbstractButton::keyReleaseEvent(event);
}

void DSButton::changeEvent(QEvent* event) {
  if (event->type() == QEvent::EnabledChange) update();
  QAbstractButton::changeEvent(event);
}

void DSButton::focusOutEvent(QFocusEvent* event) {
  QAbstractButton::focusOutEvent(event);
  letGoIfReleased();
}

bool DSButton::event(QEvent* event) {
  if (event->type() == QEvent::ApplicationFontChange) updateGeometry();
  return QAbstractButton::event(event);
}

void DSButton::letGoIfReleased() {
  if (!isDown() && pressTarget_ != 1.0) animatePress(1.0);
}

void DSButton::animatePress(double scale) {
  if (pressAnimation_) pressAnimation_->stop();
  pressTarget_ = scale;
  const double from = pressScale_;
  pressAnimation_ = DSAnimation::quick(this, [this, from, scale](platform::qt::SpringAnimator& animator) {
    animator.animate(from, scale, [this](const QVariant& value) {
      pressScale_ = value.toDouble();
      update();
    });
  });
}

}  // namespace halvane
