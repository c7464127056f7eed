#version 450
// The colour pass's wide level (ColorWide.glsl): each texel of the reduced copy
// (texture 0, or the picture itself when it is small) gathers its neighbourhood once,
// writing the luma blur in 16 bits and the texel's own luma to texture 1 and the colour
// blur to texture 2.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"

layout(set = 0, binding = 10) uniform writeonly image2D colorLevel;

vec2 fullSize;
#define COLOR_SAMPLE(p) textureLod(inputTexture, (p) / fullSize, 0.0).rgb
#include "ColorWide.glsl"

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 target = imageSize(outputImage);
  if (pos.x >= target.x || pos.y >= target.y) return;
  fullSize = vec2(float(u.outputWidth), float(u.outputHeight));
  vec2 center = (vec2(pos) + vec2(0.5)) * fullSize / vec2(target);
  vec3 own = texelFetch(inputTexture, pos, 0).rgb;
  WideBlur around = gatherWide(center, fullSize, own);
  imageStore(outputImage, pos, vec4(encodeWideLuma(around.luma), luma(own), 1.0));
  imageStore(colorLevel, pos, vec4(around.color, 1.0));
}
