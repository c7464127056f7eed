// PNG encoding with libpng from BGRA8 premultiplied rows: RGB when opaque, else RGBA
// with straight alpha; iCCP for the ICC profile, eXIf for an orientation other than up.
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>

#include "Platform/Media/Exif.h"
#include "Platform/Media/ImageCodecsPrivate.h"
#include "Platform/Media/ImageEncoder.h"
#include "Platform/Media/ImageFile.h"

namespace platform::media {

namespace {

struct PngEncoder {
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::jmp_buf jump;
  char message[200] = {};
  std::vector<std::uint8_t> output;
  std::vector<std::uint8_t> row;  // one straight-alpha row, for translucent images
  std::vector<std::uint8_t> exif;

  ~PngEncoder() {
    if (png) png_destroy_write_struct(&png, info ? &info : nullptr);
  }
};

void onError(png_structp png, png_const_charp message) {
  auto* encoder = static_cast<PngEncoder*>(png_get_error_ptr(png));
  std::snprintf(encoder->message, sizeof encoder->message, "%s", message);
  std::longjmp(encoder->jump, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onWrite(png_structp png, png_bytep data, png_size_t length) {
  auto* encoder = static_cast<PngEncoder*>(png_get_io_ptr(png));
  bool stored = true;
  try {
    encoder->output.insert(encoder->output.end(), data, data + length);
  } catch (const std::bad_alloc&) {
    stored = false;
  }
  if (!stored) png_error(png, "out of memory for the encoded PNG");  // outside the catch: it longjmps
}

void onFlush(png_structp) {}

bool isOpaque(const BgraView& view) {
  for (int y = 0; y < view.height; ++y) {
    const std::uint8_t* row = view.pixels + y * view.bytesPerRow;
    for (int x = 0; x < view.width; ++x) {
      if (row[x * 4 + 3] != 255) return false;
    }
  }
  return true;
}

void unpremultiplyRow(const std::uint8_t* in, std::uint8_t* out, int width) {
  for (int x = 0; x < width; ++x, in += 4, out += 4) {
    const unsigned alpha = in[3];
    for (int c = 0; c < 3; ++c) {
      out[c] = alpha == 0 ? 0 : static_cast<std::uint8_t>(std::min(255u, (in[c] * 255u + alpha / 2) / alpha));
    }
    out[3] = static_cast<std::uint8_t>(alpha);
  }
}

// Returns false after a libpng error, with the message in encoder->message. Holds no
// C++ objects across setjmp; the buffers live in the encoder.
bool compress(PngEncoder* encoder, const BgraView* view, bool opaque) {
  if (setjmp(encoder->jump)) return false;
  encoder->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, encoder, onError, onWarning);
  if (!encoder->png) {
    std::snprintf(encoder->message, sizeof encoder->message, "libpng cannot start");
    return false;
  }
  encoder->info = png_create_info_struct(encoder->png);
  if (!encoder->info) png_error(encoder->png, "libpng cannot start");
  png_structp png = encoder->png;
  png_infop info = encoder->info;
  // A profile libpng finds malformed is left out with a warning instead of failing.
  png_set_benign_errors(png, 1);
  png_set_write_fn(png, encoder, onWrite, onFlush);
  png_set_IHDR(png, info, static_cast<png_uint_32>(view->width), static_cast<png_uint_32>(view->height), 8,
               opaque ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!view->iccProfile.empty()) {
    png_set_iCCP(png, info, "ICC Profile", PNG_COMPRESSION_TYPE_BASE, view->iccProfile.data(),
                 static_cast<png_uint_32>(view->iccProfile.size()));
  }
  if (!encoder->exif.empty()) {
    png_set_eXIf_1(png, info, static_cast<png_uint_32>(encoder->exif.size()), encoder->exif.data());
  }
  png_write_info(png, info);
  png_set_bgr(png);
  if (opaque) png_set_filler(png, 0, PNG_FILLER_AFTER);  // drops the fourth byte
  for (int y = 0; y < view->height; ++y) {
    const std::uint8_t* row = view->pixels + y * view->bytesPerRow;
    if (!opaque) {
      unpremultiplyRow(row, encoder->row.data(), view->width);
      row = encoder->row.data();
    }
    png_write_row(png, row);
  }
  png_write_end(png, info);
  return true;
}

}  // namespace

EncodeResult encodePNG(const BgraView& pixels) {
  if (auto checked = detail::checkView(pixels, "PNG"); !checked) return platform::unexpected(checked.error());
  const bool opaque = isOpaque(pixels);
  PngEncoder encoder;
  try {
    if (!opaque) encoder.row.resize(static_cast<std::size_t>(pixels.width) * 4);
    if (pixels.orientation != ImageOrientation::up) {
      encoder.exif = makeExifOrientationBlock(exifOrientationNumber(pixels.orientation), false);
    }
  } catch (const std::bad_alloc&) {
    return detail::failure(ImageError::Kind::outOfMemory, "out of memory for a PNG row");
  }
  if (!compress(&encoder, &pixels, opaque)) {
    return detail::failure(ImageError::Kind::encodeFailed, std::string("PNG encoding failed: ") + encoder.message);
  }
  return std::move(encoder.output);
}

WriteResult writePNG(const BgraView& pixels, const std::filesystem::path& path, ExistingFile existing) {
  auto encoded = encodePNG(pixels);
  if (!encoded) return platform::unexpected(encoded.error());
  return writeFileAtomically(path, *encoded, existing);
}

}  // namespace platform::media
