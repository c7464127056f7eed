#include "Halvane/DesignSystem/DSIcon.h"

#include <algorithm>

namespace halvane::DSIcon {

namespace {

// Chosen by likeness of the drawing, not by the meaning of the control that uses it.
constexpr SymbolGlyph kGlyphs[] = {
    {"arrow.counterclockwise", "restart_alt", 0xf053},
    {"arrow.left.and.right.righttriangle.left.righttriangle.right", "flip", 0xe3e8},
    {"arrow.uturn.backward", "undo", 0xe166},
    {"arrow.uturn.forward", "redo", 0xe15a},
    {"camera.aperture", "camera", 0xe3af},
    {"checkmark", "check", 0xe5ca},
    {"checkmark.circle.fill", "check_circle", 0xe86c},
    {"circle", "radio_button_unchecked", 0xe836},
    {"circle.dashed", "blur_circular", 0xe3a2},
    {"circle.fill", "circle", 0xef4a},
    {"circle.righthalf.filled", "contrast", 0xeb37},
    {"crop.rotate", "crop_rotate", 0xe437},
    {"drop.halffull", "opacity", 0xe91c},
    {"drop.triangle", "water_drop", 0xe798},
    {"exclamationmark.triangle.fill", "warning", 0xe002},
    {"gearshape.fill", "settings", 0xe8b8},
    {"moon", "dark_mode", 0xe51c},
    {"paintpalette", "palette", 0xe40a},
    {"photo.on.rectangle.angled", "photo_library", 0xe413},
    {"plusminus.circle", "exposure", 0xe3ca},
    {"rectangle.dashed", "crop_free", 0xe3c2},
    {"rotate.right", "rotate_right", 0xe41a},
    {"scissors", "content_cut", 0xe14e},
    {"scope", "gps_fixed", 0xe1b3},
    {"slider.horizontal.3", "tune", 0xe429},
    {"sparkle", "auto_awesome", 0xe65f},
    {"speaker.slash", "volume_off", 0xe04f},
    {"speaker.wave.2", "volume_up", 0xe050},
    {"square.and.arrow.up", "ios_share", 0xe6b8},
    {"sun.and.horizon", "wb_twilight", 0xe1c6},
    {"sun.max", "light_mode", 0xe518},
    {"thermometer.medium", "thermostat", 0xf076},
    {"triangle", "change_history", 0xe86b},
    {"video.fill", "videocam", 0xe04b},
    {"wand.and.stars", "auto_fix_high", 0xe663},
    {"waveform", "graphic_eq", 0xe1b8},
    {"wifi.slash", "wifi_off", 0xe648},
    {"xmark", "close", 0xe5cd},
};

}  // namespace

std::span<const SymbolGlyph> symbolGlyphs() { return kGlyphs; }

std::optional<SymbolGlyph> glyphForSymbol(std::string_view symbolName) {
  const auto* found = std::find_if(std::begin(kGlyphs), std::end(kGlyphs),
                                   [&](const SymbolGlyph& glyph) { return glyph.symbolName == symbolName; });
  if (found == std::end(kGlyphs)) return std::nullopt;
  return *found;
}

}  // namespace halvane::DSIcon
