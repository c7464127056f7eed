#pragma once
// The editor's animated transitions on the spring animator. A session's change block
// runs inside start(): every alpha or layout value set meanwhile through this object
// becomes an animation of the transition, from where the value stands to where it was
// set; outside a change block values are set at once. A widget's alpha is a
// graphics opacity effect, switched off while the widget is opaque. Main thread only.
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

#include "Halvane/Editor/EditorScreen.h"

class QWidget;

namespace platform::qt {
class SpringAnimator;
}

namespace halvane::editor {

class EditorTransitions {
 public:
  explicit EditorTransitions(QObject* owner) : owner_(owner) {}

  std::shared_ptr<ToolTransition> start(SpringTiming spring, const std::function<void()>& changes,
                                        std::function<void(bool atEnd)> completion);
  bool isBuilding() const { return building_ != nullptr; }

  static double alpha(const QWidget* widget);
  void setAlpha(QWidget* widget, double alpha);
  // Moves a value by `apply`, from `from` to `to`: at once, or as part of the
  // transition being built.
  void setValue(double from, double to, std::function<void(double)> apply);

 private:
  static void applyAlpha(const QPointer<QWidget>& widget, double alpha);

  QObject* owner_;
  platform::qt::SpringAnimator* building_ = nullptr;
};

}  // namespace halvane::editor
