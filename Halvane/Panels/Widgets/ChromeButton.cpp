#include "Halvane/Panels/Widgets/ChromeButton.h"

#include <QKeyEvent>
#include <QPainter>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane::panels {

ChromeButton::ChromeButton(QWidget* parent) : QAbstractButton(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::PointingHandCursor);
}

void ChromeButton::setFaceScale(qreal scale) {
  faceScale_ = scale;
  update();
}

void ChromeButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF face = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
  painter.save();
  painter.translate(face.center());
  painter.scale(faceScale_, faceScale_);
  painter.translate(-face.center());
  paintFace(painter, face);
  painter.restore();
  if (hasFocus()) {
    painter.setPen(QPen(qColor(DSColor::accent), 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), focusRadius() + 1, focusRadius() + 1);
  }
}

void ChromeButton::keyPressEvent(QKeyEvent* event) {
  if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat()) {
    animateClick();
    event->accept();
    return;
  }
  QAbstractButton::keyPressEvent(event);
}

}  // namespace halvane::panels
