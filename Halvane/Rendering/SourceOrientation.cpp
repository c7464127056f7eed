#include "Halvane/Rendering/SourceOrientation.h"

#include <algorithm>
#include <cmath>

#include "Halvane/Rendering/RenderUniforms.h"

namespace halvane {

namespace {

struct Bake {
  int quarterTurns;
  bool flip;
};

struct Point {
  double x, y;
};

// The geometry kernel's map from a point of the turned, mirrored frame of size
// `turned` to the unturned crop (geometryKernel.comp's unturn).
Point unturn(Point p, Point turned, Bake d) {
  if (d.flip) p.x = turned.x - p.x;
  switch (d.quarterTurns & 3) {
    case 1: return {p.y, turned.x - p.x};
    case 2: return {turned.x - p.x, turned.y - p.y};
    case 3: return {turned.y - p.y, p.x};
    default: return p;
  }
}

}  // namespace

std::optional<EditState> orientationBakeState(int rawOrientation) {
  static constexpr Bake table[8] = {{0, false}, {2, false}, {3, false}, {1, false},
                                    {0, true},  {2, true},  {1, true},  {3, true}};
  if (rawOrientation <= 0 || rawOrientation > 7) return std::nullopt;
  EditState state;
  state.rotationQuarterTurns = table[rawOrientation].quarterTurns;
  state.flipHorizontal = table[rawOrientation].flip;
  return state;
}

EditState foldOrientation(const EditState& state, int rawOrientation, std::uint32_t sourceWidth,
                          std::uint32_t sourceHeight) {
  const auto bake = orientationBakeState(rawOrientation);
  if (!bake) return state;
  const Bake b{int(bake->rotationQuarterTurns), bool(bake->flipHorizontal)};
  const bool swapped = (b.quarterTurns & 1) != 0;
  const Point source{double(sourceWidth), double(sourceHeight)};
  const Point upright = swapped ? Point{source.y, source.x} : source;

  // The user's crop in upright pixels, as the kernel places it.
  const RenderUniforms u = makeUniforms(std::uint64_t(upright.x), std::uint64_t(upright.y), state, false);
  const auto originOf = [](float fraction, std::uint32_t side, std::uint32_t cropped) {
    const auto origin = std::int64_t(std::floor(fraction * float(side) + 0.5f));
    return double(std::clamp<std::int64_t>(origin, 0, std::max<std::int64_t>(std::int64_t(side) - cropped, 0)));
  };
  const Point cropOrigin{originOf(u.cropX, u.sourceWidth, u.croppedWidth),
                         originOf(u.cropY, u.sourceHeight, u.croppedHeight)};
  const Point cropSize{double(u.croppedWidth), double(u.croppedHeight)};

  // The crop's corners in the source, through the bake.
  const Point a = unturn(cropOrigin, upright, b);
  const Point c = unturn({cropOrigin.x + cropSize.x, cropOrigin.y + cropSize.y}, upright, b);
  const Point origin{std::min(a.x, c.x), std::min(a.y, c.y)};
  const Point size{std::abs(c.x - a.x), std::abs(c.y - a.y)};

  // The one turn and mirror that take the output frame straight to the source: found
  // among the eight by where they send the output's corners.
  const Bake user{int(u.quarterTurns), u.flipHorizontal != 0};
  const Point output{double(u.outputWidth), double(u.outputHeight)};
  const auto viaBake = [&](Point p) {
    const Point q = unturn(p, output, user);
    return unturn({q.x + cropOrigin.x, q.y + cropOrigin.y}, upright, b);
  };
  Bake folded{0, false};
  for (int candidate = 0; candidate < 8; ++candidate) {
    const Bake d{candidate % 4, candidate >= 4};
    bool same = true;
    for (const Point p : {Point{0, 0}, Point{output.x, 0}, Point{0, output.y}}) {
      const Point direct = unturn(p, output, d), baked = viaBake(p);
      same = same && std::abs(direct.x + origin.x - baked.x) < 1e-6 && std::abs(direct.y + origin.y - baked.y) < 1e-6;
    }
    if (same) {
      folded = d;
      break;
    }
  }

  EditState result = state;
  result.cropRect = Rect{origin.x / source.x, origin.y / source.y, size.x / source.x, size.y / source.y};
  result.rotationQuarterTurns = folded.quarterTurns;
  result.flipHorizontal = folded.flip;
  return result;
}

}  // namespace halvane
