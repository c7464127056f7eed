#include "PhotoSource.h"

#include "Command.h"
#include "Platform/Media/ImageDecoder.h"

namespace halvane::cli {

PhotoSource loadStoredPhotoSource(RenderingEngine& engine, const std::string& path) {
  auto decoded = platform::media::decodeImageFile(path);
  if (!decoded) throw CommandError(decoded.error().message);
  const auto& image = decoded.value();
  PhotoSource source;
  source.colorSpace = image.iccProfile;
  source.rawOrientation = int(image.orientation);
  source.texture = engine.makeTexture(image);
  if (!source.texture) {
    throw CommandError("the GPU cannot hold a picture of " + std::to_string(image.width) + " x " +
                       std::to_string(image.height) + " pixels");
  }
  return source;
}

PhotoSource loadPhotoSource(RenderingEngine& engine, const std::string& path) {
  PhotoSource source = loadStoredPhotoSource(engine, path);
  auto upright = engine.bakeUpright(source.texture, source.rawOrientation);
  if (!upright) throw CommandError(upright.error().message);
  source.texture = std::move(*upright);
  source.rawOrientation = 0;
  return source;
}

}  // namespace halvane::cli
