#version 450
// The colour pass: the sixteen adjustments, the look numbered by filterType blended by
// filterIntensity, then the vignette (ColorPixel.glsl and its includes, which the CPU
// reference of the tests compiles too). This file holds only the GPU side: the 18 by 18
// tile of the group's pixels with a one-pixel border, for sharpness; the block of
// values computed once a pass; the wide level (textures 2 and 3, made by
// colorWideKernel when the edit reads it); and the choice of the parts compiled in.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"

// The parts of the pass this pipeline carries (ColorFeatures.glsl); all of them unless
// the engine specializes it for an edit.
layout(constant_id = 0) const uint colorFeatures = 0xFFFFFFFFu;
#define COLOR_USES(feature) ((colorFeatures & (feature)) != 0u)

// The luma of 18 x 18 pixels: 1296 bytes of group memory.
shared float tile[18 * 18];
// Values of the edit that cost more than a pixel's work, computed once a pass by the
// engine from this same source (ColorConstants.h).
layout(set = 0, binding = 1, std140) uniform ColorConstants {
  vec4 white;  // whiteBalanceOf(u.temperature, u.tint)
} constants;

#include "ColorAdjust.glsl"

ColorParams params;

// Textures 2 and 3: the wide level's guided filter (a and b) and colour blur, in float,
// when the edit reads them; otherwise bound to the picture and never read. One filtered
// read each: the sampler blends the four texels around p in float.
layout(set = 0, binding = 10) uniform sampler2D wideLuma;
layout(set = 0, binding = 11) uniform sampler2D wideColor;

// The colour blur is read only when the look glows.
WideBlur wideAt(vec2 p, float y, bool glows) {
  vec2 at = p / params.size;
  vec4 g = texture(wideLuma, at);
  vec3 c = glows ? texture(wideColor, at).rgb : vec3(0.0);
  return WideBlur(g.x * y + g.y, c);
}
#define COLOR_WIDE(p, y, glows) wideAt(p, y, glows)
#include "ColorPixel.glsl"

void main() {
  ivec2 size = ivec2(int(u.outputWidth), int(u.outputHeight));
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 origin = ivec2(gl_WorkGroupID.xy) * 16 - ivec2(1);

  // Only sharpness reads the neighbours, so only a pipeline that carries it fills the
  // tile. Each thread fetches its own pixel first, clamped to the image (there is no
  // non-uniform dispatch, so edge groups overrun), and fills its own entry with it; the
  // first 68 threads fetch the one-pixel border: a fetch is dear on a CPU device, so
  // each of the tile's 324 texels is fetched once.
  ivec2 local = ivec2(gl_LocalInvocationID.xy);
  vec4 center = texelFetch(inputTexture, clamp(pos, ivec2(0), size - ivec2(1)), 0);
  if (COLOR_USES(COLOR_FEATURE_SHARPNESS)) {
    tile[(local.y + 1) * 18 + local.x + 1] = luma(center.rgb);
    int i = int(gl_LocalInvocationIndex);
    if (i < 68) {
      // The top row, the bottom row, then the left and right columns between them.
      ivec2 t = i < 18 ? ivec2(i, 0) : i < 36 ? ivec2(i - 18, 17) : i < 52 ? ivec2(0, i - 35) : ivec2(17, i - 51);
      tile[t.y * 18 + t.x] = luma(texelFetch(inputTexture, clamp(origin + t, ivec2(0), size - ivec2(1)), 0).rgb);
    }
    barrier();
  }
  if (pos.x >= size.x || pos.y >= size.y) return;

  params = ColorParams(u.exposure, u.brightness, u.contrast, u.highlights, u.shadows, u.whites, u.blacks, u.gamma,
                       u.saturation, u.vibrance, u.temperature, u.tint, u.sharpness, u.clarity, u.vignetteIntensity,
                       u.vignetteRadius, u.filterType, u.filterIntensity, vec2(size), constants.white);

  int ti = (local.y + 1) * 18 + local.x + 1;
  float blur3 = 0.0;
  if (usesSharpness(params)) {
    blur3 = binomialBlur3x3(tile[ti - 19], tile[ti - 18], tile[ti - 17], tile[ti - 1], tile[ti], tile[ti + 1],
                            tile[ti + 17], tile[ti + 18], tile[ti + 19]);
  }
  vec3 result = colorPixel(params, vec2(pos) + vec2(0.5), center.rgb, blur3);
  imageStore(outputImage, pos, vec4(result, center.a));
}
