#pragma once
// The two blocks of the display shaders, as they cross to the GPU: little-endian
// 32-bit floats, no padding.
#include <cstddef>

namespace halvane {

// Vertex buffer 0: the quad in clip space, x to the right, y up.
struct DisplayQuad {
  float originX = -1;  // left edge
  float originY = -1;  // lower edge
  float sizeX = 2;
  float sizeY = 2;
  bool operator==(const DisplayQuad&) const = default;
};
static_assert(sizeof(DisplayQuad) == 16);
static_assert(offsetof(DisplayQuad, originX) == 0 && offsetof(DisplayQuad, originY) == 4 &&
              offsetof(DisplayQuad, sizeX) == 8 && offsetof(DisplayQuad, sizeY) == 12);

// Vertex buffer 1: the texture's size in pixels.
struct DisplayTextureSize {
  float width = 0;
  float height = 0;
};
static_assert(sizeof(DisplayTextureSize) == 8);
static_assert(offsetof(DisplayTextureSize, width) == 0 && offsetof(DisplayTextureSize, height) == 4);

// Fits a texture into a drawable keeping its aspect ratio, scaled by `overscale` and
// centred on `offset` (clip space).
DisplayQuad fitQuad(float textureWidth, float textureHeight, float drawableWidth, float drawableHeight,
                    float overscale, float offsetX, float offsetY);

}  // namespace halvane
