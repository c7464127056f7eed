#pragma once
// The row of top-level tools under the preview. It scrolls like a phone's row: a mouse or
// touch drag flicks it with deceleration, a touchpad or wheel glides it; it never scrolls
// by itself. A tap selects the tool and reports it. Main thread only.
#include <QWidget>
#include <functional>
#include <map>
#include <optional>

#include "Halvane/Model/MediaTool.h"
#include "Halvane/Panels/ToolStripSelection.h"

class QScrollArea;
class QHBoxLayout;
class QVariantAnimation;

namespace halvane::panels {

class ToolStripButton;

class ToolStripView : public QWidget {
  Q_OBJECT

public:
  static constexpr int kHeight = 84;

  explicit ToolStripView(QWidget* parent = nullptr);

  std::function<void(MediaTool)> onToolSelected;

  std::optional<MediaTool> selectedTool() const { return selection_.selectedTool(); }
  void selectTool(std::optional<MediaTool> tool);
  void setVideoToolsVisible(bool visible);

  ToolStripButton* toolButton(MediaTool tool) const { return toolButtons_.at(tool); }
  QScrollArea* scrollView() const { return scrollView_; }

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

private:
  void buttonTapped(MediaTool tool);
  void glideBy(qreal dx);

  ToolStripSelection selection_;
  QScrollArea* scrollView_;
  QWidget* stack_;
  std::map<MediaTool, ToolStripButton*> toolButtons_;
  // The row's glide after a wheel or touchpad scroll.
  QVariantAnimation* glide_;
};

}  // namespace halvane::panels
