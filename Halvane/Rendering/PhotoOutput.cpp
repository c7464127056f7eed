#include "Halvane/Rendering/PhotoOutput.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <random>

#include "Platform/Media/ImageScale.h"

namespace halvane {

using platform::media::Image;
using platform::media::ImageError;

namespace {

constexpr uint32_t kCompressedLongestSide = 2048;

std::string freshFileName() {
  // A random version-4 UUID, so that concurrent exports never share a file.
  std::random_device device;
  std::mt19937_64 generator((uint64_t(device()) << 32) ^ device());
  uint64_t high = generator(), low = generator();
  high = (high & ~0xF000ull) | 0x4000ull;
  low = (low & ~(0xC0ull << 56)) | (0x80ull << 56);
  char text[37];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%012llX", unsigned(high >> 32), unsigned((high >> 16) & 0xFFFF),
                unsigned(high & 0xFFFF), unsigned(low >> 48), static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFull));
  return text;
}

}  // namespace

PhotoPresetSettings photoPresetSettings(PhotoExportPreset preset) {
  switch (preset) {
    case PhotoExportPreset::compressed: return {kCompressedLongestSide, 0.65};
    case PhotoExportPreset::balanced: return {0, 0.85};
    case PhotoExportPreset::maxQuality: return {0, 0.95};
  }
  return {0, 0.95};
}

Image limitedImage(const Image& image, platform::media::ImageOrientation orientation, PhotoExportPreset preset) {
  const uint32_t limit = photoPresetSettings(preset).longestSide;
  const int longest = std::max(image.width, image.height);
  if (limit == 0 || longest <= int(limit)) {
    Image wrapped = image;
    wrapped.orientation = orientation;
    return wrapped;
  }
  const double scale = double(limit) / double(longest);
  const int width = std::max(1, int(std::lround(double(image.width) * scale)));
  const int height = std::max(1, int(std::lround(double(image.height) * scale)));
  Image scaled = platform::media::scaleImage(image, width, height);
  if (scaled.isEmpty()) {
    Image wrapped = image;
    wrapped.orientation = orientation;
    return wrapped;
  }
  scaled.orientation = orientation;
  scaled.iccProfile = image.iccProfile;
  return scaled;
}

platform::media::WriteResult writeJPEGFile(const Image& image, PhotoExportPreset preset, const std::string& path) {
  return writePhotoFile(image, preset, path, PhotoFileType::jpeg, platform::media::ExistingFile::replace);
}

std::optional<PhotoFileType> photoFileTypeForPath(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  if (extension == ".jpg" || extension == ".jpeg") return PhotoFileType::jpeg;
  if (extension == ".png") return PhotoFileType::png;
  return std::nullopt;
}

platform::media::WriteResult writePhotoFile(const Image& image, PhotoExportPreset preset, const std::string& path,
                                            PhotoFileType type, platform::media::ExistingFile existing) {
  if (image.isEmpty())
    return platform::unexpected(ImageError{ImageError::Kind::invalidArgument, "there is no picture to write"});
  return type == PhotoFileType::png
             ? platform::media::writePNG(image, path, existing)
             : platform::media::writeJPEG(image, path, photoPresetSettings(preset).jpegQuality, existing);
}

platform::Expected<std::string, ImageError> writeJPEG(const Image& image, PhotoExportPreset preset) {
  std::error_code error;
  const auto folder = std::filesystem::temp_directory_path(error);
  if (error)
    return platform::unexpected(ImageError{ImageError::Kind::writeFailed, "no temporary folder: " + error.message()});
  const auto path = (folder / (freshFileName() + ".jpg")).string();
  if (auto written = writeJPEGFile(image, preset, path); !written) return platform::unexpected(written.error());
  return path;
}

}  // namespace halvane
