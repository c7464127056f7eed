#include "Halvane/Panels/Widgets/ToolStripView.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QScroller>
#include <QVariantAnimation>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/QuickTransition.h"
#include "Halvane/Panels/Widgets/ToolStripButton.h"

namespace halvane::panels {

namespace {
constexpr int kSpacing = 12;
constexpr int kContentInset = 16;
// A notch of a mouse wheel moves the row by about half a button.
constexpr qreal kPixelsPerNotch = 48;
constexpr int kGlideMilliseconds = 220;
}  // namespace

ToolStripView::ToolStripView(QWidget* parent)
    : QWidget(parent), scrollView_(new QScrollArea(this)), stack_(new QWidget), glide_(new QVariantAnimation(this)) {
  setFixedHeight(kHeight);

  auto* row = new QHBoxLayout(stack_);
  row->setSpacing(kSpacing);
  row->setContentsMargins(kContentInset, 0, kContentInset, 0);
  row->setAlignment(Qt::AlignVCenter);
  for (MediaTool tool : kAllMediaTools) {
    auto* button = new ToolStripButton(tool, stack_);
    row->addWidget(button, 0, Qt::AlignVCenter);
    toolButtons_[tool] = button;
    connect(button, &QAbstractButton::clicked, this, [this, tool] { buttonTapped(tool); });
  }
  stack_->setAttribute(Qt::WA_TranslucentBackground);

  scrollView_->setWidget(stack_);
  scrollView_->setWidgetResizable(false);
  scrollView_->setFrameShape(QFrame::NoFrame);
  scrollView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scrollView_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scrollView_->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  scrollView_->setStyleSheet(QStringLiteral("QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; }"));
  scrollView_->viewport()->setAutoFillBackground(false);
  scrollView_->setFocusPolicy(Qt::NoFocus);
  auto* fill = new QHBoxLayout(this);
  fill->setContentsMargins(0, 0, 0, 0);
  fill->addWidget(scrollView_);

  // A drag of mouse or finger flicks the row; touches reach the scroller as the mouse
  // events Qt makes of unhandled touches.
  QScroller::grabGesture(scrollView_->viewport(), QScroller::LeftMouseButtonGesture);
  QScrollerProperties properties = QScroller::scroller(scrollView_->viewport())->scrollerProperties();
  properties.setScrollMetric(QScrollerProperties::HorizontalOvershootPolicy, QScrollerProperties::OvershootWhenScrollable);
  properties.setScrollMetric(QScrollerProperties::VerticalOvershootPolicy, QScrollerProperties::OvershootAlwaysOff);
  properties.setScrollMetric(QScrollerProperties::DecelerationFactor, 0.3);
  // The press goes to the button at once (it highlights as on a phone), and a drag that
  // follows cancels it. Qt's delayed press would be replayed at the wrong place on a
  // scaled screen.
  properties.setScrollMetric(QScrollerProperties::MousePressEventDelay, 0);
  QScroller::scroller(scrollView_->viewport())->setScrollerProperties(properties);
  connect(QScroller::scroller(scrollView_->viewport()), &QScroller::stateChanged, this, [this](QScroller::State state) {
    // A drag takes over from the press: the button under the finger lets go unclicked.
    if (state == QScroller::Dragging)
      for (auto& [tool, button] : toolButtons_) button->setDown(false);
    if (state == QScroller::Dragging) glide_->stop();
  });
  scrollView_->viewport()->installEventFilter(this);

  glide_->setDuration(kGlideMilliseconds);
  glide_->setEasingCurve(QEasingCurve::OutCubic);
  connect(glide_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
    scrollView_->horizontalScrollBar()->setValue(static_cast<int>(std::lround(value.toDouble())));
  });

  stack_->adjustSize();
  stack_->setFixedHeight(kHeight);
}

void ToolStripView::selectTool(std::optional<MediaTool> tool) {
  for (const ToolStripSelection::ButtonChange& change : selection_.selectTool(tool)) {
    ToolStripButton* button = toolButtons_.at(change.tool);
    button->setSelected(change.selected);
    springQuickly(button, "faceScale", change.scale);
  }
}

void ToolStripView::setVideoToolsVisible(bool visible) {
  selection_.setVideoToolsVisible(visible);
  for (auto& [tool, button] : toolButtons_) button->setVisible(selection_.isVisible(tool));
  stack_->adjustSize();
  stack_->setFixedHeight(kHeight);
}

void ToolStripView::buttonTapped(MediaTool tool) {
  selectTool(tool);
  if (onToolSelected) onToolSelected(tool);
}

bool ToolStripView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == scrollView_->viewport() && event->type() == QEvent::Wheel) {
    auto* wheel = static_cast<QWheelEvent*>(event);
    // Ctrl+wheel is a mouse's pinch: it goes on to a view that zooms.
    if (wheel->modifiers() & Qt::ControlModifier) return false;
    // A touchpad reports pixels; a wheel reports notches of 120. Either axis moves the
    // row, the way a vertical wheel moves a horizontal row.
    const QPoint pixels = wheel->pixelDelta();
    const QPoint angle = wheel->angleDelta();
    const qreal dx = !pixels.isNull() ? (std::abs(pixels.x()) >= std::abs(pixels.y()) ? pixels.x() : pixels.y())
                                      : (std::abs(angle.x()) >= std::abs(angle.y()) ? angle.x() : angle.y()) / 120.0 * kPixelsPerNotch;
    glideBy(-dx);
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

void ToolStripView::glideBy(qreal dx) {
  QScrollBar* bar = scrollView_->horizontalScrollBar();
  // Successive wheel events add to where the glide is heading, not to where it is. The
  // glide is an animation of its own: the scroller swallows wheel events while it moves.
  const bool gliding = glide_->state() == QAbstractAnimation::Running;
  const qreal from = gliding ? glide_->endValue().toDouble() : bar->value();
  glide_->stop();
  glide_->setStartValue(static_cast<qreal>(bar->value()));
  glide_->setEndValue(std::clamp(from + dx, 0.0, static_cast<qreal>(bar->maximum())));
  glide_->start();
}

void ToolStripView::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), qColor(DSColor::bgPrimary));
}

}  // namespace halvane::panels
