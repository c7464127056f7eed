#include "Halvane/Rendering/ColorConstants.h"

#include "Halvane/Rendering/GlslCompat.h"

// The kernel's colour source as C++, in a namespace of its own: the tests compile the
// same source into theirs.
namespace halvane::colorsource {
using namespace glsl;
#include "Halvane/Shaders/ColorAdjust.glsl"
}  // namespace halvane::colorsource

namespace halvane {

namespace {

// The std140 mirror of colorKernel.comp's ColorConstants.
struct ColorConstants {
  float white[4];  // whiteBalanceOf(temperature, tint): the cone gains, then the peak of white
};
static_assert(sizeof(ColorConstants) == 16);

}  // namespace

void setColorBlocks(platform::gpu::ComputeCommandEncoder& encoder, const RenderUniforms& uniforms) {
  const colorsource::vec4 white = colorsource::whiteBalanceOf(uniforms.temperature, uniforms.tint);
  const ColorConstants constants{{white.x, white.y, white.z, white.w}};
  encoder.setBytes(&uniforms, sizeof uniforms, 0);
  encoder.setBytes(&constants, sizeof constants, 1);
}

}  // namespace halvane
