#version 450
// The focus pass's last step, at full resolution: eleven effects that blur parts of
// the picture, by focusMode, from levels that earlier steps reduced and blurred
// (FocusPass.cpp), so that the work per pixel does not grow with the blur.
//
// Every blur averages linear light, and every pixel has its own blur size, from zero
// at the edge of the sharp region to the full size at the outer edge of the feather.
// Smooth modes (radial, linear, mirrored, gaussian, depth, edge) read a pyramid whose
// level k holds a gaussian of sigma 2^k pixels at 1 / 2^k of the size, and interpolate
// between the two levels around the pixel's sigma; below sigma 2 a pixel gathers its
// neighbours itself (at most 13 by 13). The edge mode climbs the pyramid
// only as far as the blurred colour still resembles the pixel's. Lens modes (bokeh,
// iris) and streak modes (zoom, motion) read one reduced level that their own step
// gathered, and fade into the sharp picture where the blur is smaller than a texel of
// that level. Sharp pixels are copied exactly, so strength 0 and the sharp region are
// an exact identity.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "FocusLight.glsl"
#include "FocusRegion.glsl"
#include "FocusBlurSize.glsl"
#include "FocusStep.glsl"

// Textures 2 to 9: the levels. Unused ones are bound to the picture and never read.
layout(set = 0, binding = 10) uniform sampler2D level1;
layout(set = 0, binding = 11) uniform sampler2D level2;
layout(set = 0, binding = 12) uniform sampler2D level3;
layout(set = 0, binding = 13) uniform sampler2D level4;
layout(set = 0, binding = 14) uniform sampler2D level5;
layout(set = 0, binding = 15) uniform sampler2D level6;
layout(set = 0, binding = 16) uniform sampler2D level7;
layout(set = 0, binding = 17) uniform sampler2D level8;

// Decoded with the transfer curve itself: a table in group memory would need a
// barrier, which on a CPU device costs more than the few pixels each one decodes.
vec3 decodeTexel(ivec2 t) {
  vec3 c = texelFetch(inputTexture, t, 0).rgb;
  return vec3(srgbToLinear(c.r), srgbToLinear(c.g), srgbToLinear(c.b));
}

// Edge protection: colours are compared on a square-root scale, close to how the eye
// grades them, which is how levels store them. focusStrength sets the spatial size;
// edgeProtect how far a colour may differ before it stops the blur (0: never, a
// plain gaussian).
float rangeWeightScale() {
  if (u.focusMode != FOCUS_EDGE) return 0.0;
  float e = u.edgeProtect;
  float sigmaRange = 0.04;  // at edgeProtect 1, about 10 code values
  return e * e / (2.0 * sigmaRange * sigmaRange);
}

// Below the pyramid's first level (sigma 2) a gaussian is gathered from the pixels
// themselves, truncated at 3 sigma and renormalised inside the picture: at most 13 by
// 13 texels, and only for the pixels blurred that little (the edge of the sharp
// region, or a very light blur).
vec3 gatherSmallGaussian(ivec2 pos, float sigma, vec3 centre) {
  int reach = min(int(ceil(3.0 * sigma)), 6);
  float supportSq = 9.0 * sigma * sigma;
  float invTwoSigmaSq = 1.0 / (2.0 * sigma * sigma);
  float scale = rangeWeightScale();
  vec3 centrePerceptual = sqrt(centre);
  ivec2 size = ivec2(u.outputWidth, u.outputHeight);
  vec3 sum = vec3(0.0);
  float weight = 0.0;
  for (int dy = -reach; dy <= reach; ++dy) {
    for (int dx = -reach; dx <= reach; ++dx) {
      ivec2 t = pos + ivec2(dx, dy);
      float dSq = float(dx * dx + dy * dy);
      if (dSq > supportSq || any(lessThan(t, ivec2(0))) || any(greaterThanEqual(t, size))) continue;
      vec3 l = decodeTexel(t);
      float w = exp(-dSq * invTwoSigmaSq);
      if (scale > 0.0) {
        vec3 difference = sqrt(l) - centrePerceptual;
        w *= exp(-dot(difference, difference) * scale);
      }
      sum += w * l;
      weight += w;
    }
  }
  return sum / weight;
}

#define READ_LEVEL(L) textureLod(L, p / (factor * vec2(textureSize(L, 0))), 0.0).rgb

// The stored (square-root) light of level k at output point p, bilinearly.
vec3 storedLevel(int k, vec2 p, float factor) {
  switch (k) {
    case 1: return READ_LEVEL(level1);
    case 2: return READ_LEVEL(level2);
    case 3: return READ_LEVEL(level3);
    case 4: return READ_LEVEL(level4);
    case 5: return READ_LEVEL(level5);
    case 6: return READ_LEVEL(level6);
    case 7: return READ_LEVEL(level7);
    default: return READ_LEVEL(level8);
  }
}

// The depth mode's localDetail, kept in the alpha of level min(2, levelCount), or
// measured here when there is no level.
float detailAt(vec2 p) {
  if (focusStep.levelCount == 0u) return localDetail(p);
  float factor = focusStep.levelCount >= 2u ? 4.0 : 2.0;
  return focusStep.levelCount >= 2u ? textureLod(level2, p / (factor * vec2(textureSize(level2, 0))), 0.0).a
                                    : textureLod(level1, p / (factor * vec2(textureSize(level1, 0))), 0.0).a;
}

vec3 pyramidLevel(int k, vec2 p) {
  return decodeLevel(storedLevel(k, p, exp2(float(k))));
}

// The pyramid's two levels around sigma and the share of the upper one; level 0 is
// the picture itself.
struct LevelPair {
  int lower;
  float t;
};

LevelPair levelsAround(float sigma) {
  int top = int(focusStep.levelCount);
  float s = min(sigma, exp2(float(top)));
  int k = clamp(int(floor(log2(max(s, 1.0)))), 0, top - 1);
  float lo = k == 0 ? 0.0 : exp2(float(k));
  float hi = exp2(float(k + 1));
  return LevelPair(k, clamp((s - lo) / (hi - lo), 0.0, 1.0));
}

vec3 smoothBlur(ivec2 pos, vec2 p, vec3 centre, float sigma) {
  if (sigma < 2.0) return gatherSmallGaussian(pos, sigma, centre);
  LevelPair pair = levelsAround(sigma);
  return mix(pyramidLevel(pair.lower, p), pyramidLevel(pair.lower + 1, p), pair.t);
}

// Edge protection over the pyramid: across an edge the wider levels mix in the other
// side and differ from the pixel, so the pixel stops climbing and keeps a smaller blur
// there. The climb tests the three levels up to the pixel's sigma (from half of it
// on); below sigma 2 the pixel gathers its own small gaussian, range-weighted.
vec3 edgeAwareBlur(ivec2 pos, vec2 p, vec3 centre, float sigma) {
  if (sigma < 2.0) return gatherSmallGaussian(pos, sigma, centre);
  float scale = rangeWeightScale();
  vec3 centrePerceptual = sqrt(centre);
  LevelPair pair = levelsAround(sigma);
  vec3 value = centre;
  float trust = 1.0;
  int first = max(pair.lower - 1, 1);
  for (int k = first; k <= pair.lower + 1; ++k) {
    vec3 stored = storedLevel(k, p, exp2(float(k)));
    vec3 difference = stored - centrePerceptual;
    trust = min(trust, exp(-dot(difference, difference) * scale));
    float take = k <= pair.lower ? 1.0 : pair.t;
    value = mix(value, decodeLevel(stored), trust * take);
  }
  return value;
}

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (any(greaterThanEqual(pos, ivec2(u.outputWidth, u.outputHeight)))) return;
  vec4 source = texelFetch(inputTexture, pos, 0);
  if (u.focusStrength <= 0.0 || u.focusMode == 0u || u.focusMode > FOCUS_EDGE) {
    imageStore(outputImage, pos, source);
    return;
  }
  vec2 p = vec2(pos) + 0.5;
  vec3 result;
  if (isLensMode() || isStreakMode()) {
    float f = float(focusStep.factor);
    // Lens: the aperture's radius; streak: its length, whose spread is half as wide.
    float size = isLensMode() ? lensRadius(p) : length(halfStreak(p));
    if (size < SHARP_RADIUS) {
      imageStore(outputImage, pos, source);
      return;
    }
    vec3 centre = decodeTexel(pos);
    result = mix(centre, decodeLevel(storedLevel(1, p, f)), clamp(size / f, 0.0, 1.0));
  } else {
    float fraction = u.focusMode == FOCUS_DEPTH ? depthBlurFractionWithDetail(p, detailAt(p)) : areaBlurFraction(p);
    float sigma = smoothSigma(fraction);
    float support = u.focusMode == FOCUS_DEPTH ? 2.0 * sigma : 3.0 * sigma;
    if (support < SHARP_RADIUS) {
      imageStore(outputImage, pos, source);
      return;
    }
    vec3 centre = decodeTexel(pos);
    result = u.focusMode == FOCUS_EDGE ? edgeAwareBlur(pos, p, centre, sigma) : smoothBlur(pos, p, centre, sigma);
  }
  imageStore(outputImage, pos, vec4(linearToSrgb(result), source.a));
}
