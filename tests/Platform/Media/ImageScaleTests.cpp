#include <gtest/gtest.h>

#include <array>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/ImageScale.h"

namespace platform::media {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

// A checkerboard of single pixels alternating between two colours.
Image checkerboard(int width, int height, const Pixel& a, const Pixel& b) {
  Image image = test::solidImage(width, height, 0, 0, 0, 0);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) std::copy_n(((x + y) % 2 ? b : a).data(), 4, image.pixel(x, y));
  return image;
}

void expectEveryPixel(const Image& image, int width, int height, const Pixel& expected) {
  ASSERT_EQ(std::pair(image.width, image.height), std::pair(width, height));
  for (std::size_t i = 0; i < image.pixels.size(); ++i)
    ASSERT_EQ(image.pixels[i], expected[i % 4]) << "pixel " << i / 4 << " channel " << i % 4;
}

// Constants stay exactly constant at every size, also for reductions by thousands,
// whose many tiny weights must still add up to exactly one.
TEST(ImageScale, ConstantImageStaysThatConstant) {
  const std::pair<Image, std::vector<std::pair<int, int>>> cases[] = {
      {test::solidImage(37, 23, 17, 99, 203, 255), {{10, 7}, {1, 1}, {36, 22}, {37, 23}, {80, 50}, {100, 3}, {5, 200}}},
      {test::solidImage(5000, 3, 250, 1, 77, 255), {{1, 1}, {3, 1}, {7, 1}, {333, 1}}},
  };
  for (const auto& [source, sizes] : cases) {
    for (auto [width, height] : sizes) {
      SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
      expectEveryPixel(scaleImage(source, width, height), width, height,
                       {source.pixels[0], source.pixels[1], source.pixels[2], source.pixels[3]});
    }
  }
}

// Halving a checkerboard gives the exact mean of its two colours: rounded half up, and
// over transparency premultiplied (opaque red beside clear is half-transparent red,
// never a darkened opaque red).
TEST(ImageScale, HalvedCheckerboardAveragesExactly) {
  const std::tuple<Pixel, Pixel, Pixel> cases[] = {
      // the two colours, their mean
      {{10, 200, 64, 255}, {30, 100, 0, 255}, {20, 150, 32, 255}},
      {{0, 0, 0, 255}, {255, 255, 255, 255}, {128, 128, 128, 255}},  // 127.5 rounded half up
      {{0, 0, 255, 255}, {0, 0, 0, 0}, {0, 0, 128, 128}},
  };
  for (const auto& [a, b, mean] : cases) expectEveryPixel(scaleImage(checkerboard(64, 48, a, b), 32, 24), 32, 24, mean);
}

// One-row pictures scaled to values known by hand, in one channel: a 5100-pixel ramp
// from 0 to 254 to its mean, 127; a 30-pixel ramp to a third, each triple's mean
// ((9x + 9x + 3 + 9x + 6) / 3 = 9x + 3); 2 pixels enlarged to 4, whose centres fall at
// source positions -0.25, 0.25, 0.75, 1.25: the edges hold, the middle blends.
TEST(ImageScale, OneRowRampsScaleToTheirHandComputedMeansAndBlends) {
  const auto ramp = [](int width, int channel, int (*value)(int)) {
    Image image = test::solidImage(width, 1, 0, 0, 0, 255);
    for (int x = 0; x < width; ++x) image.pixel(x, 0)[channel] = std::uint8_t(value(x));
    return image;
  };
  // The source, the channel, the values scaled to as many pixels, the tolerance.
  const std::tuple<Image, int, std::vector<int>, int> cases[] = {
      {ramp(5100, 1, [](int x) { return x / 20; }), 1, {127}, 1},
      {ramp(30, 0, [](int x) { return x * 3; }), 0, {3, 12, 21, 30, 39, 48, 57, 66, 75, 84}, 0},
      {ramp(2, 0, [](int x) { return x * 200; }), 0, {0, 50, 150, 200}, 0}};
  for (const auto& [source, channel, expected, tolerance] : cases) {
    const Image scaled = scaleImage(source, int(expected.size()), 1);
    for (int x = 0; x < scaled.width; ++x)
      EXPECT_NEAR(scaled.pixel(x, 0)[channel], expected[x], tolerance) << source.width << ": " << x;
  }
  const Image source = test::patternImage(45, 31);
  EXPECT_EQ(scaleImage(source, 45, 31).pixels, source.pixels) << "the same size is the identity";
}

TEST(ImageScale, KeepsTheLabelsAndNothingToScaleGivesAnEmptyImage) {
  Image source = test::patternImage(20, 10);
  source.orientation = ImageOrientation::rightMirrored;
  source.iccProfile = {1, 2, 3};
  const Image scaled = scaleImage(source, 7, 3);
  EXPECT_EQ(scaled.orientation, ImageOrientation::rightMirrored);
  EXPECT_EQ(scaled.iccProfile, source.iccProfile);
  EXPECT_TRUE(scaleImage(Image{}, 10, 10).isEmpty());
  EXPECT_TRUE(scaleImage(test::patternImage(4, 4), 0, 10).isEmpty());
  EXPECT_TRUE(scaleImage(test::patternImage(4, 4), 10, -1).isEmpty());
}

// A photo reduced to a thumbnail keeps its look: scaled down and compared with the
// same photo reduced by whole-pixel block averages, which for a 4x reduction is the
// same operation.
TEST(ImageScale, ThumbnailOfAPhotoMatchesBlockAverages) {
  const auto path = test::sample("photo/hopper.png");
  if (path.empty()) GTEST_SKIP() << "sample missing";
  const Image photo = test::decodeOrFail(path);
  const Image thumbnail = scaleImage(photo, 32, 32);
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 32; ++x) {
      for (int c = 0; c < 4; ++c) {
        int sum = 0;
        for (int d = 0; d < 16; ++d) sum += photo.pixel(4 * x + d % 4, 4 * y + d / 4)[c];
        ASSERT_EQ(thumbnail.pixel(x, y)[c], (sum + 8) / 16) << x << ", " << y;
      }
    }
  }
}

}  // namespace
}  // namespace platform::media
