// JPEG decoding with libjpeg-turbo straight into BGRA8, with the EXIF orientation of
// the APP1 segment and the ICC profile of the APP2 segments.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Platform/Media/Exif.h"
#include "Platform/Media/ImageCodecsPrivate.h"
#include "Platform/Media/JpegErrorManager.h"

#include <jerror.h>

namespace platform::media::detail {

namespace {

constexpr std::uint8_t kExifIdentifier[6] = {'E', 'x', 'i', 'f', 0, 0};

// A progressive file may split its data into any number of scans, each a pass over
// the whole picture: thousands of tiny scans make a small file decode for minutes.
// Real encoders write about ten; beyond this many the file is refused.
constexpr int kMaxScans = 500;

// Working memory of libjpeg beside our pixels. The largest user is the coefficient
// buffer of a progressive or multi-scan file, 2 bytes per coefficient of every
// component at full resolution at worst; the rest is a few rows of each component.
constexpr long kWorkingBytesPerPixelAndComponent = 2;
constexpr long kWorkingBytesBeside = 32L << 20;

struct JpegDecoder {
  jpeg_decompress_struct info{};
  JpegErrorManager errors{};
  jpeg_progress_mgr progress{};
  bool created = false;

  ~JpegDecoder() {
    if (created) jpeg_destroy_decompress(&info);
  }
};

// Each step below returns false after a libjpeg error, with the message in
// decoder->errors. They hold no C++ objects across setjmp.

// libjpeg calls this once per row of blocks while it reads scans.
void limitScans(j_common_ptr owner) {
  const auto* info = reinterpret_cast<j_decompress_ptr>(owner);
  if (info->input_scan_number <= kMaxScans) return;
  auto* errors = reinterpret_cast<JpegErrorManager*>(owner->err);
  std::snprintf(errors->message, sizeof errors->message, "more than %d scans", kMaxScans);
  std::longjmp(errors->jump, 1);
}

bool readHeader(JpegDecoder* decoder, std::span<const std::uint8_t> bytes) {
  decoder->errors.attach(reinterpret_cast<jpeg_common_struct*>(&decoder->info));
  if (setjmp(decoder->errors.jump)) return false;
  jpeg_create_decompress(&decoder->info);
  decoder->created = true;
  decoder->progress.progress_monitor = limitScans;
  decoder->info.progress = &decoder->progress;
  jpeg_mem_src(&decoder->info, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_save_markers(&decoder->info, JPEG_APP0 + 1, 0xFFFF);  // EXIF
  jpeg_save_markers(&decoder->info, JPEG_APP0 + 2, 0xFFFF);  // ICC profile
  jpeg_read_header(&decoder->info, TRUE);
  // With no backing store, a file that would need more fails instead of allocating it.
  decoder->info.mem->max_memory_to_use =
      static_cast<long>(decoder->info.image_width) * static_cast<long>(decoder->info.image_height) *
          decoder->info.num_components * kWorkingBytesPerPixelAndComponent +
      kWorkingBytesBeside;
  return true;
}

// CMYK and YCCK files come out as CMYK (libjpeg-turbo has no CMYK to RGB); the
// conversion to BGRA is ours. Adobe's writers store the inks inverted.
void cmykRowToBgra(std::uint8_t* row, int width, bool inverted) {
  for (int x = 0; x < width; ++x, row += 4) {
    unsigned c = row[0], m = row[1], y = row[2], k = row[3];
    if (!inverted) {
      c = 255 - c, m = 255 - m, y = 255 - y, k = 255 - k;
    }
    const auto channel = [k](unsigned ink) { return static_cast<std::uint8_t>((ink * k + 127) / 255); };
    row[0] = channel(y);
    row[1] = channel(m);
    row[2] = channel(c);
    row[3] = 255;
  }
}

// Decodes the scanlines into image; *rowsDone counts the rows delivered, so that a
// failure part way can still show what came before it.
bool readPixels(JpegDecoder* decoder, Image* image, int* rowsDone) {
  if (setjmp(decoder->errors.jump)) return false;
  jpeg_decompress_struct& info = decoder->info;
  const bool cmyk = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
  info.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_BGRA;
  jpeg_start_decompress(&info);
  if (info.output_width != static_cast<JDIMENSION>(image->width) ||
      info.output_height != static_cast<JDIMENSION>(image->height) || info.output_components != 4) {
    std::snprintf(decoder->errors.message, sizeof decoder->errors.message, "unexpected output layout");
    return false;
  }
  while (info.output_scanline < info.output_height) {
    JSAMPROW rows[8];
    const int first = static_cast<int>(info.output_scanline);
    const int count = std::min<int>(8, image->height - first);
    for (int i = 0; i < count; ++i) rows[i] = image->pixel(0, first + i);
    const int got = static_cast<int>(jpeg_read_scanlines(&info, rows, static_cast<JDIMENSION>(count)));
    if (cmyk) {
      for (int i = 0; i < got; ++i) cmykRowToBgra(rows[i], image->width, info.saw_Adobe_marker);
    }
    *rowsDone = first + got;
  }
  jpeg_finish_decompress(&info);
  return true;
}

void readMetadata(JpegDecoder* decoder, Image* image) {
  for (jpeg_saved_marker_ptr marker = decoder->info.marker_list; marker; marker = marker->next) {
    if (marker->marker != JPEG_APP0 + 1 || marker->data_length < sizeof kExifIdentifier ||
        std::memcmp(marker->data, kExifIdentifier, sizeof kExifIdentifier) != 0) {
      continue;
    }
    if (auto number = readExifOrientation({marker->data, marker->data_length})) {
      image->orientation = orientationFromExif(*number);
    }
    break;
  }
  // jpeg_read_icc_profile reassembles the APP2 chain; a broken chain is only a
  // warning and gives no profile, which means sRGB.
  JOCTET* profile = nullptr;
  unsigned int length = 0;
  if (setjmp(decoder->errors.jump)) return;
  if (jpeg_read_icc_profile(&decoder->info, &profile, &length) && profile) {
    image->iccProfile.assign(profile, profile + length);
  }
  std::free(profile);
}

// libjpeg's own allocations can fail too; everything else it stops on is the data.
ImageError::Kind errorKind(const JpegDecoder& decoder) {
  return decoder.errors.manager.msg_code == JERR_OUT_OF_MEMORY ? ImageError::Kind::outOfMemory
                                                                : ImageError::Kind::corrupt;
}

}  // namespace

DecodeResult decodeJpeg(std::span<const std::uint8_t> bytes) {
  JpegDecoder decoder;
  if (!readHeader(&decoder, bytes)) {
    return failure(errorKind(decoder), std::string("JPEG header cannot be read: ") + decoder.errors.message);
  }
  Image image;
  // A JPEG side is at most 65535, so the sizes fit an int.
  if (auto allocated = allocatePixels(image, static_cast<int>(decoder.info.image_width),
                                      static_cast<int>(decoder.info.image_height), "JPEG");
      !allocated) {
    return platform::unexpected(allocated.error());
  }
  readMetadata(&decoder, &image);

  int rowsDone = 0;
  if (!readPixels(&decoder, &image, &rowsDone)) {
    if (rowsDone == 0) {
      return failure(errorKind(decoder), std::string("JPEG data cannot be decoded: ") + decoder.errors.message);
    }
    fillMissingRows(image, rowsDone);
  }
  return image;
}

}  // namespace platform::media::detail
