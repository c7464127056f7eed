#pragma once
// One RenderingEngine per test program, on the CPU device with validation on. Its
// texture allocator can be told to refuse, so fallbacks can be driven from tests. With
// the pictures, measures and presenter that the GPU suites share.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Halvane/Rendering/FramePresenter.h"
#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Media/Image.h"
#include "Platform/Media/ImageDecoder.h"
#include "Platform/Media/ImageScale.h"
#include "Support/ImageCompare.h"
#include "Support/TestFiles.h"

namespace halvane::testing {

using platform::media::Image;
using testsupport::maxAbsoluteDifference;
using testsupport::meanAbsoluteDifference;
using testsupport::saveForInspection;

struct AllocatorControl {
  std::atomic<int> allocations{0};
  // Allocations allowed before the allocator refuses; negative: never refuse.
  std::atomic<int> remaining{-1};
};
inline AllocatorControl& allocatorControl() {
  static AllocatorControl control;
  return control;
}

// What the validation layer reported since the last look.
inline std::mutex validationLock;
inline std::vector<std::string> validationMessages;
inline std::vector<std::string> takeValidationMessages() {
  std::lock_guard guard(validationLock);
  return std::exchange(validationMessages, {});
}

inline std::shared_ptr<RenderingEngine> sharedEngine() {
  static std::shared_ptr<RenderingEngine> engine = [] {
    RenderingEngineOptions options;
    options.device.preferredDevice = "cpu";
    options.device.enableValidation = true;
    options.device.onValidationMessage = [](const std::string& message) {
      std::lock_guard guard(validationLock);
      validationMessages.push_back(message);
    };
    // The engine makes the device, so the allocator learns it once the engine exists.
    auto device = std::make_shared<std::shared_ptr<platform::gpu::Device>>();
    options.textureAllocator = [device](const platform::gpu::TextureDescriptor& descriptor) {
      auto& control = allocatorControl();
      if (control.remaining.load() == 0) return std::shared_ptr<platform::gpu::Texture>();
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

// The shared engine with its caches purged; a validation message fails the test.
class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    engine = sharedEngine();
    allocatorControl().remaining = -1;
    engine->purgeCaches();
    takeValidationMessages();
  }
  void TearDown() override {
    allocatorControl().remaining = -1;
    for (const auto& message : takeValidationMessages()) ADD_FAILURE() << "validation: " << message;
  }
  std::shared_ptr<RenderingEngine> engine;
};

// An opaque picture whose pixel (x, y) has the r, g, b that rgbAt(x, y) gives.
template <typename RgbAt>
Image makePicture(int width, int height, RgbAt rgbAt) {
  Image image;
  image.width = width, image.height = height;
  image.pixels.assign(size_t(width) * size_t(height) * 4, 255);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto [r, g, b] = rgbAt(x, y);
      uint8_t* p = image.pixel(x, y);
      p[0] = uint8_t(b), p[1] = uint8_t(g), p[2] = uint8_t(r);
    }
  return image;
}
inline std::array<int, 3> grey(int v) { return {v, v, v}; }
inline Image makeFlat(int width, int height, int r, int g, int b) {
  return makePicture(width, height, [=](int, int) { return std::array{r, g, b}; });
}
// Counts the drawables the views were given and keeps a copy of the last, read back on
// the presenting thread.
class RecordingPresenter final : public FramePresenter {
 public:
  void present(const std::shared_ptr<platform::gpu::Texture>& drawable) override {
    Image frame = makeFlat(int(drawable->width()), int(drawable->height()), 0, 0, 0);
    drawable->getBytes(frame.pixels.data(), frame.bytesPerRow(), {{0, 0}, drawable->width(), drawable->height()});
    std::lock_guard guard(lock_);
    ++count_;
    last_ = std::move(frame);
  }
  int count() const {
    std::lock_guard guard(lock_);
    return count_;
  }
  Image lastFrame() const {
    std::lock_guard guard(lock_);
    return last_;
  }

 private:
  mutable std::mutex lock_;
  int count_ = 0;
  Image last_;
};
// Every pixel differs from its neighbours: blue and green carry x and y, red their
// high bits, so any misplaced pixel shows.
inline Image makeDistinctImage(int width, int height) {
  return makePicture(width, height, [](int x, int y) { return std::array{(x >> 8) | ((y >> 8) << 4), y, x}; });
}
// A photo of the shared media scaled to width by height (height 0: as the aspect
// gives). Empty when the media folder is missing.
inline Image loadPhoto(const std::string& relativePath, int width, int height = 0) {
  auto decoded = platform::media::decodeImageFile(testsupport::sample(relativePath));
  if (!decoded) return {};
  if (height == 0) height = std::max(1, int(std::lround(double(decoded->height) * width / decoded->width)));
  return platform::media::scaleImage(*decoded, width, height);
}
// The texture's pixels, read back through the engine's own unedited path.
inline Image readBack(RenderingEngine& engine, const std::shared_ptr<platform::gpu::Texture>& texture) {
  auto image = engine.renderToImage(texture, EditState{});
  EXPECT_TRUE(image.hasValue());
  return image ? *image : Image{};
}

// sRGB's defining transfer functions in double precision, for the references; values
// beyond 0 to 1 are encoded as the ends.
inline double srgbToLinear(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
inline double linearToSrgb(double l) {
  l = std::clamp(l, 0.0, 1.0);
  return l <= 0.0031308 ? l * 12.92 : 1.055 * std::pow(l, 1.0 / 2.4) - 0.055;
}

inline std::array<int, 3> rgb(const Image& image, int x, int y) {
  const uint8_t* p = image.pixel(x, y);
  return {p[2], p[1], p[0]};
}
// The largest channel difference of pixel (x, y), and its percentile over the pictures
// (what bounds the worst places without letting a handful of pixels decide).
inline int channelDifference(const Image& a, const Image& b, int x, int y) {
  int most = 0;
  for (int c = 0; c < 3; ++c) most = std::max(most, std::abs(int(a.pixel(x, y)[c]) - int(b.pixel(x, y)[c])));
  return most;
}
inline double percentileDifference(const Image& a, const Image& b, double fraction) {
  std::vector<int> most;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) most.push_back(channelDifference(a, b, x, y));
  auto at = most.begin() + std::ptrdiff_t(fraction * double(most.size() - 1));
  std::nth_element(most.begin(), at, most.end());
  return *at;
}

}  // namespace halvane::testing
