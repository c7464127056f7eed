#include "Halvane/Panels/Widgets/ToolCard.h"

#include <QLabel>
#include <QPainter>

#include <algorithm>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/IconButton.h"

namespace halvane::panels {

namespace {
constexpr int kEdgeInset = 16;
constexpr int kButtonSize = 32;
constexpr int kGap = 8;
constexpr qreal kSymbolPointSize = 17;
constexpr qreal kCornerRadius = 16;

void nameButton(QWidget* button, const LocalizedText& entry) {
  button->setAccessibleName(DSL10n::text(entry));
  button->setToolTip(DSL10n::text(entry));
}
}  // namespace

ToolCard::ToolCard(const QString& title, QWidget* parent)
    : QWidget(parent),
      titleLabel_(new QLabel(title, this)),
      cancelButton_(new IconButton("xmark", kSymbolPointSize, this)),
      confirmButton_(new IconButton("checkmark", kSymbolPointSize, this)) {
  setAccessibleName(title);
  cancelButton_->setFixedSize(kButtonSize, kButtonSize);
  confirmButton_->setFixedSize(kButtonSize, kButtonSize);
  nameButton(cancelButton_, DSL10n::Common::cancel);
  nameButton(confirmButton_, DSL10n::Action::confirm);
  connect(cancelButton_, &QAbstractButton::clicked, this, [this] {
    if (onCancel) onCancel();
  });
  connect(confirmButton_, &QAbstractButton::clicked, this, [this] {
    if (onConfirm) onConfirm();
  });

  titleLabel_->setFont(DSFont::font(DSTypography::headline));
  titleLabel_->setAlignment(Qt::AlignCenter);
  titleLabel_->setAccessibleName(title);
  QPalette palette = titleLabel_->palette();
  palette.setColor(QPalette::WindowText, qColor(DSColor::textPrimary));
  titleLabel_->setPalette(palette);
  setTabOrder(cancelButton_, confirmButton_);
}

void ToolCard::setHeaderAccessory(QWidget* accessory) {
  accessory_ = accessory;
  setTabOrder(cancelButton_, accessory_);
  setTabOrder(accessory_, confirmButton_);
}

void ToolCard::resizeEvent(QResizeEvent*) {
  const int buttonTop = (kHeaderHeight - kButtonSize) / 2;
  cancelButton_->move(kEdgeInset, buttonTop);
  confirmButton_->move(width() - kEdgeInset - kButtonSize, buttonTop);
  int titleMax = confirmButton_->x() - kGap;
  if (accessory_) {
    const QSize size = accessory_->sizeHint();
    accessory_->setGeometry(titleMax - size.width(), (kHeaderHeight - size.height()) / 2, size.width(), size.height());
    titleMax = accessory_->x() - kGap;
  }
  // The title stands in the middle unless the accessory would cover it; then just before it.
  const int titleMin = kEdgeInset + kButtonSize + kGap;
  const int titleWidth = titleLabel_->sizeHint().width();
  const int titleLeft = std::max(titleMin, std::min((width() - titleWidth) / 2, titleMax - titleWidth));
  titleLabel_->setGeometry(titleLeft, 0, std::max(0, std::min(titleWidth, titleMax - titleLeft)), kHeaderHeight);
  layoutContent(QRect(0, kHeaderHeight, width(), std::max(0, height() - kHeaderHeight)));
}

void ToolCard::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  // A card whose lower corners run off the bottom edge: only the upper ones show.
  const QRectF card(0, 0, width(), height() + kCornerRadius);
  painter.fillPath(continuousRoundedRect(card, kCornerRadius), qColor(DSColor::bgSecondary));
  painter.setPen(QPen(qColor(DSColor::separator), 1));
  painter.drawLine(QPointF(kEdgeInset, kHeaderHeight - 0.5), QPointF(width() - kEdgeInset, kHeaderHeight - 0.5));
}

}  // namespace halvane::panels
