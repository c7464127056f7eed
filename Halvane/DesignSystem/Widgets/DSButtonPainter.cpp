#include "Halvane/DesignSystem/Widgets/DSButtonPainter.h"

#include <QFontMetricsF>
#include <QPainter>

#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"

namespace halvane {

namespace {

double indicatorSide(const QFont& font) { return QFontMetricsF(font).height(); }

void paintIndicator(QPainter& painter, const QRectF& box, const QColor& colour, double turn) {
  const double width = std::max(1.5, box.width() / 9);
  QPen pen(colour, width, Qt::SolidLine, Qt::RoundCap);
  painter.setPen(pen);
  painter.setBrush(Qt::NoBrush);
  const QRectF ring = box.adjusted(width / 2, width / 2, -width / 2, -width / 2);
  // Qt measures arcs in sixteenths of a degree, counter-clockwise; the gap turns clockwise.
  painter.drawArc(ring, static_cast<int>(-turn * 360 * 16), 270 * 16);
}

}  // namespace

double buttonContentWidth(const QString& title, const QFont& font, bool loading) {
  double width = QFontMetricsF(font).horizontalAdvance(title) + 2 * DSButtonMetrics::kHorizontalInset;
  if (loading) width += indicatorSide(font) + DSButtonMetrics::kIndicatorSpacing;
  return width;
}

void paintButton(QPainter& painter, const QRectF& bounds, const DSButtonPaintState& state) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::TextAntialiasing);
  const QPointF centre = bounds.center();
  painter.translate(centre);
  painter.scale(state.scale, state.scale);
  painter.translate(-centre);

  const DSButtonAppearance& look = state.appearance;
  const double half = DSButtonMetrics::kStrokeWidth / 2;
  const QPainterPath capsule =
      continuousRoundedRect(bounds.adjusted(half, half, -half, -half), DSButtonMetrics::kCornerRadius);
  if (look.background) painter.fillPath(capsule, qColor(*look.background));
  if (look.stroke) painter.strokePath(capsule, QPen(qColor(*look.stroke), DSButtonMetrics::kStrokeWidth));
  if (state.focused) {
    const double ring = 2;
    painter.strokePath(continuousRoundedRect(bounds.adjusted(ring, ring, -ring, -ring),
                                             DSButtonMetrics::kCornerRadius - ring),
                       QPen(qColor(DSColor::textPrimary.withAlpha(0.7)), ring));
  }

  const QColor foreground = qColor(look.foreground);
  const QFontMetricsF metrics(state.font);
  const double titleWidth = metrics.horizontalAdvance(state.title);
  const double side = indicatorSide(state.font);
  const double contentWidth = titleWidth + (state.loading ? side + DSButtonMetrics::kIndicatorSpacing : 0);
  double x = centre.x() - contentWidth / 2;
  if (state.loading) {
    paintIndicator(painter, QRectF(x, centre.y() - side / 2, side, side), foreground, state.indicatorTurn);
    x += side + DSButtonMetrics::kIndicatorSpacing;
  }
  painter.setFont(state.font);
  painter.setPen(foreground);
  painter.drawText(QRectF(x, bounds.top(), titleWidth + 1, bounds.height()), Qt::AlignLeft | Qt::AlignVCenter,
                   state.title);
  painter.restore();
}

}  // namespace halvane
