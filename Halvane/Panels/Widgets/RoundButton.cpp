#include "Halvane/Panels/Widgets/RoundButton.h"

#include <QPainter>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSSymbol.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane::panels {

namespace {
constexpr qreal kSymbolPointSize = 11;
}

RoundButton::RoundButton(std::string_view symbolName, QWidget* parent)
    : ChromeButton(parent), symbolName_(symbolName) {}

RoundButton::Colors RoundButton::colorsFor(bool enabled, bool highlighted) {
  if (!enabled) return {qColor(DSColor::bgElevated), qColor(DSColor::textSecondary)};
  if (highlighted) return {qColor(DSColor::accentSoft), qColor(DSColor::accent)};
  return {qColor(DSColor::bgElevated), qColor(DSColor::accent)};
}

void RoundButton::paintFace(QPainter& painter, const QRectF& rect) {
  const Colors colors = currentColors();
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.background);
  painter.drawRoundedRect(rect, rect.height() / 2, rect.height() / 2);
  painter.setPen(colors.foreground);
  const QRectF box(rect.center() - QPointF(kSymbolPointSize / 2, kSymbolPointSize / 2), QSizeF(kSymbolPointSize, kSymbolPointSize));
  DSIcon::paintSymbol(painter, box, symbolName_, colors.foreground, DSFontWeight::semibold);
}

}  // namespace halvane::panels
