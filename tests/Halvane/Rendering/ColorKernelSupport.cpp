#include "Halvane/Rendering/ColorKernelSupport.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Halvane/Rendering/ColorReference.h"

namespace halvane::colortest {

Image renderColor(RenderingEngine& engine, const Image& image, EditState state) {
  state.trimStart = 1;
  auto texture = engine.makeTexture(image);
  EXPECT_TRUE(texture != nullptr);
  if (!texture) return {};
  auto rendered = engine.renderToImage(texture, state);
  EXPECT_TRUE(rendered.hasValue());
  return rendered ? *rendered : Image{};
}

Rendered renderAgainstReference(RenderingEngine& engine, const Image& image, const EditState& state, int tolerance) {
  size_t nonFinite = 0;
  Rendered r{renderColor(engine, image, state), colorref::renderColorPass(image, state, &nonFinite)};
  EXPECT_EQ(nonFinite, 0u);
  EXPECT_LE(maxAbsoluteDifference(r.gpu, r.cpu), tolerance);
  if (maxAbsoluteDifference(r.gpu, r.cpu) > tolerance) {
    saveForInspection(r.gpu, "gpu");
    saveForInspection(r.cpu, "cpu");
  }
  return r;
}

namespace {

void put(Image& image, int x, int y, int r, int g, int b) {
  uint8_t* p = image.pixel(x, y);
  p[0] = uint8_t(b);
  p[1] = uint8_t(g);
  p[2] = uint8_t(r);
  p[3] = 255;
}

// sRGB values of the ColorChecker patches (X-Rite's published approximations).
constexpr int kChart[24][3] = {
    {115, 82, 68},   {194, 150, 130}, {98, 122, 157},  {87, 108, 67},   {133, 128, 177}, {103, 189, 170},
    {214, 126, 44},  {80, 91, 166},   {193, 90, 99},   {94, 60, 108},   {157, 188, 64},  {224, 163, 46},
    {56, 61, 150},   {70, 148, 73},   {175, 54, 60},   {231, 199, 31},  {187, 86, 149},  {8, 133, 161},
    {243, 243, 242}, {200, 200, 200}, {160, 160, 160}, {122, 122, 121}, {85, 85, 85},    {52, 52, 52},
};

}  // namespace

Image makeGreyRamp(int height) {
  Image image = makeFlat(256, height, 0, 0, 0);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < 256; ++x) put(image, x, y, x, x, x);
  return image;
}

Image makeColorChart() {
  Image image = makeFlat(6 * kChartPatch, 4 * kChartPatch, 0, 0, 0);
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) {
      const int* c = kChart[(y / kChartPatch) * 6 + x / kChartPatch];
      put(image, x, y, c[0], c[1], c[2]);
    }
  return image;
}

std::array<double, 3> chartPatch(const Image& chart, int index) {
  const int x0 = (index % 6) * kChartPatch + kChartPatch / 4;
  const int y0 = (index / 6) * kChartPatch + kChartPatch / 4;
  std::array<double, 3> sum{};
  int count = 0;
  for (int y = y0; y < y0 + kChartPatch / 2; ++y)
    for (int x = x0; x < x0 + kChartPatch / 2; ++x) {
      auto c = rgb(chart, x, y);
      for (int i = 0; i < 3; ++i) sum[i] += c[i];
      ++count;
    }
  for (double& v : sum) v /= count;
  return sum;
}

double rampLevel(const Image& ramp, int x) {
  double sum = 0;
  for (int y = 0; y < ramp.height; ++y) {
    auto c = rgb(ramp, x, y);
    sum += c[0] + c[1] + c[2];
  }
  return sum / (3.0 * ramp.height);
}

std::array<int, 3> rgb(const Image& image, int x, int y) {
  const uint8_t* p = image.pixel(x, y);
  return {p[2], p[1], p[0]};
}

}  // namespace halvane::colortest
