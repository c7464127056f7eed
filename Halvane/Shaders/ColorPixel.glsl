#ifndef HALVANE_COLOR_PIXEL_GLSL
#define HALVANE_COLOR_PIXEL_GLSL
// One pixel of the colour pass: sharpness and clarity on the input, the pointwise
// adjustments, the look blended by its intensity, then the vignette.
//
// The includer defines COLOR_SAMPLE(p): the encoded input colour, bilinearly filtered,
// at pixel coordinates p (pixel centres at half-integers, clamped at the edges).
#include "ColorLooks.glsl"

// Binomial 3 by 3 blur (1 2 1 / 2 4 2 / 1 2 1, over 16) of the neighbourhood's luma,
// rows from top to bottom.
float binomialBlur3x3(float a, float b, float c, float d, float e, float f, float g, float h, float i) {
  return ((a + c + g + i) + 2.0 * (b + d + f + h) + 4.0 * e) / 16.0;
}

struct WideBlur {
  float luma;  // edge-aware (luma-weighted) blur of the luma, for clarity and detail
  vec3 color;  // plain blur of the colour, for glow
};

const int WIDE_TAPS = 24;
const float GOLDEN_ANGLE_COS = -0.73736888;
const float GOLDEN_ANGLE_SIN = 0.67549029;

// A Vogel spiral of 24 bilinear taps over the wide radius with Gaussian weights, plus
// the pixel itself. The luma blur also weights each tap by its luma's closeness to the
// centre's (a bilateral filter), which keeps halos off strong edges.
WideBlur gatherWide(vec2 pos, vec2 size, vec3 center) {
  float radius = wideRadius(size);
  float yc = luma(center);
  float sumL = yc;
  float weightL = 1.0;
  vec3 sumC = center;
  float weightC = 1.0;
  vec2 dir = vec2(1.0, 0.0);
  for (int i = 0; i < WIDE_TAPS; i++) {
    float r = sqrt((float(i) + 0.5) / float(WIDE_TAPS));
    vec3 s = COLOR_SAMPLE(pos + dir * (r * radius));
    float ys = luma(s);
    float spatial = exp(-2.0 * r * r);
    float dy = (ys - yc) / 0.12;
    float wl = spatial * exp(-0.5 * dy * dy);
    sumL += ys * wl;
    weightL += wl;
    sumC = sumC + s * spatial;
    weightC += spatial;
    dir = vec2(dir.x * GOLDEN_ANGLE_COS - dir.y * GOLDEN_ANGLE_SIN,
               dir.x * GOLDEN_ANGLE_SIN + dir.y * GOLDEN_ANGLE_COS);
  }
  return WideBlur(sumL / weightL, sumC / weightC);
}

// pos: the pixel's centre; center: its input colour; blur3: binomialBlur3x3 of the
// luma of its 3 by 3 neighbourhood (edges clamped). Returns the encoded output.
vec3 colorPixel(ColorParams p, vec2 pos, vec3 center, float blur3) {
  bool lookOn = usesLook(p);
  Look k = lookTable(lookOn ? p.filterType : 0u);
  bool wide = usesClarity(p) || (lookOn && lookNeedsWide(k));
  WideBlur around = WideBlur(luma(center), center);
  if (wide) around = gatherWide(pos, p.size, center);

  vec3 c = center;
  float y = luma(center);
  if (usesSharpness(p)) c = applySharpness(c, y, blur3, p.sharpness);
  if (usesClarity(p)) c = applyClarity(c, y, around.luma, p.clarity);
  vec3 adjusted = adjustPointwise(c, p);

  vec3 result = adjusted;
  if (lookOn) {
    vec3 looked = adjusted;
    if (k.fx.detail != 0.0) looked = applyClarity(looked, y, around.luma, k.fx.detail);
    looked = lookColor(looked, k);
    vec3 soft = looked;
    if (k.fx.glow > 0.0) soft = lookColor(adjustPointwise(around.color, p), k);
    looked = lookFinish(looked, soft, k, pos, p.size);
    result = p.filterIntensity >= 1.0 ? looked : mix(adjusted, looked, p.filterIntensity);
  }
  if (usesVignette(p)) {
    result = toEncoded(toLinear(result) * vignetteFactor(pos, p.size, p.vignetteIntensity, p.vignetteRadius));
  }
  return saturate3(result);
}

#endif
