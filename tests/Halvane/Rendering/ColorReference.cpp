#include "Halvane/Rendering/ColorReference.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <thread>

#include "Halvane/Rendering/ColorWidePass.h"
#include "Halvane/Rendering/GlslCompat.h"

namespace halvane::colorref {
namespace shader {

using namespace halvane::glsl;

using platform::media::Image;

// The reduced copy (mean colour, luma statistics) that WIDE_COLOR and WIDE_LUMA read and
// the wide level's two images that COLOR_WIDE reads, per rendering thread, and the
// scale from full-size pixel coordinates to theirs.
thread_local const Image* currentReducedColor = nullptr;
thread_local const Image* currentReducedLuma = nullptr;
thread_local const struct FloatImage* currentWideLuma = nullptr;
thread_local const struct FloatImage* currentWideColor = nullptr;
thread_local vec2 toLevel(1.0f);

inline vec4 texel4(const Image& image, int x, int y) {
  x = std::clamp(x, 0, image.width - 1);
  y = std::clamp(y, 0, image.height - 1);
  const uint8_t* p = &image.pixels[(static_cast<size_t>(y) * image.width + x) * 4];
  return vec4(p[2] / 255.0f, p[1] / 255.0f, p[0] / 255.0f, p[3] / 255.0f);
}

inline vec3 rgbOf(vec4 t) { return vec3(t.x, t.y, t.z); }
inline vec3 texel(const Image& image, int x, int y) { return rgbOf(texel4(image, x, y)); }

// The wide level's texels as the GPU stores them: RGBA16 float.
struct FloatImage {
  int width = 0, height = 0;
  std::vector<vec4> texels;
};

inline vec4 texel4(const FloatImage& image, int x, int y) {
  return image.texels[size_t(std::clamp(y, 0, image.height - 1)) * size_t(image.width) +
                      size_t(std::clamp(x, 0, image.width - 1))];
}

// Bilinear in float, clamp to edge, pixel centres at half-integers, at pixel
// coordinates p of the image: the sampler's blend of the wide level's texels.
template <typename Picture>
vec4 sampleBilinear(const Picture& image, vec2 p) {
  const float x0 = std::floor(p.x - 0.5f), y0 = std::floor(p.y - 0.5f), fx = p.x - 0.5f - x0, fy = p.y - 0.5f - y0;
  const int ix = static_cast<int>(x0), iy = static_cast<int>(y0);
  vec4 t[4] = {texel4(image, ix, iy), texel4(image, ix + 1, iy), texel4(image, ix, iy + 1),
               texel4(image, ix + 1, iy + 1)};
  auto blend = [&](float vec4::*c) { return mix(mix(t[0].*c, t[1].*c, fx), mix(t[2].*c, t[3].*c, fx), fy); };
  return vec4(blend(&vec4::x), blend(&vec4::y), blend(&vec4::z), blend(&vec4::w));
}

// The texel under full-size position p, as colorWideKernel reads the reduced copy.
inline vec4 nearestTexel(const Image& image, vec2 p) {
  vec2 t = floor(p * toLevel);
  return texel4(image, static_cast<int>(t.x), static_cast<int>(t.y));
}

inline vec3 reducedColorAt(vec2 p) { return rgbOf(nearestTexel(*currentReducedColor, p)); }

vec2 reducedLumaAt(vec2 p);

#define WIDE_COLOR(p) reducedColorAt(p)
#define WIDE_LUMA(p) reducedLumaAt(p)
#include "Halvane/Shaders/ColorWide.glsl"
#undef WIDE_LUMA
#undef WIDE_COLOR

vec2 reducedLumaAt(vec2 p) {
  vec4 s = nearestTexel(*currentReducedLuma, p);
  return vec2(decodeWide16(s.x, s.y), decodeWide16(s.z, s.w));
}

// The former method: each pixel's neighbourhood gathered from the picture itself
// (currentReducedColor, at full size) with luma weights around the pixel's own luma
// (a bilateral filter), 24 taps of the same spiral.
thread_local bool gatherEachPixel = false;
thread_local vec3 currentCenter;

WideBlur formerGather(vec2 pos) {
  const Image& image = *currentReducedColor;
  float radius = wideRadius(vec2(float(image.width), float(image.height)));
  float yc = luma(currentCenter);
  float sumL = yc;
  float weightL = 1.0f;
  vec3 sumC = currentCenter;
  float weightC = 1.0f;
  vec2 dir(1.0f, 0.0f);
  for (int i = 0; i < WIDE_TAPS; i++) {
    const float r = std::sqrt((float(i) + 0.5f) / float(WIDE_TAPS));
    const vec3 s = rgbOf(sampleBilinear(image, pos + dir * (r * radius)));
    const float ys = luma(s), spatial = std::exp(-2.0f * r * r), dy = (ys - yc) / 0.12f;
    const float wl = spatial * std::exp(-0.5f * dy * dy);
    sumL += ys * wl, weightL += wl;
    sumC = sumC + s * spatial, weightC += spatial;
    dir =
        vec2(dir.x * GOLDEN_ANGLE_COS - dir.y * GOLDEN_ANGLE_SIN, dir.x * GOLDEN_ANGLE_SIN + dir.y * GOLDEN_ANGLE_COS);
  }
  return WideBlur(sumL / weightL, sumC / weightC);
}

inline WideBlur sampleWide(vec2 p, float y) {
  if (gatherEachPixel) return formerGather(p);
  vec4 g = sampleBilinear(*currentWideLuma, p * toLevel);
  vec4 c = sampleBilinear(*currentWideColor, p * toLevel);
  return WideBlur(g.x * y + g.y, rgbOf(c));
}

#define COLOR_WIDE(p, y, glows) sampleWide(p, y)
#include "Halvane/Shaders/ColorPixel.glsl"
#undef COLOR_WIDE

}  // namespace shader

namespace {

uint8_t toByte(float v) { return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255.0f)); }

using platform::media::Image;

shader::ColorParams toParams(const RenderUniforms& u, int width, int height) {
  return shader::ColorParams(u.exposure, u.brightness, u.contrast, u.highlights, u.shadows, u.whites, u.blacks, u.gamma,
                             u.saturation, u.vibrance, u.temperature, u.tint, u.sharpness, u.clarity,
                             u.vignetteIntensity, u.vignetteRadius, u.filterType, u.filterIntensity,
                             shader::vec2(static_cast<float>(width), static_cast<float>(height)),
                             shader::whiteBalanceOf(u.temperature, u.tint));
}

// Runs rows(begin, end) over [0, height) on every hardware thread.
template <typename Rows>
void inParallel(int height, Rows rows) {
  int threads = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 32);
  threads = std::min(threads, std::max(1, height / 8));
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t)
    workers.emplace_back([&rows, t, threads, height] { rows(t, height * t / threads, height * (t + 1) / threads); });
  for (auto& w : workers) w.join();
}

void store(Image& image, int x, int y, shader::vec4 c) {
  uint8_t* p = image.pixel(x, y);
  p[0] = toByte(c.z), p[1] = toByte(c.y), p[2] = toByte(c.x), p[3] = toByte(c.w);
}

// colorReduceKernel and colorWideKernel: the picture averaged into the reduced copy,
// then each texel's guided filter and colour blur.
struct WideLevel {
  Image reducedColor, reducedLuma;
  shader::FloatImage luma, color;
};

// A float rounded to half precision (to nearest, ties to even), as an RGBA16 float
// texel stores it.
shader::vec4 asHalves(shader::vec4 v) {
  auto half = [](float f) { return float(static_cast<_Float16>(f)); };
  return shader::vec4(half(v.x), half(v.y), half(v.z), half(v.w));
}

WideLevel makeWideLevel(const Image& input) {
  const WideLevelSize size = wideLevelSize(uint32_t(input.width), uint32_t(input.height));
  const int w = int(size.width), h = int(size.height);
  auto blank = [w, h] { return Image{w, h, std::vector<uint8_t>(size_t(w) * size_t(h) * 4, 0), {}, {}}; };
  auto floats = [w, h] { return shader::FloatImage{w, h, std::vector<shader::vec4>(size_t(w) * size_t(h))}; };
  WideLevel level{blank(), blank(), floats(), floats()};
  inParallel(h, [&](int, int begin, int end) {
    for (int y = begin; y < end; ++y)
      for (int x = 0; x < w; ++x) {
        const int x0 = x * input.width / w, x1 = (x + 1) * input.width / w;
        const int y0 = y * input.height / h, y1 = (y + 1) * input.height / h;
        shader::vec3 sum(0.0f);
        float sumSquares = 0.0f;
        for (int v = y0; v < y1; ++v)
          for (int u = x0; u < x1; ++u) {
            const shader::vec3 c = shader::texel(input, u, v);
            sum = sum + c;
            sumSquares += shader::luma(c) * shader::luma(c);
          }
        const float n = float((x1 - x0) * (y1 - y0));
        const shader::vec3 mean = sum / n;
        store(level.reducedColor, x, y, shader::vec4(mean, 1.0f));
        const shader::vec2 m = shader::encodeWide16(shader::luma(mean)), m2 = shader::encodeWide16(sumSquares / n);
        store(level.reducedLuma, x, y, shader::vec4(m.x, m.y, m2.x, m2.y));
      }
  });
  const shader::vec2 full(float(input.width), float(input.height));
  inParallel(h, [&](int, int begin, int end) {
    shader::currentReducedColor = &level.reducedColor;
    shader::currentReducedLuma = &level.reducedLuma;
    shader::toLevel = shader::vec2(float(w), float(h)) / full;
    for (int y = begin; y < end; ++y)
      for (int x = 0; x < w; ++x) {
        const shader::vec2 center =
            (shader::vec2(float(x), float(y)) + shader::vec2(0.5f)) * full / shader::vec2(float(w), float(h));
        const shader::WideTexel t = shader::gatherWide(center, full);
        level.luma.texels[size_t(y) * size_t(w) + size_t(x)] = asHalves(shader::vec4(t.a, t.b, 0.0f, 1.0f));
        level.color.texels[size_t(y) * size_t(w) + size_t(x)] = asHalves(shader::vec4(t.color, 1.0f));
      }
  });
  return level;
}

size_t renderRows(const Image& input, const WideLevel& level, const shader::ColorParams& params, Image& output,
                  int rowBegin, int rowEnd) {
  using shader::luma;
  using shader::texel;
  shader::gatherEachPixel = level.luma.width == 0;
  shader::currentReducedColor = &input;
  shader::currentWideLuma = &level.luma;
  shader::currentWideColor = &level.color;
  shader::toLevel = shader::gatherEachPixel
                        ? shader::vec2(1.0f)
                        : shader::vec2(float(level.luma.width), float(level.luma.height)) / params.size;
  size_t nonFinite = 0;
  for (int y = rowBegin; y < rowEnd; ++y) {
    for (int x = 0; x < input.width; ++x) {
      shader::vec3 center = texel(input, x, y);
      float blur3 = 0.0f;
      if (params.sharpness > 0.0f) {
        blur3 = shader::binomialBlur3x3(luma(texel(input, x - 1, y - 1)), luma(texel(input, x, y - 1)),
                                        luma(texel(input, x + 1, y - 1)), luma(texel(input, x - 1, y)), luma(center),
                                        luma(texel(input, x + 1, y)), luma(texel(input, x - 1, y + 1)),
                                        luma(texel(input, x, y + 1)), luma(texel(input, x + 1, y + 1)));
      }
      shader::currentCenter = center;
      shader::vec3 c = shader::colorPixel(params, shader::vec2(x + 0.5f, y + 0.5f), center, blur3);
      if (!std::isfinite(c.x) || !std::isfinite(c.y) || !std::isfinite(c.z)) ++nonFinite;
      store(output, x, y, shader::vec4(c, shader::texel4(input, x, y).w));
    }
  }
  return nonFinite;
}

// The pass with the wide level, or, when gatherEachPixel, with the former gather of
// each pixel's neighbourhood.
Image renderColorPass(const Image& input, const RenderUniforms& uniforms, bool gatherEachPixel, size_t* nonFinite) {
  Image output = input;
  shader::ColorParams params = toParams(uniforms, input.width, input.height);
  const bool wide = shader::needsWide(params, shader::lookTable(shader::usesLook(params) ? params.filterType : 0u));
  const WideLevel level = wide && !gatherEachPixel ? makeWideLevel(input) : WideLevel{};
  std::vector<size_t> counts(32, 0);
  inParallel(input.height,
             [&](int t, int begin, int end) { counts[t] = renderRows(input, level, params, output, begin, end); });
  if (nonFinite) *nonFinite = std::accumulate(counts.begin(), counts.end(), size_t{0});
  return output;
}

}  // namespace

Image renderColorPassGatheringEachPixel(const Image& input, const EditState& state) {
  return renderColorPass(input, makeUniforms(input.width, input.height, state, true), true, nullptr);
}

Image renderColorPass(const Image& input, const EditState& state, size_t* nonFinite) {
  return renderColorPass(input, makeUniforms(input.width, input.height, state, true), false, nonFinite);
}

std::vector<LookRow> lookRows() {
  return {
#define LOOK(number, id, ...) LookRow{number, #id},
#include "Halvane/Shaders/LookTable.inc"
#undef LOOK
  };
}

LookTraits lookTraits(uint32_t number) {
  const shader::Look k = shader::lookTable(number);
  return {shader::lookIsMono(k) || k.duo.light != 0u,
          {k.split.shadowHue, k.split.shadowAmount, k.split.highlightHue, k.split.highlightAmount},
          {k.duo.dark, k.duo.light},
          k.fx.vignette > 0.0f || k.light.amount != 0.0f || k.fx.special == LOOK_SPECIAL_HALFTONE};
}

}  // namespace halvane::colorref
