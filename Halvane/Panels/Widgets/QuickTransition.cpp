#include "Halvane/Panels/Widgets/QuickTransition.h"

#include "Halvane/DesignSystem/Widgets/DSAnimation.h"

namespace halvane::panels {

void springQuickly(QObject* target, const QByteArray& property, const QVariant& end, std::function<void()> completion) {
  const QString name = QStringLiteral("springQuickly.") + QString::fromLatin1(property);
  for (auto* running : target->findChildren<platform::qt::SpringAnimator*>(name, Qt::FindDirectChildrenOnly))
    running->stop();
  platform::qt::SpringAnimator* transition = DSAnimation::quick(
      target, [&](platform::qt::SpringAnimator& animator) { animator.animate(target, property, end); },
      std::move(completion));
  transition->setObjectName(name);
}

}  // namespace halvane::panels
