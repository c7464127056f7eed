// The shared read-back: a private texture through its host-readable copy, and the
// textures and rows it refuses without writing.
#include <algorithm>

#include "GpuTestSupport.h"
#include "Platform/Gpu/ReadBack.h"

namespace platform::gpu::testing {
namespace {

using ReadBackTest = GpuTest;

TEST_F(ReadBackTest, APrivateTextureComesBackThroughItsCopyWithPaddedRows) {
  auto texture = newTexture(5, 3);
  const std::vector<uint8_t> pixels = patternBytes(5, 3, 4);
  upload(texture, pixels);
  auto commandBuffer = queue->commandBuffer();
  auto readable = encodeHostReadableCopy(*device, *commandBuffer, texture);
  ASSERT_TRUE(readable);
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  const size_t rowBytes = 5 * 4 + 8;
  std::vector<uint8_t> rows(rowBytes * 3, 0xEE);
  ASSERT_TRUE(readBackBGRA8(*readable, rows.data(), rowBytes));
  for (size_t y = 0; y < 3; ++y) {
    EXPECT_TRUE(std::equal(pixels.begin() + y * 20, pixels.begin() + (y + 1) * 20, rows.begin() + y * rowBytes)) << y;
    EXPECT_EQ(rows[y * rowBytes + 20], 0xEE) << "the padding is left alone";
  }
}

TEST_F(ReadBackTest, RefusesWithoutWritingWhatItCannotRead) {
  auto privateTexture = newTexture(4, 2);
  auto shared = newTexture(4, 2, StorageMode::shared);
  std::vector<uint8_t> rows(4 * 4 * 2, 0xEE);
  EXPECT_FALSE(readBackBGRA8(*privateTexture, rows.data(), 16));
  EXPECT_FALSE(readBackBGRA8(*shared, rows.data(), 15));
  EXPECT_FALSE(readBackBGRA8(*shared, nullptr, 16));
  EXPECT_TRUE(std::all_of(rows.begin(), rows.end(), [](uint8_t byte) { return byte == 0xEE; }));
}

}  // namespace
}  // namespace platform::gpu::testing
