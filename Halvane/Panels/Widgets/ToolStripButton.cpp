#include "Halvane/Panels/Widgets/ToolStripButton.h"

#include <QPainter>

#include "Halvane/Panels/Widgets/ChromeLook.h"
#include "Halvane/Panels/Widgets/ToolStripButtonAccessible.h"

namespace halvane::panels {

namespace {
constexpr qreal kCornerRadius = 8;
constexpr qreal kSymbolPointSize = 15;
constexpr qreal kInsetVertical = 8;
constexpr qreal kImagePadding = 4;
}  // namespace

ToolStripButton::ToolStripButton(MediaTool tool, QWidget* parent) : ChromeButton(parent), tool_(tool) {
  ToolStripButtonAccessible::install();
  const QString title = look::text(mediaToolInfo(tool).title);
  setText(title);
  setAccessibleName(title);
  setFixedWidth(kWidth);
  // Checkable so that assistive technology reads the selection; the strip decides it.
  setCheckable(true);
}

void ToolStripButton::nextCheckState() {}

void ToolStripButton::setSelected(bool selected) {
  if (selected_ == selected) return;
  selected_ = selected;
  setChecked(selected);
  update();
}

ToolStripButton::Colors ToolStripButton::colorsFor(bool selected, bool highlighted) {
  using look::Token;
  if (selected) return {look::color(Token::accent), look::color(Token::textOnAccent)};
  if (highlighted) return {look::color(Token::accentSoft), look::color(Token::accent)};
  return {look::color(Token::bgElevated), look::color(Token::textSecondary)};
}

QSize ToolStripButton::sizeHint() const {
  const QFontMetricsF symbol(look::symbolFont(kSymbolPointSize));
  const QFontMetricsF title(look::font(look::Face::caption2DemiBold));
  const qreal height = kInsetVertical * 2 + symbol.height() + kImagePadding + title.height();
  return {kWidth, static_cast<int>(std::ceil(height)) + 3};
}

void ToolStripButton::paintFace(QPainter& painter, const QRectF& rect) {
  const Colors colors = currentColors();
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.background);
  painter.drawRoundedRect(rect, kCornerRadius, kCornerRadius);

  const QFont symbolFont = look::symbolFont(kSymbolPointSize);
  const QFont titleFont = look::font(look::Face::caption2DemiBold);
  const qreal symbolHeight = QFontMetricsF(symbolFont).height();
  const qreal titleHeight = QFontMetricsF(titleFont).height();
  const qreal top = rect.center().y() - (symbolHeight + kImagePadding + titleHeight) / 2;

  painter.setPen(colors.foreground);
  painter.setFont(symbolFont);
  painter.drawText(QRectF(rect.left(), top, rect.width(), symbolHeight), Qt::AlignCenter,
                   look::symbolGlyph(mediaToolInfo(tool_).symbolName));
  painter.setFont(titleFont);
  const QRectF titleRect(rect.left() + 6, top + symbolHeight + kImagePadding, rect.width() - 12, titleHeight);
  painter.drawText(titleRect, Qt::AlignCenter,
                   QFontMetricsF(titleFont).elidedText(text(), Qt::ElideRight, titleRect.width()));
}

}  // namespace halvane::panels
