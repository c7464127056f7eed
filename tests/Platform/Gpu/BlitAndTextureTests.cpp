// Textures: host access, blit copies, sizes, the memory budget.
#include <cstring>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using TextureTest = GpuTest;

TEST_F(TextureTest, ReportsWhatItWasMadeWith) {
  auto texture = newTexture(7, 3, StorageMode::shared, TextureUsage::shaderRead | TextureUsage::renderTarget);
  ASSERT_TRUE(texture);
  EXPECT_EQ(texture->width(), 7u);
  EXPECT_EQ(texture->height(), 3u);
  EXPECT_EQ(texture->pixelFormat(), PixelFormat::bgra8Unorm);
  EXPECT_EQ(texture->storageMode(), StorageMode::shared);
  EXPECT_EQ(texture->usage(), TextureUsage::shaderRead | TextureUsage::renderTarget);
  auto other = newTexture(7, 3, StorageMode::shared);
  EXPECT_NE(texture.get(), other.get());
}

TEST_F(TextureTest, ReplaceRegionOnASharedTextureIsReadableAtOnce) {
  auto texture = newTexture(10, 6, StorageMode::shared);
  std::vector<uint8_t> all = patternBytes(10, 6, 1);
  upload(texture, all);
  // A sub-rectangle with a row pitch wider than its rows.
  std::vector<uint8_t> patch = patternBytes(8, 2, 2);
  texture->replaceRegion({{2, 3}, 3, 2}, patch.data(), 8 * 4);
  for (uint32_t y = 0; y < 2; ++y)
    std::memcpy(&all[((3 + y) * 10 + 2) * 4], &patch[y * 8 * 4], 3 * 4);

  std::vector<uint8_t> actual(all.size());
  texture->getBytes(actual.data(), 10 * 4, {{0, 0}, 10, 6});
  EXPECT_TRUE(actual == all);
  uint8_t corner[4];
  texture->getBytes(corner, 4, {{9, 5}, 1, 1});
  EXPECT_EQ(0, std::memcmp(corner, &all[(5 * 10 + 9) * 4], 4));
}

TEST_F(TextureTest, ReplaceRegionReachesThePrivateImage) {
  auto texture = newTexture(19, 13);
  std::vector<uint8_t> all = patternBytes(19, 13, 3);
  upload(texture, all);
  std::vector<uint8_t> patch = patternBytes(4, 5, 4);
  texture->replaceRegion({{15, 8}, 4, 5}, patch.data(), 4 * 4);
  for (uint32_t y = 0; y < 5; ++y) std::memcpy(&all[((8 + y) * 19 + 15) * 4], &patch[y * 4 * 4], 4 * 4);
  EXPECT_TRUE(readBack(texture) == all);
}

TEST_F(TextureTest, ReplaceRegionOnASharedTextureReachesTheGpu) {
  auto shared = newTexture(9, 9, StorageMode::shared);
  auto copy = newTexture(9, 9);
  std::vector<uint8_t> bytes = patternBytes(9, 9, 5);
  upload(shared, bytes);
  auto commandBuffer = queue->commandBuffer();
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(shared, {0, 0}, {9, 9, 1}, copy, {0, 0});
  blit->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  EXPECT_TRUE(readBack(copy) == bytes);
}

TEST_F(TextureTest, GetBytesOnAPrivateTextureDoesNothing) {
  auto texture = newTexture(4, 4);
  upload(texture, patternBytes(4, 4, 6));
  std::vector<uint8_t> untouched(64, 0xab);
  texture->getBytes(untouched.data(), 16, {{0, 0}, 4, 4});
  EXPECT_TRUE(untouched == std::vector<uint8_t>(64, 0xab));
}

TEST_F(TextureTest, BlitCopiesASubRectangle) {
  auto source = newTexture(40, 30);
  auto destination = newTexture(50, 50);
  std::vector<uint8_t> sourceBytes = patternBytes(40, 30, 7);
  std::vector<uint8_t> expected = patternBytes(50, 50, 8);
  upload(source, sourceBytes);
  upload(destination, expected);

  auto commandBuffer = queue->commandBuffer();
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(source, {5, 7}, {20, 10, 1}, destination, {13, 21});
  blit->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  ASSERT_EQ(commandBuffer->status(), CommandBufferStatus::completed) << commandBuffer->errorMessage();

  for (uint32_t y = 0; y < 10; ++y)
    std::memcpy(&expected[((21 + y) * 50 + 13) * 4], &sourceBytes[((7 + y) * 40 + 5) * 4], 20 * 4);
  EXPECT_TRUE(readBack(destination) == expected);
}

TEST_F(TextureTest, BlitWithinOneTextureAndOutOfBounds) {
  auto texture = newTexture(32, 8, StorageMode::shared);
  std::vector<uint8_t> bytes = patternBytes(32, 8, 9);
  upload(texture, bytes);
  auto commandBuffer = queue->commandBuffer();
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(texture, {0, 0}, {16, 8, 1}, texture, {16, 0});
  blit->copyFromTexture(texture, {20, 0}, {16, 8, 1}, texture, {0, 0});  // past the right edge: refused
  blit->endEncoding();
  commandBuffer->commit();
  commandBuffer->waitUntilCompleted();
  EXPECT_EQ(commandBuffer->status(), CommandBufferStatus::error);
  EXPECT_NE(commandBuffer->errorMessage().find("outside"), std::string::npos);
  for (uint32_t y = 0; y < 8; ++y) std::memcpy(&bytes[(y * 32 + 16) * 4], &bytes[(y * 32) * 4], 16 * 4);
  std::vector<uint8_t> actual(bytes.size());
  texture->getBytes(actual.data(), 32 * 4, {{0, 0}, 32, 8});
  EXPECT_TRUE(actual == bytes);
}

TEST_F(TextureTest, SizesOutsideTheDeviceLimitGiveNone) {
  const uint32_t limit = device->capabilities().maxTextureDimension;
  ASSERT_GT(limit, 0u);
  TextureDescriptor descriptor;
  descriptor.width = limit + 1;
  EXPECT_FALSE(device->newTexture(descriptor));
  descriptor.width = 1;
  descriptor.height = limit + 1;
  EXPECT_FALSE(device->newTexture(descriptor));
  descriptor.height = 0;
  EXPECT_FALSE(device->newTexture(descriptor));
  EXPECT_EQ(device->allocatedTextureBytes(), 0u);
}

TEST_F(TextureTest, TexturesBeyondTheDevicesMemoryGiveNone) {
  // The budget defaults to the device-local heap; the largest textures fill it in a few
  // steps (lavapipe: 2 GiB, 1 GiB a texture) without touching the memory.
  const DeviceCapabilities& caps = device->capabilities();
  ASSERT_GT(caps.memoryBudgetBytes, 0u);
  const uint64_t each = uint64_t(caps.maxTextureDimension) * caps.maxTextureDimension * 4;
  TextureDescriptor descriptor;
  descriptor.width = descriptor.height = caps.maxTextureDimension;
  std::vector<std::shared_ptr<Texture>> held;
  bool refused = false;
  for (uint64_t i = 0; i <= caps.memoryBudgetBytes / each + 1; ++i) {
    auto texture = device->newTexture(descriptor);
    if (!texture) {
      refused = true;
      break;
    }
    held.push_back(texture);
  }
  EXPECT_TRUE(refused);
  EXPECT_LE(device->allocatedTextureBytes(), caps.memoryBudgetBytes);
  held.clear();
  EXPECT_EQ(device->allocatedTextureBytes(), 0u);
}

class BudgetTest : public GpuTest {
 protected:
  static constexpr uint64_t kBudget = 3 * 1024 * 1024 + 300 * 1024;
  DeviceOptions options() override {
    DeviceOptions o = GpuTest::options();
    o.memoryBudgetBytes = kBudget;
    return o;
  }
};

TEST_F(BudgetTest, AnExplicitBudgetRefusesWhatWouldPassIt) {
  EXPECT_EQ(device->capabilities().memoryBudgetBytes, kBudget);
  TextureDescriptor descriptor;
  descriptor.width = descriptor.height = 512;  // 1 MiB each
  auto a = device->newTexture(descriptor);
  auto b = device->newTexture(descriptor);
  auto c = device->newTexture(descriptor);
  ASSERT_TRUE(a && b && c);
  EXPECT_GE(device->allocatedTextureBytes(), 3u * 1024 * 1024);
  EXPECT_FALSE(device->newTexture(descriptor));
  // 256 KiB fit in what is left, but not twice that: a shared texture's staging copy counts too.
  descriptor.width = descriptor.height = 256;
  descriptor.storageMode = StorageMode::shared;
  EXPECT_FALSE(device->newTexture(descriptor));
  descriptor.storageMode = StorageMode::privateStorage;
  EXPECT_TRUE(device->newTexture(descriptor));
  a.reset();
  descriptor.storageMode = StorageMode::privateStorage;
  descriptor.width = descriptor.height = 512;
  EXPECT_TRUE(device->newTexture(descriptor));
}

}  // namespace
}  // namespace platform::gpu::testing
