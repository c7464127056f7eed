#include "Platform/Media/Image.h"

#include <array>

namespace platform::media {

namespace {
// Index: raw orientation; value: EXIF number. Inverse is found by search.
constexpr std::array<int, 8> kExifNumbers = {1, 3, 8, 6, 2, 4, 5, 7};
}  // namespace

ImageOrientation orientationFromExif(int exifNumber) {
  for (std::size_t raw = 0; raw < kExifNumbers.size(); ++raw) {
    if (kExifNumbers[raw] == exifNumber) return static_cast<ImageOrientation>(raw);
  }
  return ImageOrientation::up;
}

int exifOrientationNumber(ImageOrientation orientation) {
  const auto raw = static_cast<std::size_t>(orientation);
  return raw < kExifNumbers.size() ? kExifNumbers[raw] : 1;
}

const char* toString(ImageError::Kind kind) {
  switch (kind) {
    case ImageError::Kind::fileNotFound: return "file not found";
    case ImageError::Kind::unreadable: return "unreadable";
    case ImageError::Kind::unsupportedFormat: return "unsupported format";
    case ImageError::Kind::corrupt: return "corrupt";
    case ImageError::Kind::tooLarge: return "too large";
    case ImageError::Kind::outOfMemory: return "out of memory";
    case ImageError::Kind::invalidArgument: return "invalid argument";
    case ImageError::Kind::encodeFailed: return "encode failed";
    case ImageError::Kind::writeFailed: return "write failed";
  }
  return "unknown";
}

}  // namespace platform::media
