#pragma once
// Shadow levels, all in DSColor::shadow. The radius is the blur of the shadow's edge in
// points; the offset moves it (positive y is down).
namespace halvane {

struct DSShadowStyle {
  double opacity = 0;
  double offsetX = 0;
  double offsetY = 0;
  double radius = 0;
  constexpr bool operator==(const DSShadowStyle&) const = default;
};

namespace DSShadow {
inline constexpr DSShadowStyle elevated{0.15, 0, 4, 8};
inline constexpr DSShadowStyle card{0.08, 0, 2, 4};
inline constexpr DSShadowStyle topEdge{0.06, 0, -1, 3};
inline constexpr DSShadowStyle none{0, 0, 0, 0};
}  // namespace DSShadow

}  // namespace halvane
