#pragma once
// One tool of the adjust panel: its symbol above its title on a rounded face coloured
// as the tool strip's buttons, with a dot in the corner while the tool's value differs
// from the default. Assistive technology reads a toggle button, checked while
// selected. Main thread only.
#include "Halvane/Model/AdjustTool.h"
#include "Halvane/Panels/Widgets/ChromeButton.h"

namespace halvane::panels {

class AdjustToolButton : public ChromeButton {
  Q_OBJECT

public:
  static constexpr int kWidth = 64;
  static constexpr int kHeight = 54;

  explicit AdjustToolButton(AdjustTool tool, QWidget* parent = nullptr);

  AdjustTool tool() const { return tool_; }
  bool isSelected() const { return isChecked(); }
  void setSelected(bool selected);
  bool isModified() const { return modified_; }
  void setModified(bool modified);

  QSize sizeHint() const override { return {kWidth, kHeight}; }

protected:
  void paintFace(QPainter& painter, const QRectF& rect) override;
  // The panel decides the selection.
  void nextCheckState() override {}

private:
  AdjustTool tool_;
  bool modified_ = false;
};

}  // namespace halvane::panels
