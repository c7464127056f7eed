#version 450
// The focus pass: blur outside a sharp region shaped by the focus mode.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(u.outputWidth) || pos.y >= int(u.outputHeight)) return;
  imageStore(outputImage, pos, texelFetch(inputTexture, pos, 0));
}
