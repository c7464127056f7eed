#ifndef HALVANE_COLOR_PIXEL_GLSL
#define HALVANE_COLOR_PIXEL_GLSL
// One pixel of the colour pass: sharpness and clarity on the input, the pointwise
// adjustments, the look blended by its intensity, then the vignette.
//
// The includer defines COLOR_WIDE(p, y, glows): the WideBlur around pixel coordinates p
// (pixel centres at half-integers) of luma y, from the wide level (ColorWide.glsl)
// blended bilinearly: a * y + b for the luma, and the colour blur, which only a glowing
// look reads (without it the includer may leave the colour out).
#include "ColorLooks.glsl"

// Binomial 3 by 3 blur (1 2 1 / 2 4 2 / 1 2 1, over 16) of the neighbourhood's luma,
// rows from top to bottom.
float binomialBlur3x3(float a, float b, float c, float d, float e, float f, float g, float h, float i) {
  return ((a + c + g + i) + 2.0 * (b + d + f + h) + 4.0 * e) / 16.0;
}

// Whether the pixel reads the wide neighbourhood: clarity, or a look with detail or glow.
bool needsWide(ColorParams p, Look k) { return usesClarity(p) || (usesLook(p) && lookNeedsWide(k)); }

// pos: the pixel's centre; center: its input colour; blur3: binomialBlur3x3 of the
// luma of its 3 by 3 neighbourhood (edges clamped). Returns the encoded output.
vec3 colorPixel(ColorParams p, vec2 pos, vec3 center, float blur3) {
  bool lookOn = usesLook(p);
  Look k = lookTable(lookOn ? p.filterType : 0u);
  WideBlur around = WideBlur(luma(center), center);
  if (needsWide(p, k)) around = COLOR_WIDE(pos, luma(center), lookOn && k.fx.glow > 0.0);

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
    // The clear middle keeps its colour as it is, without a round trip through linear light.
    float falloff = vignetteFactor(pos, p.size, p.vignetteIntensity, p.vignetteRadius);
    if (falloff < 1.0) result = toEncoded(toLinear(result) * falloff);
  }
  return saturate3(result);
}

#endif
