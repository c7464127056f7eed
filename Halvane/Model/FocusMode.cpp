#include "Halvane/Model/FocusMode.h"

namespace halvane {

LocalizedText focusModeTitle(FocusMode mode) {
  switch (mode) {
    case FocusMode::off: return {"focusMode.off", "Off", "Focus off"};
    case FocusMode::radial: return {"focusMode.radial", "Radial", "Radial focus mode"};
    case FocusMode::linear: return {"focusMode.linear", "Linear", "Linear focus mode"};
    case FocusMode::mirrored: return {"focusMode.mirrored", "Mirrored", "Mirrored focus mode"};
    case FocusMode::gaussian: return {"focusMode.gaussian", "Gaussian", "Gaussian focus mode"};
    case FocusMode::zoom: return {"focusMode.zoom", "Zoom", "Zoom focus mode"};
    case FocusMode::motion: return {"focusMode.motion", "Motion", "Motion focus mode"};
    case FocusMode::bokeh: return {"focusMode.bokeh", "Bokeh", "Bokeh focus mode"};
    case FocusMode::irisBlades: return {"focusMode.iris", "Iris", "Iris blades focus mode"};
    case FocusMode::depth: return {"focusMode.depth", "Depth", "Depth focus mode"};
    case FocusMode::edgeProtect: return {"focusMode.edge", "Edge", "Edge protect focus mode"};
  }
  return {};
}

void focusDefaults(EditState& state, FocusMode mode) {
  state.focusCenterX = 0.5f;
  state.focusCenterY = 0.5f;
  state.focusAspect = 1;
  const auto region = [&state](float radius) {
    state.focusRadius = radius;
    state.focusFeather = 0.5f;
    state.focusAngle = 0;
    state.focusStrength = 0.75f;
  };
  switch (mode) {
    case FocusMode::off: break;
    case FocusMode::radial: region(0.25f); break;
    case FocusMode::linear:
    case FocusMode::mirrored: region(0.15f); break;
    case FocusMode::gaussian:
    case FocusMode::zoom: state.focusStrength = 0.5f; break;
    case FocusMode::motion:
      state.focusAngle = 0;
      state.focusStrength = 0.5f;
      break;
    case FocusMode::bokeh:
      region(0.25f);
      state.focusBokehHighlights = 0.3f;
      break;
    case FocusMode::irisBlades:
      region(0.25f);
      state.irisBlades = 6;
      break;
    case FocusMode::depth:
      region(0.25f);
      state.depthMix = 0.5f;
      break;
    case FocusMode::edgeProtect:
      state.focusStrength = 0.5f;
      state.edgeProtect = 0.5f;
      break;
  }
}

}  // namespace halvane
