#pragma once
// Private to Platform/Media: the per-format decoders behind decodeImage, and the small
// helpers they share. Each decoder takes the whole file in memory, has already been
// chosen by sniffing, and never allocates pixels before checkImageSize agreed.
#ifndef HALVANE_INSIDE_PlatformMedia
#error "a private header of Platform/Media: include its public headers"
#endif
#include <cstdint>
#include <span>
#include <string>

#include "Platform/Base/Expected.h"
#include "Platform/Media/Image.h"

namespace platform::media::detail {

using DecodeResult = platform::Expected<Image, ImageError>;

DecodeResult decodeJpeg(std::span<const std::uint8_t> bytes);
DecodeResult decodePng(std::span<const std::uint8_t> bytes);
DecodeResult decodeHeif(std::span<const std::uint8_t> bytes);
DecodeResult decodeWebp(std::span<const std::uint8_t> bytes);

inline platform::Unexpected<ImageError> failure(ImageError::Kind kind, std::string message) {
  return platform::unexpected(ImageError{kind, std::move(message)});
}

// The largest block of metadata a decoder library may allocate for one chunk or
// marker (an ICC profile, EXIF, text): 16 MiB, a little above the largest ICC profile a
// JPEG can carry (255 APP2 segments of 65519 bytes). A file's claim beyond it is refused
// as corrupt before anything is allocated.
inline constexpr std::size_t kMaxMetadataBytes = std::size_t{16} << 20;

// Fine when width x height is within kMaxImageSide and kMaxImagePixels, else the
// tooLarge error naming the format and the size claimed.
platform::Expected<void, ImageError> checkImageSize(std::uint64_t width, std::uint64_t height, const char* format);

// Sizes image for width x height BGRA8 pixels. An allocation failure is an
// outOfMemory error instead of an exception.
platform::Expected<void, ImageError> allocatePixels(Image& image, int width, int height, const char* format);

// Alpha premultiplication of one row of BGRA8 in place, rounding to nearest.
void premultiplyRow(std::uint8_t* bgra, int width);

// Fine when the view can be encoded: pixels present, rows long enough, size within
// the limits. Else an invalidArgument or tooLarge error.
platform::Expected<void, ImageError> checkView(const BgraView& view, const char* format);

// Fills rows [firstRow, height) with opaque black: what a decode that stopped early
// shows where data was missing.
void fillMissingRows(Image& image, int firstRow);

}  // namespace platform::media::detail
