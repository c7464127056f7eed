#pragma once
// What a design-system button looks like in each of its states, by style. Highlighted
// stands for pressed or selected.
#include <optional>

#include "Halvane/DesignSystem/DSColor.h"
#include "Halvane/DesignSystem/DSTypography.h"

namespace halvane {

enum class DSButtonStyle { primary, secondary, tertiary };
enum class DSControlState { enabled, highlighted, disabled };

struct DSButtonAppearance {
  std::optional<DSRGBA> background;  // none: nothing drawn behind the title
  std::optional<DSRGBA> stroke;      // an outline of kStrokeWidth
  DSRGBA foreground;
  constexpr bool operator==(const DSButtonAppearance&) const = default;
};

namespace DSButtonMetrics {
inline constexpr double kHeight = 52;
inline constexpr double kCornerRadius = 20;
inline constexpr double kVerticalInset = 12;
inline constexpr double kHorizontalInset = 24;
inline constexpr double kStrokeWidth = 1;
inline constexpr double kIndicatorSpacing = 8;  // between the activity indicator and the title
inline constexpr double kPressedScale = 0.99;
inline constexpr DSFontToken kTitleFont{DSTextStyle::body, "AvenirNext-DemiBold", DSFontWeight::semibold};
}  // namespace DSButtonMetrics

constexpr DSButtonAppearance buttonAppearance(DSButtonStyle style, DSControlState state) {
  constexpr DSRGBA clear{0, 0, 0, 0};
  constexpr double kDimmed = 0.4;
  switch (style) {
    case DSButtonStyle::primary:
      switch (state) {
        case DSControlState::enabled: return {DSColor::accent, std::nullopt, DSColor::textOnAccent};
        case DSControlState::highlighted: return {DSColor::accent.withAlpha(0.88), std::nullopt, DSColor::textOnAccent};
        case DSControlState::disabled:
          return {DSColor::accent.withAlpha(kDimmed), std::nullopt, DSColor::textOnAccent.withAlpha(kDimmed)};
      }
      break;
    case DSButtonStyle::secondary:
      switch (state) {
        case DSControlState::enabled: return {clear, DSColor::separator, DSColor::textPrimary};
        case DSControlState::highlighted: return {DSColor::bgElevated, DSColor::separator, DSColor::textPrimary};
        case DSControlState::disabled: return {clear, DSColor::separator, DSColor::textPrimary.withAlpha(kDimmed)};
      }
      break;
    case DSButtonStyle::tertiary:
      switch (state) {
        case DSControlState::enabled: return {std::nullopt, std::nullopt, DSColor::accent};
        case DSControlState::highlighted: return {std::nullopt, std::nullopt, DSColor::textPrimary};
        case DSControlState::disabled: return {std::nullopt, std::nullopt, DSColor::accent.withAlpha(kDimmed)};
      }
      break;
  }
  return {std::nullopt, std::nullopt, DSColor::accent};
}

}  // namespace halvane
