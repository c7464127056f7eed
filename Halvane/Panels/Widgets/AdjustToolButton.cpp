#include "Halvane/Panels/Widgets/AdjustToolButton.h"

#include <QPainter>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/DesignSystem/Widgets/DSSymbol.h"
#include "Halvane/Panels/Widgets/ToolStripButton.h"
#include "Halvane/Panels/Widgets/ToolStripButtonAccessible.h"

namespace halvane::panels {

namespace {
constexpr qreal kCornerRadius = 8;
constexpr qreal kSymbolPointSize = 17;
constexpr qreal kImagePadding = 4;
constexpr qreal kDotRadius = 2.5;
constexpr qreal kDotInset = 6;
}  // namespace

AdjustToolButton::AdjustToolButton(AdjustTool tool, QWidget* parent) : ChromeButton(parent), tool_(tool) {
  ToolStripButtonAccessible::install();
  const AdjustToolInfo& info = adjustToolInfo(tool);
  const QString title = DSL10n::localized(info.key, info.defaultText, info.comment);
  setText(title);
  setAccessibleName(title);
  setFixedSize(kWidth, kHeight);
  setCheckable(true);
  setFocusPolicy(Qt::TabFocus);
}

void AdjustToolButton::setSelected(bool selected) {
  setChecked(selected);
  update();
}

void AdjustToolButton::setModified(bool modified) {
  if (modified_ == modified) return;
  modified_ = modified;
  update();
}

void AdjustToolButton::paintFace(QPainter& painter, const QRectF& rect) {
  const auto colors = ToolStripButton::colorsFor(isSelected(), isHighlighted());
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.background);
  painter.drawRoundedRect(rect, kCornerRadius, kCornerRadius);

  const QFont titleFont = DSFont::font(DSTypography::captionSmall);
  const qreal titleHeight = QFontMetricsF(titleFont).height();
  const qreal top = rect.center().y() - (kSymbolPointSize + kImagePadding + titleHeight) / 2;
  DSIcon::paintSymbol(painter,
                      QRectF(rect.center().x() - kSymbolPointSize / 2, top, kSymbolPointSize, kSymbolPointSize),
                      adjustToolInfo(tool_).symbol, colors.foreground, DSFontWeight::medium);
  painter.setPen(colors.foreground);
  painter.setFont(titleFont);
  const QRectF titleRect(rect.left() + 2, top + kSymbolPointSize + kImagePadding, rect.width() - 4, titleHeight);
  painter.drawText(titleRect, Qt::AlignCenter,
                   QFontMetricsF(titleFont).elidedText(text(), Qt::ElideRight, titleRect.width()));

  if (modified_) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(isSelected() ? colors.foreground : qColor(DSColor::accent));
    painter.drawEllipse(QPointF(rect.right() - kDotInset, rect.top() + kDotInset), kDotRadius, kDotRadius);
  }
}

}  // namespace halvane::panels
