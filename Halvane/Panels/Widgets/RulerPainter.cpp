#include "Halvane/Panels/Widgets/RulerPainter.h"

#include <QPainterPath>

#include <cmath>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane::panels {

namespace {
constexpr double kDotAlpha = 0.45;
constexpr qreal kCentreMarkWidth = 2;
constexpr qreal kCentreMarkHeight = 18;
}  // namespace

void paintRuler(QPainter& painter, const QRectF& bounds, const RulerPaint& ruler) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  const qreal rulerY = bounds.top() + ruler.labelHeight + (bounds.height() - ruler.labelHeight) / 2;
  const qreal left = bounds.left() - ruler.offset;
  const auto circle = [&](QPainterPath& path, const RulerDot& dot) {
    const qreal x = left + dot.x;
    if (x + dot.radius < bounds.left() || x - dot.radius > bounds.right()) return;
    path.addEllipse(QPointF(x, rulerY), dot.radius, dot.radius);
  };
  QPainterPath dots;
  for (const RulerDot& dot : ruler.dots.dots) circle(dots, dot);
  painter.fillPath(dots, qColor(DSColor::textPrimary.withAlpha(kDotAlpha)));
  if (ruler.dots.mark) {
    QPainterPath mark;
    circle(mark, *ruler.dots.mark);
    painter.fillPath(mark, qColor(DSColor::textPrimary));
  }

  // The centre mark stands on whole device pixels so that it never blurs.
  const qreal ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
  const qreal centreX = std::round(bounds.center().x() * ratio) / ratio;
  const QRectF centre(centreX - kCentreMarkWidth / 2, rulerY - kCentreMarkHeight / 2, kCentreMarkWidth,
                      kCentreMarkHeight);
  painter.fillPath(continuousRoundedRect(centre, kCentreMarkWidth / 2), qColor(DSColor::accent));

  painter.setFont(DSFont::font(DSTypography::footnote));
  painter.setPen(qColor(DSColor::textPrimary));
  painter.drawText(QRectF(bounds.left(), bounds.top(), bounds.width(), ruler.labelHeight), Qt::AlignCenter,
                   ruler.label);
  painter.restore();
}

}  // namespace halvane::panels
