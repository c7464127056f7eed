#version 450
// The colour pass: adjustments, look and vignette. At neutral values it copies.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"

shared vec4 tile[18 * 18];

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(u.outputWidth) || pos.y >= int(u.outputHeight)) return;
  imageStore(outputImage, pos, texelFetch(inputTexture, pos, 0));
}
