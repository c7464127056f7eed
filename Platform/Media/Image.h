#pragma once
// A decoded still image as the rest of the system sees it: BGRA8, top-left origin,
// tightly packed rows, premultiplied alpha, plus the two labels that travel with the
// pixels (orientation and colour space). A plain value: copy it, move it, hand it to
// any thread. Nothing here touches a codec library.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace platform::media {

// The raw orientation numbers used throughout the engine. They are not the EXIF
// numbers: use orientationFromExif and exifOrientationNumber to cross over.
enum class ImageOrientation : std::uint8_t {
  up = 0,
  down = 1,
  left = 2,
  right = 3,
  upMirrored = 4,
  downMirrored = 5,
  leftMirrored = 6,
  rightMirrored = 7,
};

// EXIF orientation number (1 to 8) to the raw orientation. Anything else, including
// the 0 that some writers store, is up.
ImageOrientation orientationFromExif(int exifNumber);
// Raw orientation to its EXIF number; a raw value out of range gives 1 (up).
int exifOrientationNumber(ImageOrientation orientation);

// Size limits applied to every decode before any pixel memory is allocated, so that a
// header claiming a huge size costs nothing. 16384 is the largest side a texture of the
// GPU layer can take on the devices we run on (lavapipe included); the pixel limit
// (128 Mi pixels, 512 MiB as BGRA8) still admits a 16384 x 8192 panorama and any
// camera photo, while keeping one decode well inside a desktop's memory.
inline constexpr int kMaxImageSide = 16384;
inline constexpr std::uint64_t kMaxImagePixels = std::uint64_t{1} << 27;
// Files larger than this are not read into memory for decoding: the largest picture
// stored as plainly as any of our formats allows (16-bit RGBA, no compression, 8 bytes
// a pixel), plus 1/64 for the framing around it (row filters, chunks, deflate blocks).
inline constexpr std::uint64_t kMaxImageFileBytes = kMaxImagePixels * 8 + kMaxImagePixels * 8 / 64;

struct ImageError {
  enum class Kind {
    fileNotFound,       // the path names nothing
    unreadable,         // it exists but cannot be read (permissions, a folder, I/O error)
    unsupportedFormat,  // not JPEG, PNG, HEIF or WebP, or empty
    corrupt,            // the format is known but the data cannot be decoded
    tooLarge,           // the image exceeds kMaxImageSide or kMaxImagePixels
    outOfMemory,        // an allocation failed
    invalidArgument,    // a caller's value is unusable (empty image, bad row length)
    encodeFailed,       // the encoder library gave up on the pixels
    writeFailed,        // the encoded file could not be written; nothing was left behind
  };
  Kind kind;
  std::string message;
};

const char* toString(ImageError::Kind kind);

// A borrowed view of BGRA8 pixels with its labels, for encoders that take pixels from
// elsewhere (a GPU read-back with padded rows, say). Valid while the owner lives.
struct BgraView {
  const std::uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  std::size_t bytesPerRow = 0;
  ImageOrientation orientation = ImageOrientation::up;
  std::span<const std::uint8_t> iccProfile;
};

struct Image {
  int width = 0;
  int height = 0;
  // width * height * 4 bytes: B, G, R, A per pixel, rows top to bottom, alpha
  // premultiplied (an opaque photo has alpha 255 everywhere).
  std::vector<std::uint8_t> pixels;
  ImageOrientation orientation = ImageOrientation::up;
  // The colour-space label: the ICC profile's bytes as found in the file. Empty means
  // sRGB. The pixels are never converted; the label travels to the output.
  std::vector<std::uint8_t> iccProfile;

  std::size_t bytesPerRow() const { return static_cast<std::size_t>(width) * 4; }
  bool isEmpty() const { return width <= 0 || height <= 0; }
  const std::uint8_t* pixel(int x, int y) const { return pixels.data() + y * bytesPerRow() + x * 4; }
  std::uint8_t* pixel(int x, int y) { return pixels.data() + y * bytesPerRow() + x * 4; }
  BgraView view() const {
    return BgraView{pixels.data(), width, height, bytesPerRow(), orientation, iccProfile};
  }
};

}  // namespace platform::media
