#include "Halvane/Panels/Widgets/TextButton.h"

#include <QPainter>

#include "Halvane/DesignSystem/Widgets/DSFont.h"

namespace halvane::panels {

namespace {
constexpr int kMinimumHeight = 44;
constexpr qreal kHeldOpacity = 0.5;
}  // namespace

TextButton::TextButton(const QString& title, QColor foreground, QWidget* parent)
    : ChromeButton(parent), foreground_(foreground) {
  setText(title);
  setAccessibleName(title);
  setFont(DSFont::font(DSTypography::body));
  setMinimumHeight(kMinimumHeight);
}

QSize TextButton::sizeHint() const {
  const QSize text = fontMetrics().size(Qt::TextSingleLine, this->text());
  return {text.width() + 32, std::max(kMinimumHeight, text.height() + 16)};
}

void TextButton::paintFace(QPainter& painter, const QRectF& rect) {
  painter.setOpacity(isHighlighted() ? kHeldOpacity : 1.0);
  painter.setPen(foreground_);
  painter.setFont(font());
  painter.drawText(rect, Qt::AlignCenter, text());
}

}  // namespace halvane::panels
