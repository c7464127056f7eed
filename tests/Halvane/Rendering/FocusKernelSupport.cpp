#include "FocusKernelSupport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <thread>
#include <vector>

#include "EngineTestSupport.h"

namespace halvane::testing {
namespace {

using RGB = std::array<double, 3>;  // in the image's order: blue, green, red

double smoothstep(double from, double to, double x) {
  const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}
double luminance(const RGB& c) { return 0.2126 * c[2] + 0.7152 * c[1] + 0.0722 * c[0]; }

// The picture in one of two forms, sampled between texel centres as the GPU's linear
// filter with clamped edges does.
struct Plane {
  int width, height;
  std::vector<RGB> texels;
  const RGB& at(int x, int y) const {
    return texels[size_t(std::clamp(y, 0, height - 1)) * width + std::clamp(x, 0, width - 1)];
  }
  RGB bilinear(double px, double py) const {
    const double tx = px - 0.5, ty = py - 0.5;
    const int x = int(std::floor(tx)), y = int(std::floor(ty));
    const double fx = tx - x, fy = ty - y;
    RGB c;
    for (int i = 0; i < 3; ++i)
      c[i] = (1 - fy) * ((1 - fx) * at(x, y)[i] + fx * at(x + 1, y)[i]) +
             fy * ((1 - fx) * at(x, y + 1)[i] + fx * at(x + 1, y + 1)[i]);
    return c;
  }
};

// The definitions of the modes, each pixel's kernel gathered texel by texel.
class FocusDefinition {
 public:
  FocusDefinition(const Image& input, const EditState& s)
      : s_(s), width_(input.width), height_(input.height), short_(std::min(width_, height_)),
        encoded_{width_, height_, {}}, linear_{width_, height_, {}} {
    for (int y = 0; y < height_; ++y)
      for (int x = 0; x < width_; ++x) {
        RGB e, l;
        for (int c = 0; c < 3; ++c) e[c] = input.pixel(x, y)[c] / 255.0, l[c] = srgbToLinear(e[c]);
        encoded_.texels.push_back(e);
        linear_.texels.push_back(l);
      }
    const double h = s.focusMode == 8 ? std::max(s.focusBokehHighlights, 0.3f) : s.focusBokehHighlights;
    highlights_ = s.focusMode == 7 || s.focusMode == 8 ? 1 - 1 / (1 + 3 * h) : 0;
  }

  // The pixel's mean linear light, or none where it stays sharp.
  std::optional<RGB> at(int x, int y) const {
    const double px = x + 0.5, py = y + 0.5;
    if (s_.focusMode == 5 || s_.focusMode == 6) return streak(px, py);
    const double size = blurFraction(px, py) * s_.focusStrength * short_;
    const bool lens = s_.focusMode >= 7 && s_.focusMode <= 9;
    const double support = lens ? 0.03 * size * (s_.focusMode == 8 ? polygonScale() : 1) : 3 * 0.012 * size;
    if (support < 0.5) return std::nullopt;
    const RGB centre = linear_.at(x, y);
    const double rangeScale = s_.focusMode == 10 ? s_.edgeProtect * s_.edgeProtect / (2 * 0.04 * 0.04) : 0;
    RGB sum{};
    double weight = 0;
    const int reach = int(std::ceil(support + 0.5));
    for (int dy = -reach; dy <= reach; ++dy)
      for (int dx = -reach; dx <= reach; ++dx) {
        if (x + dx < 0 || y + dy < 0 || x + dx >= width_ || y + dy >= height_) continue;
        double w = lens ? aperture(support, dx, dy) : gaussian(support, dx, dy);
        if (w <= 0) continue;
        RGB l = linear_.at(x + dx, y + dy);
        double range = 0;
        for (int c = 0; c < 3; ++c) range += std::pow(std::sqrt(l[c]) - std::sqrt(centre[c]), 2);
        w *= std::exp(-range * rangeScale);
        const double gain = 1 / (1 - highlights_ * luminance(l));
        for (int c = 0; c < 3; ++c) sum[c] += w * l[c] * gain;
        weight += w;
      }
    for (double& c : sum) c /= weight;
    const double compress = 1 / (1 + highlights_ * luminance(sum));
    for (double& c : sum) c *= compress;
    return sum;
  }

 private:
  // From 0 (sharp) to 1 (full blur): the region's feathered edge; the depth mode also
  // by the pixel's height against the plane of focus, nearer where detail is.
  double blurFraction(double px, double py) const {
    const double cx = s_.focusCenterX * width_, cy = s_.focusCenterY * height_;
    const double inner = short_ * s_.focusRadius * 0.5, outer = inner * (1 + s_.focusFeather);
    auto ramp = [&](double d) { return outer <= inner ? double(d > inner) : smoothstep(inner, outer, d); };
    const double angle = s_.focusAngle * M_PI / 180;
    const double normal = -std::sin(angle) * (px - cx) + std::cos(angle) * (py - cy);
    const double ellipse = ramp(std::hypot((px - cx) / s_.focusAspect, py - cy));
    switch (s_.focusMode) {
      case 1: case 7: case 8: return ellipse;
      case 2: return ramp(normal);
      case 3: return ramp(std::abs(normal));
      case 9: {
        const double plane = std::clamp(1 - s_.focusCenterY + (s_.focusDepth - 0.5), 0.0, 1.0);
        const double separation = std::abs(1 - py / height_ - plane) * (1 - 0.6 * detail(px, py));
        return ellipse * (1 + s_.depthMix * (smoothstep(0.04, 0.45, separation) - 1));
      }
      default: return 1;
    }
  }
  // How contrasty the neighbourhood is: the deviation of the encoded luminance of nine
  // samples about p.
  double detail(double px, double py) const {
    const double spacing = std::max(1.0, 0.004 * short_);
    double sum = 0, sumSq = 0;
    for (int j = -1; j <= 1; ++j)
      for (int i = -1; i <= 1; ++i) {
        const double l = luminance(encoded_.bilinear(px + i * spacing, py + j * spacing));
        sum += l, sumSq += l * l;
      }
    return smoothstep(0.015, 0.12, std::sqrt(std::max(sumSq / 9 - sum * sum / 81, 0.0)));
  }
  double gaussian(double support, int dx, int dy) const {
    const double d = std::hypot(dx, dy), sigma = support / 3;
    return d > support ? 0 : std::exp(-d * d / (2 * sigma * sigma));
  }
  double polygonScale() const { return std::sqrt(2 * M_PI / (s_.irisBlades * std::sin(2 * M_PI / s_.irisBlades))); }
  // A disc of radius `support`, or the iris's polygon of that circumradius with its
  // first vertex up, each with a rim one pixel wide.
  double aperture(double support, int dx, int dy) const {
    double outside = std::hypot(dx, dy) - support;
    if (s_.focusMode == 8) {
      outside = -1e30;
      for (int b = 0; b < s_.irisBlades; ++b) {
        const double a = -M_PI / 2 + s_.irisRotation * M_PI / 180 + (b + 0.5) * 2 * M_PI / s_.irisBlades;
        outside = std::max(outside, dx * std::cos(a) + dy * std::sin(a) - support * std::cos(M_PI / s_.irisBlades));
      }
    }
    return std::clamp(0.5 - outside, 0.0, 1.0);
  }
  // The mean light along the pixel's streak: zoom along the ray to the centre, a
  // quarter of the distance at full strength; motion along the angle, 0.08 of the
  // shorter side.
  std::optional<RGB> streak(double px, double py) const {
    double hx, hy;
    if (s_.focusMode == 5) {
      hx = 0.125 * s_.focusStrength * (s_.focusCenterX * width_ - px);
      hy = 0.125 * s_.focusStrength * (s_.focusCenterY * height_ - py);
    } else {
      const double half = 0.04 * s_.focusStrength * short_, angle = s_.focusAngle * M_PI / 180;
      hx = half * std::cos(angle), hy = half * std::sin(angle);
    }
    const double length = 2 * std::hypot(hx, hy);
    if (length < 0.5) return std::nullopt;
    const int samples = int(std::ceil(length * 4)) + 1;
    RGB sum{};
    int count = 0;
    for (int i = 0; i < samples; ++i) {
      const double t = (i + 0.5) / samples, sx = px - hx + 2 * hx * t, sy = py - hy + 2 * hy * t;
      if (sx < 0 || sy < 0 || sx > width_ || sy > height_) continue;
      const RGB l = linear_.bilinear(sx, sy);
      for (int c = 0; c < 3; ++c) sum[c] += l[c];
      ++count;
    }
    for (double& c : sum) c /= count;
    return sum;
  }

  EditState s_;
  int width_, height_, short_;
  Plane encoded_, linear_;
  double highlights_;
};

}  // namespace

Image referenceFocus(const Image& input, const EditState& state, int step) {
  const FocusDefinition definition(input, state);
  Image output = everyNth(input, step);
  auto rows = [&](int first, int stride) {
    for (int y = first; y < output.height; y += stride)
      for (int x = 0; x < output.width; ++x) {
        uint8_t* out = output.pixel(x, y);
        if (auto mean = definition.at(x * step, y * step))
          for (int c = 0; c < 3; ++c) out[c] = uint8_t(std::lround(255 * linearToSrgb((*mean)[c])));
      }
  };
  std::vector<std::thread> threads;
  const int count = int(std::max(1u, std::thread::hardware_concurrency()));
  for (int t = 0; t < count; ++t) threads.emplace_back(rows, t, count);
  for (auto& thread : threads) thread.join();
  return output;
}

Image everyNth(const Image& image, int step) {
  return makePicture((image.width + step - 1) / step, (image.height + step - 1) / step,
                     [&](int x, int y) { return rgb(image, x * step, y * step); });
}

}  // namespace halvane::testing
