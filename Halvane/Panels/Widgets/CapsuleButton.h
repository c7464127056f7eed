#pragma once
// A small capsule of the tool panels: an optional symbol before an optional title on an
// elevated face that lights while held. Its accessible name is its title, or the name
// given for a symbol alone. Main thread only.
#include <string_view>

#include "Halvane/Panels/Widgets/ChromeButton.h"

namespace halvane::panels {

class CapsuleButton : public ChromeButton {
  Q_OBJECT

public:
  struct Insets {
    qreal vertical;
    qreal horizontal;
  };

  CapsuleButton(std::string_view symbolName, qreal symbolPointSize, const QString& title, Insets insets,
                QWidget* parent = nullptr);

  QSize sizeHint() const override;

protected:
  void paintFace(QPainter& painter, const QRectF& rect) override;
  qreal focusRadius() const override { return height() / 2.0; }

private:
  std::string_view symbolName_;
  qreal symbolPointSize_;
  Insets insets_;
};

}  // namespace halvane::panels
