#include "Halvane/Panels/Widgets/AdjustPanelView.h"

#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QScroller>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSFont.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/AdjustToolButton.h"
#include "Halvane/Panels/Widgets/CapsuleButton.h"
#include "Halvane/Panels/Widgets/IconButton.h"

namespace halvane::panels {

namespace {
constexpr int kEdgeInset = 16;
constexpr int kButtonSize = 32;
constexpr qreal kSymbolPointSize = 17;
constexpr qreal kCornerRadius = 16;
constexpr int kRowSpacing = 8;
constexpr int kButtonSpacing = 4;
constexpr int kToolsPerRow = 8;

void nameButton(QWidget* button, const LocalizedText& entry) {
  button->setAccessibleName(DSL10n::text(entry));
  button->setToolTip(DSL10n::text(entry));
}
}  // namespace

AdjustPanelView::AdjustPanelView(QWidget* parent)
    : QWidget(parent),
      toolScrollView_(new QScrollArea(this)),
      cancelButton_(new IconButton("xmark", kSymbolPointSize, this)),
      confirmButton_(new IconButton("checkmark", kSymbolPointSize, this)),
      resetAllButton_(new CapsuleButton("arrow.counterclockwise", 13, DSL10n::text(DSL10n::Adjust::resetAll),
                                        {4, 10}, this)),
      titleLabel_(new QLabel(DSL10n::text(DSL10n::Tool::adjust), this)) {
  setAccessibleName(titleLabel_->text());
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
  connect(resetAllButton_, &QAbstractButton::clicked, this, [this] {
    if (onResetAll) onResetAll();
  });

  titleLabel_->setFont(DSFont::font(DSTypography::headline));
  titleLabel_->setAlignment(Qt::AlignCenter);
  titleLabel_->setAccessibleName(titleLabel_->text());
  QPalette palette = titleLabel_->palette();
  palette.setColor(QPalette::WindowText, qColor(DSColor::textPrimary));
  titleLabel_->setPalette(palette);

  auto* toolStack = new QWidget;
  toolStack->setAutoFillBackground(false);
  auto* grid = new QGridLayout(toolStack);
  grid->setContentsMargins(kEdgeInset, 0, kEdgeInset, 0);
  grid->setHorizontalSpacing(kButtonSpacing);
  grid->setVerticalSpacing(kRowSpacing);
  for (const AdjustToolInfo& info : kAdjustTools) {
    const int index = static_cast<int>(info.tool);
    auto* button = new AdjustToolButton(info.tool, toolStack);
    connect(button, &QAbstractButton::clicked, this, [this, tool = info.tool] { tapped(tool); });
    grid->addWidget(button, index / kToolsPerRow, index % kToolsPerRow);
    toolButtons_[index] = button;
  }
  toolScrollView_->setWidget(toolStack);
  toolScrollView_->setFrameShape(QFrame::NoFrame);
  toolScrollView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  toolScrollView_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  toolScrollView_->setAlignment(Qt::AlignCenter);
  toolScrollView_->viewport()->setAutoFillBackground(false);
  toolScrollView_->setStyleSheet(QStringLiteral("background: transparent;"));
  QScroller::grabGesture(toolScrollView_->viewport(), QScroller::LeftMouseButtonGesture);

  setTabOrder(cancelButton_, resetAllButton_);
  setTabOrder(resetAllButton_, confirmButton_);
  QWidget* previous = confirmButton_;
  for (auto* button : toolButtons_) {
    setTabOrder(previous, button);
    previous = button;
  }
}

void AdjustPanelView::tapped(AdjustTool tool) {
  const auto selection = state_.tap(tool);
  showSelection();
  if (onToolSelected) onToolSelected(selection);
}

void AdjustPanelView::selectTool(std::optional<AdjustTool> tool) {
  state_.select(tool);
  showSelection();
}

void AdjustPanelView::showSelection() {
  for (auto* button : toolButtons_) button->setSelected(button->tool() == state_.selectedTool());
}

void AdjustPanelView::updateModifiedDots(const EditState& state) {
  const auto modified = modifiedAdjustTools(state);
  for (size_t i = 0; i < toolButtons_.size(); ++i) toolButtons_[i]->setModified(modified[i]);
}

QSize AdjustPanelView::sizeHint() const {
  return {kToolsPerRow * (AdjustToolButton::kWidth + kButtonSpacing) + 2 * kEdgeInset,
          kHeaderHeight + 3 * kRowSpacing + 2 * AdjustToolButton::kHeight};
}

void AdjustPanelView::resizeEvent(QResizeEvent*) {
  const int buttonTop = (kHeaderHeight - kButtonSize) / 2;
  cancelButton_->move(kEdgeInset, buttonTop);
  confirmButton_->move(width() - kEdgeInset - kButtonSize, buttonTop);
  const QSize reset = resetAllButton_->sizeHint();
  resetAllButton_->setGeometry(confirmButton_->x() - 8 - reset.width(), (kHeaderHeight - reset.height()) / 2,
                               reset.width(), reset.height());
  // The title stands in the middle unless reset all would cover it; then just before it.
  const int titleMin = kEdgeInset + kButtonSize + 8;
  const int titleMax = resetAllButton_->x() - 8;
  const int titleWidth = titleLabel_->sizeHint().width();
  const int titleLeft = std::max(titleMin, std::min((width() - titleWidth) / 2, titleMax - titleWidth));
  titleLabel_->setGeometry(titleLeft, 0, std::max(0, std::min(titleWidth, titleMax - titleLeft)), kHeaderHeight);
  const int gridTop = kHeaderHeight + kRowSpacing;
  toolScrollView_->setGeometry(0, gridTop, width(), std::max(0, height() - gridTop));
}

void AdjustPanelView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  // A card whose lower corners run off the bottom edge: only the upper ones show.
  const QRectF card(0, 0, width(), height() + kCornerRadius);
  painter.fillPath(continuousRoundedRect(card, kCornerRadius), qColor(DSColor::bgSecondary));
  painter.setPen(QPen(qColor(DSColor::separator), 1));
  painter.drawLine(QPointF(kEdgeInset, kHeaderHeight - 0.5), QPointF(width() - kEdgeInset, kHeaderHeight - 0.5));
}

}  // namespace halvane::panels
