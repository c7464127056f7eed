#pragma once
// What assistive technology reads of an AdjustSlider: a slider whose value text is the
// ruler's label without its blanks. Setting its value, or its increase and decrease
// actions (5 % of the range), act as the user would: the value changes, the change is
// sent and tracking ends.
#include <QAccessibleWidget>

namespace halvane::panels {

class AdjustSlider;

class AdjustSliderAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
  static constexpr float kStep = 0.05f;

  explicit AdjustSliderAccessible(QWidget* slider);

  void* interface_cast(QAccessible::InterfaceType type) override;
  QString text(QAccessible::Text type) const override;

  QVariant currentValue() const override;
  void setCurrentValue(const QVariant& value) override;
  QVariant maximumValue() const override;
  QVariant minimumValue() const override;
  QVariant minimumStepSize() const override;

  QStringList actionNames() const override;
  void doAction(const QString& actionName) override;
  QStringList keyBindingsForAction(const QString& actionName) const override;

  // Makes Qt use this interface for every AdjustSlider; idempotent.
  static void install();

private:
  AdjustSlider* slider() const;
};

}  // namespace halvane::panels
