#include <gtest/gtest.h>

#include <filesystem>

#include "EngineTestSupport.h"
#include "Halvane/Rendering/PhotoOutput.h"
#include "Platform/Media/ImageDecoder.h"
#include "Support/TestFiles.h"

namespace halvane {
namespace {

using namespace platform::media;
namespace fs = std::filesystem;

Image grey(int width, int height) { return testing::makeFlat(width, height, 128, 128, 128); }

TEST(LimitedImage, OnlyCompressedScalesAndNeverEnlarges) {
  using enum PhotoExportPreset;
  struct Case {
    int width, height;
    PhotoExportPreset preset;
    int limitedWidth, limitedHeight;
  };
  // Portrait, and a side that rounds: 3000 x 4001 -> 1536 x 2048 (1535.6 rounds up).
  for (const Case& c : {Case{4000, 3000, balanced, 4000, 3000}, Case{4000, 3000, maxQuality, 4000, 3000},
                        Case{4000, 3000, compressed, 2048, 1536}, Case{2048, 100, compressed, 2048, 100},
                        Case{300, 200, compressed, 300, 200}, Case{3000, 4001, compressed, 1536, 2048}}) {
    const Image limited = limitedImage(grey(c.width, c.height), ImageOrientation::up, c.preset);
    EXPECT_EQ(std::pair(limited.width, limited.height), std::pair(c.limitedWidth, c.limitedHeight))
        << c.width << "x" << c.height << " preset " << int(c.preset);
  }
}

TEST(LimitedImage, CarriesOrientationAndColourSpace) {
  Image source = grey(5000, 10);
  source.iccProfile = {9, 8, 7};
  const Image scaled = limitedImage(source, ImageOrientation::leftMirrored, PhotoExportPreset::compressed);
  EXPECT_EQ(scaled.orientation, ImageOrientation::leftMirrored);
  EXPECT_EQ(scaled.iccProfile, source.iccProfile);
  EXPECT_EQ(scaled.height, 4);  // 10 x 2048 / 5000 = 4.096
}

TEST(WriteJPEG, WritesAFreshTemporaryFileWithTheOrientationTag) {
  for (auto orientation : {ImageOrientation::up, ImageOrientation::right, ImageOrientation::downMirrored}) {
    Image image = grey(64, 32);
    image.orientation = orientation;
    const auto path = writeJPEG(image, PhotoExportPreset::balanced);
    ASSERT_TRUE(path);
    EXPECT_EQ(fs::path(*path).extension(), ".jpg");
    EXPECT_EQ(fs::path(*path).parent_path(), fs::temp_directory_path());
    auto decoded = decodeImageFile(*path);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->orientation, orientation);
    EXPECT_EQ(decoded->width, 64);
    fs::remove(*path);
  }
  const Image image = grey(8, 8);
  const auto first = writeJPEG(image, PhotoExportPreset::compressed);
  const auto second = writeJPEG(image, PhotoExportPreset::compressed);
  ASSERT_TRUE(first && second);
  EXPECT_NE(*first, *second);
  fs::remove(*first), fs::remove(*second);
}

TEST(WriteJPEG, AFailedWriteLeavesNothing) {
  const fs::path ours = testsupport::temporaryFolder(), folder = ours / "missing";
  const auto written = writeJPEGFile(grey(8, 8), PhotoExportPreset::balanced, (folder / "out.jpg").string());
  ASSERT_FALSE(written);
  EXPECT_FALSE(written.error().message.empty());
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_FALSE(writeJPEGFile(Image{}, PhotoExportPreset::balanced, (ours / "x.jpg").string()));
  EXPECT_FALSE(fs::exists(ours / "x.jpg"));
}

}  // namespace
}  // namespace halvane
