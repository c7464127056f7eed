#include "Halvane/Editor/AdjustSession.h"

#include <cmath>

#include "Halvane/Editor/EditorSession.h"

namespace halvane {

std::string kelvinText(float slider) {
  const long n = std::lround(slider);
  const std::string kelvin = std::to_string(std::lround(kelvinFromSlider(slider))) + " K  ";
  if (n == 0) return "  " + kelvin;
  return std::string("  ") + (n > 0 ? "+" : "") + std::to_string(n) + " · " + kelvin;
}

void AdjustSession::wire() {
  std::weak_ptr<EditorSession> weak = session_.weak_from_this();
  const auto call = [weak](auto action) {
    return [weak, action](auto... args) {
      if (auto session = weak.lock()) (session->adjustSession().*action)(args...);
    };
  };
  const auto& views = session_.views();
  views.adjustPanel().onToolSelected = call(&AdjustSession::toolSelected);
  views.adjustPanel().onResetAll = call(&AdjustSession::resetAll);
  views.adjustSlider->onValueChanged = call(&AdjustSession::sliderChanged);
  views.adjustSlider->onTrackingEnded = call(&AdjustSession::trackingEnded);
  views.adjustSlider->onResetTapped = call(&AdjustSession::resetToolTapped);
  views.adjustSlider->onKelvinPresetTapped = call(&AdjustSession::kelvinPresetTapped);
}

void AdjustSession::toolDidEnter() {
  const auto& views = session_.views();
  views.adjustPanel().updateModifiedDots(session_.workingState());
  views.adjustPanel().selectTool(std::nullopt);
  adjustSelectedTool_.reset();
  views.adjustSliderBar->setHidden(true);
  views.adjustPresetRow->setHidden(true);
}

void AdjustSession::toolSelected(std::optional<AdjustTool> tool) {
  adjustSelectedTool_ = tool;
  const auto& views = session_.views();
  auto& slider = *views.adjustSlider;
  if (!tool) {
    // The value stays in workingState; only the controls go.
    slider.setLabelFormatter(nullptr);
    views.adjustSliderBar->setHidden(true);
    views.adjustPresetRow->setHidden(true);
    return;
  }
  const AdjustToolInfo& info = adjustToolInfo(*tool);
  slider.configure(info.sliderMin, info.sliderMax, info.sliderDefault);
  slider.setLabelFormatter(*tool == AdjustTool::temperature ? kelvinText : std::function<std::string(float)>());
  slider.setValue(sliderValue(*tool, session_.workingState()));
  const bool isTemperature = *tool == AdjustTool::temperature;
  views.adjustPresetRow->setHidden(!isTemperature);
  views.adjustPresetRow->setAlpha(1);
  views.adjustSliderBar->setHidden(false);
  views.adjustSliderBar->setAlpha(1);
}

void AdjustSession::writeSliderValue() {
  EditState state = session_.workingState();
  setSliderValue(*adjustSelectedTool_, state, session_.views().adjustSlider->value());
  session_.setWorkingState(state);
}

void AdjustSession::showWorkingState() { session_.applyPreviewState(session_.workingState()); }

void AdjustSession::sliderChanged() {
  if (!adjustSelectedTool_) return;
  writeSliderValue();
  showWorkingState();
}

void AdjustSession::trackingEnded() {
  if (!adjustSelectedTool_) return;
  writeSliderValue();
  session_.views().adjustPanel().updateModifiedDots(session_.workingState());
}

void AdjustSession::putSliderAt(float value) { session_.views().adjustSlider->setValue(value); }

void AdjustSession::resetToolTapped() {
  if (!adjustSelectedTool_) return;
  const AdjustToolInfo& info = adjustToolInfo(*adjustSelectedTool_);
  putSliderAt(info.sliderDefault);
  EditState state = session_.workingState();
  setSliderValue(*adjustSelectedTool_, state, info.sliderDefault);
  session_.setWorkingState(state);
  showWorkingState();
  session_.views().adjustPanel().updateModifiedDots(state);
}

void AdjustSession::resetAll() {
  static const EditState defaults = EditState::defaultState();
  EditState state = session_.workingState();
  for (const AdjustToolInfo& info : kAdjustTools) state.*info.field = defaults.*info.field;
  session_.setWorkingState(state);
  showWorkingState();
  session_.views().adjustPanel().updateModifiedDots(state);
  if (adjustSelectedTool_) putSliderAt(adjustToolInfo(*adjustSelectedTool_).sliderDefault);
}

void AdjustSession::kelvinPresetTapped(int kelvin) {
  const float slider = sliderFromKelvin(float(kelvin));
  putSliderAt(slider);
  EditState state = session_.workingState();
  state.temperature = kelvinFromSlider(slider);
  session_.setWorkingState(state);
  showWorkingState();
  session_.views().adjustPanel().updateModifiedDots(state);
}

}  // namespace halvane
