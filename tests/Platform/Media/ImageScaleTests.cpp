#include <gtest/gtest.h>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace platform::media {
namespace {

// A checkerboard of single pixels alternating between two colours.
Image checkerboard(int width, int height, const std::uint8_t (&a)[4], const std::uint8_t (&b)[4]) {
  Image image = test::solidImage(width, height, 0, 0, 0, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) std::copy_n((x + y) % 2 ? b : a, 4, image.pixel(x, y));
  }
  return image;
}

void expectEveryPixel(const Image& image, const std::uint8_t (&expected)[4]) {
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const std::uint8_t* p = image.pixel(x, y);
      for (int c = 0; c < 4; ++c) {
        ASSERT_EQ(p[c], expected[c]) << "pixel (" << x << ", " << y << ") channel " << c;
      }
    }
  }
}

TEST(ImageScale, ConstantImageStaysThatConstant) {
  const Image source = test::solidImage(37, 23, 17, 99, 203, 255);
  const std::uint8_t expected[4] = {17, 99, 203, 255};
  for (auto [width, height] : {std::pair{10, 7}, {1, 1}, {36, 22}, {37, 23}, {80, 50}, {100, 3}, {5, 200}}) {
    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
    const Image scaled = scaleImage(source, width, height);
    ASSERT_EQ(scaled.width, width);
    ASSERT_EQ(scaled.height, height);
    expectEveryPixel(scaled, expected);
  }
}

// Reductions by hundreds or thousands make many tiny weights; they must still add up
// to exactly one.
TEST(ImageScale, LargeReductionsStayExactOnConstants) {
  const Image source = test::solidImage(5000, 3, 250, 1, 77, 255);
  const std::uint8_t expected[4] = {250, 1, 77, 255};
  for (int width : {1, 3, 7, 333}) {
    SCOPED_TRACE(width);
    expectEveryPixel(scaleImage(source, width, 1), expected);
  }
}

TEST(ImageScale, LargeReductionOfARampGivesItsMean) {
  Image ramp = test::solidImage(5100, 1, 0, 0, 0, 255);
  for (int x = 0; x < ramp.width; ++x) ramp.pixel(x, 0)[1] = static_cast<std::uint8_t>(x / 20);  // 0 to 254
  const Image scaled = scaleImage(ramp, 1, 1);
  EXPECT_NEAR(scaled.pixel(0, 0)[1], 127, 1);  // the mean is 127
}

TEST(ImageScale, HalvedCheckerboardAveragesExactly) {
  const std::uint8_t a[4] = {10, 200, 64, 255};
  const std::uint8_t b[4] = {30, 100, 0, 255};
  const std::uint8_t mean[4] = {20, 150, 32, 255};
  const Image scaled = scaleImage(checkerboard(64, 48, a, b), 32, 24);
  ASSERT_EQ(scaled.width, 32);
  ASSERT_EQ(scaled.height, 24);
  expectEveryPixel(scaled, mean);
}

TEST(ImageScale, BlackAndWhiteCheckerboardRoundsHalfUp) {
  const std::uint8_t black[4] = {0, 0, 0, 255};
  const std::uint8_t white[4] = {255, 255, 255, 255};
  const std::uint8_t grey[4] = {128, 128, 128, 255};  // 127.5 rounded half up
  expectEveryPixel(scaleImage(checkerboard(10, 10, black, white), 5, 5), grey);
}

TEST(ImageScale, ThirdOfARampAveragesEachTriple) {
  Image ramp = test::solidImage(30, 1, 0, 0, 0, 255);
  for (int x = 0; x < 30; ++x) ramp.pixel(x, 0)[0] = static_cast<std::uint8_t>(x * 3);
  const Image scaled = scaleImage(ramp, 10, 1);
  for (int x = 0; x < 10; ++x) {
    // (9x + 9x + 3 + 9x + 6) / 3 = 9x + 3
    EXPECT_EQ(scaled.pixel(x, 0)[0], 9 * x + 3) << x;
  }
}

TEST(ImageScale, SameSizeIsIdentity) {
  const Image source = test::patternImage(45, 31);
  EXPECT_EQ(scaleImage(source, 45, 31).pixels, source.pixels);
}

TEST(ImageScale, EnlargingInterpolatesBetweenCentres) {
  Image pair = test::solidImage(2, 1, 0, 0, 0, 255);
  pair.pixel(1, 0)[0] = 200;
  const Image scaled = scaleImage(pair, 4, 1);
  // Output centres at source positions -0.25, 0.25, 0.75, 1.25: edges hold, middle blends.
  EXPECT_EQ(scaled.pixel(0, 0)[0], 0);
  EXPECT_EQ(scaled.pixel(1, 0)[0], 50);
  EXPECT_EQ(scaled.pixel(2, 0)[0], 150);
  EXPECT_EQ(scaled.pixel(3, 0)[0], 200);
}

TEST(ImageScale, TransparencyDoesNotDarkenColour) {
  // Opaque red beside fully transparent pixels: the average is half-transparent red,
  // which premultiplied is (0, 0, 128, 128), never a darkened opaque red.
  const std::uint8_t red[4] = {0, 0, 255, 255};
  const std::uint8_t clear[4] = {0, 0, 0, 0};
  const std::uint8_t halfRed[4] = {0, 0, 128, 128};
  expectEveryPixel(scaleImage(checkerboard(8, 8, red, clear), 4, 4), halfRed);
}

TEST(ImageScale, KeepsTheLabels) {
  Image source = test::patternImage(20, 10);
  source.orientation = ImageOrientation::rightMirrored;
  source.iccProfile = {1, 2, 3};
  const Image scaled = scaleImage(source, 7, 3);
  EXPECT_EQ(scaled.orientation, ImageOrientation::rightMirrored);
  EXPECT_EQ(scaled.iccProfile, source.iccProfile);
}

TEST(ImageScale, NothingToScaleGivesAnEmptyImage) {
  EXPECT_TRUE(scaleImage(Image{}, 10, 10).isEmpty());
  EXPECT_TRUE(scaleImage(test::patternImage(4, 4), 0, 10).isEmpty());
  EXPECT_TRUE(scaleImage(test::patternImage(4, 4), 10, -1).isEmpty());
}

// A photo reduced to a thumbnail keeps its look: scaled down and compared with the
// same photo reduced by whole-pixel block averages, which for a 4x reduction is the
// same operation.
TEST(ImageScale, ThumbnailOfAPhotoMatchesBlockAverages) {
  const auto path = test::mediaPath("photo/hopper.png");
  SKIP_IF_MISSING(path);
  auto photo = decodeImageFile(path);
  ASSERT_TRUE(photo);
  const Image thumbnail = scaleImage(*photo, 32, 32);
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 32; ++x) {
      for (int c = 0; c < 4; ++c) {
        int sum = 0;
        for (int dy = 0; dy < 4; ++dy) {
          for (int dx = 0; dx < 4; ++dx) sum += photo->pixel(4 * x + dx, 4 * y + dy)[c];
        }
        ASSERT_EQ(thumbnail.pixel(x, y)[c], (sum + 8) / 16) << x << ", " << y;
      }
    }
  }
}

}  // namespace
}  // namespace platform::media
