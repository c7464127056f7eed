#ifndef HALVANE_COLOR_WIDE_GLSL
#define HALVANE_COLOR_WIDE_GLSL
// The wide neighbourhood of the colour pass (clarity, and the looks' detail and glow),
// computed once on a reduced copy of the picture rather than for every pixel: the
// picture is averaged down so that the wide radius spans a few texels (ColorWidePass),
// each texel of that copy gathers its neighbourhood into the wide level (two textures:
// the luma blur, and the colour blur), and the colour pass reads them bilinearly.
// Shared with the CPU reference.
//
// The includer defines COLOR_SAMPLE(p): the reduced picture's encoded colour, bilinearly
// filtered, at full-size pixel coordinates p (clamped at the edges).
#include "ColorAdjust.glsl"

const int WIDE_TAPS = 24;
const float GOLDEN_ANGLE_COS = -0.73736888;
const float GOLDEN_ANGLE_SIN = 0.67549029;

// A Vogel spiral of 24 bilinear taps over the wide radius with Gaussian weights, plus
// the texel itself, around full-size position pos. The luma blur also weights each tap
// by its luma's closeness to the centre's (a bilateral filter), which keeps halos off
// strong edges.
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
    float wl = spatial * wideLumaWeight(ys, yc);
    sumL += ys * wl;
    weightL += wl;
    sumC = sumC + s * spatial;
    weightC += spatial;
    dir = vec2(dir.x * GOLDEN_ANGLE_COS - dir.y * GOLDEN_ANGLE_SIN,
               dir.x * GOLDEN_ANGLE_SIN + dir.y * GOLDEN_ANGLE_COS);
  }
  return WideBlur(sumL / weightL, sumC / weightC);
}

#endif
