#pragma once
// The card a tool's panel sits in at the bottom of the editor: a header with cancel,
// the tool's title and confirm, and room for one more control before confirm; the
// area below the header belongs to the panel. Only the upper corners are rounded.
// Cancel and confirm report through onCancel and onConfirm. Main thread only.
#include <QWidget>

#include <functional>

class QLabel;

namespace halvane::panels {

class IconButton;

class ToolCard : public QWidget {
 public:
  static constexpr int kHeaderHeight = 48;

  explicit ToolCard(const QString& title, QWidget* parent = nullptr);

  IconButton* cancelButton() const { return cancelButton_; }
  IconButton* confirmButton() const { return confirmButton_; }

  std::function<void()> onCancel;
  std::function<void()> onConfirm;

 protected:
  // A control shown before confirm, in the tab order between cancel and confirm; the
  // title keeps clear of it.
  void setHeaderAccessory(QWidget* accessory);
  // Lays out the panel's own controls in the area below the header.
  virtual void layoutContent(const QRect& area) = 0;

  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QLabel* titleLabel_;
  IconButton* cancelButton_;
  IconButton* confirmButton_;
  QWidget* accessory_ = nullptr;
};

}  // namespace halvane::panels
