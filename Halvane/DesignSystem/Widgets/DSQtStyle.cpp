#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

#include <QGraphicsDropShadowEffect>
#include <QWidget>

#include <algorithm>

namespace halvane {

void DSShadow::apply(QWidget* widget, const DSShadowStyle& style) {
  if (!widget) return;
  if (style.opacity <= 0) {
    widget->setGraphicsEffect(nullptr);
    return;
  }
  auto* effect = new QGraphicsDropShadowEffect(widget);
  effect->setColor(qColor(DSColor::shadow.withAlpha(style.opacity)));
  effect->setOffset(style.offsetX, style.offsetY);
  // Qt's blur radius spans the whole soft edge; a shadow radius is about half of it.
  effect->setBlurRadius(2 * style.radius);
  widget->setGraphicsEffect(effect);
}

QPainterPath continuousRoundedRect(const QRectF& rect, double radius) {
  QPainterPath path;
  const double limit = std::min(rect.width(), rect.height()) / 2;
  if (radius <= 0 || limit <= 0) {
    path.addRect(rect);
    return path;
  }
  // Each corner is one cubic that starts 1.28 radii from the corner along both edges,
  // with its control points 0.36 of that from the corner: flatter where it meets the
  // edge than a circular arc. Near a capsule the corner falls back to the circle.
  const double circleReach = std::min(radius, limit);
  const double reach = std::min(1.28 * radius, limit);
  const double pull = reach > circleReach * 1.2 ? 0.36 : 0.4477;
  const double c = reach * pull;
  const double l = rect.left(), t = rect.top(), r = rect.right(), b = rect.bottom();
  path.moveTo(l + reach, t);
  path.lineTo(r - reach, t);
  path.cubicTo(r - c, t, r, t + c, r, t + reach);
  path.lineTo(r, b - reach);
  path.cubicTo(r, b - c, r - c, b, r - reach, b);
  path.lineTo(l + reach, b);
  path.cubicTo(l + c, b, l, b - c, l, b - reach);
  path.lineTo(l, t + reach);
  path.cubicTo(l, t + c, l + c, t, l + reach, t);
  path.closeSubpath();
  return path;
}

}  // namespace halvane
