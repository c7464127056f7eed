#include "Halvane/Editor/Widgets/ToolFrameView.h"

#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"

namespace halvane::editor {

ToolFrameView::ToolFrameView(MediaTool tool, QWidget* parent)
    : panels::ToolCard(DSL10n::text(mediaToolInfo(tool).title), parent), tool_(tool), content_(new QWidget(this)) {
  setFixedHeight(int(toolPanelHeight(tool)));
}

}  // namespace halvane::editor
