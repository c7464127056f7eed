#include "Halvane/Editor/Widgets/EditorTransitions.h"

#include <QGraphicsOpacityEffect>
#include <QWidget>

#include "Platform/Qt/SpringAnimator.h"

namespace halvane::editor {

namespace {

class AnimatorTransition final : public ToolTransition {
 public:
  explicit AnimatorTransition(std::function<void(bool)> completion) : completion_(std::move(completion)) {}

  bool isRunning() const override { return animator_ && animator_->isRunning(); }
  void stopAtCurrentPosition() override {
    if (animator_) animator_->stop();
    end(false);
  }
  void end(bool atEnd) {
    if (ended_) return;
    ended_ = true;
    if (auto completion = std::move(completion_)) completion(atEnd);
  }

  QPointer<platform::qt::SpringAnimator> animator_;

 private:
  std::function<void(bool)> completion_;
  bool ended_ = false;
};

}  // namespace

std::shared_ptr<ToolTransition> EditorTransitions::start(SpringTiming spring, const std::function<void()>& changes,
                                                         std::function<void(bool atEnd)> completion) {
  auto transition = std::make_shared<AnimatorTransition>(std::move(completion));
  std::weak_ptr<AnimatorTransition> weak = transition;
  transition->animator_ = platform::qt::startTransition(
      platform::qt::SpringTiming{spring.dampingRatio, spring.duration}, owner_,
      [&](platform::qt::SpringAnimator& animator) {
        building_ = &animator;
        changes();
        building_ = nullptr;
      },
      [weak] {
        if (auto transition = weak.lock()) transition->end(true);
      });
  return transition;
}

double EditorTransitions::alpha(const QWidget* widget) {
  const auto* effect = qobject_cast<const QGraphicsOpacityEffect*>(widget->graphicsEffect());
  return effect && effect->isEnabled() ? effect->opacity() : 1.0;
}

void EditorTransitions::applyAlpha(const QPointer<QWidget>& widget, double alpha) {
  if (!widget) return;
  auto* effect = qobject_cast<QGraphicsOpacityEffect*>(widget->graphicsEffect());
  if (!effect) {
    if (alpha >= 1) return;
    effect = new QGraphicsOpacityEffect(widget);
    widget->setGraphicsEffect(effect);
  }
  effect->setOpacity(alpha);
  // An opaque widget paints directly, without the effect's offscreen pass.
  effect->setEnabled(alpha < 1);
}

void EditorTransitions::setAlpha(QWidget* widget, double alpha) {
  QPointer<QWidget> target = widget;
  setValue(EditorTransitions::alpha(widget), alpha, [target](double value) { applyAlpha(target, value); });
}

void EditorTransitions::setValue(double from, double to, std::function<void(double)> apply) {
  if (!building_) {
    apply(to);
    return;
  }
  building_->animate(QVariant(from), QVariant(to),
                     [apply = std::move(apply)](const QVariant& value) { apply(value.toDouble()); });
}

}  // namespace halvane::editor
