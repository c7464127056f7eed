#include "Halvane/Panels/Widgets/ToolStripButtonAccessible.h"

#include <QAbstractButton>

namespace halvane::panels {

namespace {
QAccessibleInterface* create(const QString& className, QObject* object) {
  const bool toolButton = className == QLatin1String("halvane::panels::ToolStripButton") ||
                          className == QLatin1String("halvane::panels::AdjustToolButton");
  if (toolButton && object && object->isWidgetType())
    return new ToolStripButtonAccessible(static_cast<QWidget*>(object));
  return nullptr;
}
}  // namespace

ToolStripButtonAccessible::ToolStripButtonAccessible(QWidget* button)
    : QAccessibleWidget(button, QAccessible::Button) {}

QAccessible::State ToolStripButtonAccessible::state() const {
  QAccessible::State state = QAccessibleWidget::state();
  const auto* button = static_cast<const QAbstractButton*>(widget());
  state.checkable = true;
  state.checked = button->isChecked();
  state.pressed = button->isDown();
  return state;
}

QStringList ToolStripButtonAccessible::actionNames() const {
  return QStringList{pressAction()} + QAccessibleWidget::actionNames();
}

void ToolStripButtonAccessible::doAction(const QString& actionName) {
  auto* button = static_cast<QAbstractButton*>(widget());
  if (actionName == pressAction() && button->isEnabled()) {
    button->click();
    return;
  }
  QAccessibleWidget::doAction(actionName);
}

void ToolStripButtonAccessible::install() {
  static const bool installed = [] {
    QAccessible::installFactory(create);
    return true;
  }();
  (void)installed;
}

}  // namespace halvane::panels
