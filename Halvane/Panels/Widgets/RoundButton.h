#pragma once
// A small capsule of the undo and redo bar: a symbol on an elevated face, accent while
// enabled, quiet while disabled. Main thread only.
#include <QColor>
#include <string_view>

#include "Halvane/Panels/Widgets/ChromeButton.h"

namespace halvane::panels {

class RoundButton : public ChromeButton {
  Q_OBJECT

public:
  struct Colors {
    QColor background;
    QColor foreground;
  };

  RoundButton(std::string_view symbolName, QWidget* parent = nullptr);

  static Colors colorsFor(bool enabled, bool highlighted);
  Colors currentColors() const { return colorsFor(isEnabled(), isHighlighted()); }

protected:
  void paintFace(QPainter& painter, const QRectF& rect) override;
  qreal focusRadius() const override { return height() / 2.0; }

private:
  std::string_view symbolName_;
};

}  // namespace halvane::panels
