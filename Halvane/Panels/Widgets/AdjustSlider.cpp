#include "Halvane/Panels/Widgets/AdjustSlider.h"

#include <QAccessible>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollEvent>
#include <QScrollPrepareEvent>
#include <QScroller>
#include <QScrollerProperties>
#include <QWheelEvent>

#include <algorithm>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/AdjustSliderAccessible.h"
#include "Halvane/Panels/Widgets/RulerPainter.h"

namespace halvane::panels {

namespace {
// A wheel's notch of 15 degrees moves this many points.
constexpr double kPointsPerNotch = 16;
// With no end phase (a mouse wheel), tracking ends after this pause.
constexpr int kWheelPauseMs = 250;
constexpr float kKeyStep = 0.01f;
constexpr float kPageStep = 0.1f;
}  // namespace

AdjustSlider::AdjustSlider(std::shared_ptr<platform::system::Haptics> haptics, QWidget* parent)
    : QWidget(parent), haptics_(std::move(haptics)), scroller_(nullptr) {
  AdjustSliderAccessible::install();
  setFocusPolicy(Qt::StrongFocus);
  setFixedHeight(kHeight);
  setCursor(Qt::OpenHandCursor);

  ruler_.onScrollTo = [this](double offset) { scrollTo(offset); };
  ruler_.onValueChanged = [this] {
    valueShown();
    if (onValueChanged) onValueChanged();
  };
  ruler_.onTrackingEnded = [this] {
    if (onTrackingEnded) onTrackingEnded();
  };
  ruler_.onClick = [this] {
    if (haptics_) haptics_->impactOccurred(platform::system::ImpactStyle::light);
  };

  QScroller::grabGesture(this, QScroller::LeftMouseButtonGesture);
  scroller_ = QScroller::scroller(this);
  QScrollerProperties properties = scroller_->scrollerProperties();
  // The ruler stops at its ends instead of stretching past them.
  properties.setScrollMetric(QScrollerProperties::HorizontalOvershootPolicy,
                             QVariant::fromValue(QScrollerProperties::OvershootAlwaysOff));
  properties.setScrollMetric(QScrollerProperties::VerticalOvershootPolicy,
                             QVariant::fromValue(QScrollerProperties::OvershootAlwaysOff));
  scroller_->setScrollerProperties(properties);
  connect(scroller_, &QScroller::stateChanged, this, [this](QScroller::State state) {
    if (state == QScroller::Dragging || state == QScroller::Scrolling) {
      isTracking_ = true;
    } else if (state == QScroller::Inactive && isTracking_) {
      endTracking();
    }
  });

  wheelEnd_.setSingleShot(true);
  wheelEnd_.setInterval(kWheelPauseMs);
  connect(&wheelEnd_, &QTimer::timeout, this, [this] { endTracking(); });
}

void AdjustSlider::configure(float minimum, float maximum, float defaultValue) {
  ruler_.configure(minimum, maximum, defaultValue);
  ruler_.layout(width());
  update();
}

void AdjustSlider::setCustomLabelFormatter(std::function<std::string(float)> formatter) {
  ruler_.customLabelFormatter = std::move(formatter);
  valueShown();
}

QString AdjustSlider::valueText() const { return QString::fromStdString(ruler_.labelText()).trimmed(); }

void AdjustSlider::scrollTo(double offset) {
  offset_ = offset;
  // A programmatic move stops a glide, which would otherwise carry on from where it was.
  if (scroller_->state() == QScroller::Scrolling) scroller_->stop();
  valueShown();
}

void AdjustSlider::valueShown() {
  update();
  QAccessibleValueChangeEvent event(this, double(ruler_.value()));
  QAccessible::updateAccessibility(&event);
}

void AdjustSlider::endTracking() {
  isTracking_ = false;
  if (onTrackingEnded) onTrackingEnded();
}

bool AdjustSlider::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::ScrollPrepare: {
      auto* prepare = static_cast<QScrollPrepareEvent*>(event);
      const double half = width() / 2.0;
      prepare->setViewportSize(size());
      prepare->setContentPosRange(QRectF(-half, 0, ruler_.contentWidth(), 0));
      prepare->setContentPos(QPointF(offset_, 0));
      prepare->accept();
      return true;
    }
    case QEvent::Scroll: {
      offset_ = static_cast<QScrollEvent*>(event)->contentPos().x();
      ruler_.scrolled(offset_);
      return true;
    }
    default:
      return QWidget::event(event);
  }
}

void AdjustSlider::resizeEvent(QResizeEvent*) {
  ruler_.layout(width());
  update();
}

void AdjustSlider::wheelEvent(QWheelEvent* event) {
  const QPoint pixels = event->pixelDelta();
  const QPoint angle = event->angleDelta();
  double delta = 0;
  if (!pixels.isNull()) {
    delta = pixels.x() != 0 ? pixels.x() : pixels.y();
  } else {
    delta = (angle.x() != 0 ? angle.x() : angle.y()) / 120.0 * kPointsPerNotch;
  }
  if (event->inverted()) delta = -delta;
  if (delta != 0) {
    const double half = width() / 2.0;
    offset_ = std::clamp(offset_ - delta, -half, ruler_.contentWidth() - half);
    isTracking_ = true;
    ruler_.scrolled(offset_);
  }
  if (event->phase() == Qt::ScrollEnd || event->phase() == Qt::ScrollMomentum) {
    wheelEnd_.start(event->phase() == Qt::ScrollEnd ? 0 : kWheelPauseMs);
  } else {
    wheelEnd_.start();
  }
  event->accept();
}

void AdjustSlider::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down: ruler_.step(-kKeyStep); break;
    case Qt::Key_Right:
    case Qt::Key_Up: ruler_.step(kKeyStep); break;
    case Qt::Key_PageDown: ruler_.step(-kPageStep); break;
    case Qt::Key_PageUp: ruler_.step(kPageStep); break;
    case Qt::Key_Home: ruler_.userSet(ruler_.currentDefault()); break;
    default: QWidget::keyPressEvent(event); return;
  }
  event->accept();
}

void AdjustSlider::focusInEvent(QFocusEvent* event) {
  showsFocusRing_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
  QWidget::focusInEvent(event);
}

void AdjustSlider::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const RulerDots dots = ruler_.dots();
  paintRuler(painter, rect(), {dots, offset_, QString::fromStdString(ruler_.labelText()), kLabelHeight});
  if (hasFocus() && showsFocusRing_) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(qColor(DSColor::accent), 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 8, 8);
  }
}

}  // namespace halvane::panels
