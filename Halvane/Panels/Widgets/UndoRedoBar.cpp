#include "Halvane/Panels/Widgets/UndoRedoBar.h"

#include <QHBoxLayout>

#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/Panels/Widgets/RoundButton.h"

namespace halvane::panels {

namespace {
constexpr int kButtonSize = 32;
constexpr int kSpacing = 20;

RoundButton* makeButton(std::string_view symbol, LocalizedText name, QWidget* parent) {
  auto* button = new RoundButton(symbol, parent);
  button->setFixedSize(kButtonSize, kButtonSize);
  button->setAccessibleName(DSL10n::text(name));
  button->setToolTip(DSL10n::text(name));
  button->setEnabled(false);
  return button;
}
}  // namespace

UndoRedoBar::UndoRedoBar(QWidget* parent)
    : QWidget(parent),
      undoButton_(makeButton("arrow.uturn.backward", DSL10n::Action::undo, this)),
      redoButton_(makeButton("arrow.uturn.forward", DSL10n::Action::redo, this)) {
  setFixedHeight(kHeight);
  setAttribute(Qt::WA_TranslucentBackground);
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(kSpacing);
  row->addStretch();
  row->addWidget(undoButton_);
  row->addWidget(redoButton_);
  row->addStretch();
  connect(undoButton_, &QAbstractButton::clicked, this, [this] { if (onUndo) onUndo(); });
  connect(redoButton_, &QAbstractButton::clicked, this, [this] { if (onRedo) onRedo(); });
}

}  // namespace halvane::panels
