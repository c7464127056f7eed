#pragma once
// An image view with one symbol at an icon size, tinted, fitted to its bounds keeping
// its aspect. Paints at the screen's pixel ratio.
#include <QWidget>

#include <string>

#include "Halvane/DesignSystem/DSIcon.h"

namespace halvane {

class DSIconView final : public QWidget {
 public:
  DSIconView(std::string symbolName, DSIcon::Size size, QColor tint, QWidget* parent = nullptr);

  void setTint(const QColor& tint);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::string symbolName_;
  DSIcon::Size size_;
  QColor tint_;
};

namespace DSIcon {
DSIconView* imageView(std::string_view symbolName, Size size, const QColor& tint, QWidget* parent = nullptr);
}  // namespace DSIcon

}  // namespace halvane
