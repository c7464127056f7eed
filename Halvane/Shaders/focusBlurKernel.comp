#version 450
// A step of the focus pass: a gaussian along one axis of a level, in linear light,
// renormalised at the borders instead of reading past them. Two of these, across and
// down, make the level's separable blur.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "FocusStep.glsl"

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 size = stepTargetSize();
  if (any(greaterThanEqual(pos, size))) return;
  ivec2 direction = focusStep.axis == 0u ? ivec2(1, 0) : ivec2(0, 1);
  int along = focusStep.axis == 0u ? pos.x : pos.y;
  int extent = focusStep.axis == 0u ? size.x : size.y;
  int radius = int(ceil(3.0 * focusStep.sigma));
  int first = max(-radius, -along), last = min(radius, extent - 1 - along);
  float invTwoSigmaSq = 1.0 / (2.0 * focusStep.sigma * focusStep.sigma);
  vec3 sum = vec3(0.0);
  float weight = 0.0;
  for (int i = first; i <= last; ++i) {
    float w = exp(-float(i * i) * invTwoSigmaSq);
    sum += w * decodeLevel(texelFetch(inputTexture, pos + direction * i, 0).rgb);
    weight += w;
  }
  imageStore(outputImage, pos, encodeLevel(sum / weight));
}
