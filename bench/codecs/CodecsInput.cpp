#include "CodecsInput.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageEncoder.h"

namespace codecs_bench {

std::optional<Input> loadInput() {
  const char* override = std::getenv("HALVANE_MEDIA_DIR");
  const std::filesystem::path media = override ? override : HALVANE_MEDIA_DIR;
  const auto path = media / "photo" / "classic-car.heic";
  auto photo = platform::media::decodeImageFile(path);
  if (!photo) {
    std::fprintf(stderr, "%s\n", photo.error().message.c_str());
    return std::nullopt;
  }
  auto jpeg = platform::media::encodeJPEG(*photo, 0.9);
  if (!jpeg) {
    std::fprintf(stderr, "%s\n", jpeg.error().message.c_str());
    return std::nullopt;
  }
  return Input{std::move(photo).value(), std::move(*jpeg)};
}

}  // namespace codecs_bench
