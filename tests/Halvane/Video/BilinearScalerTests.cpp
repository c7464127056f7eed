// The export's bilinear scaler on the CPU device against a CPU reference: pixel
// centres map proportionally, edges clamp, the whole source covers the whole target.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "Halvane/Rendering/EngineTestSupport.h"
#include "Halvane/Video/BilinearScaler.h"

namespace halvane {
namespace {

using namespace platform::gpu;

// The sampler's filter weights have 8 bits of fraction on lavapipe, so a blend may
// land one code value off the exact one; two leaves room for the rounding of both.
constexpr int kTolerance = 2;

std::vector<uint8_t> gradient(uint32_t width, uint32_t height) {
  std::vector<uint8_t> pixels(size_t(width) * height * 4);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      uint8_t* p = &pixels[(size_t(y) * width + x) * 4];
      p[0] = uint8_t((x * 37 + y * 11) % 256);
      p[1] = uint8_t(width > 1 ? x * 255 / (width - 1) : 128);
      p[2] = uint8_t(height > 1 ? y * 255 / (height - 1) : 64);
      p[3] = 255;
    }
  }
  return pixels;
}

// Bilinear with pixel centres at +0.5 and clamp to edge.
std::vector<uint8_t> referenceScale(const std::vector<uint8_t>& source, uint32_t sw, uint32_t sh, uint32_t dw,
                                    uint32_t dh) {
  std::vector<uint8_t> out(size_t(dw) * dh * 4);
  auto at = [&](int x, int y, int c) {
    return double(source[(size_t(std::clamp(y, 0, int(sh) - 1)) * sw + std::clamp(x, 0, int(sw) - 1)) * 4 + c]);
  };
  for (uint32_t y = 0; y < dh; ++y) {
    for (uint32_t x = 0; x < dw; ++x) {
      const double u = (x + 0.5) * sw / dw - 0.5;
      const double v = (y + 0.5) * sh / dh - 0.5;
      const int x0 = int(std::floor(u)), y0 = int(std::floor(v));
      const double fx = u - x0, fy = v - y0;
      for (int c = 0; c < 4; ++c) {
        const double top = at(x0, y0, c) * (1 - fx) + at(x0 + 1, y0, c) * fx;
        const double bottom = at(x0, y0 + 1, c) * (1 - fx) + at(x0 + 1, y0 + 1, c) * fx;
        out[(size_t(y) * dw + x) * 4 + c] = uint8_t(std::lround(top * (1 - fy) + bottom * fy));
      }
    }
  }
  return out;
}

class BilinearScalerTest : public testing::EngineTest {
 protected:
  std::vector<uint8_t> scaleOnGpu(const std::vector<uint8_t>& pixels, uint32_t sw, uint32_t sh, uint32_t dw,
                                  uint32_t dh) {
    auto scaler = BilinearScaler::create(*engine);
    EXPECT_TRUE(scaler);
    if (!scaler) return {};
    auto source = engine->makeTexture(pixels.data(), sw, sh, size_t(sw) * 4);
    TextureDescriptor descriptor;
    descriptor.width = dw, descriptor.height = dh, descriptor.storageMode = StorageMode::shared;
    descriptor.usage = TextureUsage::shaderRead | TextureUsage::shaderWrite;
    auto destination = engine->metalDevice()->newTexture(descriptor);
    auto commandBuffer = engine->commandQueue()->commandBuffer();
    EXPECT_TRUE(scaler->encode(*commandBuffer, source, destination));
    commandBuffer->commit();
    commandBuffer->waitUntilCompleted();
    std::vector<uint8_t> out(size_t(dw) * dh * 4);
    destination->getBytes(out.data(), size_t(dw) * 4, Region{{0, 0}, dw, dh});
    return out;
  }
};

TEST_F(BilinearScalerTest, MatchesTheReferenceDownUpAndAcrossOddSizesAndRefusesMissingTextures) {
  const std::array<uint32_t, 4> sizes[] = {
      {1081, 9, 1080, 8}, {7, 5, 3, 2}, {64, 48, 150, 101}, {1, 1, 2, 2}, {33, 17, 33, 17}};
  for (const auto& [sw, sh, dw, dh] : sizes) {
    SCOPED_TRACE(::testing::Message() << sw << "x" << sh << " to " << dw << "x" << dh);
    const auto pixels = gradient(sw, sh);
    const auto gpu = scaleOnGpu(pixels, sw, sh, dw, dh);
    const auto cpu = referenceScale(pixels, sw, sh, dw, dh);
    ASSERT_EQ(gpu.size(), cpu.size());
    int worst = 0;
    for (size_t i = 0; i < gpu.size(); ++i) worst = std::max(worst, std::abs(int(gpu[i]) - int(cpu[i])));
    EXPECT_LE(worst, kTolerance);
  }
  // Missing textures are refused.
  auto scaler = BilinearScaler::create(*engine);
  ASSERT_TRUE(scaler);
  auto commandBuffer = engine->commandQueue()->commandBuffer();
  EXPECT_FALSE(scaler->encode(*commandBuffer, nullptr, nullptr));
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
}

}  // namespace
}  // namespace halvane
