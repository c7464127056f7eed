#pragma once
// What the share sheet offers: one picture in memory or one file, and
// the name of the source it came from, from which the sheet suggests a file name.
#include <filesystem>
#include <string>
#include <variant>

#include "Platform/Base/Expected.h"
#include "Platform/Media/AssetTypes.h"
#include "Platform/Media/Image.h"

namespace halvane::editor {

struct ShareOffer {
  std::variant<platform::media::Image, std::filesystem::path> payload;
  // The source's file name ("train.mov"); empty when it had none.
  std::string sourceName;
  bool isPhoto = true;
};

// "<source stem>-edited.<ext>", where ext is the item file's extension, or "jpg" for a
// picture in memory; "photo" or "video" stands in for a missing stem.
std::string suggestedFileName(const ShareOffer& offer);

// Copies `from` to `to` through a temporary file beside `to`, renamed over it only once
// complete, so a failure leaves neither a partial file nor a changed target.
platform::Expected<void, platform::media::MediaError> copyFileAtomically(const std::filesystem::path& from,
                                                                         const std::filesystem::path& to);

}  // namespace halvane::editor
