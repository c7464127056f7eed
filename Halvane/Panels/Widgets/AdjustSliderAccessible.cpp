#include "Halvane/Panels/Widgets/AdjustSliderAccessible.h"

#include "Halvane/Panels/Widgets/AdjustSlider.h"

namespace halvane::panels {

namespace {
QAccessibleInterface* create(const QString& className, QObject* object) {
  if (className == QLatin1String("halvane::panels::AdjustSlider") && object && object->isWidgetType())
    return new AdjustSliderAccessible(static_cast<QWidget*>(object));
  return nullptr;
}
}  // namespace

AdjustSliderAccessible::AdjustSliderAccessible(QWidget* slider) : QAccessibleWidget(slider, QAccessible::Slider) {}

AdjustSlider* AdjustSliderAccessible::slider() const { return static_cast<AdjustSlider*>(widget()); }

void* AdjustSliderAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
  return QAccessibleWidget::interface_cast(type);
}

QString AdjustSliderAccessible::text(QAccessible::Text type) const {
  if (type == QAccessible::Value) return slider()->valueText();
  return QAccessibleWidget::text(type);
}

QVariant AdjustSliderAccessible::currentValue() const { return double(slider()->value()); }

void AdjustSliderAccessible::setCurrentValue(const QVariant& value) {
  bool ok = false;
  const double number = value.toDouble(&ok);
  if (ok && slider()->isEnabled()) slider()->ruler().userSet(float(number));
}

QVariant AdjustSliderAccessible::maximumValue() const { return double(slider()->ruler().maximum()); }
QVariant AdjustSliderAccessible::minimumValue() const { return double(slider()->ruler().minimum()); }
QVariant AdjustSliderAccessible::minimumStepSize() const { return double(slider()->ruler().range() * kStep); }

QStringList AdjustSliderAccessible::actionNames() const {
  return {increaseAction(), decreaseAction()};
}

void AdjustSliderAccessible::doAction(const QString& actionName) {
  if (!slider()->isEnabled()) return;
  if (actionName == increaseAction()) slider()->ruler().step(kStep);
  if (actionName == decreaseAction()) slider()->ruler().step(-kStep);
}

QStringList AdjustSliderAccessible::keyBindingsForAction(const QString&) const { return {}; }

void AdjustSliderAccessible::install() {
  static const bool installed = [] {
    QAccessible::installFactory(create);
    return true;
  }();
  (void)installed;
}

}  // namespace halvane::panels
