#include "Halvane/DesignSystem/DSL10n.h"

namespace halvane::DSL10n {

std::span<const LocalizedText> allEntries() {
  static constexpr LocalizedText kEntries[] = {
      Common::cancel, Common::ok, Common::done, Common::error, Common::retry,
      Landing::appTitle, Landing::appSubtitle, Landing::selectMedia,
      Editor::editTitle,
      Export::exporting, Export::errorTitle, Export::errorMessage,
      Import::importing, Import::errorTitle, Import::errorMessage, Import::noPhotosAvailable,
      Adjust::brightness, Adjust::contrast, Adjust::saturation, Adjust::exposure, Adjust::gamma, Adjust::highlights, Adjust::shadows, Adjust::blacks, Adjust::whites, Adjust::warmth, Adjust::tint, Adjust::sharpen, Adjust::clarity, Adjust::vibrance, Adjust::vignette, Adjust::vignetteSize, Adjust::resetAll, Adjust::kelvinFormat,
      Focus::amount, Focus::feather, Focus::angle, Focus::blades, Focus::highlights, Focus::depth, Focus::sensitivity,
      FocusModes::off, FocusModes::radial, FocusModes::linear, FocusModes::mirrored, FocusModes::gaussian, FocusModes::zoom, FocusModes::motion, FocusModes::bokeh, FocusModes::iris, FocusModes::depth, FocusModes::edge,
      Tool::adjust, Tool::audio, Tool::transform, Tool::filter, Tool::focus, Tool::trim, Tool::trimStart, Tool::trimEnd,
      TransformTool::square, TransformTool::reset, TransformTool::custom, TransformTool::tilt,
      AudioTool::mute,
      FilterCategories::basic, FilterCategories::colorBoost, FilterCategories::cinematic, FilterCategories::filmVintage, FilterCategories::blackAndWhite, FilterCategories::portrait, FilterCategories::landscape, FilterCategories::mood, FilterCategories::creative, FilterCategories::light, FilterCategories::duoTone,
      Accessibility::photo, Accessibility::video, Accessibility::videoDuration,
      Action::confirm, Action::reset, Action::close, Action::share, Action::flip, Action::rotate, Action::undo, Action::redo,
      Share::saveAs, Share::copy, Share::open, Share::saveFailed, Share::openFailed,
      MediaPicker::loadFailed, MediaPicker::cancelled, MediaPicker::unsupportedType,
  };
  return kEntries;
}

}  // namespace halvane::DSL10n
