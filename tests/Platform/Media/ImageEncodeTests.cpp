#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/ImageEncoder.h"

namespace platform::media {
namespace {

using namespace test;
using Kind = ImageError::Kind;
namespace fs = std::filesystem;

std::size_t countOccurrences(const std::vector<std::uint8_t>& bytes, std::string_view needle) {
  std::size_t count = 0;
  const std::string_view haystack(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (auto at = haystack.find(needle); at != std::string_view::npos; at = haystack.find(needle, at + 1)) ++count;
  return count;
}

// ---- JPEG --------------------------------------------------------------------------

// The quality reaches the encoder: a lower one makes a smaller file.
TEST(JpegQuality, MapsZeroToOneOntoLibjpegScaleWithItsFloor) {
  const std::pair<double, int> cases[] = {{0.95, 95}, {0.85, 85}, {0.65, 65}, {1.0, 100}, {0.016, 2},
                                          {0.0, 1},   {0.005, 1}, {2.0, 100}, {-1.0, 1},  {std::nan(""), 1}};
  for (const auto& [quality, expected] : cases) EXPECT_EQ(jpegQuality(quality), expected) << quality;
  const Image image = test::patternImage(256, 192);
  auto low = encodeJPEG(image, 0.3), high = encodeJPEG(image, 0.95);
  ASSERT_TRUE(low && high);
  EXPECT_LT(low->size(), high->size());
}

TEST(JpegWriting, Quality95KeepsOrientationAndReachesForty_dB) {
  const auto path = sample("exif-orientation/Landscape_1.jpg");
  if (path.empty()) GTEST_SKIP() << "sample missing";
  Image image = decodeOrFail(path);
  image.orientation = ImageOrientation::right;
  ScratchFolder folder;
  auto written = writeJPEG(image, folder / "out.jpg", 0.95);
  ASSERT_TRUE(written) << written.error().message;
  const Image back = decodeOrFail(folder / "out.jpg");
  EXPECT_EQ(back.orientation, ImageOrientation::right);
  EXPECT_EQ(std::pair(back.width, back.height), std::pair(image.width, image.height));
  EXPECT_GE(psnr(back, image), 40.0);
}

TEST(JpegWriting, EveryOrientationRoundTripsAsOneApp1ExifSegment) {
  for (int raw = 0; raw < 8; ++raw) {
    Image image = test::patternImage(40, 30);
    image.orientation = static_cast<ImageOrientation>(raw);
    auto encoded = encodeJPEG(image, 0.9);
    ASSERT_TRUE(encoded);
    EXPECT_EQ(decodeBytes(*encoded).orientation, image.orientation) << "raw " << raw;
    EXPECT_EQ(countOccurrences(*encoded, std::string_view("\xFF\xE1", 2)), 1u);
    EXPECT_EQ(countOccurrences(*encoded, std::string_view("Exif\0\0MM\0\x2a", 10)), 1u);
  }
}

// A profile round-trips in as many APP2 segments as its length needs (65519 bytes
// each); none is written without one, which readers take as sRGB. libjpeg does not
// look inside, so the content only has to come back.
TEST(JpegWriting, IccProfileRoundTripsInAsManySegmentsAsItNeeds) {
  for (const auto& [length, segments] : {std::pair<std::size_t, std::size_t>{0, 0}, {3144, 1}, {3 * 65519 + 1000, 4}}) {
    Image image = test::patternImage(64, 48);
    image.iccProfile.resize(length);
    for (std::size_t i = 0; i < length; ++i) image.iccProfile[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    auto encoded = encodeJPEG(image, 0.85);
    ASSERT_TRUE(encoded);
    EXPECT_EQ(countOccurrences(*encoded, std::string_view("ICC_PROFILE\0", 12)), segments) << length;
    EXPECT_EQ(decodeBytes(*encoded).iccProfile, image.iccProfile) << length;
  }
}

TEST(JpegWriting, PaddedRowsGiveTheSameFileAsTightRows) {
  const Image image = test::patternImage(33, 17);
  const std::size_t stride = image.bytesPerRow() + 12;
  std::vector<std::uint8_t> padded(stride * image.height, 0xAB);
  for (int y = 0; y < image.height; ++y)
    std::copy_n(image.pixel(0, y), image.bytesPerRow(), padded.data() + y * stride);
  BgraView view = image.view();
  view.pixels = padded.data(), view.bytesPerRow = stride;
  auto fromView = encodeJPEG(view, 0.8);
  auto fromImage = encodeJPEG(image, 0.8);
  ASSERT_TRUE(fromView && fromImage);
  EXPECT_EQ(*fromView, *fromImage);
}

TEST(JpegWriting, TranslucentPixelsAreWrittenOverBlack) {
  // Premultiplied half-transparent white is (128, 128, 128, 128): mid grey over black.
  auto encoded = encodeJPEG(test::solidImage(16, 16, 128, 128, 128, 128), 1.0);
  ASSERT_TRUE(encoded);
  const Image back = decodeBytes(*encoded);
  for (int c = 0; c < 4; ++c) EXPECT_NEAR(back.pixel(5, 5)[c], c == 3 ? 255 : 128, 1);
}

TEST(ImageEncoding, RefusesWhatCannotBeEncoded) {
  const Image image = test::patternImage(8, 8);
  BgraView shortRows = image.view();
  shortRows.bytesPerRow = 16;
  for (const BgraView& view : {Image{}.view(), shortRows}) {
    for (auto encoded : {encodeJPEG(view, 0.85), encodePNG(view)}) {
      ASSERT_FALSE(encoded);
      EXPECT_EQ(encoded.error().kind, Kind::invalidArgument);
    }
  }
}

// ---- PNG ---------------------------------------------------------------------------

// Opaque (an odd width, so rows are not a multiple of anything) and translucent
// pictures come back exactly: alpha is un-premultiplied for the file and back.
TEST(PngWriting, RoundTripsExactlyInPremultipliedForm) {
  Image ramp = test::solidImage(256, 3, 0, 0, 0, 0);
  for (int x = 0; x < 256; ++x) {
    for (int y = 0; y < 3; ++y) {
      std::uint8_t* p = ramp.pixel(x, y);
      p[0] = std::uint8_t(x * y / 2), p[1] = std::uint8_t(x / 3), p[2] = p[3] = std::uint8_t(x);  // alpha 0, half, all
    }
  }
  for (const Image& image : {patternImage(97, 41), ramp}) {
    auto encoded = encodePNG(image);
    ASSERT_TRUE(encoded);
    const Image back = decodeBytes(*encoded);
    EXPECT_EQ(back.width, image.width);
    EXPECT_EQ(back.pixels, image.pixels);
  }
}

TEST(PngWriting, ProfileAndOrientationRoundTrip) {
  const auto path = sample("livephoto/IMG_7943.HEIC");
  if (path.empty()) GTEST_SKIP() << "sample missing";
  Image image = decodeOrFail(path);
  ASSERT_FALSE(image.iccProfile.empty());
  image.orientation = ImageOrientation::leftMirrored;
  auto encoded = encodePNG(image);
  ASSERT_TRUE(encoded);
  const Image back = decodeBytes(*encoded);
  EXPECT_EQ(back.iccProfile, image.iccProfile);
  EXPECT_EQ(back.orientation, ImageOrientation::leftMirrored);
  EXPECT_EQ(back.pixels, image.pixels);
}

// ---- All-or-nothing writing --------------------------------------------------------

using Writer = std::function<WriteResult(const Image&, const fs::path&)>;
const std::pair<const char*, Writer> kWriters[] = {
    {"photo.jpg", [](const Image& image, const fs::path& path) { return writeJPEG(image, path, 0.85); }},
    {"photo.png", [](const Image& image, const fs::path& path) { return writePNG(image, path); }},
};

TEST(ImageWriting, WritesCompleteFilesAndLeavesNoTemporaries) {
  test::ScratchFolder folder;
  const Image image = test::patternImage(64, 48);
  for (const auto& [name, write] : kWriters) {
    auto written = write(image, folder / name);
    ASSERT_TRUE(written);
    EXPECT_EQ(*written, fs::file_size(folder / name));
  }
  EXPECT_EQ(folder.entries(), (std::vector<std::string>{"photo.jpg", "photo.png"}));
  EXPECT_EQ(test::readBytes(folder / "photo.jpg"), *encodeJPEG(image, 0.85));
}

// A missing or read-only folder, or a folder at the target: a writeFailed error that
// names the reason, and the folder as it was.
TEST(ImageWriting, AFailedWriteLeavesEverythingAsItWas) {
  // The case, the target's subfolder ("": the scratch folder itself), the text expected.
  const std::tuple<std::string, const char*, const char*> cases[] = {
      {"missing folder", "no-such-folder", "does not exist"},
      {"folder at the target", "", ""},
      {"read-only folder", "locked", ""}};
  for (const auto& [file, write] : kWriters) {
    for (const auto& [name, subfolder, inMessage] : cases) {
      SCOPED_TRACE(name + ", " + file);
      if (name == "read-only folder" && geteuid() == 0) continue;  // root writes anyway
      test::ScratchFolder folder;
      const fs::path target = folder / subfolder / file;
      if (name == "folder at the target") fs::create_directory(target);
      if (name == "read-only folder") {
        fs::create_directory(target.parent_path());
        fs::permissions(target.parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
      }
      const auto before = folder.entries();
      auto result = write(test::patternImage(16, 16), target);
      std::error_code ignored;  // the locked folder is opened again for the clean-up
      fs::permissions(target.parent_path(), fs::perms::owner_all, fs::perm_options::add, ignored);
      ASSERT_FALSE(result);
      EXPECT_EQ(result.error().kind, Kind::writeFailed);
      EXPECT_NE(result.error().message.find(inMessage), std::string::npos) << result.error().message;
      EXPECT_NE(result.error().message.find(target.parent_path().filename().string()), std::string::npos);
      EXPECT_EQ(folder.entries(), before);
      EXPECT_EQ(fs::is_directory(target), name == "folder at the target");
      if (*subfolder && fs::exists(target.parent_path())) { EXPECT_TRUE(fs::is_empty(target.parent_path())); }
    }
  }
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
    const bool failed =
        !png && png.error().kind == Kind::writeFailed && !jpeg && jpeg.error().kind == Kind::writeFailed;
    _exit(failed ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(folder.entries().empty()) << folder.entries().front();
}

// A write touches no file but its own: a kept target is refused, a replaced one is
// replaced whole, a link at the target is replaced rather than written through, and
// files named like temporaries stay.
TEST(ImageWriting, TouchesNoFileButItsOwn) {
  test::ScratchFolder folder;
  test::writeBytes(folder / "victim", {'v'});
  test::writeBytes(folder / ".photo.jpg.tmp", {'t'});
  test::writeBytes(folder / "kept.png", {'k'});
  test::writeBytes(folder / "old.jpg", {'o', 'l', 'd'});
  fs::create_symlink(folder / "victim", folder / "photo.jpg");
  const Image image = test::patternImage(16, 16);
  auto refused = writePNG(image, folder / "kept.png", ExistingFile::keep);
  ASSERT_FALSE(refused);
  EXPECT_NE(refused.error().message.find("already exists"), std::string::npos) << refused.error().message;
  EXPECT_EQ(test::readBytes(folder / "kept.png"), std::vector<std::uint8_t>{'k'});
  EXPECT_FALSE(writeJPEG(image, folder / "photo.jpg", 0.85, ExistingFile::keep));
  ASSERT_TRUE(writeJPEG(image, folder / "photo.jpg", 0.85, ExistingFile::replace));
  EXPECT_FALSE(fs::is_symlink(folder / "photo.jpg"));
  ASSERT_TRUE(writeJPEG(image, folder / "old.jpg", 0.85));
  EXPECT_EQ(decodeBytes(test::readBytes(folder / "old.jpg")).width, 16);
  EXPECT_EQ(test::readBytes(folder / "victim"), std::vector<std::uint8_t>{'v'});
  EXPECT_EQ(test::readBytes(folder / ".photo.jpg.tmp"), std::vector<std::uint8_t>{'t'});
  ASSERT_TRUE(writePNG(image, folder / "new.png", ExistingFile::keep));
  EXPECT_EQ(folder.entries(),
            (std::vector<std::string>{".photo.jpg.tmp", "kept.png", "new.png", "old.jpg", "photo.jpg", "victim"}));
}

}  // namespace
}  // namespace platform::media
