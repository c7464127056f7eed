#pragma once
// The bar above the adjust panel: the shared AdjustSlider, with the reset button of the
// selected tool at its upper right. Main thread only.
#include <QWidget>

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "Platform/System/Haptics.h"

namespace halvane::panels {

class AdjustSlider;
class CapsuleButton;

class AdjustSliderBar : public QWidget {
  Q_OBJECT

public:
  static constexpr int kHeight = 68;

  explicit AdjustSliderBar(std::shared_ptr<platform::system::Haptics> haptics, QWidget* parent = nullptr);

  AdjustSlider* slider() const { return slider_; }
  CapsuleButton* resetButton() const { return resetButton_; }
  QSize sizeHint() const override { return {320, kHeight}; }

  std::function<void()> onResetTapped;

protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

private:
  AdjustSlider* slider_;
  CapsuleButton* resetButton_;
};

// The temperature's presets: a row of capsules titled "3200 K" and so on. Main thread
// only.
class KelvinPresetRow : public QWidget {
  Q_OBJECT

public:
  static constexpr int kHeight = 36;

  KelvinPresetRow(std::span<const int> kelvins, QWidget* parent = nullptr);

  CapsuleButton* presetButton(size_t index) const { return buttons_.at(index); }
  QSize sizeHint() const override { return {320, kHeight}; }

  std::function<void(int kelvin)> onPresetTapped;

protected:
  void resizeEvent(QResizeEvent* event) override;

private:
  std::vector<CapsuleButton*> buttons_;
};

}  // namespace halvane::panels
