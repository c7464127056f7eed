#pragma once
// A photo made ready for the pipeline as the editor makes it: decoded, uploaded, and
// turned upright once, so that edits apply to the picture as the user sees it.
#include <memory>
#include <string>
#include <vector>

#include "Halvane/Rendering/RenderingEngine.h"

namespace halvane::cli {

struct PhotoSource {
  std::shared_ptr<platform::gpu::Texture> texture;
  std::vector<uint8_t> colorSpace;
};

// Throws CommandError with the decoder's message when the file cannot be used.
PhotoSource loadPhotoSource(RenderingEngine& engine, const std::string& path);

}  // namespace halvane::cli
