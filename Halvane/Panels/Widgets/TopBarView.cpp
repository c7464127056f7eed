#include "Halvane/Panels/Widgets/TopBarView.h"

#include <QLabel>
#include <QPainter>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/IconButton.h"

namespace halvane::panels {

namespace {
constexpr int kEdgeInset = 16;
constexpr int kVerticalInset = 8;
constexpr qreal kSymbolPointSize = 17;
constexpr const char* kShareSymbol = "square.and.arrow.up";

void setNamedText(QWidget* widget, LocalizedText entry) {
  widget->setAccessibleName(DSL10n::text(entry));
  widget->setToolTip(DSL10n::text(entry));
}
}  // namespace

TopBarView::TopBarView(QWidget* parent)
    : QWidget(parent),
      titleLabel_(new QLabel(this)),
      closeButton_(new IconButton("xmark", kSymbolPointSize, this)),
      shareButton_(new IconButton(kShareSymbol, kSymbolPointSize, this)) {
  setFixedHeight(kVerticalInset + kButtonSize + kVerticalInset);
  setAttribute(Qt::WA_TranslucentBackground);

  closeButton_->setFixedSize(kButtonSize, kButtonSize);
  shareButton_->setFixedSize(kButtonSize, kButtonSize);
  setNamedText(closeButton_, DSL10n::Action::close);
  setNamedText(shareButton_, DSL10n::Action::share);
  connect(closeButton_, &QAbstractButton::clicked, this, &TopBarView::closeTapped);
  connect(shareButton_, &QAbstractButton::clicked, this, &TopBarView::shareTapped);

  titleLabel_->setFont(DSFont::font(DSTextStyle::body, "AvenirNext-DemiBold", DSFontWeight::semibold));
  titleLabel_->setAlignment(Qt::AlignCenter);
  QPalette palette = titleLabel_->palette();
  palette.setColor(QPalette::WindowText, qColor(DSColor::textPrimary));
  titleLabel_->setPalette(palette);
  setTabOrder(closeButton_, shareButton_);
}

void TopBarView::setTitle(const QString& title) {
  titleLabel_->setText(title);
  titleLabel_->setAccessibleName(title);
}

void TopBarView::setShareButtonImage(const std::optional<QImage>& image) {
  if (!image || image->isNull()) {
    shareButton_->setPicture(std::nullopt);
    return;
  }
  const qreal ratio = devicePixelRatioF();
  const int side = static_cast<int>(std::lround(kShareImageSize * ratio));
  QImage bitmap(side, side, QImage::Format_ARGB32_Premultiplied);
  bitmap.fill(Qt::transparent);
  {
    QPainter painter(&bitmap);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(0, 0, side, side), *image);
  }
  bitmap.setDevicePixelRatio(ratio);
  shareButton_->setPicture(std::move(bitmap));
}

void TopBarView::closeTapped() {
  if (onClose) onClose();
}

void TopBarView::shareTapped() {
  if (onShare) onShare();
}

void TopBarView::resizeEvent(QResizeEvent*) {
  closeButton_->move(kEdgeInset, kVerticalInset);
  shareButton_->move(width() - kEdgeInset - kButtonSize, kVerticalInset);
  const int titleLeft = kEdgeInset + kButtonSize + 8;
  titleLabel_->setGeometry(titleLeft, kVerticalInset, width() - 2 * titleLeft, kButtonSize);
}

}  // namespace halvane::panels
