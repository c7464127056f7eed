#include "Halvane/Panels/Widgets/ProgressTrack.h"

#include <QPainter>
#include <cmath>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane::panels {

ProgressTrack::ProgressTrack(QWidget* parent) : QProgressBar(parent) {
  setRange(0, kSteps);
  setValue(0);
  setTextVisible(false);
  setFixedHeight(4);
}

void ProgressTrack::setFraction(double fraction) { setValue(static_cast<int>(std::lround(fraction * kSteps))); }

void ProgressTrack::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  const QRectF track = rect();
  const qreal radius = track.height() / 2;
  painter.setBrush(qColor(DSColor::bgElevated));
  painter.drawRoundedRect(track, radius, radius);
  if (value() <= minimum()) return;
  QRectF filled = track;
  filled.setWidth(track.width() * fraction());
  painter.setBrush(qColor(DSColor::accent));
  painter.drawRoundedRect(filled, radius, radius);
}

}  // namespace halvane::panels
