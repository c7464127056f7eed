#pragma once
// A photo as a decoded image, or a video as the path of a local file: what the picker
// delivers, what an editing session works on, and what the editor hands back.
#include <filesystem>
#include <variant>

#include "Platform/Media/Image.h"

namespace halvane {

using MediaContent = std::variant<platform::media::Image, std::filesystem::path>;

}  // namespace halvane
