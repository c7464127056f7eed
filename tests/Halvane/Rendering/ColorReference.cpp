#include "Halvane/Rendering/ColorReference.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include "Halvane/Rendering/GlslCompat.h"

namespace halvane::colorref {
namespace shader {

using namespace halvane::glsl;

using platform::media::Image;

// The image that COLOR_SAMPLE reads, per rendering thread.
thread_local const Image* currentSource = nullptr;

inline vec3 texel(const Image& image, int x, int y) {
  x = std::clamp(x, 0, image.width - 1);
  y = std::clamp(y, 0, image.height - 1);
  const uint8_t* p = &image.pixels[(static_cast<size_t>(y) * image.width + x) * 4];
  return vec3(p[2] / 255.0f, p[1] / 255.0f, p[0] / 255.0f);
}

// Bilinear, clamp to edge, pixel centres at half-integers: the kernel's sampler.
inline vec3 sampleBilinear(vec2 p) {
  const Image& image = *currentSource;
  float x = p.x - 0.5f;
  float y = p.y - 0.5f;
  float x0 = std::floor(x);
  float y0 = std::floor(y);
  float fx = x - x0;
  float fy = y - y0;
  int ix = static_cast<int>(x0);
  int iy = static_cast<int>(y0);
  vec3 a = mix(texel(image, ix, iy), texel(image, ix + 1, iy), fx);
  vec3 b = mix(texel(image, ix, iy + 1), texel(image, ix + 1, iy + 1), fx);
  return mix(a, b, fy);
}

#define COLOR_SAMPLE(p) sampleBilinear(p)
#include "Halvane/Shaders/ColorPixel.glsl"
#undef COLOR_SAMPLE

}  // namespace shader

namespace {

uint8_t toByte(float v) { return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255.0f)); }

using platform::media::Image;

shader::ColorParams toParams(const RenderUniforms& u, int width, int height) {
  return shader::ColorParams(u.exposure, u.brightness, u.contrast, u.highlights, u.shadows, u.whites, u.blacks, u.gamma,
                             u.saturation, u.vibrance, u.temperature, u.tint, u.sharpness, u.clarity,
                             u.vignetteIntensity, u.vignetteRadius, u.filterType, u.filterIntensity,
                             shader::vec2(static_cast<float>(width), static_cast<float>(height)));
}

size_t renderRows(const Image& input, const shader::ColorParams& params, Image& output, int rowBegin, int rowEnd) {
  using shader::luma;
  using shader::texel;
  shader::currentSource = &input;
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
      shader::vec3 c = shader::colorPixel(params, shader::vec2(x + 0.5f, y + 0.5f), center, blur3);
      if (!std::isfinite(c.x) || !std::isfinite(c.y) || !std::isfinite(c.z)) ++nonFinite;
      size_t i = (static_cast<size_t>(y) * input.width + x) * 4;
      output.pixels[i + 0] = toByte(c.z);
      output.pixels[i + 1] = toByte(c.y);
      output.pixels[i + 2] = toByte(c.x);
      output.pixels[i + 3] = input.pixels[i + 3];
    }
  }
  return nonFinite;
}

}  // namespace

Image renderColorPass(const Image& input, const RenderUniforms& uniforms, size_t* nonFinite) {
  Image output = input;
  shader::ColorParams params = toParams(uniforms, input.width, input.height);
  int threads = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 32);
  threads = std::min(threads, std::max(1, input.height / 8));
  std::vector<std::thread> workers;
  std::vector<size_t> counts(threads, 0);
  for (int t = 0; t < threads; ++t) {
    int begin = input.height * t / threads;
    int end = input.height * (t + 1) / threads;
    workers.emplace_back([&, t, begin, end] { counts[t] = renderRows(input, params, output, begin, end); });
  }
  for (auto& w : workers) w.join();
  if (nonFinite) {
    *nonFinite = 0;
    for (size_t n : counts) *nonFinite += n;
  }
  return output;
}

Image renderColorPass(const Image& input, const EditState& state, size_t* nonFinite) {
  return renderColorPass(input, makeUniforms(input.width, input.height, state, true), nonFinite);
}

std::vector<LookRow> lookRows() {
  return {
#define LOOK(number, id, ...) LookRow{number, #id},
#include "Halvane/Shaders/LookTable.inc"
#undef LOOK
  };
}

bool lookIsMonochrome(uint32_t number) {
  shader::Look k = shader::lookTable(number);
  return shader::lookIsMono(k) || k.duo.light != 0u;
}

std::array<float, 4> lookSplitToning(uint32_t number) {
  shader::Look k = shader::lookTable(number);
  return {k.split.shadowHue, k.split.shadowAmount, k.split.highlightHue, k.split.highlightAmount};
}

std::array<uint32_t, 2> lookDuoTone(uint32_t number) {
  shader::Look k = shader::lookTable(number);
  return {k.duo.dark, k.duo.light};
}

bool lookIsPositional(uint32_t number) {
  shader::Look k = shader::lookTable(number);
  return k.fx.vignette > 0.0f || k.light.amount != 0.0f || k.fx.special == LOOK_SPECIAL_HALFTONE;
}

}  // namespace halvane::colorref
