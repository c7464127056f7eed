#include "Halvane/Panels/Widgets/ToolStripButton.h"

#include <QPainter>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSSymbol.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
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
  const QString title = DSL10n::text(mediaToolInfo(tool).title);
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
  if (selected) return {qColor(DSColor::accent), qColor(DSColor::textOnAccent)};
  if (highlighted) return {qColor(DSColor::accentSoft), qColor(DSColor::accent)};
  return {qColor(DSColor::bgElevated), qColor(DSColor::textSecondary)};
}

QSize ToolStripButton::sizeHint() const {
  const QFontMetricsF title(DSFont::font(DSTextStyle::caption2, "AvenirNext-DemiBold", DSFontWeight::semibold));
  const qreal height = kInsetVertical * 2 + kSymbolPointSize + kImagePadding + title.height();
  return {kWidth, static_cast<int>(std::ceil(height)) + 3};
}

void ToolStripButton::paintFace(QPainter& painter, const QRectF& rect) {
  const Colors colors = currentColors();
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.background);
  painter.drawRoundedRect(rect, kCornerRadius, kCornerRadius);

  const QFont titleFont = DSFont::font(DSTextStyle::caption2, "AvenirNext-DemiBold", DSFontWeight::semibold);
  const qreal symbolHeight = kSymbolPointSize;
  const qreal titleHeight = QFontMetricsF(titleFont).height();
  const qreal top = rect.center().y() - (symbolHeight + kImagePadding + titleHeight) / 2;

  DSIcon::paintSymbol(painter, QRectF(rect.center().x() - symbolHeight / 2, top, symbolHeight, symbolHeight),
                      mediaToolInfo(tool_).symbolName, colors.foreground, DSFontWeight::medium);
  painter.setPen(colors.foreground);
  painter.setFont(titleFont);
  const QRectF titleRect(rect.left() + 6, top + symbolHeight + kImagePadding, rect.width() - 12, titleHeight);
  painter.drawText(titleRect, Qt::AlignCenter,
                   QFontMetricsF(titleFont).elidedText(text(), Qt::ElideRight, titleRect.width()));
}

}  // namespace halvane::panels
