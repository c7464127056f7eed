#pragma once
// The base of the chrome's buttons: keyboard activation by Space, Enter and Return, a
// focus ring for Tab, and a scale that springs around the centre. A subclass paints its
// face through paintFace in the scaled frame. Main thread only.
#include <QAbstractButton>

namespace halvane::panels {

class ChromeButton : public QAbstractButton {
  Q_OBJECT
  Q_PROPERTY(qreal faceScale READ faceScale WRITE setFaceScale)

public:
  explicit ChromeButton(QWidget* parent = nullptr);

  qreal faceScale() const { return faceScale_; }
  void setFaceScale(qreal scale);
  // Highlighted as the platform means it: held down, or pressed by the keyboard.
  bool isHighlighted() const { return isDown(); }

protected:
  virtual void paintFace(QPainter& painter, const QRectF& rect) = 0;
  // The radius of the focus ring around the face.
  virtual qreal focusRadius() const { return 8; }

  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

private:
  qreal faceScale_ = 1;
};

}  // namespace halvane::panels
