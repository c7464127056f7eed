#pragma once
// Paints a design-system button into any painter, so that its look can be checked in a
// QImage: the capsule with its fill and outline, the activity indicator when loading,
// the title, and a keyboard-focus ring. Sizes are logical pixels; the painter's device
// decides the pixel ratio.
#include <QFont>
#include <QRectF>
#include <QString>

#include "Halvane/DesignSystem/DSButtonAppearance.h"

class QPainter;

namespace halvane {

struct DSButtonPaintState {
  DSButtonAppearance appearance;
  QString title;
  QFont font;
  bool loading = false;
  double indicatorTurn = 0;  // the indicator's rotation, in turns
  double scale = 1;          // press feedback, about the centre
  bool focused = false;
};

void paintButton(QPainter& painter, const QRectF& bounds, const DSButtonPaintState& state);
// The width the title (and the indicator, when loading) needs with the insets.
double buttonContentWidth(const QString& title, const QFont& font, bool loading);

}  // namespace halvane
