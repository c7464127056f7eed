// PNG decoding with libpng into BGRA8 premultiplied, with the iCCP profile and the
// orientation of an eXIf chunk.
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Platform/Media/Exif.h"
#include "Platform/Media/ImageCodecsPrivate.h"

namespace platform::media::detail {

namespace {

struct PngDecoder {
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::span<const std::uint8_t> bytes;
  std::size_t offset = 0;
  std::jmp_buf jump;
  char message[200] = {};

  // Filled by readHeader.
  png_uint_32 width = 0;
  png_uint_32 height = 0;
  bool interlaced = false;
  bool hasAlpha = false;

  ~PngDecoder() {
    if (png) png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
  }
};

void onError(png_structp png, png_const_charp message) {
  auto* decoder = static_cast<PngDecoder*>(png_get_error_ptr(png));
  std::snprintf(decoder->message, sizeof decoder->message, "%s", message);
  std::longjmp(decoder->jump, 1);
}

void onWarning(png_structp, png_const_charp) {}

// libpng believes a chunk's length and allocates it before reading the data, so a
// 57-byte file claiming a 2 GiB text chunk would cost 2 GiB. None of its own buffers
// for a picture within our limits comes near kMaxMetadataBytes (the rows are ours), so
// anything larger is refused: libpng then skips the chunk or stops with an error.
png_voidp allocate(png_structp, png_alloc_size_t size) {
  return size > kMaxMetadataBytes ? nullptr : std::malloc(size);
}

void release(png_structp, png_voidp memory) { std::free(memory); }

void onRead(png_structp png, png_bytep out, png_size_t length) {
  auto* decoder = static_cast<PngDecoder*>(png_get_io_ptr(png));
  if (decoder->bytes.size() - decoder->offset < length) png_error(png, "the file ends early (truncated)");
  std::memcpy(out, decoder->bytes.data() + decoder->offset, length);
  decoder->offset += length;
}

// The steps below return false after a libpng error, with the message in
// decoder->message. They hold no C++ objects across setjmp.

bool readHeader(PngDecoder* decoder) {
  if (setjmp(decoder->jump)) return false;
  decoder->png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, decoder, onError, onWarning, nullptr, allocate,
                                          release);
  if (!decoder->png) {
    std::snprintf(decoder->message, sizeof decoder->message, "libpng cannot start");
    return false;
  }
  decoder->info = png_create_info_struct(decoder->png);
  if (!decoder->info) png_error(decoder->png, "libpng cannot start");
  png_structp png = decoder->png;
  png_infop info = decoder->info;
  png_set_read_fn(png, decoder, onRead);
  // Our own limits decide what is too large, with their own error kind.
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  // What a compressed profile or text may inflate to, and how many text and unknown
  // chunks are kept.
  png_set_chunk_malloc_max(png, kMaxMetadataBytes);
  png_set_chunk_cache_max(png, 128);
  png_read_info(png, info);

  int bitDepth = 0, colorType = 0, interlace = 0;
  png_get_IHDR(png, info, &decoder->width, &decoder->height, &bitDepth, &colorType, &interlace, nullptr, nullptr);
  if (decoder->width == 0 || decoder->height == 0) return true;
  const std::uint64_t pixels = std::uint64_t{decoder->width} * decoder->height;
  if (decoder->width > kMaxImageSide || decoder->height > kMaxImageSide || pixels > kMaxImagePixels) {
    return true;  // refused by the caller; no transforms needed
  }

  decoder->hasAlpha = (colorType & PNG_COLOR_MASK_ALPHA) || png_get_valid(png, info, PNG_INFO_tRNS);
  decoder->interlaced = interlace != PNG_INTERLACE_NONE;
  png_set_expand(png);  // palette to RGB, grey below 8 bits to 8, tRNS to alpha
  png_set_scale_16(png);
  png_set_gray_to_rgb(png);
  png_set_bgr(png);
  if (!decoder->hasAlpha) png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
  if (decoder->interlaced) png_set_interlace_handling(png);
  png_read_update_info(png, info);
  if (png_get_rowbytes(png, info) != static_cast<png_size_t>(decoder->width) * 4) {
    png_error(png, "unexpected row layout");
  }
  return true;
}

void readMetadata(PngDecoder* decoder, Image* image) {
  png_charp name = nullptr;
  int compression = 0;
  png_bytep profile = nullptr;
  png_uint_32 profileLength = 0;
  // sRGB chunk or no chunk at all: sRGB, an empty label.
  if (png_get_iCCP(decoder->png, decoder->info, &name, &compression, &profile, &profileLength) && profile &&
      !png_get_valid(decoder->png, decoder->info, PNG_INFO_sRGB)) {
    image->iccProfile.assign(profile, profile + profileLength);
  }
  png_uint_32 exifLength = 0;
  png_bytep exif = nullptr;
  if (png_get_eXIf_1(decoder->png, decoder->info, &exifLength, &exif) && exif) {
    if (auto number = readExifOrientation({exif, exifLength})) image->orientation = orientationFromExif(*number);
  }
}

bool readRows(PngDecoder* decoder, Image* image, int* rowsDone) {
  if (setjmp(decoder->jump)) return false;
  png_structp png = decoder->png;
  if (decoder->interlaced) {
    // All passes write into the whole image: rows are only final at the end.
    for (int pass = png_set_interlace_handling(png); pass > 0; --pass) {
      for (int y = 0; y < image->height; ++y) png_read_row(png, image->pixel(0, y), nullptr);
    }
    *rowsDone = image->height;
    if (decoder->hasAlpha) {
      for (int y = 0; y < image->height; ++y) premultiplyRow(image->pixel(0, y), image->width);
    }
    return true;
  }
  for (int y = 0; y < image->height; ++y) {
    png_read_row(png, image->pixel(0, y), nullptr);
    if (decoder->hasAlpha) premultiplyRow(image->pixel(0, y), image->width);
    *rowsDone = y + 1;
  }
  return true;
}

// Chunks after the image data (an eXIf may sit there). A failure here costs nothing
// of the picture, so it is not an error.
void readEnd(PngDecoder* decoder, Image* image) {
  if (setjmp(decoder->jump)) return;
  png_read_end(decoder->png, decoder->info);
  if (image->orientation == ImageOrientation::up) readMetadata(decoder, image);
}

}  // namespace

DecodeResult decodePng(std::span<const std::uint8_t> bytes) {
  PngDecoder decoder;
  decoder.bytes = bytes;
  if (!readHeader(&decoder)) {
    return failure(ImageError::Kind::corrupt, std::string("PNG header cannot be read: ") + decoder.message);
  }
  Image image;
  // PNG sizes are at most 2^31 - 1, so they fit an int.
  if (auto allocated = allocatePixels(image, static_cast<int>(decoder.width), static_cast<int>(decoder.height), "PNG");
      !allocated) {
    return platform::unexpected(allocated.error());
  }
  readMetadata(&decoder, &image);

  int rowsDone = 0;
  if (!readRows(&decoder, &image, &rowsDone)) {
    // An interlaced image has no finished rows until the last pass.
    if (decoder.interlaced || rowsDone == 0) {
      return failure(ImageError::Kind::corrupt, std::string("PNG image data cannot be decoded: ") + decoder.message);
    }
    fillMissingRows(image, rowsDone);
    return image;
  }
  readEnd(&decoder, &image);
  return image;
}

}  // namespace platform::media::detail
