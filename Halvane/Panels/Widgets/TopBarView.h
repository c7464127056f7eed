#pragma once
// The bar above the preview: close at the leading edge, the title in the middle, share
// at the trailing edge. Clear, so the screen shows through. Main thread only.
#include <QImage>
#include <QWidget>
#include <functional>
#include <optional>

class QLabel;

namespace halvane::panels {

class IconButton;

class TopBarView : public QWidget {
  Q_OBJECT

public:
  static constexpr int kButtonSize = 32;
  static constexpr int kShareImageSize = 28;

  explicit TopBarView(QWidget* parent = nullptr);

  std::function<void()> onClose;
  std::function<void()> onShare;

  // A picture is drawn to fill 28 by 28 at the screen's pixel density and keeps its own
  // colours; none brings back the share symbol.
  void setShareButtonImage(const std::optional<QImage>& image);
  void setTitle(const QString& title);

  QLabel* titleLabel() const { return titleLabel_; }
  IconButton* closeButton() const { return closeButton_; }
  IconButton* shareButton() const { return shareButton_; }

  void closeTapped();
  void shareTapped();

protected:
  void resizeEvent(QResizeEvent* event) override;

private:
  QLabel* titleLabel_;
  IconButton* closeButton_;
  IconButton* shareButton_;
};

}  // namespace halvane::panels
