#include "Halvane/DesignSystem/Widgets/DSAnimation.h"

namespace halvane::DSAnimation {

using platform::qt::startTransition;

platform::qt::CubicTiming standardTiming(double duration) { return {{0.2, 0.95}, {0.2, 1.0}, duration}; }

platform::qt::SpringAnimator* standard(double duration, QObject* owner, const Animations& animations,
                                       std::function<void()> completion) {
  return startTransition(standardTiming(duration), owner, animations, std::move(completion));
}

platform::qt::SpringAnimator* emphasized(QObject* owner, const Animations& animations,
                                         std::function<void()> completion) {
  return startTransition(kEmphasized, owner, animations, std::move(completion));
}

platform::qt::SpringAnimator* quick(QObject* owner, const Animations& animations, std::function<void()> completion) {
  return startTransition(kQuick, owner, animations, std::move(completion));
}

}  // namespace halvane::DSAnimation
