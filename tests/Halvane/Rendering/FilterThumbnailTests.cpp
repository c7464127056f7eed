#include <gtest/gtest.h>

#include <future>

#include "EngineTestSupport.h"
#include "Halvane/Rendering/FilterThumbnailRenderer.h"
#include "Platform/Dispatch/GlobalQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"

namespace halvane {
namespace {

using platform::dispatch::MainQueue;
using platform::dispatch::ManualMainQueue;
using platform::media::Image;
using testing::allocatorControl;

class FilterThumbnails : public testing::EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    queue = std::make_shared<ManualMainQueue>();
    MainQueue::setShared(queue);
    source = testing::makeDistinctImage(400, 300);
    texture = engine->makeTexture(source);
  }
  void TearDown() override {
    MainQueue::setShared(nullptr);
    EngineTest::TearDown();
  }
  // Runs one batch and pumps the main queue until its completion came.
  std::vector<FilterThumbnail> runBatch(std::shared_ptr<FilterThumbnailRenderer> renderer,
                                        std::optional<Image> image, const EditState& base,
                                        std::vector<FilterDefinition> filters) {
    std::optional<std::vector<FilterThumbnail>> delivered;
    int calls = 0;
    renderer->render(std::move(image), texture, base, std::move(filters), [&](std::vector<FilterThumbnail> results) {
      ++calls;
      delivered = std::move(results);
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(5);
    while (!delivered && std::chrono::steady_clock::now() < deadline) {
      queue->runPending();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
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
  EditState cropped;
  cropped.cropRect = {0, 0, 0.5, 1};
  const auto croppedResults = runBatch(makeRenderer(), source, cropped, {filters[0]});
  ASSERT_EQ(croppedResults.size(), 1u);
  EXPECT_NEAR(std::max(croppedResults[0].image.width, croppedResults[0].image.height), 120, 1);
  // A thin crop still gives pixels, also without a small source.
  EditState thin;
  thin.cropRect = {0, 0, 1, 0.001};
  const auto thinResults = runBatch(makeRenderer(), std::nullopt, thin, {filters[0]});
  ASSERT_EQ(thinResults.size(), 1u);
  EXPECT_GE(thinResults[0].image.height, 1);
}

TEST_F(FilterThumbnails, DefaultBaseTakesNoGpuWorkForTheBaseImage) {
  FilterDefinition plain{"plain", FilterCategory::basic, 0, 1, "Plain"};
  allocatorControl().allocations = 0;
  auto results = runBatch(makeRenderer(), source, EditState{}, {plain});
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(allocatorControl().allocations, 0);
  EditState edited;
  edited.exposure = 1;
  results = runBatch(makeRenderer(), source, edited, {plain});
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(allocatorControl().allocations, 1);  // the colour pass; no geometry to do
}

TEST_F(FilterThumbnails, TheFocusEffectShows) {
  EditState focused;
  focused.focusMode = 4;
  focused.focusStrength = 1;
  const FilterDefinition filter = FilterCatalogue::all()[0];
  const auto plain = runBatch(makeRenderer(), source, EditState{}, {filter});
  const auto blurred = runBatch(makeRenderer(), source, focused, {filter});
  ASSERT_EQ(plain.size(), 1u);
  ASSERT_EQ(blurred.size(), 1u);
  EXPECT_GT(testing::meanAbsoluteDifference(plain[0].image, blurred[0].image), 1.0);
}

TEST_F(FilterThumbnails, ARendererGoneBeforeTheJobStartsDeliversNothing) {
  // Hold every worker of the global queues so the batch cannot start yet.
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  std::atomic<size_t> holding = 0;
  for (size_t i = 0; i < platform::dispatch::GlobalQueue::threadCount(); ++i) {
    platform::dispatch::GlobalQueue::async(platform::dispatch::QualityOfService::userInteractive, [&, released] {
      ++holding;
      released.wait();
    });
  }
  while (holding < platform::dispatch::GlobalQueue::threadCount()) std::this_thread::yield();
  std::optional<std::vector<FilterThumbnail>> delivered;
  {
    auto renderer = makeRenderer();
    renderer->render(source, texture, EditState{}, FilterCatalogue::all(),
                     [&](std::vector<FilterThumbnail> results) { delivered = std::move(results); });
  }
  release.set_value();
  while (!delivered) {
    queue->runPending();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_TRUE(delivered->empty());
}

}  // namespace
}  // namespace halvane
