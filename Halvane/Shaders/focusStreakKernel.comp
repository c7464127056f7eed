#version 450
// A step of the streak modes (zoom, motion): on a reduced level, each texel averages
// light along its streak with a fixed number of bilinear samples at most, stratified
// with a per-texel offset and skipping samples past the picture. The level is chosen
// so that the longest streak spans a fixed number of texels.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "FocusLight.glsl"
#include "FocusRegion.glsl"
#include "FocusBlurSize.glsl"
#include "FocusStep.glsl"

// Interleaved gradient noise: a well spread per-texel offset in [0, 1).
float texelJitter(ivec2 pos) {
  return fract(52.9829189 * fract(dot(vec2(pos), vec2(0.06711056, 0.00583715))));
}

// Linear light at a point between texel centres: the four texels around it decoded
// first and then interpolated, so that a step across an edge averages light.
vec3 linearAt(vec2 point) {
  vec2 t = point - 0.5;
  ivec2 base = ivec2(floor(t));
  vec2 f = t - vec2(base);
  ivec2 top = stepTargetSize() - 1;
  vec3 c00 = decodeLevel(texelFetch(inputTexture, clamp(base, ivec2(0), top), 0).rgb);
  vec3 c10 = decodeLevel(texelFetch(inputTexture, clamp(base + ivec2(1, 0), ivec2(0), top), 0).rgb);
  vec3 c01 = decodeLevel(texelFetch(inputTexture, clamp(base + ivec2(0, 1), ivec2(0), top), 0).rgb);
  vec3 c11 = decodeLevel(texelFetch(inputTexture, clamp(base + ivec2(1, 1), ivec2(0), top), 0).rgb);
  return mix(mix(c00, c10, f.x), mix(c01, c11, f.x), f.y);
}

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 size = stepTargetSize();
  if (any(greaterThanEqual(pos, size))) return;
  float f = float(focusStep.factor);
  vec2 q = vec2(pos) + 0.5;
  vec2 halfLength = halfStreak(q * f) / f;  // in texels
  float lengthTexels = 2.0 * length(halfLength);
  vec4 own = texelFetch(inputTexture, pos, 0);
  if (lengthTexels < 0.5) {
    imageStore(outputImage, pos, own);
    return;
  }
  int maxSamples = u.finalOutput != 0u ? 96 : 48;
  int count = clamp(int(ceil(lengthTexels)) + 1, 2, maxSamples);
  vec2 extent = vec2(size);
  float jitter = texelJitter(pos);
  vec3 sum = vec3(0.0);
  float weight = 0.0;
  for (int i = 0; i < count; ++i) {
    vec2 s = q - halfLength + 2.0 * halfLength * ((float(i) + jitter) / float(count));
    if (any(lessThan(s, vec2(0.0))) || any(greaterThan(s, extent))) continue;
    sum += linearAt(s);
    weight += 1.0;
  }
  imageStore(outputImage, pos, weight > 0.0 ? encodeLevel(sum / weight) : own);
}
