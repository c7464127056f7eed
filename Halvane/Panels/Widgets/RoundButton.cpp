#include "Halvane/Panels/Widgets/RoundButton.h"

#include <QPainter>

#include "Halvane/Panels/Widgets/ChromeLook.h"

namespace halvane::panels {

namespace {
constexpr qreal kSymbolPointSize = 11;
}

RoundButton::RoundButton(std::string_view symbolName, QWidget* parent)
    : ChromeButton(parent), glyph_(look::symbolGlyph(symbolName)) {}

RoundButton::Colors RoundButton::colorsFor(bool enabled, bool highlighted) {
  using look::Token;
  if (!enabled) return {look::color(Token::bgElevated), look::color(Token::textSecondary)};
  if (highlighted) return {look::color(Token::accentSoft), look::color(Token::accent)};
  return {look::color(Token::bgElevated), look::color(Token::accent)};
}

void RoundButton::paintFace(QPainter& painter, const QRectF& rect) {
  const Colors colors = currentColors();
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.background);
  painter.drawRoundedRect(rect, rect.height() / 2, rect.height() / 2);
  painter.setPen(colors.foreground);
  QFont symbol = look::symbolFont(kSymbolPointSize);
  symbol.setWeight(QFont::DemiBold);
  painter.setFont(symbol);
  painter.drawText(rect, Qt::AlignCenter, glyph_);
}

}  // namespace halvane::panels
