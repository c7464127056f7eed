#pragma once
// A plain round-hit button of the bars: a symbol in one colour that dims while held, or a
// supplied picture shown with its own colours, never dimmed or tinted. Main thread only.
#include <QColor>
#include <QImage>
#include <optional>
#include <string_view>

#include "Halvane/Panels/Widgets/ChromeButton.h"

namespace halvane::panels {

class IconButton : public ChromeButton {
  Q_OBJECT

public:
  static constexpr qreal kDimmedOpacity = 0.5;

  IconButton(std::string_view symbolName, qreal symbolPointSize, QWidget* parent = nullptr);

  void setSymbol(std::string_view symbolName);
  // A picture replaces the symbol; none brings the symbol back.
  void setPicture(std::optional<QImage> picture);
  const std::optional<QImage>& picture() const { return picture_; }

  // The opacity the face is painted at: a symbol dims while highlighted, a picture keeps
  // its own colours.
  qreal faceOpacity() const;

protected:
  void paintFace(QPainter& painter, const QRectF& rect) override;
  qreal focusRadius() const override { return height() / 2.0; }

private:
  std::string_view symbolName_;
  qreal symbolPointSize_;
  std::optional<QImage> picture_;
};

}  // namespace halvane::panels
