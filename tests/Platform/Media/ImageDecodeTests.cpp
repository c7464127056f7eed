#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <random>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/ImageDecoder.h"

namespace platform::media {
namespace {

using test::mediaPath;
using Kind = ImageError::Kind;

Image decodeOrFail(const std::filesystem::path& path) {
  auto result = decodeImageFile(path);
  EXPECT_TRUE(result) << path << ": " << (result ? "" : result.error().message);
  return result ? std::move(result).value() : Image{};
}

// Every pixel's alpha, and that there are width x height of them.
void expectOpaqueAndSized(const Image& image) {
  ASSERT_EQ(image.pixels.size(), image.bytesPerRow() * image.height);
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) {
    if (image.pixels[i] != 255) FAIL() << "pixel " << i / 4 << " has alpha " << int(image.pixels[i]);
  }
}

// ---- Orientation of the EXIF samples ---------------------------------------------

struct OrientationCase {
  int exifNumber;
  ImageOrientation expected;
};

class ExifOrientationSamples : public testing::TestWithParam<OrientationCase> {};

TEST_P(ExifOrientationSamples, DecodeWithTheOrientationTheirNumberNames) {
  const auto [number, expected] = GetParam();
  const auto path = mediaPath("exif-orientation/Landscape_" + std::to_string(number) + ".jpg");
  SKIP_IF_MISSING(path);
  const Image image = decodeOrFail(path);
  EXPECT_EQ(image.orientation, expected);
  // Stored sideways for 5 to 8, so that they look landscape once turned.
  const bool sideways = number >= 5;
  EXPECT_EQ(image.width, sideways ? 1200 : 1800);
  EXPECT_EQ(image.height, sideways ? 1800 : 1200);
  expectOpaqueAndSized(image);
}

// Baking the orientation the way the engine does (quarter turns, then mirror) gives
// the same upright picture for every sample. Each sample was re-encoded after its
// transform, so they differ by JPEG noise: the right bake measures 25 to 32 dB against
// Landscape_1, any wrong turn or mirror under 10 dB. 20 dB sits between the two.
TEST_P(ExifOrientationSamples, LookTheSameOnceUpright) {
  const auto [number, expected] = GetParam();
  const auto path = mediaPath("exif-orientation/Landscape_" + std::to_string(number) + ".jpg");
  const auto reference = mediaPath("exif-orientation/Landscape_1.jpg");
  SKIP_IF_MISSING(path);
  SKIP_IF_MISSING(reference);
  const Image baked = test::upright(decodeOrFail(path));
  const Image upright = decodeOrFail(reference);
  ASSERT_EQ(baked.width, upright.width);
  ASSERT_EQ(baked.height, upright.height);
  EXPECT_GT(test::psnr(baked, upright), 20.0) << "EXIF " << number;
}

INSTANTIATE_TEST_SUITE_P(Landscape, ExifOrientationSamples,
                         testing::Values(OrientationCase{0, ImageOrientation::up},
                                         OrientationCase{1, ImageOrientation::up},
                                         OrientationCase{2, ImageOrientation::upMirrored},
                                         OrientationCase{3, ImageOrientation::down},
                                         OrientationCase{4, ImageOrientation::downMirrored},
                                         OrientationCase{5, ImageOrientation::leftMirrored},
                                         OrientationCase{6, ImageOrientation::right},
                                         OrientationCase{7, ImageOrientation::rightMirrored},
                                         OrientationCase{8, ImageOrientation::left}),
                         [](const auto& info) { return "Landscape_" + std::to_string(info.param.exifNumber); });

TEST(ImageOrientationNumbers, MapBothWays) {
  const int exif[8] = {1, 3, 8, 6, 2, 4, 5, 7};
  for (int raw = 0; raw < 8; ++raw) {
    EXPECT_EQ(exifOrientationNumber(static_cast<ImageOrientation>(raw)), exif[raw]);
    EXPECT_EQ(orientationFromExif(exif[raw]), static_cast<ImageOrientation>(raw));
  }
  EXPECT_EQ(exifOrientationNumber(static_cast<ImageOrientation>(8)), 1);
  EXPECT_EQ(exifOrientationNumber(static_cast<ImageOrientation>(200)), 1);
  EXPECT_EQ(orientationFromExif(0), ImageOrientation::up);
  EXPECT_EQ(orientationFromExif(9), ImageOrientation::up);
  EXPECT_EQ(orientationFromExif(-1), ImageOrientation::up);
}

// ---- The sample photos --------------------------------------------------------------

struct PhotoCase {
  const char* file;
  int width;
  int height;
  ImageOrientation orientation;
  bool hasProfile;
};

class SamplePhotos : public testing::TestWithParam<PhotoCase> {};

TEST_P(SamplePhotos, DecodeAtFullSizeWithTheirOrientation) {
  const PhotoCase& photo = GetParam();
  const auto path = mediaPath(photo.file);
  SKIP_IF_MISSING(path);
  const Image image = decodeOrFail(path);
  EXPECT_EQ(image.width, photo.width);
  EXPECT_EQ(image.height, photo.height);
  EXPECT_EQ(image.orientation, photo.orientation);
  EXPECT_EQ(!image.iccProfile.empty(), photo.hasProfile) << image.iccProfile.size() << " bytes of profile";
  ASSERT_EQ(image.pixels.size(), image.bytesPerRow() * image.height);
}

INSTANTIATE_TEST_SUITE_P(
    Photo, SamplePhotos,
    testing::Values(
        // Stored 4032 x 3024 with EXIF orientation 6 and an irot property: libheif turns
        // it while decoding, so it comes out portrait and is reported up.
        PhotoCase{"photo/classic-car.heic", 3024, 4032, ImageOrientation::up, true},
        // Its meta box sits after mdat, at the end of the file.
        PhotoCase{"photo/sewing-threads.heic", 4000, 3000, ImageOrientation::up, false},
        PhotoCase{"livephoto/IMG_7943.HEIC", 100, 133, ImageOrientation::up, true},
        PhotoCase{"photo/hopper.png", 128, 128, ImageOrientation::up, false},
        PhotoCase{"photo/flower_thumbnail.png", 160, 120, ImageOrientation::up, false},
        PhotoCase{"photo/flower.webp", 480, 360, ImageOrientation::up, false},
        PhotoCase{"photo/hopper.webp", 128, 128, ImageOrientation::up, false},
        // Its orientation is in the EXIF chunk of an extended WebP.
        PhotoCase{"photo/hopper_orientation_6.webp", 128, 128, ImageOrientation::right, false},
        // The first of its ten frames, on the 320 x 320 canvas.
        PhotoCase{"photo/animated.webp", 320, 320, ImageOrientation::up, false}),
    [](const auto& info) {
      std::string name = std::filesystem::path(info.param.file).filename().string();
      for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
      }
      return name;
    });

// Whatever else lands in photo/ later must decode too.
TEST(SamplePhotoFolder, EveryImageDecodes) {
  const auto folder = mediaPath("photo");
  SKIP_IF_MISSING(folder);
  int decoded = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const auto name = entry.path().filename().string();
    if (name.starts_with("LICENSE") || entry.path().extension() == ".md") continue;
    const Image image = decodeOrFail(entry.path());
    EXPECT_FALSE(image.isEmpty()) << name;
    ++decoded;
  }
  EXPECT_GE(decoded, 8);
}

TEST(SamplePhotos, OpaquePhotosHaveAlpha255) {
  for (const char* file : {"photo/hopper.png", "photo/flower.webp", "livephoto/IMG_7943.HEIC",
                           "exif-orientation/Landscape_1.jpg"}) {
    const auto path = mediaPath(file);
    SKIP_IF_MISSING(path);
    SCOPED_TRACE(file);
    expectOpaqueAndSized(decodeOrFail(path));
  }
}

TEST(SamplePhotos, AnimatedWebpIsPremultiplied) {
  const auto path = mediaPath("photo/animated.webp");
  SKIP_IF_MISSING(path);
  const Image image = decodeOrFail(path);
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
    const auto alpha = image.pixels[i + 3];
    ASSERT_LE(image.pixels[i], alpha);
    ASSERT_LE(image.pixels[i + 1], alpha);
    ASSERT_LE(image.pixels[i + 2], alpha);
  }
}

TEST(SamplePhotos, DecodeTheSameFromMemoryAsFromThePath) {
  for (const char* file : {"photo/hopper.png", "photo/hopper_orientation_6.webp", "livephoto/IMG_7943.HEIC",
                           "exif-orientation/Landscape_6.jpg"}) {
    const auto path = mediaPath(file);
    SKIP_IF_MISSING(path);
    SCOPED_TRACE(file);
    const Image fromPath = decodeOrFail(path);
    const auto bytes = test::readBytes(path);
    auto fromMemory = decodeImage(bytes);
    ASSERT_TRUE(fromMemory);
    EXPECT_EQ(fromMemory->width, fromPath.width);
    EXPECT_EQ(fromMemory->orientation, fromPath.orientation);
    EXPECT_EQ(fromMemory->iccProfile, fromPath.iccProfile);
    EXPECT_EQ(fromMemory->pixels, fromPath.pixels);
  }
}

TEST(SamplePhotos, FormatComesFromTheBytesNotTheName) {
  const auto path = mediaPath("photo/hopper.webp");
  SKIP_IF_MISSING(path);
  test::ScratchFolder folder;
  const auto disguised = folder / "hopper.jpg";
  std::filesystem::copy_file(path, disguised);
  const Image image = decodeOrFail(disguised);
  EXPECT_EQ(image.width, 128);
  EXPECT_EQ(sniffImageFormat(test::readBytes(disguised)), ImageFormat::webp);
}

TEST(ImageFormatSniffing, NamesEachFormat) {
  const auto sniff = [](const std::string& text) {
    return sniffImageFormat({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  };
  EXPECT_EQ(sniff(std::string("\xFF\xD8\xFF\xE0", 4)), ImageFormat::jpeg);
  EXPECT_EQ(sniff(std::string("\x89PNG\r\n\x1a\n", 8)), ImageFormat::png);
  EXPECT_EQ(sniff(std::string("RIFF\0\0\0\0WEBPVP8 ", 16)), ImageFormat::webp);
  EXPECT_EQ(sniff(std::string("\0\0\0\x18" "ftypheic\0\0\0\0mif1heic", 24)), ImageFormat::heif);
  EXPECT_EQ(sniff(std::string("\0\0\0\x18" "ftypmif1\0\0\0\0mif1heic", 24)), ImageFormat::heif);
  EXPECT_EQ(sniff(std::string("\0\0\0\x18" "ftypisom\0\0\0\0isomiso2", 24)), ImageFormat::unknown);
  EXPECT_EQ(sniff("GIF89a"), ImageFormat::unknown);
  EXPECT_EQ(sniff(""), ImageFormat::unknown);
  EXPECT_EQ(sniff(std::string("\xFF\xD8", 2)), ImageFormat::unknown);
}

// ---- Damaged files ------------------------------------------------------------------

TEST(BrokenFiles, EachDecodesWithDamageOrGivesAClearError) {
  const auto folder = mediaPath("broken");
  SKIP_IF_MISSING(folder);
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const auto name = entry.path().filename().string();
    if (name.starts_with("LICENSE") || entry.path().extension() == ".md") continue;
    SCOPED_TRACE(name);
    auto result = decodeImageFile(entry.path());
    if (result) {
      EXPECT_FALSE(result->isEmpty());
      EXPECT_EQ(result->pixels.size(), result->bytesPerRow() * result->height);
    } else {
      EXPECT_TRUE(result.error().kind == Kind::corrupt || result.error().kind == Kind::unsupportedFormat)
          << toString(result.error().kind);
      EXPECT_NE(result.error().message.find(name), std::string::npos) << result.error().message;
    }
  }
}

TEST(BrokenFiles, JpegWithoutEndMarkerDecodesWithTheRestFilledIn) {
  const auto path = mediaPath("broken/truncated_jpeg.jpg");
  SKIP_IF_MISSING(path);
  const Image image = decodeOrFail(path);
  EXPECT_EQ(image.width, 100);
  EXPECT_EQ(image.height, 100);
  expectOpaqueAndSized(image);
}

TEST(BrokenFiles, TruncatedPngKeepsItsRowsAndShowsTheRestBlack) {
  const auto path = mediaPath("broken/truncated_image.png");
  SKIP_IF_MISSING(path);
  const Image image = decodeOrFail(path);
  ASSERT_EQ(image.width, 640);
  ASSERT_EQ(image.height, 480);
  expectOpaqueAndSized(image);
  const auto isBlack = [&](int y) {
    for (int x = 0; x < image.width; ++x) {
      const std::uint8_t* p = image.pixel(x, y);
      if (p[0] || p[1] || p[2]) return false;
    }
    return true;
  };
  EXPECT_FALSE(isBlack(0)) << "the rows before the cut are kept";
  EXPECT_TRUE(isBlack(image.height - 1)) << "the rows after the cut are black";
}

TEST(BrokenFiles, BadExifMeansUp) {
  for (const char* file : {"broken/hopper_bad_exif.jpg", "broken/invalid-exif.jpg"}) {
    const auto path = mediaPath(file);
    SKIP_IF_MISSING(path);
    SCOPED_TRACE(file);
    const Image image = decodeOrFail(path);
    EXPECT_EQ(image.orientation, ImageOrientation::up);
    expectOpaqueAndSized(image);
  }
}

TEST(BrokenFiles, MotionPhotoWithBadTrailerDecodesAsItsJpeg) {
  const auto path = mediaPath("broken/google_motion_photo_broken.jpg");
  SKIP_IF_MISSING(path);
  const Image image = decodeOrFail(path);
  EXPECT_EQ(image.width, 1512);
  EXPECT_EQ(image.height, 2016);
  EXPECT_EQ(image.orientation, ImageOrientation::left);  // EXIF 8
}

TEST(BrokenFiles, MovieIsNotAnImage) {
  const auto path = mediaPath("broken/broken.mp4");
  SKIP_IF_MISSING(path);
  auto result = decodeImageFile(path);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::unsupportedFormat);
}

TEST(BrokenFiles, HeifCutBeforeItsMetaIsCorrupt) {
  const auto path = mediaPath("photo/sewing-threads.heic");
  SKIP_IF_MISSING(path);
  auto bytes = test::readBytes(path);
  bytes.resize(bytes.size() / 2);
  auto result = decodeImage(bytes);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::corrupt) << result.error().message;
  EXPECT_FALSE(result.error().message.empty());
}

// Cuts and flipped bytes anywhere in a file must give an image or an error, never a
// crash or a hang. Deterministic: a fixed seed.
TEST(BrokenFiles, CutAndScrambledSamplesNeverCrash) {
  std::mt19937 random(1234);
  for (const char* file : {"photo/hopper.png", "photo/hopper.webp", "photo/hopper_orientation_6.webp",
                           "livephoto/IMG_7943.HEIC", "broken/invalid-exif.jpg", "photo/animated.webp"}) {
    const auto path = mediaPath(file);
    SKIP_IF_MISSING(path);
    SCOPED_TRACE(file);
    const auto original = test::readBytes(path);
    for (int trial = 0; trial < 24; ++trial) {
      auto bytes = original;
      if (trial % 2 == 0) {
        bytes.resize(std::uniform_int_distribution<std::size_t>(1, bytes.size() - 1)(random));
      } else {
        for (int flip = 0; flip < 8; ++flip) {
          bytes[std::uniform_int_distribution<std::size_t>(0, bytes.size() - 1)(random)] ^=
              static_cast<std::uint8_t>(1 + random() % 255);
        }
      }
      auto result = decodeImage(bytes);
      if (result) {
        EXPECT_EQ(result->pixels.size(), result->bytesPerRow() * result->height);
      } else {
        EXPECT_FALSE(result.error().message.empty());
      }
    }
  }
}

// ---- Inputs that are not images ------------------------------------------------------

TEST(ImageDecodeErrors, EmptyFile) {
  test::ScratchFolder folder;
  test::writeBytes(folder / "empty.jpg", {});
  auto result = decodeImageFile(folder / "empty.jpg");
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::unsupportedFormat);
  EXPECT_NE(result.error().message.find("empty.jpg"), std::string::npos);
  EXPECT_NE(result.error().message.find("0 bytes"), std::string::npos) << result.error().message;
}

TEST(ImageDecodeErrors, TextNamedJpg) {
  test::ScratchFolder folder;
  const std::string text = "This is not a photo, only a note that was given the wrong name.\n";
  test::writeBytes(folder / "note.jpg", {text.begin(), text.end()});
  auto result = decodeImageFile(folder / "note.jpg");
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::unsupportedFormat);
  EXPECT_NE(result.error().message.find("not a JPEG, PNG, HEIF or WebP image"), std::string::npos)
      << result.error().message;
}

TEST(ImageDecodeErrors, MissingFile) {
  test::ScratchFolder folder;
  auto result = decodeImageFile(folder / "nothing-here.png");
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::fileNotFound);
  EXPECT_NE(result.error().message.find("nothing-here.png"), std::string::npos);
}

TEST(ImageDecodeErrors, Folder) {
  test::ScratchFolder folder;
  auto result = decodeImageFile(folder.path());
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::unreadable);
}

TEST(ImageDecodeErrors, UnsupportedFormatIsNamed) {
  const std::string gif = "GIF89a\x01\x00\x01\x00";
  auto result = decodeImage({reinterpret_cast<const std::uint8_t*>(gif.data()), gif.size()});
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::unsupportedFormat);
  EXPECT_NE(result.error().message.find("GIF"), std::string::npos);
}

// ---- Headers that claim a huge size -------------------------------------------------

std::uint32_t crc32(const std::uint8_t* data, std::size_t length) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (std::size_t i = 0; i < length; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320 & (0 - (crc & 1)));
  }
  return ~crc;
}

void putBigEndian32(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

// A well-formed PNG signature and IHDR (with a valid CRC) claiming width x height,
// followed by a token IDAT and IEND.
std::vector<std::uint8_t> pngClaiming(std::uint32_t width, std::uint32_t height) {
  std::vector<std::uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  const auto chunk = [&](const char* type, std::vector<std::uint8_t> data) {
    putBigEndian32(png, static_cast<std::uint32_t>(data.size()));
    std::vector<std::uint8_t> body(type, type + 4);
    body.insert(body.end(), data.begin(), data.end());
    png.insert(png.end(), body.begin(), body.end());
    putBigEndian32(png, crc32(body.data(), body.size()));
  };
  std::vector<std::uint8_t> header;
  putBigEndian32(header, width);
  putBigEndian32(header, height);
  header.insert(header.end(), {8, 6, 0, 0, 0});  // 8-bit RGBA, not interlaced
  chunk("IHDR", header);
  chunk("IDAT", {0x78, 0x9c, 0x03, 0x00, 0x00, 0x00, 0x00, 0x01});
  chunk("IEND", {});
  return png;
}

// A baseline JPEG header up to its first scan claiming width x height (at most 65535).
std::vector<std::uint8_t> jpegClaiming(std::uint16_t width, std::uint16_t height) {
  std::vector<std::uint8_t> jpeg = {0xFF, 0xD8, 0xFF, 0xDB, 0x00, 0x43, 0x00};
  jpeg.insert(jpeg.end(), 64, 1);  // a flat quantisation table
  jpeg.insert(jpeg.end(), {0xFF, 0xC0, 0x00, 0x11, 8, static_cast<std::uint8_t>(height >> 8),
                           static_cast<std::uint8_t>(height), static_cast<std::uint8_t>(width >> 8),
                           static_cast<std::uint8_t>(width), 3, 1, 0x11, 0, 2, 0x11, 0, 3, 0x11, 0});
  jpeg.insert(jpeg.end(), {0xFF, 0xDA, 0x00, 0x0C, 3, 1, 0x00, 2, 0x00, 3, 0x00, 0, 63, 0});
  jpeg.insert(jpeg.end(), 32, 0);
  jpeg.insert(jpeg.end(), {0xFF, 0xD9});
  return jpeg;
}

TEST(ImageDecodeErrors, HugePngHeaderIsRefusedBeforeAllocating) {
  auto result = decodeImage(pngClaiming(100000, 100000));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::tooLarge);
  EXPECT_NE(result.error().message.find("100000 x 100000"), std::string::npos) << result.error().message;
}

// An 8 x 8 grey progressive JPEG whose one DC scan is repeated `scans` times: each
// repeat is another pass for the decoder, and a wrong progression is only a warning.
std::vector<std::uint8_t> progressiveJpegWithScans(int scans) {
  std::vector<std::uint8_t> jpeg = {0xFF, 0xD8, 0xFF, 0xDB, 0x00, 0x43, 0x00};
  jpeg.insert(jpeg.end(), 64, 1);
  jpeg.insert(jpeg.end(), {0xFF, 0xC2, 0x00, 0x0B, 8, 0, 8, 0, 8, 1, 1, 0x11, 0});
  // One DC code: category 0, one bit long.
  jpeg.insert(jpeg.end(), {0xFF, 0xC4, 0x00, 0x14, 0x00, 1});
  jpeg.insert(jpeg.end(), 15, 0);
  jpeg.push_back(0);
  for (int scan = 0; scan < scans; ++scan) {
    jpeg.insert(jpeg.end(), {0xFF, 0xDA, 0x00, 0x08, 1, 1, 0x00, 0, 0, 0x00, 0x7F});
  }
  jpeg.insert(jpeg.end(), {0xFF, 0xD9});
  return jpeg;
}

TEST(ImageDecodeErrors, JpegWithEndlessScansIsRefused) {
  auto few = decodeImage(progressiveJpegWithScans(3));
  ASSERT_TRUE(few) << few.error().message;
  EXPECT_EQ(few->width, 8);
  auto endless = decodeImage(progressiveJpegWithScans(2000));
  ASSERT_FALSE(endless);
  EXPECT_EQ(endless.error().kind, Kind::corrupt);
  EXPECT_NE(endless.error().message.find("more than 500 scans"), std::string::npos) << endless.error().message;
}

TEST(ImageDecodeErrors, HugeJpegHeaderIsRefusedBeforeAllocating) {
  auto result = decodeImage(jpegClaiming(65000, 65000));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::tooLarge) << result.error().message;
}

TEST(ImageDecodeErrors, LimitsAreOnTheSideAndOnThePixelCount) {
  // One side over the limit, pixel count tiny.
  auto wide = decodeImage(pngClaiming(kMaxImageSide + 1, 1));
  ASSERT_FALSE(wide);
  EXPECT_EQ(wide.error().kind, Kind::tooLarge);
  // Both sides within the limit, pixel count over it.
  auto large = decodeImage(pngClaiming(kMaxImageSide, kMaxImageSide));
  ASSERT_FALSE(large);
  EXPECT_EQ(large.error().kind, Kind::tooLarge);
  // Within both: the header passes and the (token) data is what fails.
  auto small = decodeImage(pngClaiming(64, 64));
  ASSERT_FALSE(small);
  EXPECT_EQ(small.error().kind, Kind::corrupt) << small.error().message;
}

// A 1 x 1 PNG whose next chunk claims nearly 2 GiB of data, of which the file holds 4
// bytes: the length is a claim that costs nothing to make.
std::vector<std::uint8_t> pngWithHugeChunk(const char* type) {
  auto png = pngClaiming(1, 1);
  std::vector<std::uint8_t> chunk;
  putBigEndian32(chunk, 0x7FFFFFF0);
  chunk.insert(chunk.end(), type, type + 4);
  chunk.insert(chunk.end(), 4, 0);
  png.insert(png.begin() + 33, chunk.begin(), chunk.end());  // right after IHDR
  return png;
}

// The process's peak of address space so far (VmPeak), which even an allocation that
// is freed at once raises.
std::uint64_t peakAddressSpace() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmPeak:")) return std::stoull(line.substr(7)) * 1024;
  }
  return 0;
}

// A decoder that believed a claim (40 GB of pixels, a 2 GiB chunk) would allocate it,
// or fail with outOfMemory, instead of giving the error the file deserves at the cost
// of a few kilobytes. Run in a child so that the peak starts from here.
TEST(ImageDecodeErrors, HugeClaimsNeedNoLargeAllocation) {
  struct Case {
    std::vector<std::uint8_t> bytes;
    Kind expected;
  };
  std::vector<Case> cases = {{pngClaiming(100000, 100000), Kind::tooLarge},
                             {jpegClaiming(65000, 65000), Kind::tooLarge}};
  for (const char* type : {"tEXt", "zTXt", "iTXt", "sPLT", "iCCP", "eXIf", "juNK", "bKGD"}) {
    cases.push_back({pngWithHugeChunk(type), Kind::corrupt});
  }
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const std::uint64_t before = peakAddressSpace();
    for (std::size_t i = 0; i < cases.size(); ++i) {
      auto result = decodeImage(cases[i].bytes);
      if (result || result.error().kind != cases[i].expected) _exit(static_cast<int>(i) + 1);
      if (peakAddressSpace() - before > (std::uint64_t{256} << 20)) _exit(static_cast<int>(i) + 1);
    }
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "case " << WEXITSTATUS(status) - 1 << " was not refused cheaply";
}

// /dev/zero never ends: it must be refused at once, not read until memory runs out.
TEST(ImageDecodeErrors, DeviceIsRefusedWithoutReading) {
  auto result = decodeImageFile("/dev/zero");
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::unreadable);
  EXPECT_NE(result.error().message.find("'/dev/zero': not a regular file"), std::string::npos)
      << result.error().message;
}

}  // namespace
}  // namespace platform::media
