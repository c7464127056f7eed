#pragma once
// The sixteen adjustments of the adjust tool, in the order of its panel: the field each
// one sets, the ends and rest position of its slider, its text and its symbol. The
// panel, its session and the adjust review sheet read this one table.
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "Halvane/Model/EditState.h"

namespace halvane {

enum class AdjustTool : std::uint8_t {
  brightness,
  contrast,
  saturation,
  exposure,
  gamma,
  highlights,
  shadows,
  blacks,
  whites,
  temperature,
  tint,
  sharpness,
  clarity,
  vibrance,
  vignette,
  vignetteSize,
};

struct AdjustToolInfo {
  AdjustTool tool;
  std::string_view name;  // the case name, also its raw value
  float EditState::*field;
  // The slider's ends and rest position. They are the field's own values, except for
  // temperature, whose slider runs from -100 to 100 over a curve (kelvinFromSlider).
  float sliderMin;
  float sliderMax;
  float sliderDefault;
  std::string_view key;
  std::string_view defaultText;
  std::string_view comment;
  std::string_view symbol;
  std::string_view unit;  // after a value in a label: " EV", " K" or nothing
};

inline constexpr std::array<AdjustToolInfo, 16> kAdjustTools = {{
    {AdjustTool::brightness, "brightness", &EditState::brightness, -1, 1, 0, "adjust.brightness", "Brightness",
     "Brightness adjustment", "sun.max", ""},
    {AdjustTool::contrast, "contrast", &EditState::contrast, 0.5f, 2, 1, "adjust.contrast", "Contrast",
     "Contrast adjustment", "circle.righthalf.filled", ""},
    {AdjustTool::saturation, "saturation", &EditState::saturation, 0, 2, 1, "adjust.saturation", "Saturation",
     "Saturation adjustment", "drop.halffull", ""},
    {AdjustTool::exposure, "exposure", &EditState::exposure, -3, 3, 0, "adjust.exposure", "Exposure",
     "Exposure adjustment", "plusminus.circle", " EV"},
    {AdjustTool::gamma, "gamma", &EditState::gamma, 0.2f, 5, 1, "adjust.gamma", "Gamma", "Gamma adjustment",
     "waveform", ""},
    {AdjustTool::highlights, "highlights", &EditState::highlights, -1, 1, 0, "adjust.highlights", "Highlights",
     "Highlights adjustment", "sun.and.horizon", ""},
    {AdjustTool::shadows, "shadows", &EditState::shadows, -1, 1, 0, "adjust.shadows", "Shadows",
     "Shadows adjustment", "moon", ""},
    {AdjustTool::blacks, "blacks", &EditState::blacks, -1, 1, 0, "adjust.blacks", "Blacks", "Blacks adjustment",
     "circle.fill", ""},
    {AdjustTool::whites, "whites", &EditState::whites, -1, 1, 0, "adjust.whites", "Whites", "Whites adjustment",
     "circle", ""},
    {AdjustTool::temperature, "temperature", &EditState::temperature, -100, 100, 0, "adjust.warmth", "Warmth",
     "Warmth/temperature adjustment", "thermometer.medium", " K"},
    {AdjustTool::tint, "tint", &EditState::tint, -1, 1, 0, "adjust.tint", "Tint", "Tint adjustment",
     "drop.triangle", ""},
    {AdjustTool::sharpness, "sharpness", &EditState::sharpness, 0, 2, 0, "adjust.sharpen", "Sharpen",
     "Sharpen adjustment", "triangle", ""},
    {AdjustTool::clarity, "clarity", &EditState::clarity, -1, 1, 0, "adjust.clarity", "Clarity",
     "Clarity adjustment", "sparkle", ""},
    {AdjustTool::vibrance, "vibrance", &EditState::vibrance, -1, 1, 0, "adjust.vibrance", "Vibrance",
     "Vibrance adjustment", "paintpalette", ""},
    {AdjustTool::vignette, "vignette", &EditState::vignetteIntensity, 0, 2, 0, "adjust.vignette", "Vignette",
     "Vignette adjustment", "circle.dashed", ""},
    {AdjustTool::vignetteSize, "vignetteSize", &EditState::vignetteRadius, 0, 2, 1, "adjust.vignetteSize",
     "Vig. Size", "Vignette size adjustment", "scope", ""},
}};

constexpr const AdjustToolInfo& adjustToolInfo(AdjustTool tool) { return kAdjustTools[static_cast<int>(tool)]; }

// The temperature slider's curve: s in [-100, 100] (held there) to Kelvin, finer
// towards warm: -100 gives 2000, 0 gives 6500, 100 gives 10000.
float kelvinFromSlider(float slider);
// Its inverse; Kelvin at or below 2000 gives -100, above 10000 counts as 10000.
float sliderFromKelvin(float kelvin);

// The slider position that shows a field's value, and the value a position sets.
float sliderValue(AdjustTool tool, const EditState& state);
void setSliderValue(AdjustTool tool, EditState& state, float slider);

}  // namespace halvane
