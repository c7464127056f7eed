// HEIF/HEIC decoding with libheif. libheif applies the transform properties (rotation,
// mirror, crop) while decoding, so the pixels come out upright and the orientation is
// reported as up; the EXIF orientation a HEIF also carries is deliberately not read.
#include <libheif/heif.h>

#include <algorithm>
#include <memory>
#include <mutex>

#include "Platform/Media/ImageCodecsPrivate.h"

namespace platform::media::detail {

namespace {

struct HeifDeleter {
  void operator()(heif_context* context) const { heif_context_free(context); }
  void operator()(const heif_image_handle* handle) const { heif_image_handle_release(handle); }
  void operator()(heif_image* image) const { heif_image_release(image); }
  void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
};
template <typename T>
using HeifPointer = std::unique_ptr<T, HeifDeleter>;

// Once per process, never undone: decoders run until exit.
void initialiseLibheif() {
  static std::once_flag once;
  std::call_once(once, [] { heif_init(nullptr); });
}

platform::Unexpected<ImageError> heifFailure(const heif_error& error, const char* what) {
  auto kind = ImageError::Kind::corrupt;
  if (error.subcode == heif_suberror_Security_limit_exceeded) {
    kind = ImageError::Kind::tooLarge;
  } else if (error.code == heif_error_Memory_allocation_error) {
    kind = ImageError::Kind::outOfMemory;
  } else if (error.code == heif_error_Unsupported_filetype || error.code == heif_error_Unsupported_feature) {
    kind = ImageError::Kind::unsupportedFormat;
  }
  return failure(kind, std::string("HEIF ") + what + ": " + (error.message ? error.message : "unknown error"));
}

}  // namespace

DecodeResult decodeHeif(std::span<const std::uint8_t> bytes) {
  initialiseLibheif();
  HeifPointer<heif_context> context(heif_context_alloc());
  if (!context) return failure(ImageError::Kind::outOfMemory, "HEIF decoder cannot start");
  // libheif's own guard, one above ours so that our check decides the edge case.
  heif_context_set_maximum_image_size_limit(context.get(), kMaxImageSide + 1);

  heif_error error = heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(), nullptr);
  if (error.code != heif_error_Ok) return heifFailure(error, "file cannot be read");
  heif_image_handle* rawHandle = nullptr;
  error = heif_context_get_primary_image_handle(context.get(), &rawHandle);
  if (error.code != heif_error_Ok) return heifFailure(error, "file has no primary image");
  HeifPointer<const heif_image_handle> handle(rawHandle);

  // A quarter turn swaps the sides but keeps the pixel count, which is what the limit
  // is about; the final size is checked again below.
  if (auto sized =
          checkImageSize(static_cast<std::uint64_t>(std::max(heif_image_handle_get_width(rawHandle), 0)),
                         static_cast<std::uint64_t>(std::max(heif_image_handle_get_height(rawHandle), 0)), "HEIF");
      !sized) {
    return platform::unexpected(sized.error());
  }

  const bool hasAlpha = heif_image_handle_has_alpha_channel(rawHandle) != 0;
  HeifPointer<heif_decoding_options> options(heif_decoding_options_alloc());
  options->ignore_transformations = 0;
  options->convert_hdr_to_8bit = 1;
  heif_image* rawImage = nullptr;
  error = heif_decode_image(rawHandle, &rawImage, heif_colorspace_RGB,
                            hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, options.get());
  if (error.code != heif_error_Ok) return heifFailure(error, "image cannot be decoded");
  HeifPointer<heif_image> decoded(rawImage);

  int stride = 0;
  const std::uint8_t* plane = heif_image_get_plane_readonly(rawImage, heif_channel_interleaved, &stride);
  const int width = heif_image_get_width(rawImage, heif_channel_interleaved);
  const int height = heif_image_get_height(rawImage, heif_channel_interleaved);
  if (!plane || heif_image_get_bits_per_pixel_range(rawImage, heif_channel_interleaved) != 8) {
    return failure(ImageError::Kind::corrupt, "HEIF decoder gave no 8-bit RGB image");
  }
  Image image;
  if (auto allocated = allocatePixels(image, width, height, "HEIF"); !allocated) {
    return platform::unexpected(allocated.error());
  }
  const int channels = hasAlpha ? 4 : 3;
  const bool needsPremultiply = hasAlpha && !heif_image_handle_is_premultiplied_alpha(rawHandle);
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* in = plane + static_cast<std::size_t>(y) * static_cast<std::size_t>(stride);
    std::uint8_t* out = image.pixel(0, y);
    for (int x = 0; x < width; ++x, in += channels, out += 4) {
      out[0] = in[2];
      out[1] = in[1];
      out[2] = in[0];
      out[3] = hasAlpha ? in[3] : 255;
    }
    if (needsPremultiply) premultiplyRow(image.pixel(0, y), width);
  }

  if (const std::size_t size = heif_image_handle_get_raw_color_profile_size(rawHandle); size > 0) {
    image.iccProfile.resize(size);
    if (heif_image_handle_get_raw_color_profile(rawHandle, image.iccProfile.data()).code != heif_error_Ok) {
      image.iccProfile.clear();
    }
  }
  image.orientation = ImageOrientation::up;
  return image;
}

}  // namespace platform::media::detail
