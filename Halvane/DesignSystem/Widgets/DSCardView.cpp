#include "Halvane/DesignSystem/Widgets/DSCardView.h"

#include <QPainter>
#include <QVBoxLayout>

#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane {

void paintCardSurface(QPainter& painter, const QRectF& bounds) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillPath(continuousRoundedRect(bounds, DSCardMetrics::kCornerRadius), qColor(DSColor::bgSecondary));
  painter.restore();
}

DSCardView::DSCardView(QWidget* parent) : QWidget(parent), contentStack_(new QVBoxLayout(this)) {
  contentStack_->setSpacing(DSCardMetrics::kContentSpacing);
  const int inset = DSCardMetrics::kContentInset;
  contentStack_->setContentsMargins(inset, inset, inset, inset);
  DSShadow::apply(this, DSShadow::card);
}

void DSCardView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  paintCardSurface(painter, rect());
}

}  // namespace halvane
