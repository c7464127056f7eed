#include "Halvane/Panels/Widgets/AdjustSliderBar.h"

#include <QPainter>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSL10n.h"
#include "Halvane/DesignSystem/Widgets/DSL10nLookup.h"
#include "Halvane/DesignSystem/Widgets/DSQtStyle.h"
#include "Halvane/Panels/Widgets/AdjustSlider.h"
#include "Halvane/Panels/Widgets/CapsuleButton.h"

namespace halvane::panels {

namespace {
constexpr int kEdgeInset = 16;
constexpr int kPresetSpacing = 8;
// The bars stand over the bottom of the picture; a veil keeps the dots readable.
constexpr double kVeilAlpha = 0.85;
}  // namespace

AdjustSliderBar::AdjustSliderBar(std::shared_ptr<platform::system::Haptics> haptics, QWidget* parent)
    : QWidget(parent),
      slider_(new AdjustSlider(std::move(haptics), this)),
      resetButton_(new CapsuleButton("arrow.counterclockwise", 13, QString(), {6, 6}, this)) {
  resetButton_->setAccessibleName(DSL10n::text(DSL10n::Action::reset));
  resetButton_->setToolTip(resetButton_->accessibleName());
  connect(resetButton_, &QAbstractButton::clicked, this, [this] {
    if (onResetTapped) onResetTapped();
  });
  setTabOrder(slider_, resetButton_);
}

void AdjustSliderBar::resizeEvent(QResizeEvent*) {
  slider_->setGeometry(0, height() - AdjustSlider::kHeight, width(), AdjustSlider::kHeight);
  const QSize reset = resetButton_->sizeHint();
  resetButton_->setGeometry(width() - kEdgeInset - reset.width(), 4, reset.width(), reset.height());
}

void AdjustSliderBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), qColor(DSColor::bgPrimary.withAlpha(kVeilAlpha)));
}

KelvinPresetRow::KelvinPresetRow(std::span<const int> kelvins, QWidget* parent) : QWidget(parent) {
  for (int kelvin : kelvins) {
    auto* button = new CapsuleButton({}, 0, DSL10n::formatted(DSL10n::Adjust::kelvinFormat, QString::number(kelvin)),
                                     {4, 8}, this);
    connect(button, &QAbstractButton::clicked, this, [this, kelvin] {
      if (onPresetTapped) onPresetTapped(kelvin);
    });
    if (!buttons_.empty()) setTabOrder(buttons_.back(), button);
    buttons_.push_back(button);
  }
}

void KelvinPresetRow::resizeEvent(QResizeEvent*) {
  int total = 0;
  for (auto* button : buttons_) total += button->sizeHint().width();
  total += kPresetSpacing * int(std::max<size_t>(buttons_.size(), 1) - 1);
  int x = (width() - total) / 2;
  for (auto* button : buttons_) {
    const QSize size = button->sizeHint();
    button->setGeometry(x, (height() - size.height()) / 2, size.width(), size.height());
    x += size.width() + kPresetSpacing;
  }
}

}  // namespace halvane::panels
