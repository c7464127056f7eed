#pragma once
// CPU reference of the colour pass. It compiles the kernel's own colour sources
// (Halvane/Shaders/Color*.glsl and LookTable.inc) as C++, so the tests compare the GPU
// with the same formulas evaluated in float on the CPU; only the tile, the texture
// sampling, the reduction of the wide level (its reduced copy in 8-bit texels and the
// level in half floats, as the GPU stores them) and the rounding of the output are the
// reference's own. Thread-safe.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Halvane/Model/EditState.h"
#include "Halvane/Rendering/RenderUniforms.h"
#include "Platform/Media/Image.h"

namespace halvane::colorref {

// The colour pass over a whole image as the kernel computes it from the block's colour
// fields, with the block that the engine makes for the state at this size (alpha is
// copied). Uses every hardware thread. When nonFinite is given, it receives the number
// of pixels whose result was a NaN or an infinity before rounding.
platform::media::Image renderColorPass(const platform::media::Image& input, const EditState& state,
                                       size_t* nonFinite = nullptr);

// The same with each pixel's wide neighbourhood (clarity, a look's detail and glow)
// gathered from the picture itself, as the pass did before it read a reduced wide
// level: the reference for that level's quality.
platform::media::Image renderColorPassGatheringEachPixel(const platform::media::Image& input, const EditState& state);

// One row of the look table: its number and catalogue id.
struct LookRow {
  uint32_t number;
  std::string id;
};
std::vector<LookRow> lookRows();

// What the look table says of look `number`.
struct LookTraits {
  bool monochrome;  // a channel mix or a duo-tone
  // The hue in degrees of its split toning and its amount: shadows, then highlights.
  std::array<float, 4> splitToning;
  // The dark and light colours (0xRRGGBB) of a duo-tone; the light one is 0 for others.
  std::array<uint32_t, 2> duoTone;
  bool positional;  // changes pixels by their position (vignette, light, halftone)
};
LookTraits lookTraits(uint32_t number);

}  // namespace halvane::colorref
