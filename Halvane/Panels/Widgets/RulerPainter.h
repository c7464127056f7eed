#pragma once
// Paints a ruler slider: its dots scrolled by the offset, the marked dot in its own
// colour, the fixed centre mark and the label above. Paints into any QPainter (a test
// paints into a QImage); shapes are vector paths, sharp at any device pixel ratio.
#include <QPainter>
#include <QString>

#include "Halvane/Panels/RulerSlider.h"

namespace halvane::panels {

struct RulerPaint {
  const RulerDots& dots;
  double offset;     // the scroll offset: content x at the control's left edge
  QString label;     // drawn as it stands, centred above the ruler
  qreal labelHeight;  // the band the label takes at the top
};

void paintRuler(QPainter& painter, const QRectF& bounds, const RulerPaint& ruler);

}  // namespace halvane::panels
