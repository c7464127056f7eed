#include "Platform/Media/ImageDecoder.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Platform/Media/ImageCodecsPrivate.h"
#include "Platform/Media/ImageFile.h"

namespace platform::media {

namespace {

bool startsWith(std::span<const std::uint8_t> bytes, std::size_t offset, std::string_view text) {
  return bytes.size() >= offset + text.size() && std::memcmp(bytes.data() + offset, text.data(), text.size()) == 0;
}

// ISO-BMFF: a leading "ftyp" box whose major or compatible brands name a HEIF still
// image (HEVC or AV1 coded, single image or sequence).
bool isHeif(std::span<const std::uint8_t> bytes) {
  if (!startsWith(bytes, 4, "ftyp")) return false;
  const std::size_t boxSize = std::size_t{bytes[0]} << 24 | std::size_t{bytes[1]} << 16 |
                              std::size_t{bytes[2]} << 8 | bytes[3];
  const std::size_t end = std::min(bytes.size(), boxSize);
  static constexpr std::string_view kBrands[] = {"heic", "heix", "heim", "heis", "hevc", "hevx",
                                                 "mif1", "msf1", "avif", "avis"};
  // Major brand at 8, minor version at 12, compatible brands from 16.
  for (std::size_t offset = 8; offset + 4 <= end; offset += (offset == 8 ? 8 : 4)) {
    for (std::string_view brand : kBrands) {
      if (startsWith(bytes, offset, brand)) return true;
    }
  }
  return false;
}

// A name for formats we recognise but do not decode, for a clearer message.
const char* otherFormatName(std::span<const std::uint8_t> bytes) {
  if (startsWith(bytes, 0, "GIF8")) return "GIF";
  if (startsWith(bytes, 0, "BM")) return "BMP";
  if (startsWith(bytes, 0, std::string_view("II*\0", 4)) || startsWith(bytes, 0, std::string_view("MM\0*", 4))) {
    return "TIFF";
  }
  if (startsWith(bytes, 4, "ftyp")) return "an ISO media file that is not a HEIF image";
  return nullptr;
}

platform::Expected<Image, ImageError> prefixed(platform::Expected<Image, ImageError> result,
                                               const std::filesystem::path& path) {
  if (result) return result;
  ImageError error = result.error();
  error.message = "cannot decode '" + path.string() + "': " + error.message;
  return platform::unexpected(std::move(error));
}

}  // namespace

ImageFormat sniffImageFormat(std::span<const std::uint8_t> bytes) {
  if (bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF) return ImageFormat::jpeg;
  if (startsWith(bytes, 0, "\x89PNG\r\n\x1a\n")) return ImageFormat::png;
  if (startsWith(bytes, 0, "RIFF") && startsWith(bytes, 8, "WEBP")) return ImageFormat::webp;
  if (isHeif(bytes)) return ImageFormat::heif;
  return ImageFormat::unknown;
}

const char* toString(ImageFormat format) {
  switch (format) {
    case ImageFormat::jpeg: return "JPEG";
    case ImageFormat::png: return "PNG";
    case ImageFormat::heif: return "HEIF";
    case ImageFormat::webp: return "WebP";
    case ImageFormat::unknown: break;
  }
  return "unknown";
}

platform::Expected<Image, ImageError> decodeImage(std::span<const std::uint8_t> bytes) {
  using detail::failure;
  if (bytes.empty()) return failure(ImageError::Kind::unsupportedFormat, "no data (0 bytes)");
  switch (sniffImageFormat(bytes)) {
    case ImageFormat::jpeg: return detail::decodeJpeg(bytes);
    case ImageFormat::png: return detail::decodePng(bytes);
    case ImageFormat::heif: return detail::decodeHeif(bytes);
    case ImageFormat::webp: return detail::decodeWebp(bytes);
    case ImageFormat::unknown: break;
  }
  if (const char* other = otherFormatName(bytes)) {
    return failure(ImageError::Kind::unsupportedFormat, std::string("unsupported image format (") + other + ")");
  }
  return failure(ImageError::Kind::unsupportedFormat, "not a JPEG, PNG, HEIF or WebP image");
}

platform::Expected<Image, ImageError> decodeImageFile(const std::filesystem::path& path) {
  auto bytes = readFileBytes(path);
  if (!bytes) return platform::unexpected(bytes.error());
  return prefixed(decodeImage(*bytes), path);
}

}  // namespace platform::media
