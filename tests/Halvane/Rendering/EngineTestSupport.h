#pragma once
// One RenderingEngine per test program, on the CPU device with validation on. Its
// texture allocator can be told to refuse, so fallbacks can be driven from tests.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Halvane/Rendering/RenderingEngine.h"
#include "Platform/Media/Image.h"
#include "Support/ImageCompare.h"

namespace halvane::testing {

struct AllocatorControl {
  std::atomic<int> allocations{0};
  // Allocations allowed before the allocator refuses; negative: never refuse.
  std::atomic<int> remaining{-1};
};

AllocatorControl& allocatorControl();
std::shared_ptr<RenderingEngine> sharedEngine();
std::vector<std::string> takeValidationMessages();

class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  std::shared_ptr<RenderingEngine> engine;
};

// A picture whose every pixel differs from its neighbours: blue and green carry x and
// y, red their high bits, so any misplaced pixel shows.
platform::media::Image makeDistinctImage(uint32_t width, uint32_t height);
platform::media::Image makeSolidImage(uint32_t width, uint32_t height, uint8_t b, uint8_t g, uint8_t r);
// A photo of the shared media scaled to width by height (height 0: as the aspect
// gives). Empty when the media folder is missing.
platform::media::Image loadPhoto(const std::string& relativePath, int width, int height = 0);
// The texture's pixels, read back through the engine's own unedited path.
platform::media::Image readBack(RenderingEngine& engine, const std::shared_ptr<platform::gpu::Texture>& texture);
using testsupport::meanAbsoluteDifference;

}  // namespace halvane::testing
