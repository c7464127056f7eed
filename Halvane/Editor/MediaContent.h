#pragma once
// What an editing session works on, and what it hands back: a photo as a decoded image,
// or a video as the path of a local file.
#include <filesystem>
#include <variant>

#include "Platform/Media/Image.h"

namespace halvane {

using MediaContent = std::variant<platform::media::Image, std::filesystem::path>;
using HalvaneExportResult = std::variant<platform::media::Image, std::filesystem::path>;

}  // namespace halvane
