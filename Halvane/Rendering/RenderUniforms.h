#pragma once
// RenderUniforms: the 208-byte parameter block that the three compute kernels get at
// binding 0, and the pixel size of a render. Values are cleaned here on
// every frame, so no kernel has to defend itself against a NaN or a value out of
// range. Pure functions, callable on any thread. The GLSL mirror of the block is
// Halvane/Shaders/Uniforms.glsl; both change together.
#ifndef HALVANE_INSIDE_HalvaneRendering
#error "a private header of Halvane/Rendering: include its public headers"
#endif
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "Halvane/Model/EditState.h"

namespace halvane {

// Little-endian, 4-byte aligned, 208 bytes, byte for byte the layout the kernels read.
struct RenderUniforms {
  float cropX = 0;
  float cropY = 0;
  float cropWidth = 0;
  float cropHeight = 0;
  float rotationRadians = 0;
  std::uint32_t quarterTurns = 0;
  std::uint32_t flipHorizontal = 0;
  std::uint32_t reserved0 = 0;
  std::uint32_t sourceWidth = 0;
  std::uint32_t sourceHeight = 0;
  std::uint32_t croppedWidth = 0;
  std::uint32_t croppedHeight = 0;
  std::uint32_t outputWidth = 0;
  std::uint32_t outputHeight = 0;
  std::uint32_t reserved1 = 0;
  std::uint32_t reserved2 = 0;
  float exposure = 0;
  float brightness = 0;
  float contrast = 0;
  float highlights = 0;
  float shadows = 0;
  float whites = 0;
  float blacks = 0;
  float gamma = 0;
  float saturation = 0;
  float vibrance = 0;
  float temperature = 0;
  float tint = 0;
  float sharpness = 0;
  float clarity = 0;
  float vignetteIntensity = 0;
  float vignetteRadius = 0;
  std::uint32_t filterType = 0;
  float filterIntensity = 0;
  std::uint32_t reserved3 = 0;
  std::uint32_t reserved4 = 0;
  std::uint32_t focusMode = 0;
  float focusCenterX = 0;
  float focusCenterY = 0;
  float focusRadius = 0;
  float focusFeather = 0;
  float focusAngleRadians = 0;
  float focusStrength = 0;
  float focusAspect = 0;
  float focusBokehHighlights = 0;
  std::uint32_t irisBlades = 0;
  float irisRotationRadians = 0;
  float depthMix = 0;
  float focusDepth = 0;
  float edgeProtect = 0;
  std::uint32_t finalOutput = 0;
  std::uint32_t reserved5 = 0;
};

static_assert(sizeof(RenderUniforms) == 208);
static_assert(alignof(RenderUniforms) == 4);
static_assert(std::is_standard_layout_v<RenderUniforms>);
static_assert(std::is_trivially_copyable_v<RenderUniforms>);
static_assert(sizeof(float) == 4 && std::numeric_limits<float>::is_iec559);
static_assert(offsetof(RenderUniforms, cropX) == 0);
static_assert(offsetof(RenderUniforms, cropY) == 4);
static_assert(offsetof(RenderUniforms, cropWidth) == 8);
static_assert(offsetof(RenderUniforms, cropHeight) == 12);
static_assert(offsetof(RenderUniforms, rotationRadians) == 16);
static_assert(offsetof(RenderUniforms, quarterTurns) == 20);
static_assert(offsetof(RenderUniforms, flipHorizontal) == 24);
static_assert(offsetof(RenderUniforms, reserved0) == 28);
static_assert(offsetof(RenderUniforms, sourceWidth) == 32);
static_assert(offsetof(RenderUniforms, sourceHeight) == 36);
static_assert(offsetof(RenderUniforms, croppedWidth) == 40);
static_assert(offsetof(RenderUniforms, croppedHeight) == 44);
static_assert(offsetof(RenderUniforms, outputWidth) == 48);
static_assert(offsetof(RenderUniforms, outputHeight) == 52);
static_assert(offsetof(RenderUniforms, reserved1) == 56);
static_assert(offsetof(RenderUniforms, reserved2) == 60);
static_assert(offsetof(RenderUniforms, exposure) == 64);
static_assert(offsetof(RenderUniforms, brightness) == 68);
static_assert(offsetof(RenderUniforms, contrast) == 72);
static_assert(offsetof(RenderUniforms, highlights) == 76);
static_assert(offsetof(RenderUniforms, shadows) == 80);
static_assert(offsetof(RenderUniforms, whites) == 84);
static_assert(offsetof(RenderUniforms, blacks) == 88);
static_assert(offsetof(RenderUniforms, gamma) == 92);
static_assert(offsetof(RenderUniforms, saturation) == 96);
static_assert(offsetof(RenderUniforms, vibrance) == 100);
static_assert(offsetof(RenderUniforms, temperature) == 104);
static_assert(offsetof(RenderUniforms, tint) == 108);
static_assert(offsetof(RenderUniforms, sharpness) == 112);
static_assert(offsetof(RenderUniforms, clarity) == 116);
static_assert(offsetof(RenderUniforms, vignetteIntensity) == 120);
static_assert(offsetof(RenderUniforms, vignetteRadius) == 124);
static_assert(offsetof(RenderUniforms, filterType) == 128);
static_assert(offsetof(RenderUniforms, filterIntensity) == 132);
static_assert(offsetof(RenderUniforms, reserved3) == 136);
static_assert(offsetof(RenderUniforms, reserved4) == 140);
static_assert(offsetof(RenderUniforms, focusMode) == 144);
static_assert(offsetof(RenderUniforms, focusCenterX) == 148);
static_assert(offsetof(RenderUniforms, focusCenterY) == 152);
static_assert(offsetof(RenderUniforms, focusRadius) == 156);
static_assert(offsetof(RenderUniforms, focusFeather) == 160);
static_assert(offsetof(RenderUniforms, focusAngleRadians) == 164);
static_assert(offsetof(RenderUniforms, focusStrength) == 168);
static_assert(offsetof(RenderUniforms, focusAspect) == 172);
static_assert(offsetof(RenderUniforms, focusBokehHighlights) == 176);
static_assert(offsetof(RenderUniforms, irisBlades) == 180);
static_assert(offsetof(RenderUniforms, irisRotationRadians) == 184);
static_assert(offsetof(RenderUniforms, depthMix) == 188);
static_assert(offsetof(RenderUniforms, focusDepth) == 192);
static_assert(offsetof(RenderUniforms, edgeProtect) == 196);
static_assert(offsetof(RenderUniforms, finalOutput) == 200);
static_assert(offsetof(RenderUniforms, reserved5) == 204);

// The single-precision constant that stands for pi in every angle of the block: the
// value 3.1415925, bits 0x40490FDA (one unit in the last place below float pi).
inline constexpr float kUniformPi = 3.1415925f;
static_assert(std::bit_cast<std::uint32_t>(kUniformPi) == 0x40490FDAu);

// The pixel size of a render's result.
struct OutputSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  bool operator==(const OutputSize&) const = default;
};

// Builds the block for an input texture of sourceWidth by sourceHeight pixels. Stops
// the program when a side is above the range of 32 bits, or when a cropped side does
// not fit 32 bits once rounded in Float precision.
RenderUniforms makeUniforms(std::uint64_t sourceWidth, std::uint64_t sourceHeight, const EditState& state,
                            bool finalOutput);

// Whether the geometry pass would copy its input unchanged: no crop, quarter turn,
// mirror or tilt (the crop's origin is clamped to the source, so a crop of the whole
// size starts at 0).
bool geometryIsIdentity(const RenderUniforms& uniforms);

// The pixel size of the result of a render: the cleaned crop times the source's sides
// in Float precision, rounded to nearest with halves away from zero, at least 1, the
// two swapped for an odd number of quarter turns. The tilt does not change it. Equal to
// makeUniforms' outputWidth and outputHeight, and stops the program on the same sizes.
OutputSize outputSize(std::uint64_t sourceWidth, std::uint64_t sourceHeight, const EditState& state);

}  // namespace halvane
