// JPEG encoding with libjpeg-turbo from BGRA8 rows as they are (no copy), with an APP1
// EXIF orientation block and the ICC profile in APP2 segments.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "Platform/Media/Exif.h"
#include "Platform/Media/ImageCodecsPrivate.h"
#include "Platform/Media/ImageEncoder.h"
#include "Platform/Media/ImageFile.h"
#include "Platform/Media/JpegErrorManager.h"

namespace platform::media {

namespace {

struct JpegEncoder {
  jpeg_compress_struct info{};
  detail::JpegErrorManager errors{};
  bool created = false;
  // Filled by libjpeg's memory destination, released with free().
  unsigned char* output = nullptr;
  unsigned long outputSize = 0;

  ~JpegEncoder() {
    if (created) jpeg_destroy_compress(&info);
    std::free(output);
  }
};

// Returns false after a libjpeg error, with the message in encoder->errors. Holds no
// C++ objects across setjmp.
bool compress(JpegEncoder* encoder, const BgraView* view, int quality, const std::vector<std::uint8_t>* exif) {
  encoder->errors.attach(reinterpret_cast<jpeg_common_struct*>(&encoder->info));
  if (setjmp(encoder->errors.jump)) return false;
  jpeg_compress_struct& info = encoder->info;
  jpeg_create_compress(&info);
  encoder->created = true;
  jpeg_mem_dest(&info, &encoder->output, &encoder->outputSize);

  info.image_width = static_cast<JDIMENSION>(view->width);
  info.image_height = static_cast<JDIMENSION>(view->height);
  info.input_components = 4;
  info.in_color_space = JCS_EXT_BGRX;  // alpha is skipped: premultiplied colour is over black
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, quality, TRUE);
  if (quality >= 90) {
    for (int c = 0; c < info.num_components; ++c) {
      info.comp_info[c].h_samp_factor = 1;
      info.comp_info[c].v_samp_factor = 1;
    }
  }
  jpeg_start_compress(&info, TRUE);
  jpeg_write_marker(&info, JPEG_APP0 + 1, exif->data(), static_cast<unsigned int>(exif->size()));
  if (!view->iccProfile.empty()) {
    jpeg_write_icc_profile(&info, view->iccProfile.data(), static_cast<unsigned int>(view->iccProfile.size()));
  }
  while (info.next_scanline < info.image_height) {
    JSAMPROW rows[16];
    const JDIMENSION first = info.next_scanline;
    const JDIMENSION count = std::min<JDIMENSION>(16, info.image_height - first);
    for (JDIMENSION i = 0; i < count; ++i) {
      rows[i] = const_cast<JSAMPROW>(view->pixels + (first + i) * view->bytesPerRow);
    }
    jpeg_write_scanlines(&info, rows, count);
  }
  jpeg_finish_compress(&info);
  return true;
}

}  // namespace

int jpegQuality(double quality) {
  const double unit = quality >= 0 ? std::min(quality, 1.0) : 0.0;  // NaN fails >= and gives 0
  return std::max(1, static_cast<int>(std::lround(unit * 100)));
}

EncodeResult encodeJPEG(const BgraView& pixels, double quality) {
  if (auto checked = detail::checkView(pixels, "JPEG"); !checked) return platform::unexpected(checked.error());
  // Beyond one APP2 chain of 255 segments libjpeg cannot label the picture.
  if (pixels.iccProfile.size() > 255u * 65519u) {
    return detail::failure(ImageError::Kind::invalidArgument, "ICC profile too long for a JPEG file");
  }
  const auto exif = makeExifOrientationBlock(exifOrientationNumber(pixels.orientation), true);
  JpegEncoder encoder;
  if (!compress(&encoder, &pixels, jpegQuality(quality), &exif)) {
    return detail::failure(ImageError::Kind::encodeFailed, std::string("JPEG encoding failed: ") + encoder.errors.message);
  }
  try {
    return std::vector<std::uint8_t>(encoder.output, encoder.output + encoder.outputSize);
  } catch (const std::bad_alloc&) {
    return detail::failure(ImageError::Kind::outOfMemory, "out of memory for the encoded JPEG");
  }
}

WriteResult writeJPEG(const BgraView& pixels, const std::filesystem::path& path, double quality,
                      ExistingFile existing) {
  auto encoded = encodeJPEG(pixels, quality);
  if (!encoded) return platform::unexpected(encoded.error());
  return writeFileAtomically(path, *encoded, existing);
}

}  // namespace platform::media
