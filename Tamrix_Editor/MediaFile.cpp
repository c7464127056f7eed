#include "MediaFile.h"

#include <array>
#include <fstream>

#include "Platform/Media/ImageDecoder.h"

namespace tamrix {

halvane::MediaContent mediaContentForFile(const std::filesystem::path& path) {
  namespace media = platform::media;
  std::array<std::uint8_t, 64> head{};
  std::ifstream file(path, std::ios::binary);
  file.read(reinterpret_cast<char*>(head.data()), head.size());
  const auto format = media::sniffImageFormat(std::span(head.data(), size_t(file.gcount())));
  if (format == media::ImageFormat::unknown) return path;
  auto decoded = media::decodeImageFile(path);
  if (!decoded) return media::Image{};
  return std::move(decoded.value());
}

}  // namespace tamrix
