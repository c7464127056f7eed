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
  int rawOrientation = 0;  // how the texture is stored; 0 (up) once turned upright
};

// Throws CommandError with the decoder's message when the file cannot be used.
PhotoSource loadPhotoSource(RenderingEngine& engine, const std::string& path);
// The same left as stored, for a single render that folds the orientation into its
// edit (foldOrientation) rather than paying a pass over the whole picture for it.
PhotoSource loadStoredPhotoSource(RenderingEngine& engine, const std::string& path);

}  // namespace halvane::cli
