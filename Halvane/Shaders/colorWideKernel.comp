#version 450
// The colour pass's wide level (ColorWide.glsl): each texel of the reduced copy
// (textures 0 and 2 from colorReduceKernel) gathers its neighbourhood once, writing
// the guided filter's a and b (16 bits each) to texture 1 and the colour blur to
// texture 3.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "ColorAdjust.glsl"

layout(set = 0, binding = 10) uniform sampler2D reducedLuma;
layout(set = 0, binding = 11) uniform writeonly image2D colorLevel;

vec2 fullSize;
ivec2 last;

// The bilinear blend of the four texels around full-size position p, in float (a CPU
// device filters 8-bit texels to 8 bits, which would undo the 16-bit values).
struct Corners {
  ivec2 a;
  ivec2 b;
  vec2 f;
};

Corners cornersAt(vec2 p) {
  vec2 t = p * vec2(last + ivec2(1)) / fullSize - vec2(0.5);
  vec2 cell = floor(t);
  return Corners(clamp(ivec2(cell), ivec2(0), last), clamp(ivec2(cell) + ivec2(1), ivec2(0), last), t - cell);
}

vec4 blend(sampler2D s, Corners k) {
  return mix(mix(texelFetch(s, k.a, 0), texelFetch(s, ivec2(k.b.x, k.a.y), 0), k.f.x),
             mix(texelFetch(s, ivec2(k.a.x, k.b.y), 0), texelFetch(s, k.b, 0), k.f.x), k.f.y);
}

vec2 lumaAt(vec2 p) {
  vec4 s = blend(reducedLuma, cornersAt(p));
  return vec2(decodeWide16(s.x, s.y), decodeWide16(s.z, s.w));
}

#define WIDE_COLOR(p) blend(inputTexture, cornersAt(p)).rgb
#define WIDE_LUMA(p) lumaAt(p)
#include "ColorWide.glsl"

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 target = imageSize(outputImage);
  if (pos.x >= target.x || pos.y >= target.y) return;
  fullSize = vec2(float(u.outputWidth), float(u.outputHeight));
  last = target - ivec2(1);
  WideTexel t = gatherWide((vec2(pos) + vec2(0.5)) * fullSize / vec2(target), fullSize);
  imageStore(outputImage, pos, vec4(encodeWide16(t.a), encodeWide16(t.b)));
  imageStore(colorLevel, pos, vec4(t.color, 1.0));
}
