#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "Halvane/Rendering/TexturePool.h"

namespace halvane {
namespace {

using namespace platform::gpu;

// A texture with no GPU behind it: the pool only looks at sizes and identity.
class FakeTexture : public Texture {
 public:
  explicit FakeTexture(const TextureDescriptor& descriptor) : descriptor_(descriptor) {}
  static std::shared_ptr<Texture> make(uint32_t width, uint32_t height,
                                       StorageMode storage = StorageMode::privateStorage, uint32_t usage = 3) {
    return std::make_shared<FakeTexture>(TextureDescriptor{width, height, PixelFormat::bgra8Unorm, storage, usage});
  }
  uint32_t width() const override { return descriptor_.width; }
  uint32_t height() const override { return descriptor_.height; }
  PixelFormat pixelFormat() const override { return descriptor_.pixelFormat; }
  StorageMode storageMode() const override { return descriptor_.storageMode; }
  uint32_t usage() const override { return descriptor_.usage; }
  void getBytes(void*, size_t, Region) const override {}
  void replaceRegion(Region, const void*, size_t) override {}

 private:
  TextureDescriptor descriptor_;
};

struct CountingAllocator {
  std::shared_ptr<std::atomic<int>> calls = std::make_shared<std::atomic<int>>(0);
  std::shared_ptr<std::atomic<bool>> fails = std::make_shared<std::atomic<bool>>(false);
  TexturePool::Allocator allocator() const {
    return [calls = calls, fails = fails](const TextureDescriptor& descriptor) -> std::shared_ptr<Texture> {
      ++*calls;
      return *fails ? nullptr : std::make_shared<FakeTexture>(descriptor);
    };
  }
};

TEST(TexturePool, SizesBelowOneBecomeOneAndAreAllocatedPrivateUnderOneKey) {
  EXPECT_EQ(TexturePool::key(1920, 1080, PixelFormat::bgra8Unorm, StorageMode::privateStorage), "1920x1080_80_2");
  CountingAllocator counting;
  TexturePool pool(counting.allocator());
  for (int64_t side : {0, -5, 1}) {
    auto texture = pool.acquire(side, 7, PixelFormat::bgra8Unorm, 3);
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->width(), 1u);
    EXPECT_EQ(texture->storageMode(), StorageMode::privateStorage);
    EXPECT_EQ(texture->usage(), 3u);
    pool.release(texture);
  }
  // The three acquires share the key 1x7, so only the first one allocated.
  EXPECT_EQ(*counting.calls, 1);
  EXPECT_EQ(pool.pooledCount("1x7_80_2"), 1u);
  // Refused: none; purged: allocated anew.
  pool.purge();
  EXPECT_EQ(pool.pooledCount("1x7_80_2"), 0u);
  *counting.fails = true;
  EXPECT_EQ(pool.acquire(1, 7, PixelFormat::bgra8Unorm, 3), nullptr);
  EXPECT_EQ(*counting.calls, 2);
}

TEST(TexturePool, ReusesLastInFirstOutRegardlessOfUsageAndNeverHandsOutShared) {
  CountingAllocator counting;
  TexturePool pool(counting.allocator());
  auto a = pool.acquire(8, 8, PixelFormat::bgra8Unorm, 3);
  auto b = FakeTexture::make(8, 8, StorageMode::privateStorage, 1);  // usage is not part of the key
  pool.release(a);
  pool.release(b);
  pool.release(FakeTexture::make(8, 8, StorageMode::shared));
  EXPECT_EQ(pool.pooledCount("8x8_80_0"), 1u);
  EXPECT_EQ(pool.acquire(8, 8, PixelFormat::bgra8Unorm, 3), b);
  EXPECT_EQ(pool.acquire(8, 8, PixelFormat::bgra8Unorm, 3), a);
  EXPECT_EQ(*counting.calls, 1);
  // An emptied list stays; the next acquire allocates a private texture.
  EXPECT_EQ(pool.pooledCount("8x8_80_2"), 0u);
  EXPECT_EQ(pool.acquire(8, 8, PixelFormat::bgra8Unorm, 3)->storageMode(), StorageMode::privateStorage);
  EXPECT_EQ(*counting.calls, 2);
}

TEST(TexturePool, KeepsAtMostFourAndNeverTheSameTextureTwice) {
  TexturePool pool(CountingAllocator().allocator());
  std::vector<std::shared_ptr<Texture>> textures;
  for (int i = 0; i < 5; ++i) textures.push_back(FakeTexture::make(4, 4));
  pool.release(textures[0]);
  pool.release(textures[0]);
  EXPECT_EQ(pool.pooledCount("4x4_80_2"), 1u);
  for (int i = 1; i < 5; ++i) pool.release(textures[i]);
  EXPECT_EQ(pool.pooledCount("4x4_80_2"), 4u);
  // The fifth was let go: the four handed out are the first four released, newest first.
  EXPECT_EQ(pool.acquire(4, 4, PixelFormat::bgra8Unorm, 3), textures[3]);
}

TEST(TexturePool, ConcurrentAcquireAndReleaseNeverShareATexture) {
  TexturePool pool(CountingAllocator().allocator());
  // Who holds what, kept apart from the pool: a texture handed to a second holder
  // before the first gave it back is a collision.
  std::mutex heldLock;
  std::set<const Texture*> held;
  std::atomic<int> collisions = 0;
  auto locked = [&](auto change) {
    std::lock_guard lock(heldLock);
    change();
  };
  auto worker = [&] {
    for (int i = 0; i < 2000; ++i) {
      auto texture = pool.acquire(16, 16, PixelFormat::bgra8Unorm, 3);
      locked([&] { if (!held.insert(texture.get()).second) ++collisions; });
      std::this_thread::yield();  // hold it a moment while the others run
      locked([&] { held.erase(texture.get()); });
      pool.release(std::move(texture));
    }
  };
  std::thread threads[] = {std::thread(worker), std::thread(worker), std::thread(worker)};
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(collisions, 0);
  EXPECT_LE(pool.pooledCount("16x16_80_2"), TexturePool::maxTexturesPerKey);
}

}  // namespace
}  // namespace halvane
