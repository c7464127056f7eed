#ifndef HALVANE_COLOR_ADJUST_GLSL
#define HALVANE_COLOR_ADJUST_GLSL
// The sixteen adjustments of the colour pass, in the units of the parameter block.
// Shared with the CPU reference (see ColorMath.glsl for the language subset).
#include "ColorFeatures.glsl"
#include "ColorMath.glsl"

// The colour fields of the parameter block, plus the output size in pixels.
struct ColorParams {
  float exposure;           // stops, -3 to 3
  float brightness;         // additive on encoded values, -1 to 1
  float contrast;           // slope at mid-grey, 0.5 to 2
  float highlights;         // -1 to 1
  float shadows;            // -1 to 1
  float whites;             // -1 to 1
  float blacks;             // -1 to 1
  float gamma;              // mid-tone exponent 1 / gamma, 0.2 to 5
  float saturation;         // chroma multiplier, 0 to 2
  float vibrance;           // -1 to 1
  float temperature;        // Kelvin of the scene's light, 2000 to 10000, 6500 neutral
  float tint;               // green (-1) to magenta (+1)
  float sharpness;          // 0 to 2
  float clarity;            // -1 to 1
  float vignetteIntensity;  // 0 to 2
  float vignetteRadius;     // 0 to 2
  uint filterType;          // 0 to 146
  float filterIntensity;    // 0 to 1
  vec2 size;                // output size in pixels
  vec4 white;               // whiteBalanceOf(temperature, tint): constant over a pass
};

// ---- White balance ------------------------------------------------------------------
// The temperature is the colour of the scene's light. Its white is found on the
// Planckian locus (Kim et al. 2002 cubic spline), moved off the locus along the normal
// for the tint (as Duv does), and adapted to the white of 6500 K with the Bradford
// transform, on linear sRGB. A grey lit by 3200 K light becomes neutral at 3200, so
// that setting cools a daylight picture, and 10000 warms it: higher is warmer.
//
// Constants computed in double precision (checked by the tests):
//   BRADFORD            the Bradford cone response matrix
//   SRGB_TO_CONE        BRADFORD * (linear sRGB to XYZ, D65 from the primaries)
//   CONE_TO_SRGB        its inverse
//   CONE_WHITE_6500     BRADFORD * XYZ of the Kim white at 6500 K (Y = 1)
const vec3 BRADFORD_0 = vec3(0.8951, 0.2664, -0.1614);
const vec3 BRADFORD_1 = vec3(-0.7502, 1.7135, 0.0367);
const vec3 BRADFORD_2 = vec3(0.0389, -0.0685, 1.0296);
const vec3 SRGB_TO_CONE_0 = vec3(0.4226580, 0.4913566, 0.0273645);
const vec3 SRGB_TO_CONE_1 = vec3(0.0556908, 0.9615562, 0.0231894);
const vec3 SRGB_TO_CONE_2 = vec3(0.0213792, 0.0876439, 0.9807434);
const vec3 CONE_TO_SRGB_0 = vec3(2.5384480, -1.2934826, -0.0402432);
const vec3 CONE_TO_SRGB_1 = vec3(-0.1460004, 1.1166224, -0.0223285);
const vec3 CONE_TO_SRGB_2 = vec3(-0.0422884, -0.0715901, 1.0225073);
const vec3 CONE_WHITE_6500 = vec3(0.9524406, 1.0280116, 1.1234156);

// Duv of a tint of 1.
const float TINT_DUV = 0.02;

// Chromaticity xy of the Planckian radiator at kelvin (Kim et al., 1667 to 25000 K).
vec2 planckianXY(float kelvin) {
  float T = clamp(kelvin, 1667.0, 25000.0);
  float t = 1000.0 / T;
  float t2 = t * t;
  float t3 = t2 * t;
  float x = T <= 4000.0 ? -0.2661239 * t3 - 0.2343589 * t2 + 0.8776956 * t + 0.179910
                        : -3.0258469 * t3 + 2.1070379 * t2 + 0.2226347 * t + 0.240390;
  float x2 = x * x;
  float x3 = x2 * x;
  float y;
  if (T <= 2222.0) {
    y = -1.1063814 * x3 - 1.34811020 * x2 + 2.18555832 * x - 0.20219683;
  } else if (T <= 4000.0) {
    y = -0.9549476 * x3 - 1.37418593 * x2 + 2.09137015 * x - 0.16748867;
  } else {
    y = 3.0817580 * x3 - 5.87338670 * x2 + 3.75112997 * x - 0.37001483;
  }
  return vec2(x, y);
}

// CIE 1931 xy to CIE 1960 uv and back.
vec2 xyToUv(vec2 c) { return vec2(4.0 * c.x, 6.0 * c.y) / (-2.0 * c.x + 12.0 * c.y + 3.0); }
vec2 uvToXy(vec2 c) { return vec2(3.0 * c.x, 2.0 * c.y) / (2.0 * c.x - 8.0 * c.y + 4.0); }

// Cone gains (von Kries in the Bradford space) that adapt the white of the scene's
// light, `kelvin` with `tint`, to the white of 6500 K.
vec3 whiteBalanceGains(float kelvin, float tint) {
  vec2 uv = xyToUv(planckianXY(kelvin));
  if (tint != 0.0) {
    // Normal of the locus, pointing to positive Duv (green): a tint towards magenta
    // means the light was greener than the locus.
    vec2 tangent = xyToUv(planckianXY(kelvin * 1.01)) - xyToUv(planckianXY(kelvin * 0.99));
    vec2 n = normalize(vec2(tangent.y, -tangent.x));
    if (n.y < 0.0) n = -n;
    uv = uv + n * (tint * TINT_DUV);
  }
  vec2 xy = uvToXy(uv);
  vec3 white = vec3(xy.x / xy.y, 1.0, (1.0 - xy.x - xy.y) / xy.y);
  vec3 cone = vec3(dot(BRADFORD_0, white), dot(BRADFORD_1, white), dot(BRADFORD_2, white));
  return CONE_WHITE_6500 / cone;
}

vec3 applyWhiteBalance(vec3 lin, vec3 gains) {
  vec3 cone = vec3(dot(SRGB_TO_CONE_0, lin), dot(SRGB_TO_CONE_1, lin), dot(SRGB_TO_CONE_2, lin)) * gains;
  return vec3(dot(CONE_TO_SRGB_0, cone), dot(CONE_TO_SRGB_1, cone), dot(CONE_TO_SRGB_2, cone));
}

// The cone gains (x, y, z) and the largest value that white reaches through them (w).
// They depend on the parameters alone, so the engine computes them once a pass, not
// per pixel.
vec4 whiteBalanceOf(float kelvin, float tint) {
  vec3 gains = whiteBalanceGains(kelvin, tint);
  vec3 white = applyWhiteBalance(vec3(1.0), gains);
  return vec4(gains.x, gains.y, gains.z, max(white.x, max(white.y, white.z)));
}

// ---- Exposure -----------------------------------------------------------------------
// Linear gain with a soft shoulder. `peak` is the largest value that white can reach
// through the gains applied so far; above 1 the shoulder's knee comes down with it
// (to 0.75 from two stops over) so highlights roll off instead of clipping, and at a
// peak of 1 or below nothing is compressed, so the curve is continuous at neutral.
vec3 rollOffHighlights(vec3 lin, float peak) {
  if (peak <= 1.0) return lin;
  return shoulder3(lin, 1.0 - 0.125 * min(2.0, log2(peak)));
}

// ---- Saturation and vibrance (linear light) --------------------------------------------

vec3 applySaturation(vec3 lin, float s) { return scaleChroma(lin, luma(lin), s); }

// Vibrance raises the chroma of muted colours more than that of vivid ones and spares
// skin; a negative value mutes muted colours first and never reaches grey.
vec3 applyVibrance(vec3 lin, float v) {
  vec3 hsv = rgbToHsv(toEncoded(lin));
  float spare = 1.0 - 0.7 * skinLikeness(hsv);
  float room = 1.0 - hsv.y;
  float f = v > 0.0 ? 1.0 + v * room * room * spare : 1.0 + v * 0.8 * (1.0 - 0.5 * hsv.y) * spare;
  return scaleChroma(lin, luma(lin), f);
}

// ---- Tones (encoded values) -------------------------------------------------------------

// Additive brightness; the sum rolls off softly into white (or black) instead of
// clipping, more the further it is pushed.
vec3 applyBrightness(vec3 c, float b) {
  vec3 v = c + vec3(b);
  return b > 0.0 ? shoulder3(v, 1.0 - 0.5 * b) : toe3(v, 1.0 + 0.5 * b);
}

// Highlights, shadows, whites and blacks act on luma through smooth masks; each is
// monotonic over its whole range (the amounts keep every slope positive).
//   shadows:    bump L (1 - L)^4, peak at 0.2, zero at black and in the highlights
//   highlights: bump (1 - L) L^4, peak at 0.8, zero at white and in the shadows
//   blacks:     raise the black point (up to 0.15) or deepen near-blacks multiplicatively
//   whites:     lower the white point (down to 0.85) or brighten near-whites towards 1
float toneRegions(float y, ColorParams p) {
  float v = clamp(y, 0.0, 1.0);
  if (p.shadows != 0.0) {
    float q = 1.0 - v;
    v += p.shadows * (p.shadows > 0.0 ? 2.0 : 0.85) * v * q * q * q * q;
  }
  if (p.highlights != 0.0) {
    float v4 = v * v * v * v;
    v += p.highlights * (p.highlights > 0.0 ? 0.85 : 2.0) * (1.0 - v) * v4;
  }
  if (p.blacks != 0.0) {
    float q = 1.0 - v;
    float q4 = q * q * q * q;
    v = p.blacks > 0.0 ? v + 0.15 * p.blacks * q4 : v * (1.0 + 0.6 * p.blacks * q4);
  }
  if (p.whites != 0.0) {
    float v5 = v * v * v * v * v;
    v = p.whites > 0.0 ? 1.0 - (1.0 - v) * (1.0 - 0.6 * p.whites * v5) : v + 0.15 * p.whites * v5;
  }
  return v;
}

// ---- Detail -------------------------------------------------------------------------

// Unsharp mask on luma: the 3 by 3 binomial blur of the neighbourhood against the
// centre, with a small threshold (below 3 code values the gain fades out) so noise
// is not amplified.
vec3 applySharpness(vec3 c, float y, float yBlur, float amount) {
  float d = y - yBlur;
  float t = smoothstep(0.5 / 255.0, 3.0 / 255.0, abs(d));
  return c + vec3(1.5 * amount * d * t);
}

// Local contrast of the mid-tones: the luma's difference from a wide, edge-aware blur,
// weighted by a mid-tone mask; negative values pull the mid-tones towards the blur.
vec3 applyClarity(vec3 c, float y, float yBlur, float amount) {
  float m = 4.0 * y * (1.0 - y);
  float d = y - yBlur;
  return c + vec3((amount > 0.0 ? 1.5 : 1.0) * amount * d * m);
}

// Radius of the wide neighbourhood (clarity, detail, glow): a fiftieth of the
// shorter side, so the effect looks the same at every resolution.
float wideRadius(vec2 size) { return max(1.5, 0.02 * min(size.x, size.y)); }

// A pixel's wide neighbourhood (ColorWide.glsl).
struct WideBlur {
  float luma;  // edge-aware blur of the luma, for clarity and detail
  vec3 color;  // plain blur of the colour, for glow
};

// The reduced copy's luma mean and mean square kept in 16 bits over two 8-bit channels
// (high byte, low byte): the guided filter's variance is a small difference of the two,
// which 8 bits (or a half float) would leave coarse.
vec2 encodeWide16(float v) {
  float code = floor(clamp(v, 0.0, 1.0) * 65535.0 + 0.5);
  float high = floor(code / 256.0);
  return vec2(high, code - high * 256.0) / 255.0;
}

float decodeWide16(float high, float low) { return (high * 65280.0 + low * 255.0) / 65535.0; }

// Luma variance below which the guided filter smooths and above which it keeps the
// picture (edges, strong texture): the square of a luma difference of 0.12.
const float WIDE_GUIDE_EPSILON = 0.0144;

// ---- Vignette -----------------------------------------------------------------------

// Light falloff (a factor on linear light): elliptical with the frame, the corners at
// distance 1; clear up to radius / 2, then a smooth falloff to -2 × intensity stops at
// 0.75 beyond that.
float vignetteFactor(vec2 pos, vec2 size, float intensity, float radius) {
  vec2 q = (pos / size - vec2(0.5)) * 2.0;
  float d = length(q) * 0.70710678;
  float inner = 0.5 * radius;
  float s = smoothstep(inner, inner + 0.75, d);
  return exp2(-2.0 * intensity * s);
}

// ---- Which adjustments act ------------------------------------------------------------
// An adjustment acts when this compilation carries it and its value is not neutral.

bool usesWhiteBalance(ColorParams p) {
  return COLOR_USES(COLOR_FEATURE_WHITE_BALANCE) && (p.temperature != 6500.0 || p.tint != 0.0);
}
bool usesExposure(ColorParams p) { return COLOR_USES(COLOR_FEATURE_EXPOSURE) && p.exposure != 0.0; }
bool usesSaturation(ColorParams p) { return COLOR_USES(COLOR_FEATURE_SATURATION) && p.saturation != 1.0; }
bool usesVibrance(ColorParams p) { return COLOR_USES(COLOR_FEATURE_VIBRANCE) && p.vibrance != 0.0; }
bool usesBrightness(ColorParams p) { return COLOR_USES(COLOR_FEATURE_BRIGHTNESS) && p.brightness != 0.0; }
bool usesContrast(ColorParams p) { return COLOR_USES(COLOR_FEATURE_CONTRAST) && p.contrast != 1.0; }
bool usesToneRegions(ColorParams p) {
  return COLOR_USES(COLOR_FEATURE_TONE_REGIONS) &&
         (p.highlights != 0.0 || p.shadows != 0.0 || p.whites != 0.0 || p.blacks != 0.0);
}
bool usesGamma(ColorParams p) { return COLOR_USES(COLOR_FEATURE_GAMMA) && p.gamma != 1.0; }
bool usesSharpness(ColorParams p) { return COLOR_USES(COLOR_FEATURE_SHARPNESS) && p.sharpness > 0.0; }
bool usesClarity(ColorParams p) { return COLOR_USES(COLOR_FEATURE_CLARITY) && p.clarity != 0.0; }
bool usesVignette(ColorParams p) { return COLOR_USES(COLOR_FEATURE_VIGNETTE) && p.vignetteIntensity > 0.0; }
bool usesLook(ColorParams p) { return COLOR_USES(COLOR_FEATURE_LOOK) && p.filterType != 0u && p.filterIntensity > 0.0; }

// ---- The pointwise chain ------------------------------------------------------------
// Everything except sharpness, clarity and the vignette, which need the pixel's
// neighbourhood or position. Each step is skipped at its neutral value, so neutral
// settings give the input back exactly.

bool linearStageActive(ColorParams p) {
  return usesExposure(p) || usesWhiteBalance(p) || usesSaturation(p) || usesVibrance(p);
}

bool toneStageActive(ColorParams p) {
  return usesBrightness(p) || usesContrast(p) || usesToneRegions(p) || usesGamma(p);
}

vec3 adjustPointwise(vec3 encoded, ColorParams p) {
  vec3 c = saturate3(encoded);
  if (linearStageActive(p)) {
    vec3 lin = toLinear(c);
    float peak = 1.0;
    if (usesWhiteBalance(p)) {
      lin = applyWhiteBalance(lin, vec3(p.white.x, p.white.y, p.white.z));
      peak = p.white.w;
    }
    if (usesExposure(p)) {
      float gain = exp2(p.exposure);
      lin = lin * gain;
      peak = peak * gain;
    }
    lin = max(rollOffHighlights(lin, peak), vec3(0.0));
    if (usesSaturation(p)) lin = applySaturation(lin, p.saturation);
    if (usesVibrance(p)) lin = applyVibrance(lin, p.vibrance);
    c = saturate3(toEncoded(lin));
  }
  if (toneStageActive(p)) {
    if (usesBrightness(p)) c = applyBrightness(c, p.brightness);
    if (usesContrast(p)) c = contrastCurve3(c, p.contrast, MID_GREY);
    if (usesToneRegions(p)) {
      float y = luma(c);
      c = setLuma(c, y, toneRegions(y, p));
    }
    if (usesGamma(p)) c = pow(max(c, vec3(0.0)), vec3(1.0 / p.gamma));
    c = saturate3(c);
  }
  return c;
}

#endif
