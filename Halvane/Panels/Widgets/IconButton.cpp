#include "Halvane/Panels/Widgets/IconButton.h"

#include <QPainter>
#include <QPainterPath>

#include "Halvane/Panels/Widgets/ChromeLook.h"

namespace halvane::panels {

namespace {
constexpr qreal kPictureCornerRadius = 6;
}

IconButton::IconButton(std::string_view symbolName, qreal symbolPointSize, QWidget* parent)
    : ChromeButton(parent), glyph_(look::symbolGlyph(symbolName)), symbolPointSize_(symbolPointSize) {}

void IconButton::setSymbol(std::string_view symbolName) {
  glyph_ = look::symbolGlyph(symbolName);
  update();
}

void IconButton::setPicture(std::optional<QImage> picture) {
  picture_ = std::move(picture);
  update();
}

qreal IconButton::faceOpacity() const { return picture_ || !isHighlighted() ? 1.0 : kDimmedOpacity; }

void IconButton::paintFace(QPainter& painter, const QRectF& rect) {
  painter.setOpacity(faceOpacity());
  if (picture_) {
    const QSizeF size = picture_->deviceIndependentSize();
    const QRectF target(rect.center() - QPointF(size.width() / 2, size.height() / 2), size);
    QPainterPath clip;
    clip.addRoundedRect(target, kPictureCornerRadius, kPictureCornerRadius);
    painter.setClipPath(clip);
    painter.drawImage(target, *picture_);
    return;
  }
  painter.setPen(look::color(look::Token::textPrimary));
  painter.setFont(look::symbolFont(symbolPointSize_));
  painter.drawText(rect, Qt::AlignCenter, glyph_);
}

}  // namespace halvane::panels
