#ifndef HALVANE_COLOR_MATH_GLSL
#define HALVANE_COLOR_MATH_GLSL
// Colour maths shared by the colour kernel and its CPU reference (the tests compile
// this file as C++ through a small GLSL layer), so it keeps to the common subset of
// both languages: float vectors read by .x .y .z, no swizzles, no matrices, no arrays,
// no out parameters, structures built with their constructors.
//
// Working spaces: pixels arrive as sRGB-encoded values in [0, 1]. Physically meant
// operations (exposure, white balance, saturation, vignette) run on linear light;
// tone and look operations on the encoded values, as a colourist's tools do.

const float PI = 3.14159265;

// Rec. 709 weights: luminance of linear light, and luma of encoded values.
const vec3 LUMA_WEIGHTS = vec3(0.2126, 0.7152, 0.0722);

float luma(vec3 c) { return dot(c, LUMA_WEIGHTS); }

// The sRGB transfer curves. Their powers are polynomials in square roots rather than
// pow (a logarithm and an exponential, dear on a CPU device, and the pass runs up to
// three round trips a pixel): t^2.4 = t^2 s^0.8 with s = sqrt(t), and v^(1/2.4) =
// q q^(2/3) with q = v^(1/4), each fitted over the curve's power segment. Largest
// error: 1.4e-5 of the value into linear light, 0.011 of a code value back.
float srgbToLinear(float c) {
  float v = max(c, 0.0);
  float t = (v + 0.055) / 1.055;
  float s = sqrt(t);
  float p = 0.03621765 + s * (1.3320130 + s * (-0.7869081 + s * (0.7337569 + s * (-0.4166085 + s * 0.1015375))));
  return v <= 0.04045 ? v / 12.92 : t * t * p;
}

float linearToSrgb(float c) {
  float v = max(c, 0.0);
  float q = sqrt(sqrt(v));
  float p = 0.07644477 + q * (1.5808306 + q * (-1.5490729 + q * (1.6474407 + q * (-1.0227926 + q * 0.2671894))));
  return v <= 0.0031308 ? v * 12.92 : 1.055 * q * p - 0.055;
}

vec3 toLinear(vec3 c) { return vec3(srgbToLinear(c.x), srgbToLinear(c.y), srgbToLinear(c.z)); }
vec3 toEncoded(vec3 c) { return vec3(linearToSrgb(c.x), linearToSrgb(c.y), linearToSrgb(c.z)); }

vec3 saturate3(vec3 c) { return clamp(c, 0.0, 1.0); }

// 0xRRGGBB, as the look table writes its colours, to encoded components.
vec3 hexColor(uint rgb) {
  return vec3(float((rgb >> 16) & 255u), float((rgb >> 8) & 255u), float(rgb & 255u)) / 255.0;
}

// ---- Soft limits -------------------------------------------------------------------

// Identity up to the knee k, then an exponential roll-off that approaches 1 with a
// continuous slope: the shoulder of film instead of a hard clip. k must be below 1.
float shoulder(float x, float k) {
  if (x <= k) return x;
  float w = 1.0 - k;
  return k + w * (1.0 - exp(-(x - k) / w));
}

vec3 shoulder3(vec3 c, float k) { return vec3(shoulder(c.x, k), shoulder(c.y, k), shoulder(c.z, k)); }

// The same roll-off mirrored at black, for values pushed below 0.
float toe(float x, float k) { return 1.0 - shoulder(1.0 - x, k); }

vec3 toe3(vec3 c, float k) { return vec3(toe(c.x, k), toe(c.y, k), toe(c.z, k)); }

// Largest factor by which the chroma c - y of a colour may grow before a channel
// leaves [0, 1] (capped at 1e4 for greys).
float chromaBound(vec3 c, float y) {
  vec3 d = c - vec3(y);
  float b = 1.0e4;
  if (d.x > 1.0e-6) b = min(b, (1.0 - y) / d.x);
  if (d.x < -1.0e-6) b = min(b, y / -d.x);
  if (d.y > 1.0e-6) b = min(b, (1.0 - y) / d.y);
  if (d.y < -1.0e-6) b = min(b, y / -d.y);
  if (d.z > 1.0e-6) b = min(b, (1.0 - y) / d.z);
  if (d.z < -1.0e-6) b = min(b, y / -d.z);
  return max(b, 0.0);
}

// Scales the chroma of c about its luminance y by s. A reduction is exact; a boost
// approaches the gamut boundary softly and never crosses it, so saturated colours do
// not clip into flat patches and the hue stays put.
vec3 scaleChroma(vec3 c, float y, float s) {
  float f = s;
  if (s > 1.0) {
    float b = chromaBound(c, y);
    f = b <= 1.0 ? 1.0 : 1.0 + (b - 1.0) * (1.0 - exp(-(s - 1.0) / (b - 1.0)));
  }
  return vec3(y) + (c - vec3(y)) * f;
}

// ---- Hue ------------------------------------------------------------------------------

// Hue in degrees [0, 360), saturation and value of the HSV model.
vec3 rgbToHsv(vec3 c) {
  float mx = max(c.x, max(c.y, c.z));
  float mn = min(c.x, min(c.y, c.z));
  float d = mx - mn;
  float h = 0.0;
  if (d > 1.0e-6) {
    if (mx == c.x) {
      h = (c.y - c.z) / d;
    } else if (mx == c.y) {
      h = 2.0 + (c.z - c.x) / d;
    } else {
      h = 4.0 + (c.x - c.y) / d;
    }
    h = mod(h * 60.0, 360.0);
  }
  float s = mx > 1.0e-6 ? d / mx : 0.0;
  return vec3(h, s, mx);
}

vec3 hsvToRgb(vec3 hsv) {
  float h = mod(hsv.x, 360.0) / 60.0;
  vec3 k = clamp(abs(mod(h + vec3(0.0, 4.0, 2.0), 6.0) - 3.0) - 1.0, 0.0, 1.0);
  return hsv.z * mix(vec3(1.0), k, hsv.y);
}

// The fully saturated colour of a hue, less its luma: a chroma direction to add to a
// colour without changing its luma.
vec3 hueChroma(float hueDegrees) {
  vec3 c = hsvToRgb(vec3(hueDegrees, 1.0, 1.0));
  return c - vec3(luma(c));
}

// Signed distance between two hues in degrees, in [-180, 180).
float hueDelta(float h, float center) { return mod(h - center + 180.0, 360.0) - 180.0; }

// A raised-cosine window over hue: 1 at the centre, 0 from `halfWidth` degrees away.
float hueWindow(float h, float center, float halfWidth) {
  float d = abs(hueDelta(h, center)) / max(halfWidth, 1.0);
  return d >= 1.0 ? 0.0 : 0.5 + 0.5 * cos(PI * d);
}

// How much a colour looks like skin: hues of about 10 to 50 degrees at medium
// saturation, whatever the brightness.
float skinLikeness(vec3 hsv) {
  float hue = smoothstep(2.0, 14.0, hsv.x) * (1.0 - smoothstep(42.0, 56.0, hsv.x));
  float sat = smoothstep(0.08, 0.2, hsv.y) * (1.0 - smoothstep(0.6, 0.8, hsv.y));
  return hue * sat * smoothstep(0.1, 0.25, hsv.z);
}

// ---- Tone curves ------------------------------------------------------------------------

// Contrast about a pivot: a rational S-curve (Schlick's bias) on each side of the pivot,
// fixed at 0 and 1, whose slope at the pivot is `slope` and at the ends 1 / slope, so
// both a boost and a reduction stay smooth and monotonic without crushing the ends.
float contrastCurve(float x, float slope, float pivot) {
  float v = clamp(x, 0.0, 1.0);
  float k = slope - 1.0;
  if (v < pivot) {
    float t = v / pivot;
    return pivot * t / (k * (1.0 - t) + 1.0);
  }
  float t = (1.0 - v) / (1.0 - pivot);
  return 1.0 - (1.0 - pivot) * t / (k * (1.0 - t) + 1.0);
}

vec3 contrastCurve3(vec3 c, float slope, float pivot) {
  return vec3(contrastCurve(c.x, slope, pivot), contrastCurve(c.y, slope, pivot), contrastCurve(c.z, slope, pivot));
}

// Encoded value of 18% grey, the pivot of contrast.
const float MID_GREY = 0.4614;

// Sets a colour's luma from y to yNew keeping its hue: the chroma scales with the luma
// (as far as the gamut allows), so lifting or lowering tones does not shift colours.
vec3 setLuma(vec3 c, float y, float yNew) {
  float k = y > 1.0e-5 ? yNew / y : 1.0;
  vec3 moved = vec3(yNew) + (c - vec3(y)) * k;
  float b = chromaBound(moved, yNew);
  float s = min(1.0, b);
  return vec3(yNew) + (moved - vec3(yNew)) * s;
}

// ---- Hash -------------------------------------------------------------------------------

// An integer hash (lowbias32); patterns keyed to positions are deterministic and equal
// on every device.
uint hashU(uint x) {
  uint h = x;
  h ^= h >> 16;
  h *= 0x7feb352du;
  h ^= h >> 15;
  h *= 0x846ca68bu;
  h ^= h >> 16;
  return h;
}

// Uniform in [0, 1) for a lattice point and a seed.
float hash2(uint x, uint y, uint seed) {
  return float(hashU(x ^ hashU(y ^ hashU(seed))) >> 8) * (1.0 / 16777216.0);
}

// Smooth value noise in [0, 1) on a unit lattice (p not negative).
float valueNoise(vec2 p, uint seed) {
  vec2 i = floor(p);
  vec2 f = p - i;
  vec2 w = f * f * (vec2(3.0) - 2.0 * f);
  uint x0 = uint(i.x);
  uint y0 = uint(i.y);
  float a = hash2(x0, y0, seed);
  float b = hash2(x0 + 1u, y0, seed);
  float c = hash2(x0, y0 + 1u, seed);
  float d = hash2(x0 + 1u, y0 + 1u, seed);
  return mix(mix(a, b, w.x), mix(c, d, w.x), w.y);
}

#endif
