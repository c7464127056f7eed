#include "Halvane/Editor/Widgets/ToolFrameView.h"

#include <QLabel>
#include <QPainter>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/IconButton.h"

namespace halvane::editor {

namespace {
constexpr int kEdgeInset = 16;
constexpr int kButtonSize = 32;
constexpr qreal kSymbolPointSize = 17;
constexpr qreal kCornerRadius = 16;

void nameButton(QWidget* button, const LocalizedText& entry) {
  button->setAccessibleName(DSL10n::text(entry));
  button->setToolTip(DSL10n::text(entry));
}
}  // namespace

ToolFrameView::ToolFrameView(MediaTool tool, QWidget* parent)
    : QWidget(parent),
      tool_(tool),
      titleLabel_(new QLabel(DSL10n::text(mediaToolInfo(tool).title), this)),
      cancelButton_(new panels::IconButton("xmark", kSymbolPointSize, this)),
      confirmButton_(new panels::IconButton("checkmark", kSymbolPointSize, this)),
      content_(new QWidget(this)) {
  setFixedHeight(int(toolPanelHeight(tool)));
  setAccessibleName(DSL10n::text(mediaToolInfo(tool).title));
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

  titleLabel_->setFont(DSFont::font(DSTextStyle::headline, "AvenirNext-DemiBold", DSFontWeight::semibold));
  titleLabel_->setAlignment(Qt::AlignCenter);
  titleLabel_->setAccessibleName(titleLabel_->text());
  QPalette palette = titleLabel_->palette();
  palette.setColor(QPalette::WindowText, qColor(DSColor::textPrimary));
  titleLabel_->setPalette(palette);
  setTabOrder(cancelButton_, confirmButton_);
}

void ToolFrameView::resizeEvent(QResizeEvent*) {
  const int buttonTop = (kHeaderHeight - kButtonSize) / 2;
  cancelButton_->move(kEdgeInset, buttonTop);
  confirmButton_->move(width() - kEdgeInset - kButtonSize, buttonTop);
  const int titleLeft = kEdgeInset + kButtonSize + 8;
  titleLabel_->setGeometry(titleLeft, 0, width() - 2 * titleLeft, kHeaderHeight);
  content_->setGeometry(0, kHeaderHeight, width(), height() - kHeaderHeight);
}

void ToolFrameView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  // A card whose lower corners run off the bottom edge: only the upper ones show.
  const QRectF card(0, 0, width(), height() + kCornerRadius);
  painter.fillPath(continuousRoundedRect(card, kCornerRadius), qColor(DSColor::bgSecondary));
  painter.setPen(QPen(qColor(DSColor::separator), 1));
  painter.drawLine(QPointF(kEdgeInset, kHeaderHeight - 0.5), QPointF(width() - kEdgeInset, kHeaderHeight - 0.5));
}

}  // namespace halvane::editor
