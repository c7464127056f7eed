#pragma once
// The three timings of the editor's transitions, each started at once on the spring
// animator: `standard` for a caller's duration on a cubic curve, `emphasized` for panels,
// `quick` for small state changes (tool selection, progress cards, button press).
// Each returns the running transition so a caller can stop it where it is; it deletes
// itself when it ends or is stopped, and `owner` going away ends it too.
#include <QObject>

#include <functional>

#include "Platform/Qt/SpringAnimator.h"

namespace halvane::DSAnimation {

inline constexpr platform::qt::SpringTiming kEmphasized{0.82, 0.42};
inline constexpr platform::qt::SpringTiming kQuick{0.74, 0.24};
platform::qt::CubicTiming standardTiming(double duration);

using Animations = std::function<void(platform::qt::SpringAnimator&)>;

platform::qt::SpringAnimator* standard(double duration, QObject* owner, const Animations& animations,
                                       std::function<void()> completion = {});
platform::qt::SpringAnimator* emphasized(QObject* owner, const Animations& animations,
                                         std::function<void()> completion = {});
platform::qt::SpringAnimator* quick(QObject* owner, const Animations& animations,
                                    std::function<void()> completion = {});

}  // namespace halvane::DSAnimation
