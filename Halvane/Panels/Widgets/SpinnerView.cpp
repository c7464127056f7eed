#include "Halvane/Panels/Widgets/SpinnerView.h"

#include <QPainter>
#include <QVariantAnimation>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane::panels {

SpinnerView::SpinnerView(QWidget* parent) : QWidget(parent), turn_(new QVariantAnimation(this)) {
  setFixedSize(kSide, kSide);
  turn_->setStartValue(0.0);
  turn_->setEndValue(360.0);
  turn_->setDuration(900);
  turn_->setLoopCount(-1);
  connect(turn_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
    angle_ = value.toDouble();
    update();
  });
  hide();
}

void SpinnerView::start() {
  show();
  turn_->start();
}

void SpinnerView::stop() {
  turn_->stop();
  hide();
}

bool SpinnerView::isRunning() const { return turn_->state() == QAbstractAnimation::Running; }

void SpinnerView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const qreal pen = 3.5;
  const QRectF ring = QRectF(rect()).adjusted(pen, pen, -pen, -pen);
  QColor faint = qColor(DSColor::accent);
  faint.setAlphaF(0.2f);
  painter.setPen(QPen(faint, pen));
  painter.drawEllipse(ring);
  painter.setPen(QPen(qColor(DSColor::accent), pen, Qt::SolidLine, Qt::RoundCap));
  painter.drawArc(ring, static_cast<int>(-angle_ * 16), 100 * 16);
}

}  // namespace halvane::panels
