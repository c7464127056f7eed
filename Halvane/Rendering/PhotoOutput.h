#pragma once
// The last steps of a photo export: the preset's size limit and the JPEG file.
// Pure functions, called from a global queue (writeJPEG) or the main thread.
#include <optional>
#include <string>

#include "Halvane/Model/ExportPresets.h"
#include "Platform/Base/Expected.h"
#include "Platform/Media/Image.h"
#include "Platform/Media/ImageEncoder.h"

namespace halvane {

struct PhotoPresetSettings {
  uint32_t longestSide;  // 0: as rendered
  double jpegQuality;
};

PhotoPresetSettings photoPresetSettings(PhotoExportPreset preset);

// `compressed` brings the longest side down to 2048; an image is never enlarged and
// the other presets keep it as it is. The result carries `orientation`.
platform::media::Image limitedImage(const platform::media::Image& image, platform::media::ImageOrientation orientation,
                                    PhotoExportPreset preset);

// Writes the image as a JPEG with the preset's quality and the image's orientation as
// its EXIF tag, to a fresh file in the temporary folder, and returns its path. Nothing
// is left behind when writing fails.
platform::Expected<std::string, platform::media::ImageError> writeJPEG(const platform::media::Image& image,
                                                                       PhotoExportPreset preset);

// The same to a chosen path (the file appears only once complete, replacing one that
// stood there).
platform::media::WriteResult writeJPEGFile(const platform::media::Image& image, PhotoExportPreset preset,
                                           const std::string& path);

// The file types a photo can be written as, by the path's extension (".jpg", ".jpeg",
// ".png", in any case); none for another extension.
enum class PhotoFileType { jpeg, png };
std::optional<PhotoFileType> photoFileTypeForPath(const std::string& path);

// Writes the image as `type` (JPEG at the preset's quality, or lossless PNG), with its
// orientation. An existing file is replaced or kept as `existing` says; a kept file
// makes the write fail. An empty image is an invalidArgument error.
platform::media::WriteResult writePhotoFile(const platform::media::Image& image, PhotoExportPreset preset,
                                            const std::string& path, PhotoFileType type,
                                            platform::media::ExistingFile existing);

}  // namespace halvane
