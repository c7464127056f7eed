#pragma once
// What the editor makes of a file it is asked to open: a photo when its first bytes
// name a picture format the decoders know, decoded here; any other file is handed on
// as a video, for the player to accept or refuse. A picture that cannot be decoded
// becomes an empty one, which the session refuses with its load alert.
#include <filesystem>

#include "Halvane/Import/MediaContent.h"

namespace tamrix {

halvane::MediaContent mediaContentForFile(const std::filesystem::path& path);

}  // namespace tamrix
