#pragma once
// The large activity indicator: an accent arc that turns while running and is hidden
// while stopped. Main thread only.
#include <QWidget>

class QVariantAnimation;

namespace halvane::panels {

class SpinnerView : public QWidget {
  Q_OBJECT

public:
  static constexpr int kSide = 37;

  explicit SpinnerView(QWidget* parent = nullptr);
  void start();
  void stop();
  bool isRunning() const;

protected:
  void paintEvent(QPaintEvent* event) override;

private:
  QVariantAnimation* turn_;
  qreal angle_ = 0;
};

}  // namespace halvane::panels
