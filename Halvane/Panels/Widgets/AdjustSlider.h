#pragma once
// The adjust tool's ruler slider: routes the user's scrolls (drag with kinetic glide,
// wheel and touchpad, keys) into its AdjustRuler, clicks through the haptics, and
// paints the ruler with RulerPainter. Left and Right move 1 % of the range, Page Up
// and Page Down 10 %, Home goes to the neutral value. Assistive technology sees a slider
// whose value text is the label (AdjustSliderAccessible). Main thread only.
#include <QTimer>
#include <QWidget>

#include <memory>

#include "Halvane/Panels/AdjustRuler.h"
#include "Platform/System/Haptics.h"

class QScroller;

namespace halvane::panels {

class AdjustSlider : public QWidget {
  Q_OBJECT

public:
  static constexpr int kHeight = 60;
  static constexpr int kLabelHeight = 26;

  explicit AdjustSlider(std::shared_ptr<platform::system::Haptics> haptics, QWidget* parent = nullptr);

  // The behaviour; a programmatic value goes through ruler().setValue.
  AdjustRuler& ruler() { return ruler_; }
  const AdjustRuler& ruler() const { return ruler_; }
  // New ends and neutral value, laid out at once.
  void configure(float minimum, float maximum, float defaultValue);
  void setValue(float value) { ruler_.setValue(value); }
  float value() const { return ruler_.value(); }
  void setCustomLabelFormatter(std::function<std::string(float)> formatter);
  // The label's text without its surrounding blanks.
  QString valueText() const;
  double scrollOffset() const { return offset_; }

  QSize sizeHint() const override { return {320, kHeight}; }

  // The user changed the value.
  std::function<void()> onValueChanged;
  std::function<void()> onTrackingEnded;

protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;

private:
  void scrollTo(double offset);
  void valueShown();
  void endTracking();

  AdjustRuler ruler_;
  std::shared_ptr<platform::system::Haptics> haptics_;
  QScroller* scroller_;
  QTimer wheelEnd_;
  double offset_ = 0;
  bool isTracking_ = false;
  // The focus ring shows only for focus that came from the keyboard, not from a drag.
  bool showsFocusRing_ = false;
};

}  // namespace halvane::panels
