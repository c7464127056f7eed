#include <gtest/gtest.h>

#include <future>

#include "EngineTestSupport.h"
#include "Halvane/Rendering/FilterThumbnailRenderer.h"
#include "Platform/Dispatch/GlobalQueue.h"
#include "Support/MainQueuePump.h"

namespace halvane {
namespace {

using namespace platform::dispatch;
using namespace testing;

class FilterThumbnails : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    queue = std::make_shared<ManualMainQueue>();
    MainQueue::setShared(queue);
    source = makeDistinctImage(400, 300);
    texture = engine->makeTexture(source);
  }
  void TearDown() override {
    MainQueue::setShared(nullptr);
    EngineTest::TearDown();
  }
  // Runs one batch and pumps the main queue until its completion came.
  std::vector<FilterThumbnail> runBatch(std::shared_ptr<FilterThumbnailRenderer> renderer, std::optional<Image> image,
                                        const EditState& base, std::vector<FilterDefinition> filters) {
    std::optional<std::vector<FilterThumbnail>> delivered;
    int calls = 0;
    renderer->render(std::move(image), texture, base, std::move(filters), [&](std::vector<FilterThumbnail> results) {
      ++calls;
      delivered = std::move(results);
    });
    testsupport::pumpUntil(
        *queue, [&] { return delivered.has_value(); }, std::chrono::minutes(5));
    EXPECT_EQ(calls, 1);
    return delivered.value_or(std::vector<FilterThumbnail>{});
  }
  std::shared_ptr<FilterThumbnailRenderer> makeRenderer() {
    return std::make_shared<FilterThumbnailRenderer>(engine, 120);
  }

  std::shared_ptr<ManualMainQueue> queue;
  Image source;
  std::shared_ptr<platform::gpu::Texture> texture;
};

TEST_F(FilterThumbnails, OneThumbnailPerFilterSizedFromTheCroppedOutput) {
  const auto& filters = FilterCatalogue::all();
  const auto results = runBatch(makeRenderer(), source, EditState{}, filters);
  ASSERT_EQ(results.size(), 146u);
  for (size_t i = 0; i < results.size(); ++i) {
    EXPECT_EQ(results[i].filterID, filters[i].id);
    EXPECT_EQ(results[i].image.width, 120);
    EXPECT_EQ(results[i].image.height, 90);
  }
  // A crop of the left half: the scale comes from the crop, so the crop's longest
  // side is about 120 and the small source about twice that.
  const auto croppedResults = runBatch(makeRenderer(), source, {.cropRect = {0, 0, 0.5, 1}}, {filters[0]});
  ASSERT_EQ(croppedResults.size(), 1u);
  EXPECT_NEAR(std::max(croppedResults[0].image.width, croppedResults[0].image.height), 120, 1);
  // A thin crop still gives pixels, also without a small source.
  const auto thinResults = runBatch(makeRenderer(), std::nullopt, {.cropRect = {0, 0, 1, 0.001}}, {filters[0]});
  ASSERT_EQ(thinResults.size(), 1u);
  EXPECT_GE(thinResults[0].image.height, 1);
}

TEST_F(FilterThumbnails, DefaultBaseTakesNoGpuWorkForTheBaseImage) {
  FilterDefinition plain{"plain", FilterCategory::basic, 0, 1, "Plain"};
  allocatorControl().allocations = 0;
  auto results = runBatch(makeRenderer(), source, EditState{}, {plain});
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(allocatorControl().allocations, 0);
  results = runBatch(makeRenderer(), source, {.exposure = 1}, {plain});
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(allocatorControl().allocations, 1);  // the colour pass; no geometry to do
}

TEST_F(FilterThumbnails, TheFocusEffectShows) {
  const FilterDefinition filter = FilterCatalogue::all()[0];
  const auto plain = runBatch(makeRenderer(), source, EditState{}, {filter});
  const auto blurred = runBatch(makeRenderer(), source, {.focusMode = 4, .focusStrength = 1}, {filter});
  ASSERT_EQ(plain.size(), 1u);
  ASSERT_EQ(blurred.size(), 1u);
  EXPECT_GT(meanAbsoluteDifference(plain[0].image, blurred[0].image), 1.0);
}

TEST_F(FilterThumbnails, ARendererGoneBeforeTheJobStartsDeliversNothing) {
  // Hold every worker of the global queues so the batch cannot start yet.
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  std::atomic<size_t> holding = 0;
  for (size_t i = 0; i < GlobalQueue::threadCount(); ++i) {
    GlobalQueue::async(QualityOfService::userInteractive, [&, released] {
      ++holding;
      released.wait();
    });
  }
  while (holding < GlobalQueue::threadCount()) std::this_thread::yield();
  std::optional<std::vector<FilterThumbnail>> delivered;
  {
    auto renderer = makeRenderer();
    renderer->render(source, texture, EditState{}, FilterCatalogue::all(),
                     [&](std::vector<FilterThumbnail> results) { delivered = std::move(results); });
  }
  release.set_value();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return delivered.has_value(); }));
  EXPECT_TRUE(delivered->empty());
}

}  // namespace
}  // namespace halvane
