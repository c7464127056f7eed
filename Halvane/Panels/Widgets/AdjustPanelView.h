#pragma once
// The adjust tool's panel: a title row (cancel, "Adjust", reset all, confirm) above two
// rows of eight tool buttons that scroll sideways, with kinetic drag. A tap on a tool
// selects it, a tap on the selected one deselects it (AdjustPanelState); the panel
// reports through its callbacks. Main thread only.
#include <QWidget>

#include <array>
#include <functional>
#include <optional>

#include "Halvane/Model/AdjustTool.h"
#include "Halvane/Panels/AdjustPanelState.h"
#include "Halvane/Panels/Widgets/ToolCard.h"

class QScrollArea;

namespace halvane::panels {

class AdjustToolButton;
class CapsuleButton;

class AdjustPanelView : public ToolCard {
  Q_OBJECT

public:
  explicit AdjustPanelView(QWidget* parent = nullptr);

  // Highlights one button, or none, without reporting it.
  void selectTool(std::optional<AdjustTool> tool);
  std::optional<AdjustTool> selectedTool() const { return state_.selectedTool(); }
  void updateModifiedDots(const EditState& state);
  // The header and two rows of tools, with room below.
  QSize sizeHint() const override;

  AdjustToolButton* toolButton(AdjustTool tool) const { return toolButtons_[static_cast<size_t>(tool)]; }
  CapsuleButton* resetAllButton() const { return resetAllButton_; }

  std::function<void(std::optional<AdjustTool>)> onToolSelected;
  std::function<void()> onResetAll;

protected:
  void layoutContent(const QRect& area) override;

private:
  void tapped(AdjustTool tool);
  void showSelection();

  AdjustPanelState state_;
  std::array<AdjustToolButton*, kAdjustTools.size()> toolButtons_{};
  QScrollArea* toolScrollView_;
  CapsuleButton* resetAllButton_;
};

}  // namespace halvane::panels
