#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cmath>
#include <string_view>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageEncoder.h"

namespace platform::media {
namespace {

using test::mediaPath;
using Kind = ImageError::Kind;

Image decodeBytes(const std::vector<std::uint8_t>& bytes) {
  auto result = decodeImage(bytes);
  EXPECT_TRUE(result) << (result ? "" : result.error().message);
  return result ? std::move(result).value() : Image{};
}

std::size_t countOccurrences(const std::vector<std::uint8_t>& bytes, std::string_view needle) {
  std::size_t count = 0;
  const std::string_view haystack(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (auto at = haystack.find(needle); at != std::string_view::npos; at = haystack.find(needle, at + 1)) ++count;
  return count;
}

// A profile-shaped block of the given length: big enough to need several APP2
// segments. libjpeg does not look inside, so the content only has to round-trip.
std::vector<std::uint8_t> syntheticProfile(std::size_t length) {
  std::vector<std::uint8_t> profile(length);
  for (std::size_t i = 0; i < length; ++i) profile[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return profile;
}

// ---- JPEG --------------------------------------------------------------------------

TEST(JpegQuality, MapsZeroToOneOntoLibjpegScale) {
  EXPECT_EQ(jpegQuality(0.95), 95);
  EXPECT_EQ(jpegQuality(0.85), 85);
  EXPECT_EQ(jpegQuality(0.65), 65);
  EXPECT_EQ(jpegQuality(1.0), 100);
  EXPECT_EQ(jpegQuality(0.0), 1);  // libjpeg's floor
  EXPECT_EQ(jpegQuality(0.004), 1);
  EXPECT_EQ(jpegQuality(0.005), 1);
  EXPECT_EQ(jpegQuality(0.016), 2);
  EXPECT_EQ(jpegQuality(0.5), 50);
  EXPECT_EQ(jpegQuality(2.0), 100);
  EXPECT_EQ(jpegQuality(-1.0), 1);
  EXPECT_EQ(jpegQuality(std::nan("")), 1);
}

TEST(JpegWriting, Quality95KeepsOrientationAndReachesForty_dB) {
  const auto path = mediaPath("exif-orientation/Landscape_1.jpg");
  SKIP_IF_MISSING(path);
  auto source = decodeImageFile(path);
  ASSERT_TRUE(source);
  Image image = std::move(source).value();
  image.orientation = ImageOrientation::right;
  test::ScratchFolder folder;
  auto written = writeJPEG(image, folder / "out.jpg", 0.95);
  ASSERT_TRUE(written) << written.error().message;
  auto back = decodeImageFile(folder / "out.jpg");
  ASSERT_TRUE(back) << back.error().message;
  EXPECT_EQ(back->orientation, ImageOrientation::right);
  EXPECT_EQ(back->width, image.width);
  EXPECT_EQ(back->height, image.height);
  const double quality = test::psnr(*back, image);
  EXPECT_GE(quality, 40.0);
  RecordProperty("psnr_dB", std::to_string(quality));
}

TEST(JpegWriting, EveryOrientationRoundTrips) {
  for (int raw = 0; raw < 8; ++raw) {
    Image image = test::patternImage(40, 30);
    image.orientation = static_cast<ImageOrientation>(raw);
    auto encoded = encodeJPEG(image, 0.9);
    ASSERT_TRUE(encoded);
    EXPECT_EQ(decodeBytes(*encoded).orientation, image.orientation) << "raw " << raw;
  }
}

TEST(JpegWriting, SyntheticImageAtQuality95) {
  const Image image = test::patternImage(256, 192);
  auto encoded = encodeJPEG(image, 0.95);
  ASSERT_TRUE(encoded);
  EXPECT_GE(test::psnr(decodeBytes(*encoded), image), 40.0);
}

TEST(JpegWriting, LowerQualityMakesSmallerFiles) {
  const Image image = test::patternImage(256, 192);
  auto low = encodeJPEG(image, 0.3);
  auto high = encodeJPEG(image, 0.95);
  ASSERT_TRUE(low);
  ASSERT_TRUE(high);
  EXPECT_LT(low->size(), high->size());
}

TEST(JpegWriting, IccProfileRoundTrips) {
  const auto path = mediaPath("livephoto/IMG_7943.HEIC");
  SKIP_IF_MISSING(path);
  auto source = decodeImageFile(path);
  ASSERT_TRUE(source);
  ASSERT_FALSE(source->iccProfile.empty());
  auto encoded = encodeJPEG(*source, 0.85);
  ASSERT_TRUE(encoded);
  EXPECT_EQ(decodeBytes(*encoded).iccProfile, source->iccProfile);
}

TEST(JpegWriting, LongIccProfileIsSplitOverSeveralSegments) {
  Image image = test::patternImage(64, 48);
  image.iccProfile = syntheticProfile(3 * 65519 + 1000);
  auto encoded = encodeJPEG(image, 0.85);
  ASSERT_TRUE(encoded);
  EXPECT_EQ(countOccurrences(*encoded, std::string_view("ICC_PROFILE\0", 12)), 4u);
  EXPECT_EQ(decodeBytes(*encoded).iccProfile, image.iccProfile);
}

TEST(JpegWriting, NoProfileMeansSrgb) {
  auto encoded = encodeJPEG(test::patternImage(16, 16), 0.85);
  ASSERT_TRUE(encoded);
  EXPECT_EQ(countOccurrences(*encoded, "ICC_PROFILE"), 0u);
  EXPECT_TRUE(decodeBytes(*encoded).iccProfile.empty());
}

TEST(JpegWriting, ExifBlockIsAnApp1Segment) {
  Image image = test::patternImage(16, 16);
  image.orientation = ImageOrientation::left;
  auto encoded = encodeJPEG(image, 0.85);
  ASSERT_TRUE(encoded);
  EXPECT_EQ(countOccurrences(*encoded, std::string_view("\xFF\xE1", 2)), 1u);
  EXPECT_EQ(countOccurrences(*encoded, std::string_view("Exif\0\0MM\0\x2a", 10)), 1u);
}

TEST(JpegWriting, PaddedRowsGiveTheSameFileAsTightRows) {
  const Image image = test::patternImage(33, 17);
  const std::size_t stride = image.bytesPerRow() + 12;
  std::vector<std::uint8_t> padded(stride * image.height, 0xAB);
  for (int y = 0; y < image.height; ++y) std::copy_n(image.pixel(0, y), image.bytesPerRow(), padded.data() + y * stride);
  BgraView view = image.view();
  view.pixels = padded.data();
  view.bytesPerRow = stride;
  auto fromView = encodeJPEG(view, 0.8);
  auto fromImage = encodeJPEG(image, 0.8);
  ASSERT_TRUE(fromView);
  ASSERT_TRUE(fromImage);
  EXPECT_EQ(*fromView, *fromImage);
}

TEST(JpegWriting, TranslucentPixelsAreWrittenOverBlack) {
  // Premultiplied half-transparent white is (128, 128, 128, 128): mid grey over black.
  const Image image = test::solidImage(16, 16, 128, 128, 128, 128);
  auto encoded = encodeJPEG(image, 1.0);
  ASSERT_TRUE(encoded);
  const Image back = decodeBytes(*encoded);
  for (int c = 0; c < 4; ++c) EXPECT_NEAR(back.pixel(5, 5)[c], c == 3 ? 255 : 128, 1);
}

TEST(JpegWriting, RefusesWhatCannotBeEncoded) {
  auto empty = encodeJPEG(Image{}, 0.85);
  ASSERT_FALSE(empty);
  EXPECT_EQ(empty.error().kind, Kind::invalidArgument);
  const Image image = test::patternImage(8, 8);
  BgraView view = image.view();
  view.bytesPerRow = 16;
  auto shortRows = encodeJPEG(view, 0.85);
  ASSERT_FALSE(shortRows);
  EXPECT_EQ(shortRows.error().kind, Kind::invalidArgument);
}

// ---- Safe writing ------------------------------------------------------------------

TEST(ImageWriting, WritesCompleteFilesAndLeavesNoTemporaries) {
  test::ScratchFolder folder;
  const Image image = test::patternImage(64, 48);
  auto jpeg = writeJPEG(image, folder / "photo.jpg", 0.85);
  ASSERT_TRUE(jpeg);
  auto png = writePNG(image, folder / "photo.png");
  ASSERT_TRUE(png);
  EXPECT_EQ(folder.entries(), (std::vector<std::string>{"photo.jpg", "photo.png"}));
  EXPECT_EQ(*jpeg, std::filesystem::file_size(folder / "photo.jpg"));
  EXPECT_EQ(test::readBytes(folder / "photo.jpg"), *encodeJPEG(image, 0.85));
}

TEST(ImageWriting, ReplacesAnExistingFile) {
  test::ScratchFolder folder;
  test::writeBytes(folder / "photo.jpg", {'o', 'l', 'd'});
  ASSERT_TRUE(writeJPEG(test::patternImage(16, 16), folder / "photo.jpg", 0.85));
  auto back = decodeImageFile(folder / "photo.jpg");
  ASSERT_TRUE(back);
  EXPECT_EQ(back->width, 16);
  EXPECT_EQ(folder.entries(), std::vector<std::string>{"photo.jpg"});
}

TEST(ImageWriting, MissingFolderFailsAndLeavesNothing) {
  test::ScratchFolder folder;
  const auto target = folder / "no-such-folder" / "photo.jpg";
  auto result = writeJPEG(test::patternImage(16, 16), target, 0.85);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::writeFailed);
  EXPECT_NE(result.error().message.find("no-such-folder"), std::string::npos) << result.error().message;
  EXPECT_NE(result.error().message.find("does not exist"), std::string::npos) << result.error().message;
  EXPECT_FALSE(std::filesystem::exists(target));
  EXPECT_TRUE(folder.entries().empty());
  auto png = writePNG(test::patternImage(16, 16), folder / "no-such-folder" / "sheet.png");
  ASSERT_FALSE(png);
  EXPECT_EQ(png.error().kind, Kind::writeFailed);
}

TEST(ImageWriting, TargetThatIsAFolderFailsAndLeavesNoTemporary) {
  test::ScratchFolder folder;
  std::filesystem::create_directory(folder / "photo.jpg");
  auto result = writeJPEG(test::patternImage(16, 16), folder / "photo.jpg", 0.85);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::writeFailed);
  EXPECT_EQ(folder.entries(), std::vector<std::string>{"photo.jpg"});
  EXPECT_TRUE(std::filesystem::is_directory(folder / "photo.jpg"));
}

TEST(ImageWriting, ReadOnlyFolderFailsAndLeavesNothing) {
  if (geteuid() == 0) GTEST_SKIP() << "running as root: folder permissions do not stop writes";
  test::ScratchFolder folder;
  std::filesystem::create_directory(folder / "locked");
  std::filesystem::permissions(folder / "locked", std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  auto result = writeJPEG(test::patternImage(16, 16), folder / "locked" / "photo.jpg", 0.85);
  std::filesystem::permissions(folder / "locked", std::filesystem::perms::owner_all);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::writeFailed);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "locked"));
}

// A full disk, stood in for by a file-size limit in a child process: the write fails
// part way, and neither the target nor the temporary file remains.
TEST(ImageWriting, FullDiskFailsAndLeavesNothing) {
  test::ScratchFolder folder;
  const Image image = test::patternImage(512, 512);  // about 1 MB as PNG, 8 KiB allowed
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);  // make the write fail with EFBIG instead of killing us
    const rlimit limit{8192, 8192};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(3);
    auto png = writePNG(image, folder / "sheet.png");
    auto jpeg = writeJPEG(image, folder / "photo.jpg", 1.0);
    const bool failed = !png && png.error().kind == Kind::writeFailed && !jpeg && jpeg.error().kind == Kind::writeFailed;
    _exit(failed ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(folder.entries().empty()) << folder.entries().front();
}

// ---- PNG ---------------------------------------------------------------------------

TEST(PngWriting, OpaqueImageRoundTripsExactly) {
  const Image image = test::patternImage(97, 41);
  auto encoded = encodePNG(image);
  ASSERT_TRUE(encoded);
  const Image back = decodeBytes(*encoded);
  EXPECT_EQ(back.width, image.width);
  EXPECT_EQ(back.height, image.height);
  EXPECT_EQ(back.pixels, image.pixels);
}

TEST(PngWriting, TranslucentImageRoundTripsExactlyInPremultipliedForm) {
  Image image = test::solidImage(256, 3, 0, 0, 0, 0);
  for (int x = 0; x < 256; ++x) {
    for (int y = 0; y < 3; ++y) {
      std::uint8_t* p = image.pixel(x, y);
      const int alpha = x;
      p[0] = static_cast<std::uint8_t>(alpha * y / 2);  // 0, half, all of alpha
      p[1] = static_cast<std::uint8_t>(alpha / 3);
      p[2] = static_cast<std::uint8_t>(alpha);
      p[3] = static_cast<std::uint8_t>(alpha);
    }
  }
  auto encoded = encodePNG(image);
  ASSERT_TRUE(encoded);
  EXPECT_EQ(decodeBytes(*encoded).pixels, image.pixels);
}

TEST(PngWriting, ProfileAndOrientationRoundTrip) {
  const auto path = mediaPath("livephoto/IMG_7943.HEIC");
  SKIP_IF_MISSING(path);
  auto source = decodeImageFile(path);
  ASSERT_TRUE(source);
  Image image = std::move(source).value();
  image.orientation = ImageOrientation::leftMirrored;
  auto encoded = encodePNG(image);
  ASSERT_TRUE(encoded);
  const Image back = decodeBytes(*encoded);
  EXPECT_EQ(back.iccProfile, image.iccProfile);
  EXPECT_EQ(back.orientation, ImageOrientation::leftMirrored);
  EXPECT_EQ(back.pixels, image.pixels);
}

// A write touches no file but its own: a kept target is refused, a link at the target
// is replaced rather than written through, and files named like temporaries stay.
TEST(ImageWriting, TouchesNoFileButItsOwn) {
  test::ScratchFolder folder;
  test::writeBytes(folder / "victim", {'v'});
  test::writeBytes(folder / ".photo.jpg.tmp", {'t'});
  test::writeBytes(folder / "kept.png", {'k'});
  std::filesystem::create_symlink(folder / "victim", folder / "photo.jpg");
  const Image image = test::patternImage(16, 16);
  auto refused = writePNG(image, folder / "kept.png", ExistingFile::keep);
  ASSERT_FALSE(refused);
  EXPECT_NE(refused.error().message.find("already exists"), std::string::npos) << refused.error().message;
  EXPECT_EQ(test::readBytes(folder / "kept.png"), std::vector<std::uint8_t>{'k'});
  EXPECT_FALSE(writeJPEG(image, folder / "photo.jpg", 0.85, ExistingFile::keep));
  ASSERT_TRUE(writeJPEG(image, folder / "photo.jpg", 0.85, ExistingFile::replace));
  EXPECT_FALSE(std::filesystem::is_symlink(folder / "photo.jpg"));
  EXPECT_EQ(test::readBytes(folder / "victim"), std::vector<std::uint8_t>{'v'});
  EXPECT_EQ(test::readBytes(folder / ".photo.jpg.tmp"), std::vector<std::uint8_t>{'t'});
  ASSERT_TRUE(writePNG(image, folder / "new.png", ExistingFile::keep));
  EXPECT_EQ(folder.entries(), (std::vector<std::string>{".photo.jpg.tmp", "kept.png", "new.png", "photo.jpg", "victim"}));
}

}  // namespace
}  // namespace platform::media
