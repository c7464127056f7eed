#pragma once
// What the media picker delivers: a decoded photo or the local file of a video; or why
// it delivered nothing.
#include <optional>
#include <string>

#include "Halvane/Import/MediaContent.h"

namespace halvane {

using MediaPickerResult = MediaContent;

struct MediaPickerError {
  enum class Kind { loadFailed, cancelled, unsupportedType };
  Kind kind = Kind::loadFailed;
  // For loadFailed: the underlying error's description, when there is one.
  std::optional<std::string> underlying;

  // "Failed to load media", plus ": " and the underlying description when known.
  std::string localizedDescription() const;
};

}  // namespace halvane
