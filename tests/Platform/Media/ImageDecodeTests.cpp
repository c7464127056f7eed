#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <functional>

#include "ImageCodecTestSupport.h"
#include "Platform/Media/ImageDecoder.h"

namespace platform::media {
namespace {

using namespace test;
using Kind = ImageError::Kind;

// Every pixel's alpha, and that there are width x height of them.
void expectOpaqueAndSized(const Image& image) {
  ASSERT_EQ(image.pixels.size(), image.bytesPerRow() * image.height);
  for (std::size_t i = 3; i < image.pixels.size(); i += 4)
    if (image.pixels[i] != 255) FAIL() << "pixel " << i / 4 << " has alpha " << int(image.pixels[i]);
}

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

// ---- Orientation ---------------------------------------------------------------------

// Each sample decodes with the orientation its EXIF number names, and baking it the way
// the engine does (quarter turns, then mirror) gives Landscape_1's picture. The samples
// were re-encoded after their transform, so they differ by JPEG noise: the right bake
// measures 25 to 32 dB, any wrong turn or mirror under 10 dB. 20 dB sits between.
TEST(ExifOrientationSamples, DecodeWithTheirOrientationAndLookTheSameOnceUpright) {
  const auto reference = sample("exif-orientation/Landscape_1.jpg");
  if (reference.empty()) GTEST_SKIP() << "sample missing";
  const Image upright = decodeOrFail(reference);
  using enum ImageOrientation;
  const ImageOrientation expected[9] = {up,           up,    upMirrored,    down, downMirrored,
                                        leftMirrored, right, rightMirrored, left};
  for (int number = 0; number <= 8; ++number) {
    SCOPED_TRACE("EXIF " + std::to_string(number));
    const Image image = decodeOrFail(sample("exif-orientation/Landscape_" + std::to_string(number) + ".jpg"));
    EXPECT_EQ(image.orientation, expected[number]);
    // Stored sideways for 5 to 8, so that they look landscape once turned.
    EXPECT_EQ(std::pair(image.width, image.height), number >= 5 ? std::pair(1200, 1800) : std::pair(1800, 1200));
    expectOpaqueAndSized(image);
    const Image baked = test::upright(image);
    ASSERT_EQ(std::pair(baked.width, baked.height), std::pair(upright.width, upright.height));
    EXPECT_GT(test::psnr(baked, upright), 20.0);
  }
}

TEST(ImageOrientationNumbers, MapBothWaysAndOutOfRangeIsUp) {
  for (int raw = 0; raw < 8; ++raw) {
    const auto orientation = static_cast<ImageOrientation>(raw);
    EXPECT_EQ(orientationFromExif(exifOrientationNumber(orientation)), orientation);
  }
  EXPECT_EQ(exifOrientationNumber(ImageOrientation::up), 1);
  for (int bad : {8, 200}) EXPECT_EQ(exifOrientationNumber(static_cast<ImageOrientation>(bad)), 1);
  for (int bad : {0, 9, -1}) EXPECT_EQ(orientationFromExif(bad), ImageOrientation::up);
}

// ---- Sample photos, damaged ones included ---------------------------------------------

// File, size (0: not checked), orientation, whether it has a profile (-1: not checked),
// whether it is opaque. Every one comes premultiplied: no channel above its alpha.
TEST(SamplePhotos, DecodeAtFullSizeWithTheirOrientation) {
  const std::tuple<const char*, int, int, ImageOrientation, int, bool> cases[] = {
      // Stored 4032 x 3024 with EXIF orientation 6 and an irot property: libheif turns
      // it while decoding, so it comes out portrait and is reported up.
      {"photo/classic-car.heic", 3024, 4032, ImageOrientation::up, 1, false},
      // Its meta box sits after mdat, at the end of the file.
      {"photo/sewing-threads.heic", 4000, 3000, ImageOrientation::up, 0, false},
      {"livephoto/IMG_7943.HEIC", 100, 133, ImageOrientation::up, 1, true},
      {"photo/hopper.png", 128, 128, ImageOrientation::up, 0, true},
      {"photo/flower_thumbnail.png", 160, 120, ImageOrientation::up, 0, false},
      {"photo/flower.webp", 480, 360, ImageOrientation::up, 0, true},
      {"photo/hopper.webp", 128, 128, ImageOrientation::up, 0, false},
      // Its orientation is in the EXIF chunk of an extended WebP.
      {"photo/hopper_orientation_6.webp", 128, 128, ImageOrientation::right, 0, false},
      // The first of its ten frames, on the 320 x 320 canvas.
      {"photo/animated.webp", 320, 320, ImageOrientation::up, 0, false},
      // Damaged: a JPEG without its end marker is filled in; a bad EXIF block means up;
      // a motion photo with a broken trailer is its JPEG (EXIF 8).
      {"broken/truncated_jpeg.jpg", 100, 100, ImageOrientation::up, -1, true},
      {"broken/hopper_bad_exif.jpg", 0, 0, ImageOrientation::up, -1, true},
      {"broken/invalid-exif.jpg", 0, 0, ImageOrientation::up, -1, true},
      {"broken/google_motion_photo_broken.jpg", 1512, 2016, ImageOrientation::left, -1, false},
  };
  for (const auto& [file, width, height, orientation, hasProfile, opaque] : cases) {
    SCOPED_TRACE(file);
    const auto path = sample(file);
    if (path.empty()) continue;
    const Image image = decodeOrFail(path);
    if (width) { EXPECT_EQ(std::pair(image.width, image.height), std::pair(width, height)); }
    EXPECT_EQ(image.orientation, orientation);
    if (hasProfile >= 0) { EXPECT_EQ(!image.iccProfile.empty(), hasProfile == 1); }
    ASSERT_EQ(image.pixels.size(), image.bytesPerRow() * image.height);
    for (std::size_t i = 0; i < image.pixels.size(); ++i)
      ASSERT_LE(image.pixels[i], image.pixels[i | 3]) << "premultiplied";
    if (opaque) expectOpaqueAndSized(image);
  }
}

TEST(SamplePhotos, TruncatedPngKeepsItsRowsAndShowsTheRestBlack) {
  const auto path = sample("broken/truncated_image.png");
  if (path.empty()) GTEST_SKIP() << "sample missing";
  const Image image = decodeOrFail(path);
  ASSERT_EQ(std::pair(image.width, image.height), std::pair(640, 480));
  expectOpaqueAndSized(image);
  const auto isBlack = [&](int y) {
    for (int x = 0; x < image.width; ++x)
      if (image.pixel(x, y)[0] || image.pixel(x, y)[1] || image.pixel(x, y)[2]) return false;
    return true;
  };
  EXPECT_FALSE(isBlack(0)) << "the rows before the cut are kept";
  EXPECT_TRUE(isBlack(image.height - 1)) << "the rows after the cut are black";
}

// The format comes from the bytes, never the name.
TEST(ImageFormatSniffing, NamesEachFormatByItsBytes) {
  const std::pair<std::string, ImageFormat> cases[] = {
      {std::string("\xFF\xD8\xFF\xE0", 4), ImageFormat::jpeg},
      {std::string("\x89PNG\r\n\x1a\n", 8), ImageFormat::png},
      {std::string("RIFF\0\0\0\0WEBPVP8 ", 16), ImageFormat::webp},
      {std::string("\0\0\0\030ftypheic\0\0\0\0mif1heic", 24), ImageFormat::heif},
      {std::string("\0\0\0\030ftypmif1\0\0\0\0mif1heic", 24), ImageFormat::heif},
      {std::string("\0\0\0\030ftypisom\0\0\0\0isomiso2", 24), ImageFormat::unknown},
      {"GIF89a", ImageFormat::unknown},
      {"", ImageFormat::unknown},
      {std::string("\xFF\xD8", 2), ImageFormat::unknown},
  };
  for (const auto& [text, format] : cases) EXPECT_EQ(sniffImageFormat(bytesOf(text)), format) << text.size();
  const auto path = sample("photo/hopper.webp");
  if (path.empty()) GTEST_SKIP() << "sample missing";
  test::ScratchFolder folder;
  std::filesystem::copy_file(path, folder / "hopper.jpg");
  EXPECT_EQ(decodeOrFail(folder / "hopper.jpg").width, 128);
}

// ---- Headers that claim a huge size, built by hand -----------------------------------

void putBigEndian32(Bytes& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

// A well-formed PNG signature and IHDR (with a valid CRC) claiming width x height,
// followed by a token IDAT and IEND.
Bytes pngClaiming(std::uint32_t width, std::uint32_t height) {
  Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  const auto chunk = [&](const char* type, Bytes data) {
    putBigEndian32(png, static_cast<std::uint32_t>(data.size()));
    data.insert(data.begin(), type, type + 4);
    png.insert(png.end(), data.begin(), data.end());
    putBigEndian32(png, std::uint32_t(crc32(0, data.data(), uInt(data.size()))));
  };
  Bytes header;
  putBigEndian32(header, width);
  putBigEndian32(header, height);
  header.insert(header.end(), {8, 6, 0, 0, 0});  // 8-bit RGBA, not interlaced
  chunk("IHDR", header);
  chunk("IDAT", {0x78, 0x9c, 0x03, 0x00, 0x00, 0x00, 0x00, 0x01});
  chunk("IEND", {});
  return png;
}

// A 1 x 1 PNG whose next chunk claims nearly 2 GiB of data, of which the file holds 4
// bytes: the length is a claim that costs nothing to make.
Bytes pngWithHugeChunk(const char* type) {
  auto png = pngClaiming(1, 1);
  Bytes chunk;
  putBigEndian32(chunk, 0x7FFFFFF0);
  chunk.insert(chunk.end(), type, type + 4);
  chunk.insert(chunk.end(), 4, 0);
  png.insert(png.begin() + 33, chunk.begin(), chunk.end());  // right after IHDR
  return png;
}

// A baseline JPEG header up to its first scan claiming width x height (at most 65535).
Bytes jpegClaiming(std::uint16_t width, std::uint16_t height) {
  Bytes jpeg = {0xFF, 0xD8, 0xFF, 0xDB, 0x00, 0x43, 0x00};
  jpeg.insert(jpeg.end(), 64, 1);  // a flat quantisation table
  jpeg.insert(jpeg.end(), {0xFF, 0xC0, 0x00, 0x11, 8, static_cast<std::uint8_t>(height >> 8),
                           static_cast<std::uint8_t>(height), static_cast<std::uint8_t>(width >> 8),
                           static_cast<std::uint8_t>(width), 3, 1, 0x11, 0, 2, 0x11, 0, 3, 0x11, 0});
  jpeg.insert(jpeg.end(), {0xFF, 0xDA, 0x00, 0x0C, 3, 1, 0x00, 2, 0x00, 3, 0x00, 0, 63, 0});
  jpeg.insert(jpeg.end(), 32, 0);
  jpeg.insert(jpeg.end(), {0xFF, 0xD9});
  return jpeg;
}

// An 8 x 8 grey progressive JPEG whose one DC scan is repeated `scans` times: each
// repeat is another pass for the decoder, and a wrong progression is only a warning.
Bytes progressiveJpegWithScans(int scans) {
  Bytes jpeg = {0xFF, 0xD8, 0xFF, 0xDB, 0x00, 0x43, 0x00};
  jpeg.insert(jpeg.end(), 64, 1);
  jpeg.insert(jpeg.end(), {0xFF, 0xC2, 0x00, 0x0B, 8, 0, 8, 0, 8, 1, 1, 0x11, 0});
  // One DC code: category 0, one bit long.
  jpeg.insert(jpeg.end(), {0xFF, 0xC4, 0x00, 0x14, 0x00, 1});
  jpeg.insert(jpeg.end(), 15, 0);
  jpeg.push_back(0);
  for (int scan = 0; scan < scans; ++scan)
    jpeg.insert(jpeg.end(), {0xFF, 0xDA, 0x00, 0x08, 1, 1, 0x00, 0, 0, 0x00, 0x7F});
  jpeg.insert(jpeg.end(), {0xFF, 0xD9});
  return jpeg;
}

TEST(ImageDecode, AFewProgressiveScansDecode) { EXPECT_EQ(decodeBytes(progressiveJpegWithScans(3)).width, 8); }

// ---- What is refused, and how it is said -----------------------------------------------

struct RefusalCase {
  const char* name;
  std::function<platform::Expected<Image, ImageError>(const test::ScratchFolder&)> decode;
  Kind kind;
  const char* inMessage;         // "": only that there is a message
  const char* sample = nullptr;  // the case is skipped when this sample is missing
};

TEST(ImageDecodeErrors, EachRefusalHasItsKindAndSaysWhy) {
  const auto file = [](const char* name, Bytes bytes) {
    return [name, bytes](const test::ScratchFolder& folder) {
      test::writeBytes(folder / name, bytes);
      return decodeImageFile(folder / name);
    };
  };
  const auto memory = [](Bytes bytes) { return [bytes](const test::ScratchFolder&) { return decodeImage(bytes); }; };
  const RefusalCase cases[] = {
      {"empty file", file("empty.jpg", {}), Kind::unsupportedFormat, "0 bytes"},
      {"empty file's name", file("empty.jpg", {}), Kind::unsupportedFormat, "empty.jpg"},
      {"text named .jpg",
       file("note.jpg", bytesOf("This is not a photo, only a note that was given the wrong name.\n")),
       Kind::unsupportedFormat, "not a JPEG, PNG, HEIF or WebP image"},
      {"missing file", [](const auto& folder) { return decodeImageFile(folder / "nothing-here.png"); },
       Kind::fileNotFound, "nothing-here.png"},
      {"folder", [](const auto& folder) { return decodeImageFile(folder.path()); }, Kind::unreadable, ""},
      // /dev/zero never ends: refused at once, not read until memory runs out.
      {"device", [](const auto&) { return decodeImageFile("/dev/zero"); }, Kind::unreadable,
       "'/dev/zero': not a regular file"},
      {"GIF", memory(bytesOf(std::string("GIF89a\x01\x00\x01\x00", 10))), Kind::unsupportedFormat, "GIF"},
      {"movie", [](const auto&) { return decodeImageFile(sample("broken/broken.mp4")); }, Kind::unsupportedFormat,
       "", "broken/broken.mp4"},
      {"HEIF cut before its meta",
       [](const auto&) {
         auto bytes = test::readBytes(sample("photo/sewing-threads.heic"));
         bytes.resize(bytes.size() / 2);
         return decodeImage(bytes);
       },
       Kind::corrupt, "", "photo/sewing-threads.heic"},
      {"huge PNG header", memory(pngClaiming(100000, 100000)), Kind::tooLarge, "100000 x 100000"},
      {"huge JPEG header", memory(jpegClaiming(65000, 65000)), Kind::tooLarge, ""},
      // The limits are on a side and on the pixel count; within both, the token data fails.
      {"one side over", memory(pngClaiming(kMaxImageSide + 1, 1)), Kind::tooLarge, ""},
      {"pixel count over", memory(pngClaiming(kMaxImageSide, kMaxImageSide)), Kind::tooLarge, ""},
      {"within the limits", memory(pngClaiming(64, 64)), Kind::corrupt, ""},
      {"endless scans", memory(progressiveJpegWithScans(2000)), Kind::corrupt, "more than 500 scans"},
  };
  for (const auto& refusal : cases) {
    SCOPED_TRACE(refusal.name);
    if (refusal.sample && sample(refusal.sample).empty()) continue;
    test::ScratchFolder folder;
    auto result = refusal.decode(folder);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, refusal.kind) << result.error().message;
    EXPECT_FALSE(result.error().message.empty());
    EXPECT_NE(result.error().message.find(refusal.inMessage), std::string::npos) << result.error().message;
  }
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
  std::vector<std::pair<Bytes, Kind>> cases = {{pngClaiming(100000, 100000), Kind::tooLarge},
                                               {jpegClaiming(65000, 65000), Kind::tooLarge}};
  for (const char* type : {"tEXt", "zTXt", "iTXt", "sPLT", "iCCP", "eXIf", "juNK", "bKGD"})
    cases.emplace_back(pngWithHugeChunk(type), Kind::corrupt);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const std::uint64_t before = peakAddressSpace();
    for (std::size_t i = 0; i < cases.size(); ++i) {
      auto result = decodeImage(cases[i].first);
      if (result || result.error().kind != cases[i].second) _exit(static_cast<int>(i) + 1);
      if (peakAddressSpace() - before > (std::uint64_t{256} << 20)) _exit(static_cast<int>(i) + 1);
    }
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "case " << WEXITSTATUS(status) - 1 << " was not refused cheaply";
}

}  // namespace
}  // namespace platform::media
