#pragma once
// What assistive technology reads of a tool button (of the tool strip or the adjust
// panel): a toggle button named by its tool's title, checked while selected, pressed by
// its press action. Qt's own interface would call a checkable button a check box.
#include <QAccessibleWidget>

namespace halvane::panels {

class ToolStripButtonAccessible : public QAccessibleWidget {
public:
  explicit ToolStripButtonAccessible(QWidget* button);

  QAccessible::State state() const override;
  QStringList actionNames() const override;
  void doAction(const QString& actionName) override;

  // Makes Qt use this interface for every ToolStripButton and AdjustToolButton; idempotent.
  static void install();
};

}  // namespace halvane::panels
