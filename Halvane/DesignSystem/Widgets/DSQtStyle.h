#pragma once
// Design tokens in Qt's terms: colours, shadows on widgets, and the continuous corner
// curve of every rounded surface.
#include <QColor>
#include <QPainterPath>
#include <QRectF>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSShadow.h"

class QWidget;

namespace halvane {

inline QColor qColor(const DSRGBA& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

namespace DSShadow {
// Sets the shadow of `style` under `widget` (replacing any graphics effect it had);
// `none` removes it.
void apply(QWidget* widget, const DSShadowStyle& style);
}  // namespace DSShadow

// A rounded rectangle whose corners ease into the straight edges instead of meeting them
// with a circle's sudden change of curvature. A radius larger than half the shorter
// side is reduced to it, which gives a capsule.
QPainterPath continuousRoundedRect(const QRectF& rect, double radius);

}  // namespace halvane
