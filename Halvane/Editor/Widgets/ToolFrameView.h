#pragma once
// The frame a tool's panel sits in at the bottom of the editor: the panel's fixed
// height, the tool's title between a cancel and a confirm button, and the room below
// for the tool's own controls. Cancel and confirm report through onCancel and
// onConfirm. Main thread only.
#include <QWidget>

#include <functional>

#include "Halvane/Editor/EditorViews.h"

class QLabel;

namespace halvane::panels {
class IconButton;
}

namespace halvane::editor {

class ToolFrameView : public QWidget {
 public:
  static constexpr int kHeaderHeight = 48;

  explicit ToolFrameView(MediaTool tool, QWidget* parent = nullptr);

  MediaTool tool() const { return tool_; }
  // The area below the header, where the tool's controls go.
  QWidget* content() const { return content_; }

  std::function<void()> onCancel;
  std::function<void()> onConfirm;

  panels::IconButton* cancelButton() const { return cancelButton_; }
  panels::IconButton* confirmButton() const { return confirmButton_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  MediaTool tool_;
  QLabel* titleLabel_;
  panels::IconButton* cancelButton_;
  panels::IconButton* confirmButton_;
  QWidget* content_;
};

}  // namespace halvane::editor
