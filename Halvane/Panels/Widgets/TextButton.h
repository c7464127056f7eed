#pragma once
// A plain text button: its title in one colour, dimmed while held. Main thread only.
#include <QColor>

#include "Halvane/Panels/Widgets/ChromeButton.h"

namespace halvane::panels {

class TextButton : public ChromeButton {
  Q_OBJECT

public:
  TextButton(const QString& title, QColor foreground, QWidget* parent = nullptr);
  QSize sizeHint() const override;

protected:
  void paintFace(QPainter& painter, const QRectF& rect) override;

private:
  QColor foreground_;
};

}  // namespace halvane::panels
