#include <gtest/gtest.h>

#include <array>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace platform::media {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

// A checkerboard of single pixels alternating between two colours.
Image checkerboard(int width, int height, const Pixel& a, const Pixel& b) {
  Image image = test::solidImage(width, height, 0, 0, 0, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) std::copy_n(((x + y) % 2 ? b : a).data(), 4, image.pixel(x, y));
  }
  return image;
}

void expectEveryPixel(const Image& image, const Pixel& expected) {
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const std::uint8_t* p = image.pixel(x, y);
      for (int c = 0; c < 4; ++c) {
        ASSERT_EQ(p[c], expected[c]) << "pixel (" << x << ", " << y << ") channel " << c;
      }
    }
  }
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
      const Image scaled = scaleImage(source, width, height);
      ASSERT_EQ(scaled.width, width);
      ASSERT_EQ(scaled.height, height);
      expectEveryPixel(scaled, {source.pixels[0], source.pixels[1], source.pixels[2], source.pixels[3]});
    }
  }
}

TEST(ImageScale, LargeReductionOfARampGivesItsMean) {
  Image ramp = test::solidImage(5100, 1, 0, 0, 0, 255);
  for (int x = 0; x < ramp.width; ++x) ramp.pixel(x, 0)[1] = static_cast<std::uint8_t>(x / 20);  // 0 to 254
  EXPECT_NEAR(scaleImage(ramp, 1, 1).pixel(0, 0)[1], 127, 1);  // the mean is 127
}

// Halving a checkerboard gives the exact mean of its two colours: rounded half up, and
// over transparency premultiplied (opaque red beside clear is half-transparent red,
// never a darkened opaque red).
TEST(ImageScale, HalvedCheckerboardAveragesExactly) {
  struct Case {
    Pixel a, b, mean;
  };
  const Case cases[] = {
      {{10, 200, 64, 255}, {30, 100, 0, 255}, {20, 150, 32, 255}},
      {{0, 0, 0, 255}, {255, 255, 255, 255}, {128, 128, 128, 255}},  // 127.5 rounded half up
      {{0, 0, 255, 255}, {0, 0, 0, 0}, {0, 0, 128, 128}},
  };
  for (const auto& c : cases) {
    const Image scaled = scaleImage(checkerboard(64, 48, c.a, c.b), 32, 24);
    ASSERT_EQ(scaled.width, 32);
    ASSERT_EQ(scaled.height, 24);
    expectEveryPixel(scaled, c.mean);
  }
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
