#version 450
// A step of the focus pass: each target texel is the mean light of the `factor` by
// `factor` block of input texels it covers (fewer at the right and bottom borders).
// From the picture it decodes code values and, in the lens modes, boosts highlights
// before averaging, so a small bright point keeps its light in a coarse level.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "FocusLight.glsl"
#include "FocusRegion.glsl"
#include "FocusBlurSize.glsl"
#include "FocusStep.glsl"

shared float srgbToLinearTable[256];

vec3 decodeInput(ivec2 t) {
  vec3 c = texelFetch(inputTexture, t, 0).rgb;
  if (focusStep.sourceInput == 0u) return decodeLevel(c);
  ivec3 index = ivec3(c * 255.0 + 0.5);
  return vec3(srgbToLinearTable[index.r], srgbToLinearTable[index.g], srgbToLinearTable[index.b]);
}

void main() {
  srgbToLinearTable[gl_LocalInvocationIndex] = srgbToLinear(float(gl_LocalInvocationIndex) / 255.0);
  barrier();
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (any(greaterThanEqual(pos, stepTargetSize()))) return;
  int f = int(focusStep.factor);
  ivec2 from = pos * f;
  ivec2 to = min(from + f, stepInputSize());
  float a = focusStep.sourceInput != 0u ? highlightStrength() : 0.0;
  vec3 sum = vec3(0.0);
  for (int y = from.y; y < to.y; ++y) {
    for (int x = from.x; x < to.x; ++x) {
      vec3 l = decodeInput(ivec2(x, y));
      sum += a > 0.0 ? expandHighlights(l, a) : l;
    }
  }
  vec3 mean = sum / float(max((to.x - from.x) * (to.y - from.y), 1));
  imageStore(outputImage, pos, encodeLevel(a > 0.0 ? compressHighlights(mean, a) : mean));
}
