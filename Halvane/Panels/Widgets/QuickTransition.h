#pragma once
// Springs one property of a chrome control on the quick timing of small state changes.
// A new transition of the same property stops the running one where it stands and
// starts from there, so a quick second tap never jumps. Main thread only.
#include <QByteArray>
#include <QObject>
#include <QVariant>
#include <functional>

namespace halvane::panels {

// completion runs when the property arrives, never when the transition is replaced.
void springQuickly(QObject* target, const QByteArray& property, const QVariant& end,
                   std::function<void()> completion = {});

}  // namespace halvane::panels
