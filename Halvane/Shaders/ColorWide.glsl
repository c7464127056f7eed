#ifndef HALVANE_COLOR_WIDE_GLSL
#define HALVANE_COLOR_WIDE_GLSL
// The wide neighbourhood of the colour pass (clarity, and the looks' detail and glow),
// computed on a reduced copy of the picture rather than gathered for every pixel. The
// picture is averaged down until the wide radius spans a few texels (ColorWidePass),
// keeping each block's mean colour and the mean and mean square of its luma; each
// texel of that copy gathers its neighbourhood into the wide level; the colour pass
// reads the level bilinearly. The luma blur is a guided filter of the luma by itself
// (He et al., subsampled): over each neighbourhood, blur = a * luma + b with
// a = variance / (variance + epsilon), so flat areas take the local mean while edges
// and strong texture keep their own luma, and clarity leaves no halo along them.
// Shared with the CPU reference.
//
// The includer defines WIDE_COLOR(p) and WIDE_LUMA(p): the reduced copy's mean colour
// (vec3) and its luma's mean and mean square (vec2) at full-size pixel coordinates p,
// from the texel under p (clamped at the edges).
#include "ColorAdjust.glsl"

const int WIDE_TAPS = 24;
const float GOLDEN_ANGLE_COS = -0.73736888;
const float GOLDEN_ANGLE_SIN = 0.67549029;

// One texel of the wide level: the guided filter's a and b, and the colour blur.
struct WideTexel {
  float a;
  float b;
  vec3 color;
};

// A Vogel spiral of 24 taps over the wide radius with Gaussian weights, plus
// the texel itself, around full-size position pos.
WideTexel gatherWide(vec2 pos, vec2 size) {
  float radius = wideRadius(size);
  vec2 stats = WIDE_LUMA(pos);
  vec3 sumC = WIDE_COLOR(pos);
  float weight = 1.0;
  vec2 dir = vec2(1.0, 0.0);
  for (int i = 0; i < WIDE_TAPS; i++) {
    float r = sqrt((float(i) + 0.5) / float(WIDE_TAPS));
    vec2 p = pos + dir * (r * radius);
    float spatial = exp(-2.0 * r * r);
    stats = stats + WIDE_LUMA(p) * spatial;
    sumC = sumC + WIDE_COLOR(p) * spatial;
    weight += spatial;
    dir = vec2(dir.x * GOLDEN_ANGLE_COS - dir.y * GOLDEN_ANGLE_SIN,
               dir.x * GOLDEN_ANGLE_SIN + dir.y * GOLDEN_ANGLE_COS);
  }
  float mean = stats.x / weight;
  float variance = max(stats.y / weight - mean * mean, 0.0);
  float a = variance / (variance + WIDE_GUIDE_EPSILON);
  return WideTexel(a, mean - a * mean, sumC / weight);
}

#endif
