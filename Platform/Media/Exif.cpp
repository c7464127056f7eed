#include "Platform/Media/Exif.h"

#include <cstring>

namespace platform::media {

namespace {

constexpr std::uint8_t kIdentifier[6] = {'E', 'x', 'i', 'f', 0, 0};
constexpr std::uint16_t kOrientationTag = 0x0112;
constexpr std::uint16_t kTypeShort = 3;
constexpr std::uint16_t kTypeLong = 4;

struct TiffReader {
  std::span<const std::uint8_t> bytes;
  bool bigEndian;

  bool has(std::size_t offset, std::size_t length) const {
    return offset <= bytes.size() && length <= bytes.size() - offset;
  }
  std::uint16_t u16(std::size_t offset) const {
    const auto* p = bytes.data() + offset;
    return bigEndian ? static_cast<std::uint16_t>(p[0] << 8 | p[1])
                     : static_cast<std::uint16_t>(p[1] << 8 | p[0]);
  }
  std::uint32_t u32(std::size_t offset) const {
    const auto* p = bytes.data() + offset;
    return bigEndian ? (std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3])
                     : (std::uint32_t{p[3]} << 24 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[1]} << 8 | p[0]);
  }
};

}  // namespace

std::optional<int> readExifOrientation(std::span<const std::uint8_t> payload) {
  if (payload.size() >= sizeof kIdentifier && std::memcmp(payload.data(), kIdentifier, sizeof kIdentifier) == 0) {
    payload = payload.subspan(sizeof kIdentifier);
  }
  if (payload.size() < 8) return std::nullopt;
  TiffReader tiff{payload, false};
  if (payload[0] == 'M' && payload[1] == 'M') {
    tiff.bigEndian = true;
  } else if (!(payload[0] == 'I' && payload[1] == 'I')) {
    return std::nullopt;
  }
  if (tiff.u16(2) != 42) return std::nullopt;

  const std::size_t ifd = tiff.u32(4);
  if (!tiff.has(ifd, 2)) return std::nullopt;
  const std::size_t count = tiff.u16(ifd);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = ifd + 2 + i * 12;
    if (!tiff.has(entry, 12)) break;  // a directory cut short: keep what was read
    if (tiff.u16(entry) != kOrientationTag) continue;
    const std::uint16_t type = tiff.u16(entry + 2);
    if (tiff.u32(entry + 4) < 1) return std::nullopt;
    // A value of four bytes or less sits in the entry itself, left-justified.
    if (type == kTypeShort) return tiff.u16(entry + 8);
    if (type == kTypeLong) return static_cast<int>(tiff.u32(entry + 8) & 0xFFFF);
    return std::nullopt;
  }
  return std::nullopt;
}

std::vector<std::uint8_t> makeExifOrientationBlock(int exifNumber, bool withIdentifier) {
  const auto value = static_cast<std::uint16_t>(exifNumber);
  const std::uint8_t block[] = {
      'E', 'x', 'i', 'f', 0, 0,   // identifier, for JPEG APP1 only
      'M', 'M', 0, 42,            // big-endian TIFF
      0, 0, 0, 8,                 // IFD0 right after the header
      0, 1,                       // one entry
      0x01, 0x12, 0, kTypeShort,  // Orientation, SHORT
      0, 0, 0, 1,                 // count 1
      static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value & 0xFF), 0, 0,
      0, 0, 0, 0,                 // no next IFD
  };
  return std::vector<std::uint8_t>(std::begin(block) + (withIdentifier ? 0 : sizeof kIdentifier), std::end(block));
}

}  // namespace platform::media
