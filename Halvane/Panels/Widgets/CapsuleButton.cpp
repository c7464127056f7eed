#include "Halvane/Panels/Widgets/CapsuleButton.h"

#include <QPainter>

#include <cmath>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/DesignSystem/Widgets/DSSymbol.h"

namespace halvane::panels {

namespace {
constexpr qreal kSymbolSpacing = 4;
}  // namespace

CapsuleButton::CapsuleButton(std::string_view symbolName, qreal symbolPointSize, const QString& title, Insets insets,
                             QWidget* parent)
    : ChromeButton(parent), symbolName_(symbolName), symbolPointSize_(symbolPointSize), insets_(insets) {
  setText(title);
  setAccessibleName(title);
  setFont(DSFont::font(DSTypography::footnote));
  setFocusPolicy(Qt::TabFocus);
}

QSize CapsuleButton::sizeHint() const {
  const QFontMetricsF metrics(font());
  qreal width = 2 * insets_.horizontal;
  qreal height = 0;
  if (!symbolName_.empty()) {
    width += symbolPointSize_;
    height = symbolPointSize_;
  }
  if (!text().isEmpty()) {
    width += metrics.horizontalAdvance(text()) + (symbolName_.empty() ? 0 : kSymbolSpacing);
    height = std::max(height, metrics.height());
  }
  // The ChromeButton's face sits 1.5 inside the widget, for the focus ring.
  return {int(std::ceil(width + 3)), int(std::ceil(height + 2 * insets_.vertical + 3))};
}

void CapsuleButton::paintFace(QPainter& painter, const QRectF& rect) {
  const qreal radius = rect.height() / 2;
  painter.setPen(Qt::NoPen);
  painter.setBrush(qColor(isHighlighted() ? DSColor::accentSoft : DSColor::bgElevated));
  painter.drawRoundedRect(rect, radius, radius);

  const QColor foreground = qColor(isEnabled() ? DSColor::textPrimary : DSColor::textSecondary);
  const QFontMetricsF metrics(font());
  const qreal textWidth = text().isEmpty() ? 0 : metrics.horizontalAdvance(text());
  const qreal symbolWidth = symbolName_.empty() ? 0 : symbolPointSize_;
  const qreal spacing = textWidth > 0 && symbolWidth > 0 ? kSymbolSpacing : 0;
  qreal x = rect.center().x() - (symbolWidth + spacing + textWidth) / 2;
  if (symbolWidth > 0) {
    const QRectF box(x, rect.center().y() - symbolPointSize_ / 2, symbolPointSize_, symbolPointSize_);
    DSIcon::paintSymbol(painter, box, symbolName_, foreground, DSFontWeight::semibold);
    x += symbolWidth + spacing;
  }
  if (textWidth > 0) {
    painter.setPen(foreground);
    painter.setFont(font());
    painter.drawText(QRectF(x, rect.top(), textWidth + 1, rect.height()), Qt::AlignVCenter | Qt::AlignLeft, text());
  }
}

}  // namespace halvane::panels
