#pragma once
// Every user-visible text of the engine: a key, the English default text shown when a
// translation table lacks the key, and a comment for translators. The namespaces group
// the entries by the prefix of their keys. Looking a text up is the job of the Qt side
// (Halvane/DesignSystem/Widgets/DSL10nLookup.h); the build target halvane_lupdate
// carries this table into the translation files (Halvane/DesignSystem/translations).
#include <span>

#include "Halvane/Model/FilterCatalogue.h"

namespace halvane::DSL10n {

namespace Common {
inline constexpr LocalizedText cancel{"common.cancel", "Cancel", "Cancel button"};
inline constexpr LocalizedText ok{"common.ok", "OK", "OK button"};
inline constexpr LocalizedText done{"common.done", "Done", "Done button"};
inline constexpr LocalizedText error{"common.error", "Error", "Error title"};
inline constexpr LocalizedText retry{"common.retry", "Retry", "Retry button"};
}  // namespace Common

namespace Landing {
inline constexpr LocalizedText appTitle{"landing.appTitle", "Editor", "App title on landing screen"};
inline constexpr LocalizedText appSubtitle{"landing.appSubtitle", "Photo & Video", "App subtitle on landing screen"};
inline constexpr LocalizedText selectMedia{"landing.selectMedia", "Select Media", "Select media button"};
}  // namespace Landing

namespace Editor {
inline constexpr LocalizedText editTitle{"editor.editTitle", "Edit", "Editor screen title"};
}  // namespace Editor

namespace Export {
inline constexpr LocalizedText exporting{"export.exporting", "Exporting...", "Export progress title"};
inline constexpr LocalizedText errorTitle{"export.errorTitle", "Export Failed", "Export error alert title"};
inline constexpr LocalizedText errorMessage{"export.errorMessage", "Unable to export your media. Please try again.", "Export error alert message"};
}  // namespace Export

namespace Import {
inline constexpr LocalizedText importing{"import.importing", "Importing...", "Import progress title"};
inline constexpr LocalizedText errorTitle{"import.errorTitle", "Unable to Open", "Import error alert title"};
inline constexpr LocalizedText errorMessage{"import.errorMessage", "This media could not be loaded. Please try a different file.", "Import error alert message"};
inline constexpr LocalizedText noPhotosAvailable{"import.noPhotosAvailable", "No Photos Available", "Empty state when limited library has no assets"};
}  // namespace Import

namespace Adjust {
inline constexpr LocalizedText brightness{"adjust.brightness", "Brightness", "Brightness adjustment"};
inline constexpr LocalizedText contrast{"adjust.contrast", "Contrast", "Contrast adjustment"};
inline constexpr LocalizedText saturation{"adjust.saturation", "Saturation", "Saturation adjustment"};
inline constexpr LocalizedText exposure{"adjust.exposure", "Exposure", "Exposure adjustment"};
inline constexpr LocalizedText gamma{"adjust.gamma", "Gamma", "Gamma adjustment"};
inline constexpr LocalizedText highlights{"adjust.highlights", "Highlights", "Highlights adjustment"};
inline constexpr LocalizedText shadows{"adjust.shadows", "Shadows", "Shadows adjustment"};
inline constexpr LocalizedText blacks{"adjust.blacks", "Blacks", "Blacks adjustment"};
inline constexpr LocalizedText whites{"adjust.whites", "Whites", "Whites adjustment"};
inline constexpr LocalizedText warmth{"adjust.warmth", "Warmth", "Warmth/temperature adjustment"};
inline constexpr LocalizedText tint{"adjust.tint", "Tint", "Tint adjustment"};
inline constexpr LocalizedText sharpen{"adjust.sharpen", "Sharpen", "Sharpen adjustment"};
inline constexpr LocalizedText clarity{"adjust.clarity", "Clarity", "Clarity adjustment"};
inline constexpr LocalizedText vibrance{"adjust.vibrance", "Vibrance", "Vibrance adjustment"};
inline constexpr LocalizedText vignette{"adjust.vignette", "Vignette", "Vignette adjustment"};
inline constexpr LocalizedText vignetteSize{"adjust.vignetteSize", "Vig. Size", "Vignette size adjustment"};
inline constexpr LocalizedText resetAll{"adjust.resetAll", "Reset All", "Reset all adjustments button"};
inline constexpr LocalizedText kelvinFormat{"adjust.kelvinFormat", "%d K", "Color temperature in Kelvin — %d is the numeric value"};
}  // namespace Adjust

namespace Focus {
inline constexpr LocalizedText amount{"focus.amount", "Amount", "Focus amount slider"};
inline constexpr LocalizedText feather{"focus.feather", "Feather", "Focus feather slider"};
inline constexpr LocalizedText angle{"focus.angle", "Angle", "Focus angle slider"};
inline constexpr LocalizedText blades{"focus.blades", "Blades", "Focus iris blades slider"};
inline constexpr LocalizedText highlights{"focus.highlights", "Highlights", "Focus bokeh highlights slider"};
inline constexpr LocalizedText depth{"focus.depth", "Depth", "Focus depth mix slider"};
inline constexpr LocalizedText sensitivity{"focus.sensitivity", "Sensitivity", "Focus edge sensitivity slider"};
}  // namespace Focus

namespace FocusModes {
inline constexpr LocalizedText off{"focusMode.off", "Off", "Focus off"};
inline constexpr LocalizedText radial{"focusMode.radial", "Radial", "Radial focus mode"};
inline constexpr LocalizedText linear{"focusMode.linear", "Linear", "Linear focus mode"};
inline constexpr LocalizedText mirrored{"focusMode.mirrored", "Mirrored", "Mirrored focus mode"};
inline constexpr LocalizedText gaussian{"focusMode.gaussian", "Gaussian", "Gaussian focus mode"};
inline constexpr LocalizedText zoom{"focusMode.zoom", "Zoom", "Zoom focus mode"};
inline constexpr LocalizedText motion{"focusMode.motion", "Motion", "Motion focus mode"};
inline constexpr LocalizedText bokeh{"focusMode.bokeh", "Bokeh", "Bokeh focus mode"};
inline constexpr LocalizedText iris{"focusMode.iris", "Iris", "Iris blades focus mode"};
inline constexpr LocalizedText depth{"focusMode.depth", "Depth", "Depth focus mode"};
inline constexpr LocalizedText edge{"focusMode.edge", "Edge", "Edge protect focus mode"};
}  // namespace FocusModes

namespace Tool {
inline constexpr LocalizedText adjust{"tool.adjust", "Adjust", "Adjust tool"};
inline constexpr LocalizedText audio{"tool.audio", "Audio", "Audio tool"};
inline constexpr LocalizedText transform{"tool.transform", "Transform", "Transform tool"};
inline constexpr LocalizedText filter{"tool.filter", "Filter", "Filter tool"};
inline constexpr LocalizedText focus{"tool.focus", "Focus", "Focus tool"};
inline constexpr LocalizedText trim{"tool.trim", "Trim", "Trim tool"};
inline constexpr LocalizedText trimStart{"tool.trimStart", "Trim start", "Trim start handle"};
inline constexpr LocalizedText trimEnd{"tool.trimEnd", "Trim end", "Trim end handle"};
}  // namespace Tool

namespace TransformTool {
inline constexpr LocalizedText square{"transform.square", "Square", "Square aspect ratio"};
inline constexpr LocalizedText reset{"transform.reset", "Reset", "Reset aspect ratio"};
inline constexpr LocalizedText custom{"transform.custom", "Custom", "Custom aspect ratio"};
inline constexpr LocalizedText tilt{"transform.tilt", "Tilt", "Tilt angle slider"};
}  // namespace TransformTool

namespace AudioTool {
inline constexpr LocalizedText mute{"audio.mute", "Mute", "Mute audio button"};
}  // namespace AudioTool

namespace FilterCategories {
inline constexpr LocalizedText basic{"filterCategory.basic", "Basic", "Basic filter category"};
inline constexpr LocalizedText colorBoost{"filterCategory.colorBoost", "Color Boost", "Color Boost filter category"};
inline constexpr LocalizedText cinematic{"filterCategory.cinematic", "Cinematic", "Cinematic filter category"};
inline constexpr LocalizedText filmVintage{"filterCategory.filmVintage", "Film/Vintage", "Film/Vintage filter category"};
inline constexpr LocalizedText blackAndWhite{"filterCategory.blackAndWhite", "Black & White", "Black & White filter category"};
inline constexpr LocalizedText portrait{"filterCategory.portrait", "Portrait", "Portrait filter category"};
inline constexpr LocalizedText landscape{"filterCategory.landscape", "Landscape", "Landscape filter category"};
inline constexpr LocalizedText mood{"filterCategory.mood", "Mood", "Mood filter category"};
inline constexpr LocalizedText creative{"filterCategory.creative", "Creative", "Creative filter category"};
inline constexpr LocalizedText light{"filterCategory.light", "Light", "Light filter category"};
inline constexpr LocalizedText duoTone{"filterCategory.duoTone", "Duo-Tone", "Duo-Tone filter category"};
}  // namespace FilterCategories

namespace Accessibility {
inline constexpr LocalizedText photo{"accessibility.photo", "Photo", "Accessibility label for photo asset"};
inline constexpr LocalizedText video{"accessibility.video", "Video", "Accessibility label for video asset"};
inline constexpr LocalizedText videoDuration{"accessibility.videoDuration", "duration %@", "Accessibility: video duration — %@ is formatted time"};
}  // namespace Accessibility

namespace Action {
inline constexpr LocalizedText confirm{"action.confirm", "Confirm", "Confirm button"};
inline constexpr LocalizedText reset{"action.reset", "Reset", "Reset button"};
inline constexpr LocalizedText close{"action.close", "Close", "Close button"};
inline constexpr LocalizedText share{"action.share", "Share", "Share button"};
inline constexpr LocalizedText flip{"action.flip", "Flip", "Flip button"};
inline constexpr LocalizedText rotate{"action.rotate", "Rotate", "Rotate button"};
inline constexpr LocalizedText undo{"action.undo", "Undo", "Undo button"};
inline constexpr LocalizedText redo{"action.redo", "Redo", "Redo button"};
}  // namespace Action

namespace Share {
inline constexpr LocalizedText saveAs{"share.saveAs", "Save As…", "Share sheet: save the item as a file"};
inline constexpr LocalizedText copy{"share.copy", "Copy", "Share sheet: copy the item to the clipboard"};
inline constexpr LocalizedText open{"share.open", "Open", "Share sheet: open the item with the default application"};
inline constexpr LocalizedText saveFailed{"share.saveFailed", "The file could not be saved.", "Share sheet: saving failed; the reason follows on the next line"};
inline constexpr LocalizedText openFailed{"share.openFailed", "No application opens this file.", "Share sheet: opening with the default application failed"};
}  // namespace Share

namespace MediaPicker {
inline constexpr LocalizedText loadFailed{"mediaPicker.error.loadFailed", "Failed to load media", "Media picker load error"};
inline constexpr LocalizedText cancelled{"mediaPicker.error.cancelled", "Selection was cancelled", "Media picker cancelled error"};
inline constexpr LocalizedText unsupportedType{"mediaPicker.error.unsupportedType", "Unsupported media type", "Media picker unsupported type error"};
}  // namespace MediaPicker

// All entries above, in their order.
std::span<const LocalizedText> allEntries();

}  // namespace halvane::DSL10n
