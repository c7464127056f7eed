#include "Halvane/DesignSystem/Widgets/DSIconView.h"

#include <QPainter>

#include "Halvane/DesignSystem/Widgets/DSSymbol.h"

namespace halvane {

DSIconView::DSIconView(std::string symbolName, DSIcon::Size size, QColor tint, QWidget* parent)
    : QWidget(parent), symbolName_(std::move(symbolName)), size_(size), tint_(tint) {
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
}

void DSIconView::setTint(const QColor& tint) {
  tint_ = tint;
  update();
}

QSize DSIconView::sizeHint() const {
  const int side = static_cast<int>(DSIcon::points(size_));
  return {side, side};
}

void DSIconView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  DSIcon::paintSymbol(painter, rect(), symbolName_, tint_);
}

DSIconView* DSIcon::imageView(std::string_view symbolName, Size size, const QColor& tint, QWidget* parent) {
  return new DSIconView(std::string(symbolName), size, tint, parent);
}

}  // namespace halvane
