#pragma once
// Spacing and corner radii of the editor, in points (logical pixels). Rounded shapes use
// a continuous corner curve.
#include <array>

namespace halvane {

namespace DSSpacing {
inline constexpr double xxs = 4;
inline constexpr double xs = 8;
inline constexpr double sm = 12;
inline constexpr double md = 16;
inline constexpr double lg = 20;
inline constexpr double xl = 24;
inline constexpr double xxl = 32;
inline constexpr double xxxl = 40;
inline constexpr double huge = 56;
inline constexpr std::array<double, 9> kScale = {xxs, xs, sm, md, lg, xl, xxl, xxxl, huge};
}  // namespace DSSpacing

namespace DSRadius {
inline constexpr double hairline = 1;
inline constexpr double xs = 4;
inline constexpr double sm = 6;
inline constexpr double md = 8;
inline constexpr double lg = 10;
inline constexpr double xl = 12;
inline constexpr double xxl = 16;
inline constexpr double pill = 20;
inline constexpr std::array<double, 8> kScale = {hairline, xs, sm, md, lg, xl, xxl, pill};
}  // namespace DSRadius

}  // namespace halvane
