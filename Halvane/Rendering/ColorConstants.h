#pragma once
// The colour pass's second block (binding 1): values that depend on the edit alone and
// cost more than a pixel's work, computed once a pass on the CPU from the kernel's own
// source (ColorAdjust.glsl compiled as C++), so that no pixel computes them.
#ifndef HALVANE_INSIDE_HalvaneRendering
#error "a private header of Halvane/Rendering: include its public headers"
#endif
#include "Halvane/Rendering/RenderUniforms.h"
#include "Platform/Gpu/Encoders.h"

namespace halvane {

// Sets the colour kernel's two blocks for `uniforms`: the parameter block (index 0) and
// its constants (index 1).
void setColorBlocks(platform::gpu::ComputeCommandEncoder& encoder, const RenderUniforms& uniforms);

}  // namespace halvane
