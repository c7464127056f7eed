#pragma once
// The frame of a tool whose own controls are still to come: the tool card (title
// between cancel and confirm) at the panel's fixed height, with room below the header
// for the tool's controls. Main thread only.
#include "Halvane/Editor/EditorViews.h"
#include "Halvane/Panels/Widgets/ToolCard.h"

namespace halvane::editor {

class ToolFrameView : public panels::ToolCard {
 public:
  explicit ToolFrameView(MediaTool tool, QWidget* parent = nullptr);

  MediaTool tool() const { return tool_; }
  // The area below the header, where the tool's controls go.
  QWidget* content() const { return content_; }

 protected:
  void layoutContent(const QRect& area) override { content_->setGeometry(area); }

 private:
  MediaTool tool_;
  QWidget* content_;
};

}  // namespace halvane::editor
