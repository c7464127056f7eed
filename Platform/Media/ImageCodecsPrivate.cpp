#include "Platform/Media/ImageCodecsPrivate.h"

#include <algorithm>
#include <new>
#include <string>

namespace platform::media {

namespace detail {

platform::Expected<void, ImageError> checkImageSize(std::uint64_t width, std::uint64_t height, const char* format) {
  if (width == 0 || height == 0) {
    return platform::unexpected(
        ImageError{ImageError::Kind::corrupt, std::string(format) + " header gives an empty size"});
  }
  if (width > kMaxImageSide || height > kMaxImageSide || width * height > kMaxImagePixels) {
    return platform::unexpected(
        ImageError{ImageError::Kind::tooLarge, std::string(format) + " image of " + std::to_string(width) + " x " +
                                                   std::to_string(height) + " pixels is larger than the limit (" +
                                                   std::to_string(kMaxImageSide) + " pixels a side, " +
                                                   std::to_string(kMaxImagePixels) + " pixels in all)"});
  }
  return {};
}

platform::Expected<void, ImageError> allocatePixels(Image& image, int width, int height, const char* format) {
  if (auto checked = checkImageSize(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), format);
      !checked) {
    return checked;
  }
  try {
    image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
  } catch (const std::bad_alloc&) {
    return platform::unexpected(ImageError{
        ImageError::Kind::outOfMemory,
        "out of memory for a " + std::to_string(width) + " x " + std::to_string(height) + " " + format + " image"});
  }
  image.width = width;
  image.height = height;
  return {};
}

void premultiplyRow(std::uint8_t* bgra, int width) {
  for (int x = 0; x < width; ++x, bgra += 4) {
    const unsigned alpha = bgra[3];
    if (alpha == 255) continue;
    for (int c = 0; c < 3; ++c) {
      // Exact rounding of value * alpha / 255 for 8-bit operands.
      const unsigned t = bgra[c] * alpha + 128;
      bgra[c] = static_cast<std::uint8_t>((t + (t >> 8)) >> 8);
    }
  }
}

platform::Expected<void, ImageError> checkView(const BgraView& view, const char* format) {
  if (!view.pixels || view.width <= 0 || view.height <= 0) {
    return platform::unexpected(
        ImageError{ImageError::Kind::invalidArgument, std::string("cannot encode an empty image as ") + format});
  }
  if (view.bytesPerRow < static_cast<std::size_t>(view.width) * 4) {
    return platform::unexpected(ImageError{ImageError::Kind::invalidArgument,
                                           "rows of " + std::to_string(view.bytesPerRow) + " bytes are too short for " +
                                               std::to_string(view.width) + " BGRA pixels"});
  }
  return checkImageSize(static_cast<std::uint64_t>(view.width), static_cast<std::uint64_t>(view.height), format);
}

void fillMissingRows(Image& image, int firstRow) {
  for (int y = std::max(firstRow, 0); y < image.height; ++y) {
    std::uint8_t* row = image.pixel(0, y);
    for (int x = 0; x < image.width; ++x, row += 4) {
      row[0] = row[1] = row[2] = 0;
      row[3] = 255;
    }
  }
}

}  // namespace detail

}  // namespace platform::media
