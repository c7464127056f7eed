#include "PhotoSource.h"

#include "Command.h"
#include "Halvane/Rendering/SourceOrientation.h"
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
  if (auto bake = orientationBakeState(source.rawOrientation)) {
    auto commandBuffer = engine.commandQueue()->commandBuffer();
    if (!commandBuffer) throw CommandError("the GPU refused the work");
    auto upright = engine.processTexture(source.texture, *bake, *commandBuffer, false);
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
    if (upright == source.texture) throw CommandError("the GPU could not turn the picture upright");
    source.texture = upright;
    source.rawOrientation = 0;
  }
  return source;
}

}  // namespace halvane::cli
