#pragma once
// Decoding of still images into the Image value: JPEG (libjpeg-turbo), PNG (libpng),
// HEIF/HEIC (libheif) and WebP (libwebp). The format is sniffed from the bytes, never
// from the file name. Each call is independent and may run on any thread.
//
// What comes out:
// - Pixels as stored, in BGRA8 premultiplied, no colour conversion. The ICC profile
//   (JPEG APP2, PNG iCCP, HEIF colour profile, WebP ICCP) is the colour-space label;
//   empty means sRGB (a PNG sRGB chunk or a HEIF nclx-only profile also give empty).
// - Orientation: from the EXIF orientation of a JPEG, a PNG eXIf chunk, or a WebP
//   EXIF chunk. A HEIF comes out upright, because libheif applies its transform
//   properties while decoding, and is reported as up: its EXIF orientation is ignored,
//   or the picture would turn twice.
// - An animated WebP gives its first frame.
// - Damage: a JPEG cut short decodes with the missing part filled in by libjpeg-turbo;
//   a non-interlaced PNG cut short keeps the rows it had and the rest is opaque black.
//   Anything that cannot be decoded at all is a corrupt error; nothing crashes.
// - Limits: a header claiming more than kMaxImageSide or kMaxImagePixels is refused
//   (tooLarge) before any pixel memory is allocated.
#include <cstdint>
#include <filesystem>
#include <span>

#include "Platform/Base/Expected.h"
#include "Platform/Media/Image.h"

namespace platform::media {

enum class ImageFormat { unknown, jpeg, png, heif, webp };

// The format named by the first bytes (a dozen or so suffice; the whole file is fine).
ImageFormat sniffImageFormat(std::span<const std::uint8_t> bytes);
const char* toString(ImageFormat format);

platform::Expected<Image, ImageError> decodeImage(std::span<const std::uint8_t> bytes);
// Reads the whole file, then decodes it. Error messages name the path.
platform::Expected<Image, ImageError> decodeImageFile(const std::filesystem::path& path);

}  // namespace platform::media
