#pragma once
// The developer's showcase of the editor's components: the design system's components
// and the editor chrome, each in its states, on the editor's dark surfaces. A live row at
// the top reports every tap in a state label, which end-to-end tests read over AT-SPI.
// No flow of the editor leads here. Main thread only.
#include <QWidget>
#include <map>

class QLabel;
class QVBoxLayout;

namespace halvane::panels {
class ExportProgressView;
class ToolStripView;
class TopBarView;
class UndoRedoBar;
}  // namespace halvane::panels

namespace halvane::gallery {

class ComponentGalleryViewController : public QWidget {
  Q_OBJECT

public:
  static constexpr int kPhoneWidth = 390;

  explicit ComponentGalleryViewController(QWidget* parent = nullptr);

  // The sections by name, for screenshots: "live", "buttons", "card-labels", "colours",
  // "tool-strip", "top-bar", "undo-redo" and "progress".
  const std::map<QString, QWidget*>& sections() const { return sections_; }
  QWidget* content() const { return content_; }

private:
  QWidget* addSection(const QString& key, const QString& title);
  void buildLive();
  void buildButtons();
  void buildCardAndLabels();
  void buildColours();
  void buildToolStrips();
  void buildTopBars();
  void buildUndoRedo();
  void buildProgress();
  void buildAdjust();
  void report(const QString& what);

  QWidget* content_;
  QVBoxLayout* column_;
  QLabel* stateLabel_ = nullptr;
  int editCount_ = 0;
  int undoneCount_ = 0;
  panels::UndoRedoBar* liveUndoRedo_ = nullptr;
  std::map<QString, QWidget*> sections_;
};

}  // namespace halvane::gallery
