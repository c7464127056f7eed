#pragma once
// Encoding of BGRA8 pixels to JPEG (libjpeg-turbo) and PNG (libpng), in memory or to a
// file. File writes are all or nothing (see ImageFile.h). Each call is independent and
// may run on any thread; photo export runs them on a global queue.
//
// JPEG:
// - quality is 0 to 1 and maps to libjpeg's 0 to 100 scale as round(quality * 100),
//   after clamping to [0, 1] (NaN counts as 0); libjpeg's floor of 1 applies, so 0 and
//   0.01 both give 1. The presets 0.65, 0.85, 0.95 give 65, 85, 95.
// - Chroma is subsampled 4:2:0 below libjpeg quality 90 and kept whole (4:4:4) from 90
//   up (the 0.95 preset is 4:4:4, 0.65 and 0.85 are 4:2:0), the rule libvips follows too.
// - JPEG has no alpha: the premultiplied colour is written, which is the picture laid
//   over black (opaque pixels are unchanged).
// - The file carries an APP1 EXIF block with the orientation tag (the raw orientation's
//   EXIF number; up is written as 1) and, when the image has one, the ICC profile in
//   APP2 segments, split over several when longer than 65519 bytes. An empty profile
//   writes none, which readers take as sRGB.
// PNG:
// - 8-bit RGB when every pixel is opaque, else 8-bit RGBA with the alpha
//   un-premultiplied (PNG stores straight alpha). The ICC profile goes into iCCP, an
//   orientation other than up into an eXIf chunk.
#include <cstdint>
#include <filesystem>
#include <vector>

#include "Platform/Base/Expected.h"
#include "Platform/Media/Image.h"
#include "Platform/Media/ImageFile.h"

namespace platform::media {

using EncodeResult = platform::Expected<std::vector<std::uint8_t>, ImageError>;
// The number of bytes written.
using WriteResult = platform::Expected<std::size_t, ImageError>;

// The libjpeg quality (1 to 100) used for a quality between 0 and 1.
int jpegQuality(double quality);

EncodeResult encodeJPEG(const BgraView& pixels, double quality);
inline EncodeResult encodeJPEG(const Image& image, double quality) { return encodeJPEG(image.view(), quality); }
WriteResult writeJPEG(const BgraView& pixels, const std::filesystem::path& path, double quality,
                      ExistingFile existing = ExistingFile::replace);
inline WriteResult writeJPEG(const Image& image, const std::filesystem::path& path, double quality,
                             ExistingFile existing = ExistingFile::replace) {
  return writeJPEG(image.view(), path, quality, existing);
}

EncodeResult encodePNG(const BgraView& pixels);
inline EncodeResult encodePNG(const Image& image) { return encodePNG(image.view()); }
WriteResult writePNG(const BgraView& pixels, const std::filesystem::path& path,
                     ExistingFile existing = ExistingFile::replace);
inline WriteResult writePNG(const Image& image, const std::filesystem::path& path,
                            ExistingFile existing = ExistingFile::replace) {
  return writePNG(image.view(), path, existing);
}

}  // namespace platform::media
