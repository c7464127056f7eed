// Textures: host access, blit copies, sizes, the memory budget.
#include <cstring>

#include "GpuTestSupport.h"

namespace platform::gpu::testing {
namespace {

using TextureTest = GpuTest;

// Copies a width by height rectangle of BGRA rows from (sx, sy) of `from` to (dx, dy) of `to`.
void copyRect(const std::vector<uint8_t>& from, uint32_t fromWidth, uint32_t sx, uint32_t sy, std::vector<uint8_t>& to,
              uint32_t toWidth, uint32_t dx, uint32_t dy, uint32_t width, uint32_t height) {
  for (uint32_t y = 0; y < height; ++y)
    std::memmove(&to[((dy + y) * toWidth + dx) * 4], &from[((sy + y) * fromWidth + sx) * 4], width * 4);
}

TEST_F(TextureTest, ReplaceRegionOfASubRectangleReachesSharedAndPrivateImages) {
  for (StorageMode storage : {StorageMode::shared, StorageMode::privateStorage}) {
    auto texture = newTexture(19, 13, storage);
    std::vector<uint8_t> all = patternBytes(19, 13, 3);
    upload(texture, all);
    // A patch at the far corner, with a row pitch wider than its rows.
    std::vector<uint8_t> patch = patternBytes(8, 5, 4);
    texture->replaceRegion({{15, 8}, 4, 5}, patch.data(), 8 * 4);
    copyRect(patch, 8, 0, 0, all, 19, 15, 8, 4, 5);
    EXPECT_TRUE(readBack(texture) == all);
    if (storage == StorageMode::shared) {
      uint8_t corner[4];
      texture->getBytes(corner, 4, {{18, 12}, 1, 1});
      EXPECT_EQ(0, std::memcmp(corner, &all[(12 * 19 + 18) * 4], 4));
    } else {
      // getBytes on a private texture does nothing.
      std::vector<uint8_t> untouched(16, 0xab);
      texture->getBytes(untouched.data(), 16, {{0, 0}, 4, 1});
      EXPECT_TRUE(untouched == std::vector<uint8_t>(16, 0xab));
    }
  }
}

TEST_F(TextureTest, BlitCopiesASubRectangleFromASharedTexture) {
  auto source = newTexture(40, 30, StorageMode::shared);
  auto destination = newTexture(50, 50);
  std::vector<uint8_t> sourceBytes = patternBytes(40, 30, 7);
  std::vector<uint8_t> expected = patternBytes(50, 50, 8);
  upload(source, sourceBytes);
  upload(destination, expected);
  auto commandBuffer = queue->commandBuffer();
  auto blit = commandBuffer->blitCommandEncoder();
  blit->copyFromTexture(source, {5, 7}, {20, 10, 1}, destination, {13, 21});
  blit->endEncoding();
  ASSERT_TRUE(run(commandBuffer)) << commandBuffer->errorMessage();
  copyRect(sourceBytes, 40, 5, 7, expected, 50, 13, 21, 20, 10);
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
  EXPECT_FALSE(run(commandBuffer));
  EXPECT_NE(commandBuffer->errorMessage().find("outside"), std::string::npos);
  copyRect(bytes, 32, 0, 0, bytes, 32, 16, 0, 16, 8);
  EXPECT_TRUE(readBack(texture) == bytes);
}

TEST_F(TextureTest, SizesOutsideTheDeviceLimitGiveNone) {
  const uint32_t limit = device->capabilities().maxTextureDimension;
  ASSERT_GT(limit, 0u);
  for (auto [width, height] : {std::pair{limit + 1, 1u}, std::pair{1u, limit + 1}, std::pair{1u, 0u}}) {
    TextureDescriptor descriptor;
    descriptor.width = width;
    descriptor.height = height;
    EXPECT_FALSE(device->newTexture(descriptor)) << width << "x" << height;
  }
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
  for (uint64_t i = 0; i <= caps.memoryBudgetBytes / each + 1; ++i) {
    auto texture = device->newTexture(descriptor);
    if (!texture) break;
    held.push_back(texture);
  }
  EXPECT_LE(held.size(), caps.memoryBudgetBytes / each) << "never refused";
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
  EXPECT_FALSE(device->newTexture(descriptor));
  // 256 KiB fit in what is left, but not twice that: a shared texture's staging copy counts too.
  descriptor.width = descriptor.height = 256;
  descriptor.storageMode = StorageMode::shared;
  EXPECT_FALSE(device->newTexture(descriptor));
  descriptor.storageMode = StorageMode::privateStorage;
  EXPECT_TRUE(device->newTexture(descriptor));
  a.reset();
  descriptor.width = descriptor.height = 512;
  EXPECT_TRUE(device->newTexture(descriptor));
}

}  // namespace
}  // namespace platform::gpu::testing
