#version 450
// The colour pass's wide level (ColorWide.glsl): each texel of the reduced copy
// (textures 0 and 2 from colorReduceKernel) gathers its neighbourhood once, writing
// the guided filter's a and b to texture 1 (red and green) and the colour blur to
// texture 3, both in float.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "ColorAdjust.glsl"

layout(set = 0, binding = 10) uniform sampler2D reducedLuma;
layout(set = 0, binding = 11) uniform writeonly image2D colorLevel;

vec2 fullSize;
ivec2 last;

// The texel of the reduced copy under full-size position p (nearest, clamped): the
// copy is smooth at the scale of the taps, and one read a tap instead of a bilinear
// blend in float (a CPU device filters 8-bit texels to 8 bits, which would undo the
// 16-bit values) keeps the gather cheap where the copy is not reduced.
ivec2 texelAt(vec2 p) { return clamp(ivec2(floor(p * vec2(last + ivec2(1)) / fullSize)), ivec2(0), last); }

vec2 lumaAt(vec2 p) {
  vec4 s = texelFetch(reducedLuma, texelAt(p), 0);
  return vec2(decodeWide16(s.x, s.y), decodeWide16(s.z, s.w));
}

#define WIDE_COLOR(p) texelFetch(inputTexture, texelAt(p), 0).rgb
#define WIDE_LUMA(p) lumaAt(p)
#include "ColorWide.glsl"

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 target = imageSize(outputImage);
  if (pos.x >= target.x || pos.y >= target.y) return;
  fullSize = vec2(float(u.outputWidth), float(u.outputHeight));
  last = target - ivec2(1);
  WideTexel t = gatherWide((vec2(pos) + vec2(0.5)) * fullSize / vec2(target), fullSize);
  imageStore(outputImage, pos, vec4(t.a, t.b, 0.0, 1.0));
  imageStore(colorLevel, pos, vec4(t.color, 1.0));
}
