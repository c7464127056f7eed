#pragma once
// A thin determinate bar: accent over an elevated track. A QProgressBar underneath, so
// assistive technology reads its value. Main thread only.
#include <QProgressBar>

namespace halvane::panels {

class ProgressTrack : public QProgressBar {
  Q_OBJECT

public:
  static constexpr int kSteps = 1000;

  explicit ProgressTrack(QWidget* parent = nullptr);
  void setFraction(double fraction);
  double fraction() const { return static_cast<double>(value()) / kSteps; }
  QSize sizeHint() const override { return {200, 4}; }

protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace halvane::panels
