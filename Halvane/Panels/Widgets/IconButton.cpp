#include "Halvane/Panels/Widgets/IconButton.h"

#include <QPainter>
#include <QPainterPath>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/Widgets/DSSymbol.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane::panels {

namespace {
constexpr qreal kPictureCornerRadius = 6;
}

IconButton::IconButton(std::string_view symbolName, qreal symbolPointSize, QWidget* parent)
    : ChromeButton(parent), symbolName_(symbolName), symbolPointSize_(symbolPointSize) {}

void IconButton::setSymbol(std::string_view symbolName) {
  symbolName_ = symbolName;
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
  const QRectF box(rect.center() - QPointF(symbolPointSize_ / 2, symbolPointSize_ / 2), QSizeF(symbolPointSize_, symbolPointSize_));
  DSIcon::paintSymbol(painter, box, symbolName_, qColor(DSColor::textPrimary), DSFontWeight::semibold);
}

}  // namespace halvane::panels
