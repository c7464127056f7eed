#pragma once
// The focus tool's modes. The raw number is what EditState::focusMode stores; the cases
// enumerate in that order.
#include <array>

#include "Halvane/Model/EditState.h"
#include "Halvane/Model/FilterCatalogue.h"

namespace halvane {

enum class FocusMode { off, radial, linear, mirrored, gaussian, zoom, motion, bokeh, irisBlades, depth, edgeProtect };

inline constexpr std::array<FocusMode, 11> kAllFocusModes = {
    FocusMode::off,   FocusMode::radial, FocusMode::linear,     FocusMode::mirrored, FocusMode::gaussian,   FocusMode::zoom,
    FocusMode::motion, FocusMode::bokeh, FocusMode::irisBlades, FocusMode::depth,    FocusMode::edgeProtect};

// The mode's button text in the focus panel.
LocalizedText focusModeTitle(FocusMode mode);

// The values a mode starts with: the centre in the middle and a round region, then the
// mode's own radius, feather, angle, strength and extras. Fields a mode does not use
// keep their values; focusMode itself is left to the caller.
void focusDefaults(EditState& state, FocusMode mode);

}  // namespace halvane
