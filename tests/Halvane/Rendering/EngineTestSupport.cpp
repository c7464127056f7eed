#include "EngineTestSupport.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <vector>

#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"

namespace halvane::testing {

using namespace platform::gpu;

namespace {

std::mutex messagesLock;
std::vector<std::string> messages;

std::vector<std::string> takeValidationMessages() {
  std::lock_guard guard(messagesLock);
  return std::exchange(messages, {});
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
      std::lock_guard guard(messagesLock);
      messages.push_back(message);
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

Image loadPhoto(const std::string& relativePath, int width, int height) {
  auto decoded = platform::media::decodeImageFile(std::string(HALVANE_MEDIA_DIR) + "/" + relativePath);
  if (!decoded) return {};
  if (height == 0) height = std::max(1, int(std::lround(double(decoded->height) * width / decoded->width)));
  return platform::media::scaleImage(*decoded, width, height);
}

Image readBack(RenderingEngine& engine, const std::shared_ptr<Texture>& texture) {
  auto image = engine.renderToImage(texture, EditState{});
  EXPECT_TRUE(image.has_value());
  return image ? *image : Image{};
}

int channelDifference(const Image& a, const Image& b, int x, int y) {
  int most = 0;
  for (int c = 0; c < 3; ++c) most = std::max(most, std::abs(int(a.pixel(x, y)[c]) - int(b.pixel(x, y)[c])));
  return most;
}

double percentileDifference(const Image& a, const Image& b, double fraction) {
  std::vector<int> most;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) most.push_back(channelDifference(a, b, x, y));
  auto at = most.begin() + std::ptrdiff_t(fraction * double(most.size() - 1));
  std::nth_element(most.begin(), at, most.end());
  return *at;
}

}  // namespace halvane::testing
