#pragma once
// Lets the user choose one photo or video and delivers it decoded or as a local file.
// The container owns one for the life of the application; main thread only. The
// pickers themselves (system file chooser, the limited library grid) belong to the
// desktop shell and attach here; this type holds the request and the file it hands on.
#include <filesystem>
#include <optional>
#include <utility>

#include "Halvane/Import/MediaPickerResult.h"

namespace halvane {

class MediaPickerService {
 public:
  // The temporary file of the last picked photo. Its consumer takes it over by reading
  // it and clearing it, without deleting the file.
  const std::optional<std::filesystem::path>& lastPickedImageFileURL() const { return _lastPickedImageFileURL; }
  std::optional<std::filesystem::path> takeLastPickedImageFileURL() { return std::exchange(_lastPickedImageFileURL, {}); }

 private:
  std::optional<std::filesystem::path> _lastPickedImageFileURL;
};

}  // namespace halvane
