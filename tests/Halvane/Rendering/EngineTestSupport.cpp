#include "EngineTestSupport.h"

#include <cmath>

#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace halvane::testing {

using namespace platform::gpu;

namespace {

std::mutex& messagesLock() {
  static std::mutex lock;
  return lock;
}

std::vector<std::string>& messages() {
  static std::vector<std::string> list;
  return list;
}

}  // namespace

AllocatorControl& allocatorControl() {
  static AllocatorControl control;
  return control;
}

std::shared_ptr<RenderingEngine> sharedEngine() {
  static std::shared_ptr<RenderingEngine> engine = [] {
    RenderingEngineOptions options;
    options.device.preferredDevice = "cpu";
    options.device.enableValidation = true;
    options.device.onValidationMessage = [](const std::string& message) {
      std::lock_guard guard(messagesLock());
      messages().push_back(message);
    };
    // The engine makes the device, so the allocator learns it once the engine exists.
    auto device = std::make_shared<std::shared_ptr<Device>>();
    options.textureAllocator = [device](const TextureDescriptor& descriptor) -> std::shared_ptr<Texture> {
      auto& control = allocatorControl();
      if (control.remaining.load() == 0) return nullptr;
      if (control.remaining.load() > 0) --control.remaining;
      ++control.allocations;
      return (*device)->newTexture(descriptor);
    };
    auto made = RenderingEngine::create(options);
    *device = made->metalDevice();
    return made;
  }();
  return engine;
}

std::vector<std::string> takeValidationMessages() {
  std::lock_guard guard(messagesLock());
  return std::exchange(messages(), {});
}

void EngineTest::SetUp() {
  engine = sharedEngine();
  allocatorControl().remaining = -1;
  engine->purgeCaches();
  takeValidationMessages();
}

void EngineTest::TearDown() {
  allocatorControl().remaining = -1;
  for (const auto& message : takeValidationMessages()) ADD_FAILURE() << "validation: " << message;
}

platform::media::Image makeDistinctImage(uint32_t width, uint32_t height) {
  platform::media::Image image;
  image.width = int(width);
  image.height = int(height);
  image.pixels.resize(size_t(width) * height * 4);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      uint8_t* p = &image.pixels[(size_t(y) * width + x) * 4];
      p[0] = uint8_t(x);
      p[1] = uint8_t(y);
      p[2] = uint8_t((x >> 8) | ((y >> 8) << 4));
      p[3] = 255;
    }
  }
  return image;
}

platform::media::Image makeSolidImage(uint32_t width, uint32_t height, uint8_t b, uint8_t g, uint8_t r) {
  platform::media::Image image;
  image.width = int(width);
  image.height = int(height);
  image.pixels.resize(size_t(width) * height * 4);
  for (size_t i = 0; i < image.pixels.size(); i += 4) {
    image.pixels[i] = b;
    image.pixels[i + 1] = g;
    image.pixels[i + 2] = r;
    image.pixels[i + 3] = 255;
  }
  return image;
}

platform::media::Image loadPhoto(const std::string& relativePath, int width, int height) {
  auto decoded = platform::media::decodeImageFile(std::string(HALVANE_MEDIA_DIR) + "/" + relativePath);
  if (!decoded) return {};
  if (height == 0) height = std::max(1, int(std::lround(double(decoded->height) * width / decoded->width)));
  return platform::media::scaleImage(*decoded, width, height);
}

platform::media::Image readBack(RenderingEngine& engine, const std::shared_ptr<Texture>& texture) {
  auto image = engine.renderToImage(texture, EditState{});
  EXPECT_TRUE(image.hasValue());
  return image ? *image : platform::media::Image{};
}

}  // namespace halvane::testing
