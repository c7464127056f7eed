#pragma once
// The editor's colours: dark surfaces, light text, one blue accent. Components run from
// 0 to 1.
namespace halvane {

struct DSRGBA {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  constexpr DSRGBA withAlpha(double newAlpha) const { return {red, green, blue, newAlpha}; }
  constexpr bool operator==(const DSRGBA&) const = default;
};

namespace DSColor {
inline constexpr DSRGBA bgPrimary{0.078, 0.086, 0.118, 1};      // screen and strip backgrounds
inline constexpr DSRGBA accent{0.22, 0.455, 0.875, 1};          // selection, progress, primary action
inline constexpr DSRGBA bgSecondary{0.11, 0.122, 0.165, 1};     // cards
inline constexpr DSRGBA bgTertiary{0.137, 0.153, 0.204, 1};     // third surface level
inline constexpr DSRGBA bgElevated{0.176, 0.196, 0.255, 1};     // controls at rest, progress tracks
inline constexpr DSRGBA textPrimary{0.902, 0.91, 0.941, 1};     // main text
inline constexpr DSRGBA textSecondary{0.62, 0.65, 0.73, 1};     // secondary text, disabled glyphs
inline constexpr DSRGBA accentSoft{0.22, 0.455, 0.875, 0.15};   // highlighted controls
inline constexpr DSRGBA separator{0.196, 0.216, 0.282, 1};      // strokes and outlines
inline constexpr DSRGBA destructive{1.0, 0.41, 0.45, 1};
inline constexpr DSRGBA warning{1.0, 0.7, 0.24, 1};
inline constexpr DSRGBA success{0.35, 0.79, 0.49, 1};
inline constexpr DSRGBA shadow{0, 0, 0, 1};                     // every shadow
inline constexpr DSRGBA textOnAccent{1, 1, 1, 1};
inline constexpr DSRGBA scrim{0, 0, 0, 1};                      // modal dimming, drawn at kScrimAlpha
inline constexpr double kScrimAlpha = 0.5;
}  // namespace DSColor

}  // namespace halvane
