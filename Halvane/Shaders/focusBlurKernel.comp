#version 450
// A step of the focus pass: a gaussian along one axis of a level, in linear light,
// renormalised at the borders instead of reading past them. Two of these, across and
// down, make the level's separable blur.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "FocusRegion.glsl"
#include "FocusStep.glsl"

// Texture 2: the picture, for the depth mode's measure of detail.
layout(set = 0, binding = 10) uniform sampler2D picture;

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
  // Each next weight is the last times a ratio that itself shrinks by a constant
  // factor, so the loop needs no exponential.
  float w = exp(-float(first * first) * invTwoSigmaSq);
  float ratio = exp(-float(2 * first + 1) * invTwoSigmaSq);
  float ratioStep = exp(-2.0 * invTwoSigmaSq);
  vec3 sum = vec3(0.0);
  float weight = 0.0;
  for (int i = first; i <= last; ++i) {
    sum += w * decodeLevel(texelFetch(inputTexture, pos + direction * i, 0).rgb);
    weight += w;
    w *= ratio;
    ratio *= ratioStep;
  }
  vec4 stored = encodeLevel(sum / weight);
  // The depth mode's localDetail varies slowly (its samples are a hundredth of the
  // picture apart), so one level keeps it for the last step to interpolate.
  if (focusStep.storeDetail != 0u) stored.a = localDetailIn(picture, (vec2(pos) + 0.5) * float(focusStep.factor));
  imageStore(outputImage, pos, stored);
}
