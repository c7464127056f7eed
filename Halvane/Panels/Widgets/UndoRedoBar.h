#pragma once
// Two round buttons, undo and redo, centred in a clear bar of 32. Both start disabled;
// the editor enables each from the history after every change. Main thread only.
#include <QWidget>
#include <functional>

namespace halvane::panels {

class RoundButton;

class UndoRedoBar : public QWidget {
  Q_OBJECT

public:
  static constexpr int kHeight = 32;

  explicit UndoRedoBar(QWidget* parent = nullptr);

  std::function<void()> onUndo;
  std::function<void()> onRedo;

  RoundButton* undoButton() const { return undoButton_; }
  RoundButton* redoButton() const { return redoButton_; }

private:
  RoundButton* undoButton_;
  RoundButton* redoButton_;
};

}  // namespace halvane::panels
