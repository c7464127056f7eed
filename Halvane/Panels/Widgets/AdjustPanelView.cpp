#include "Halvane/Panels/Widgets/AdjustPanelView.h"

#include <QGridLayout>
#include <QScrollArea>
#include <QScroller>

#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/Panels/Widgets/AdjustToolButton.h"
#include "Halvane/Panels/Widgets/CapsuleButton.h"
#include "Halvane/Panels/Widgets/IconButton.h"

namespace halvane::panels {

namespace {
constexpr int kEdgeInset = 16;
constexpr int kRowSpacing = 8;
constexpr int kButtonSpacing = 4;
constexpr int kToolsPerRow = 8;
}  // namespace

AdjustPanelView::AdjustPanelView(QWidget* parent)
    : ToolCard(DSL10n::text(DSL10n::Tool::adjust), parent),
      toolScrollView_(new QScrollArea(this)),
      resetAllButton_(new CapsuleButton("arrow.counterclockwise", 13, DSL10n::text(DSL10n::Adjust::resetAll),
                                        {4, 10}, this)) {
  setHeaderAccessory(resetAllButton_);
  connect(resetAllButton_, &QAbstractButton::clicked, this, [this] {
    if (onResetAll) onResetAll();
  });

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

  QWidget* previous = confirmButton();
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

void AdjustPanelView::layoutContent(const QRect& area) {
  toolScrollView_->setGeometry(area.adjusted(0, kRowSpacing, 0, 0));
}

}  // namespace halvane::panels
