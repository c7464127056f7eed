#pragma once
// A ratio button of the transform panel. The ratio is kept as given, never reduced:
// 1188 by 2208 stays 1188 by 2208.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace halvane {

struct CropAspect {
  int64_t width = 1;
  int64_t height = 1;
  std::string localizedName;
  bool operator==(const CropAspect&) const = default;
};

// The ratios shown when the host configures none.
inline std::vector<CropAspect> defaultCropAspects() {
  // "Square" is the default text of the key "transform.square".
  return {{1, 1, "Square"}, {9, 16, "9:16"}, {16, 9, "16:9"}, {2, 3, "2:3"},
          {3, 2, "3:2"},    {4, 5, "4:5"},   {5, 4, "5:4"}};
}

}  // namespace halvane

template <>
struct std::hash<halvane::CropAspect> {
  size_t operator()(const halvane::CropAspect& aspect) const noexcept {
    size_t seed = std::hash<int64_t>()(aspect.width);
    seed ^= std::hash<int64_t>()(aspect.height) + 0x9e3779b97f4a7c15ull + (seed << 6) + (seed >> 2);
    seed ^= std::hash<std::string>()(aspect.localizedName) + 0x9e3779b97f4a7c15ull + (seed << 6) + (seed >> 2);
    return seed;
  }
};
