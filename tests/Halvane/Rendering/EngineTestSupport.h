#pragma once
// One RenderingEngine per test program, on the CPU device with validation on. Its
// texture allocator can be told to refuse, so fallbacks can be driven from tests. With
// the pictures and measures that the GPU suites share.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>

#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Media/Image.h"
#include "Support/ImageCompare.h"

namespace halvane::testing {

using platform::media::Image;
using testsupport::maxAbsoluteDifference;
using testsupport::meanAbsoluteDifference;
using testsupport::saveForInspection;

struct AllocatorControl {
  std::atomic<int> allocations{0};
  // Allocations allowed before the allocator refuses; negative: never refuse.
  std::atomic<int> remaining{-1};
};
AllocatorControl& allocatorControl();
std::shared_ptr<RenderingEngine> sharedEngine();

// The shared engine with its caches purged; a validation message fails the test.
class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  std::shared_ptr<RenderingEngine> engine;
};

// An opaque picture whose pixel (x, y) has the r, g, b that rgbAt(x, y) gives.
template <typename RgbAt>
Image makePicture(int width, int height, RgbAt rgbAt) {
  Image image;
  image.width = width, image.height = height;
  image.pixels.assign(size_t(width) * size_t(height) * 4, 255);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto [r, g, b] = rgbAt(x, y);
      uint8_t* p = image.pixel(x, y);
      p[0] = uint8_t(b), p[1] = uint8_t(g), p[2] = uint8_t(r);
    }
  return image;
}
inline std::array<int, 3> grey(int v) { return {v, v, v}; }
inline Image makeFlat(int width, int height, int r, int g, int b) {
  return makePicture(width, height, [=](int, int) { return std::array{r, g, b}; });
}
// Every pixel differs from its neighbours: blue and green carry x and y, red their
// high bits, so any misplaced pixel shows.
inline Image makeDistinctImage(int width, int height) {
  return makePicture(width, height, [](int x, int y) { return std::array{(x >> 8) | ((y >> 8) << 4), y, x}; });
}
// A photo of the shared media scaled to width by height (height 0: as the aspect
// gives). Empty when the media folder is missing.
Image loadPhoto(const std::string& relativePath, int width, int height = 0);
// The texture's pixels, read back through the engine's own unedited path.
Image readBack(RenderingEngine& engine, const std::shared_ptr<platform::gpu::Texture>& texture);

inline std::array<int, 3> rgb(const Image& image, int x, int y) {
  const uint8_t* p = image.pixel(x, y);
  return {p[2], p[1], p[0]};
}
// The largest channel difference of pixel (x, y), and its percentile over the pictures
// (what bounds the worst places without letting a handful of pixels decide).
int channelDifference(const Image& a, const Image& b, int x, int y);
double percentileDifference(const Image& a, const Image& b, double fraction);

}  // namespace halvane::testing
