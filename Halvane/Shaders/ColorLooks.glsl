#ifndef HALVANE_COLOR_LOOKS_GLSL
#define HALVANE_COLOR_LOOKS_GLSL
// The 146 looks: one parameter record per look (LookTable.inc, the single source of
// truth, read by this file and by the CPU reference), evaluated by one function, with a
// few looks that have code of their own (LOOK_SPECIAL_*).
#include "ColorAdjust.glsl"

// Tone: exposure in stops (linear light); contrast as the slope of the S-curve at the
// pivot (1 neutral); fade raises the blacks to that level; roll brings white down to
// 1 - roll with a soft shoulder from 0.6 (creamy highlights).
struct LookTone {
  float exposure;
  float contrast;
  float pivot;
  float fade;
  float roll;
};

// Colour: the white balance of the look (Kelvin of the light it corrects for, so above
// 6500 warms, and tint), saturation as a chroma multiplier, vibrance as the adjustment.
struct LookColor {
  float kelvin;
  float tint;
  float saturation;
  float vibrance;
};

// Lift, gamma and gain per channel, on encoded values: (gain (c + lift (1 - c)))^(1/gamma).
struct LookGrade {
  vec3 lift;
  vec3 gamma;
  vec3 gain;
};

// One hue family pushed: centre and half width in degrees, saturation factor, hue
// shift in degrees, lightness change, and how much skin tones are spared (0 to 1).
struct LookHue {
  float center;
  float width;
  float saturation;
  float shift;
  float lightness;
  float skin;
};

// Split toning: hue and amount for shadows and highlights, and a balance (-1 to 1,
// positive gives more of the range to the highlights). Luma is kept.
struct LookSplit {
  float shadowHue;
  float shadowAmount;
  float highlightHue;
  float highlightAmount;
  float balance;
};

// Duo-tone: the tones mapped from the dark colour to the light one (0xRRGGBB);
// a light colour of 0 means none.
struct LookDuo {
  uint dark;
  uint light;
};

// Effects: grain amount and size (size 1 is a cell of 1/1500 of the shorter side),
// grain chroma (0 monochrome grain, 1 independent per channel), vignette (as the
// adjustment's intensity), glow (highlights bloom), detail (local contrast as the
// clarity adjustment: positive crisps, negative smooths texture and keeps edges), and a
// special look's code.
struct LookFx {
  float grain;
  float grainSize;
  float grainChroma;
  float vignette;
  float glow;
  float detail;
  uint special;
};

// A light source screened over the picture: colour, amount, position in fractions of
// the frame (may lie outside it) and radius in heights of the frame. A negative amount
// makes it a filter over the lens instead (a graduated filter when placed outside the
// frame): the picture is multiplied by the colour, by that much at the centre.
struct LookLight {
  uint color;
  float amount;
  float x;
  float y;
  float radius;
};

struct Look {
  LookTone tone;
  LookColor color;
  LookGrade grade;
  LookHue hue;
  LookSplit split;
  vec3 mono;  // channel mix of a monochrome look on linear light; all 0 keeps colour
  LookDuo duo;
  LookFx fx;
  LookLight light;
};

// Looks with code of their own.
#define LOOK_SPECIAL_NONE 0u
#define LOOK_SPECIAL_INVERT 1u
#define LOOK_SPECIAL_HALFTONE 2u
#define LOOK_SPECIAL_INFRARED 3u
#define LOOK_SPECIAL_CROSS_PROCESS 4u
#define LOOK_SPECIAL_BLEACH_BYPASS 5u

// The vocabulary of the table's rows.
#define TONE(exposure, contrast, pivot, fade, roll) LookTone(exposure, contrast, pivot, fade, roll)
#define TONE_NONE TONE(0.0, 1.0, 0.4614, 0.0, 0.0)
#define COLOR(kelvin, tint, saturation, vibrance) LookColor(kelvin, tint, saturation, vibrance)
#define COLOR_NONE COLOR(6500.0, 0.0, 1.0, 0.0)
#define GRADE(lr, lg, lb, gr, gg, gb, kr, kg, kb) LookGrade(vec3(lr, lg, lb), vec3(gr, gg, gb), vec3(kr, kg, kb))
#define GRADE_NONE GRADE(0.0, 0.0, 0.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0)
#define HUE(center, width, saturation, shift, lightness, skin) \
  LookHue(center, width, saturation, shift, lightness, skin)
#define HUE_NONE HUE(0.0, 0.0, 1.0, 0.0, 0.0, 0.0)
#define SPLIT(shadowHue, shadowAmount, highlightHue, highlightAmount, balance) \
  LookSplit(shadowHue, shadowAmount, highlightHue, highlightAmount, balance)
#define SPLIT_NONE SPLIT(0.0, 0.0, 0.0, 0.0, 0.0)
#define TONED(hue, amount) SPLIT(hue, amount, hue, amount, 0.0)
#define MONO(r, g, b) vec3(r, g, b)
#define MONO_NONE vec3(0.0)
#define DUO(dark, light) LookDuo(uint(dark), uint(light))
#define DUO_NONE DUO(0, 0)
#define FX(grain, grainSize, grainChroma, vignette, glow, detail, special) \
  LookFx(grain, grainSize, grainChroma, vignette, glow, detail, special)
#define FX_NONE FX(0.0, 1.0, 0.0, 0.0, 0.0, 0.0, LOOK_SPECIAL_NONE)
#define LIGHT(color, amount, x, y, radius) LookLight(uint(color), amount, x, y, radius)
#define LIGHT_NONE LIGHT(0, 0.0, 0.5, 0.5, 1.0)

// The row of look number n; the neutral look for 0 and for a number without a row.
// filterType is the same for every pixel, so on a GPU the switch is a uniform branch.
Look lookTable(uint n) {
  switch (n) {
#define LOOK(number, id, tone, color, grade, hue, split, mono, duo, fx, light) \
  case number:                                                                  \
    return Look(tone, color, grade, hue, split, mono, duo, fx, light);
#include "LookTable.inc"
#undef LOOK
    default:
      break;
  }
  return Look(TONE_NONE, COLOR_NONE, GRADE_NONE, HUE_NONE, SPLIT_NONE, MONO_NONE, DUO_NONE, FX_NONE, LIGHT_NONE);
}

bool lookIsMono(Look k) { return k.mono.x != 0.0 || k.mono.y != 0.0 || k.mono.z != 0.0; }

// Whether a look reads the wide neighbourhood of the pixel.
bool lookNeedsWide(Look k) { return k.fx.glow > 0.0 || k.fx.detail != 0.0; }

// ---- Looks of their own ---------------------------------------------------------------

// False-colour infrared after the colour-infrared films: foliage (which reflects infrared
// strongly) turns red and magenta, blue skies darken, reds and skin go yellow. The
// infrared estimate follows red (skin and most red pigments reflect it), is high for
// greens and low for blues; the layers shift as in the film: infrared to red, red to
// green, green to blue.
vec3 infraredColor(vec3 c) {
  float foliage = clamp(2.5 * (c.y - 0.5 * (c.x + c.z)), 0.0, 1.0);
  float sky = max(0.0, c.z - max(c.x, c.y));
  float ir = clamp(1.05 * c.x + 0.1 * c.y + foliage - 0.5 * sky, 0.0, 1.0);
  return vec3(ir, c.x, mix(c.y, c.z, 0.2));
}

// Cross processing (slide film in negative chemistry): hard red and green curves with
// the green shadows lifted, and the blue compressed and raised, so highlights go
// yellow-green and shadows blue.
vec3 crossProcessColor(vec3 c) {
  float r = contrastCurve(c.x, 1.55, 0.5);
  float g = 0.04 + 0.94 * contrastCurve(c.y, 1.3, 0.45);
  float b = 0.16 + 0.62 * c.z;
  return vec3(r, g, b);
}

// Bleach bypass: the silver left in the print, as a luma layer over the colour in
// overlay, then most of the colour taken out.
vec3 bleachBypassColor(vec3 c) {
  float y = luma(c);
  vec3 multiplied = 2.0 * c * y;
  vec3 screened = vec3(1.0) - 2.0 * (vec3(1.0) - c) * (1.0 - y);
  vec3 overlay = y < 0.5 ? multiplied : screened;
  return mix(c, overlay, 0.8);
}

// A colour halftone print: cyan, magenta, yellow and black dots on screens turned by
// 15, 75, 0 and 45 degrees (given by their cosine and sine), the cell a ninetieth of the
// shorter side (at least 3 pixels), the dot edges anti-aliased over a pixel.
float halftoneInk(vec2 pos, float cell, vec2 turn, float coverage) {
  vec2 r = vec2(turn.x * pos.x + turn.y * pos.y, -turn.y * pos.x + turn.x * pos.y) / cell;
  vec2 f = fract(r) - vec2(0.5);
  float d = length(f) * cell;
  float radius = cell * sqrt(clamp(coverage, 0.0, 1.0) / PI) * 1.12;
  // A one-pixel edge centred on the radius keeps the dot's area; dots smaller than a
  // pixel fade in with their size instead of showing as specks on white.
  return clamp(0.5 + radius - d, 0.0, 1.0) * min(1.0, 2.0 * radius);
}

vec3 halftoneColor(vec3 c, vec2 pos, vec2 size) {
  float cell = max(3.0, min(size.x, size.y) / 90.0);
  float k = 1.0 - max(c.x, max(c.y, c.z));
  float inv = k < 0.999 ? 1.0 / (1.0 - k) : 0.0;
  float cyan = (1.0 - c.x - k) * inv;
  float magenta = (1.0 - c.y - k) * inv;
  float yellow = (1.0 - c.z - k) * inv;
  vec3 ink = vec3(0.97, 0.96, 0.92);  // the paper
  ink = ink * mix(vec3(1.0), vec3(0.0, 0.62, 0.88), halftoneInk(pos, cell, vec2(0.96592583, 0.25881905), cyan));
  ink = ink * mix(vec3(1.0), vec3(0.9, 0.0, 0.55), halftoneInk(pos, cell, vec2(0.25881905, 0.96592583), magenta));
  ink = ink * mix(vec3(1.0), vec3(1.0, 0.92, 0.0), halftoneInk(pos, cell, vec2(1.0, 0.0), yellow));
  ink = ink * mix(vec3(1.0), vec3(0.08), halftoneInk(pos, cell, vec2(0.70710678, 0.70710678), k));
  return ink;
}

// ---- Evaluation -------------------------------------------------------------------------

vec3 applyGrade(vec3 c, LookGrade g) {
  vec3 v = g.gain * (c + g.lift * (vec3(1.0) - c));
  return pow(max(v, vec3(0.0)), vec3(1.0) / g.gamma);
}

// Shadow and highlight weights of split toning. Both vanish at black and at white, and
// stay below twice the luma (and twice its distance to white), so a tint never pushes a
// channel out of range and black and white stay neutral.
vec3 applySplit(vec3 c, LookSplit s) {
  float y = clamp(luma(c), 0.0, 1.0);
  float yb = pow(y, exp2(-s.balance));
  float ws = (1.0 - yb) * (1.0 - yb) * min(1.0, 2.0 * y);
  float wh = yb * yb * min(1.0, 2.0 * (1.0 - y));
  vec3 tint = vec3(0.0);
  if (s.shadowAmount != 0.0) tint = tint + hueChroma(s.shadowHue) * (s.shadowAmount * ws);
  if (s.highlightAmount != 0.0) tint = tint + hueChroma(s.highlightHue) * (s.highlightAmount * wh);
  return c + tint;
}

vec3 applyHueFamily(vec3 c, LookHue h) {
  vec3 hsv = rgbToHsv(c);
  float w = hueWindow(hsv.x, h.center, h.width) * (1.0 - h.skin * skinLikeness(hsv));
  if (w <= 0.0) return c;
  float sat = hsv.y * (1.0 + (h.saturation - 1.0) * w);
  // Saturation above 1 approaches 1 softly.
  sat = sat <= 0.8 ? sat : 0.8 + 0.2 * (1.0 - exp(-(sat - 0.8) / 0.2));
  vec3 shifted = hsvToRgb(vec3(hsv.x + h.shift * w, sat, hsv.z));
  // The luma of the original, changed by the lightness: a stronger colour does not
  // read darker.
  float yNew = clamp(luma(c) * (1.0 + h.lightness * w), 0.0, 1.0);
  return setLuma(shifted, luma(shifted), yNew);
}

// A look's saturation: a boost spares skin tones (by up to 60%) so that faces stay
// pleasant under the most colourful looks; a reduction is even.
vec3 applyLookSaturation(vec3 lin, float s) {
  float f = s;
  if (s > 1.0) f = 1.0 + (s - 1.0) * (1.0 - 0.6 * skinLikeness(rgbToHsv(toEncoded(lin))));
  return scaleChroma(lin, luma(lin), f);
}

// The colour of a look for one pixel: every operation that depends on the pixel's
// colour alone. Input and output are encoded values.
vec3 lookColor(vec3 encoded, Look k) {
  vec3 c = saturate3(encoded);
  if (k.fx.special == LOOK_SPECIAL_INFRARED) c = infraredColor(c);
  bool mono = lookIsMono(k);
  if (k.color.kelvin != 6500.0 || k.color.tint != 0.0 || k.tone.exposure != 0.0 || mono ||
      k.color.saturation != 1.0 || k.color.vibrance != 0.0) {
    vec3 lin = toLinear(c);
    float peak = 1.0;
    if (k.color.kelvin != 6500.0 || k.color.tint != 0.0) {
      vec3 gains = whiteBalanceGains(k.color.kelvin, k.color.tint);
      lin = applyWhiteBalance(lin, gains);
      vec3 white = applyWhiteBalance(vec3(1.0), gains);
      peak = max(white.x, max(white.y, white.z));
    }
    if (k.tone.exposure != 0.0) {
      float gain = exp2(k.tone.exposure);
      lin = lin * gain;
      peak = peak * gain;
    }
    lin = max(rollOffHighlights(lin, peak), vec3(0.0));
    if (mono) {
      lin = vec3(clamp(dot(lin, k.mono) / (k.mono.x + k.mono.y + k.mono.z), 0.0, 1.0));
    } else {
      if (k.color.saturation != 1.0) lin = applyLookSaturation(lin, k.color.saturation);
      if (k.color.vibrance != 0.0) lin = applyVibrance(lin, k.color.vibrance);
    }
    c = saturate3(toEncoded(lin));
  }
  if (!mono && (k.hue.saturation != 1.0 || k.hue.shift != 0.0 || k.hue.lightness != 0.0)) {
    c = applyHueFamily(c, k.hue);
  }
  if (k.tone.contrast != 1.0) c = contrastCurve3(c, k.tone.contrast, k.tone.pivot);
  if (k.fx.special == LOOK_SPECIAL_CROSS_PROCESS) c = crossProcessColor(c);
  if (k.fx.special == LOOK_SPECIAL_BLEACH_BYPASS) c = bleachBypassColor(c);
  c = saturate3(applyGrade(c, k.grade));
  if (k.split.shadowAmount != 0.0 || k.split.highlightAmount != 0.0) c = applySplit(c, k.split);
  if (k.duo.light != 0u) c = mix(hexColor(k.duo.dark), hexColor(k.duo.light), clamp(luma(c), 0.0, 1.0));
  if (k.tone.fade != 0.0) c = vec3(k.tone.fade) + c * (1.0 - k.tone.fade);
  if (k.tone.roll != 0.0) {
    vec3 over = max(c - vec3(0.6), vec3(0.0)) / 0.4;
    vec3 s = over * over * (vec3(3.0) - 2.0 * over);
    c = c - s * over * (0.4 * k.tone.roll);
  }
  if (k.fx.special == LOOK_SPECIAL_INVERT) c = vec3(1.0) - c;
  return saturate3(c);
}

// Film grain: smooth value noise on a lattice sized relative to the picture, keyed to
// the output pixel's position, two octaves for clumping; strongest in the mid-tones.
// The cell is never below a pixel, so the grain stays visible on small pictures
// (thumbnails) too.
vec3 applyGrain(vec3 c, LookFx fx, vec2 pos, vec2 size) {
  float cell = max(1.0, fx.grainSize * min(size.x, size.y) / 1500.0);
  float amplitude = fx.grain * 2.0;
  vec2 p = floor(pos) / cell;
  float mono = 0.7 * valueNoise(p, 11u) + 0.3 * valueNoise(p * 2.31 + vec2(17.0), 12u) - 0.5;
  vec3 n = vec3(mono);
  if (fx.grainChroma > 0.0) {
    vec3 chroma = vec3(valueNoise(p, 21u), valueNoise(p, 22u), valueNoise(p, 23u)) - vec3(0.5);
    n = mix(n, chroma, fx.grainChroma);
  }
  float y = luma(c);
  float midWeight = 1.0 - 0.7 * (2.0 * y - 1.0) * (2.0 * y - 1.0);
  return c + n * (amplitude * midWeight);
}

// What a look adds from the pixel's position and neighbourhood, after its colour:
// glow, light, halftone, vignette, grain. `soft` is the look's colour of the wide blur
// around the pixel.
vec3 lookFinish(vec3 c, vec3 soft, Look k, vec2 pos, vec2 size) {
  vec3 v = c;
  if (k.fx.glow > 0.0) {
    float bright = smoothstep(0.35, 0.95, luma(soft));
    vec3 add = saturate3(soft * (bright * k.fx.glow));
    v = vec3(1.0) - (vec3(1.0) - v) * (vec3(1.0) - add);
  }
  if (k.light.amount != 0.0) {
    vec2 d = vec2((pos.x / size.x - k.light.x) * (size.x / size.y), pos.y / size.y - k.light.y);
    float falloff = exp(-dot(d, d) / (k.light.radius * k.light.radius));
    if (k.light.amount > 0.0) {
      vec3 add = hexColor(k.light.color) * (k.light.amount * falloff);
      v = vec3(1.0) - (vec3(1.0) - v) * (vec3(1.0) - saturate3(add));
    } else {
      v = v * mix(vec3(1.0), hexColor(k.light.color), -k.light.amount * falloff);
    }
  }
  if (k.fx.special == LOOK_SPECIAL_HALFTONE) v = halftoneColor(saturate3(v), pos, size);
  if (k.fx.vignette > 0.0) v = toEncoded(toLinear(v) * vignetteFactor(pos, size, k.fx.vignette, 1.0));
  if (k.fx.grain > 0.0) v = applyGrain(v, k.fx, pos, size);
  return saturate3(v);
}

#endif
