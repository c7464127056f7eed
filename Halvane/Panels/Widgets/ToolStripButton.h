#pragma once
// One tool of the strip: its symbol above its title on a rounded face whose colours
// follow selection and highlight. Main thread only.
#include <QColor>

#include "Halvane/Model/MediaTool.h"
#include "Halvane/Panels/Widgets/ChromeButton.h"

namespace halvane::panels {

class ToolStripButton : public ChromeButton {
  Q_OBJECT

public:
  struct Colors {
    QColor background;
    QColor foreground;
  };
  static constexpr int kWidth = 82;

  explicit ToolStripButton(MediaTool tool, QWidget* parent = nullptr);

  MediaTool tool() const { return tool_; }
  bool isSelected() const { return selected_; }
  void setSelected(bool selected);
  // Selected wins over highlighted; at rest the button is elevated and quiet.
  static Colors colorsFor(bool selected, bool highlighted);
  Colors currentColors() const { return colorsFor(selected_, isHighlighted()); }

  QSize sizeHint() const override;

protected:
  void paintFace(QPainter& painter, const QRectF& rect) override;
  void nextCheckState() override;

private:
  MediaTool tool_;
  bool selected_ = false;
};

}  // namespace halvane::panels
