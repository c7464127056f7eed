#pragma once
// A card: a rounded surface in bgSecondary with the card shadow, holding a vertical
// stack (spacing 8, 16 inside each edge) where its content goes.
#include <QWidget>

class QPainter;
class QVBoxLayout;

namespace halvane {

namespace DSCardMetrics {
inline constexpr double kCornerRadius = 16;
inline constexpr int kContentSpacing = 8;
inline constexpr int kContentInset = 16;
}  // namespace DSCardMetrics

void paintCardSurface(QPainter& painter, const QRectF& bounds);

class DSCardView final : public QWidget {
 public:
  explicit DSCardView(QWidget* parent = nullptr);

  QVBoxLayout* contentStack() const { return contentStack_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QVBoxLayout* contentStack_;
};

}  // namespace halvane
