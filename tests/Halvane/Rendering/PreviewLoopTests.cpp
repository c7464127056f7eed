#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "EngineTestSupport.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Platform/Dispatch/ManualMainQueue.h"

namespace halvane {
namespace {

using namespace platform::dispatch;
using namespace platform::gpu;
using namespace testing;

class PreviewLoop : public testing::EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    queue = std::make_shared<ManualMainQueue>();
    MainQueue::setShared(queue);
    setDisplayLinkFactory(links.factory());
    view = std::make_shared<PreviewView>();
    view->configure(*engine);
    view->setPresenter(presenter);
    view->setDrawableSize({64, 48});
    engine->stopDisplayLink();
    engine->setPreviewView(view);
    engine->startDisplayLink();
    engine->applyPreviewState(EditState{});
    allocatorControl().allocations = 0;
  }
  void TearDown() override {
    engine->stopDisplayLink();
    engine->setPreviewSource(nullptr);
    setDisplayLinkFactory(nullptr);
    MainQueue::setShared(nullptr);
    EngineTest::TearDown();
  }
  // Ticks the display link once, then waits until the GPU finished what it was given:
  // handlers run in commit order, so an empty buffer committed after is done last.
  void tickAndDrain() {
    links.tickAll(time += 1.0 / 60);
    auto buffer = engine->commandQueue()->commandBuffer();
    buffer->commit();
    buffer->waitUntilCompleted();
  }
  // The last frame's r, g, b at each point.
  void expectLastFrame(std::initializer_list<std::pair<std::array<int, 2>, std::array<int, 3>>> expected) {
    const Image frame = presenter->lastFrame();
    for (const auto& [at, colour] : expected) EXPECT_EQ(rgb(frame, at[0], at[1]), colour) << at[0] << "," << at[1];
  }

  std::shared_ptr<ManualMainQueue> queue;
  ManualDisplayLinkFactory links;
  std::shared_ptr<PreviewView> view;
  std::shared_ptr<RecordingPresenter> presenter = std::make_shared<RecordingPresenter>();
  double time = 0;
};

TEST_F(PreviewLoop, ADirtyTickDrawsOnceAndCleanTicksDoNothing) {
  engine->setPreviewSource(engine->makeTexture(makeFlat(64, 48, 30, 20, 10)));
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 1);
  for (int i = 0; i < 5; ++i) tickAndDrain();
  EXPECT_EQ(presenter->count(), 1);
  // A default state draws the source itself: no intermediate was taken.
  EXPECT_EQ(allocatorControl().allocations, 0);
  expectLastFrame({{{32, 24}, {30, 20, 10}}});
}

TEST_F(PreviewLoop, ManyStatesBetweenTicksGiveOneFrameWithTheLast) {
  engine->setPreviewSource(engine->makeTexture(makeDistinctImage(64, 48)));
  tickAndDrain();
  for (int64_t turns = 1; turns <= 3; ++turns)
    engine->applyPreviewState({.flipHorizontal = turns == 3, .rotationQuarterTurns = turns});
  EditState same = engine->previewState();
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 2);
  engine->applyPreviewState(same);  // equal to what is shown: no new frame
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 2);
  EXPECT_EQ(allocatorControl().allocations, 1);  // the geometry stage; no colour pass
}

TEST_F(PreviewLoop, AZeroDrawableKeepsTheFramePending) {
  view->setDrawableSize({0, 48});
  engine->setPreviewSource(engine->makeTexture(makeFlat(8, 8, 3, 2, 1)));
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 0);
  EXPECT_TRUE(engine->previewIsDirty());
  view->setDrawableSize({32, 32});
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 1);
  EXPECT_FALSE(engine->previewIsDirty());
}

TEST_F(PreviewLoop, AnExhaustedPoolShowsTheUneditedSource) {
  engine->setPreviewSource(engine->makeTexture(makeFlat(64, 48, 60, 50, 40)));
  engine->applyPreviewState({.exposure = 2});
  allocatorControl().remaining = 0;
  tickAndDrain();
  ASSERT_EQ(presenter->count(), 1);
  expectLastFrame({{{32, 24}, {60, 50, 40}}});
}

TEST_F(PreviewLoop, NoViewOrNoSourceDrawsNothing) {
  engine->setPreviewSource(nullptr);
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 0);
  engine->setPreviewSource(engine->makeTexture(makeFlat(8, 8, 3, 2, 1)));
  view.reset();
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 0);
  EXPECT_TRUE(engine->previewIsDirty());
}

TEST_F(PreviewLoop, SameAspectFillsTheDrawable) {
  engine->setPreviewSource(engine->makeTexture(makeFlat(32, 24, 200, 200, 200)));
  tickAndDrain();
  const std::array<int, 3> white = grey(200);
  expectLastFrame({{{0, 0}, white}, {{63, 0}, white}, {{0, 47}, white}, {{63, 47}, white}, {{32, 24}, white}});
}

TEST_F(PreviewLoop, PortraitInLandscapeLeavesBlackBarsAndOverscaleDoubles) {
  engine->setPreviewSource(engine->makeTexture(makeFlat(24, 48, 200, 200, 200)));
  tickAndDrain();
  // The picture spans the middle 24 of 64 columns, x 20 to 43, and every row; the bars
  // are opaque black.
  const std::array<int, 3> white = grey(200), black = grey(0);
  expectLastFrame({{{19, 24}, black}, {{20, 24}, white}, {{43, 24}, white}, {{44, 24}, black}, {{32, 0}, white},
                   {{32, 47}, white}});
  EXPECT_EQ(presenter->lastFrame().pixel(2, 24)[3], 255);
  view->displayOverscale = 2;
  engine->setPreviewNeedsDisplay();
  tickAndDrain();
  // Twice as wide: 48 columns, x 8 to 55.
  expectLastFrame({{{7, 24}, black}, {{8, 24}, white}, {{55, 24}, white}, {{56, 24}, black}});
}

TEST_F(PreviewLoop, TheTopLeftTexelIsAtTheUpperLeft) {
  const Image redTopLeft = makePicture(2, 2, [](int x, int y) { return std::array{x + y ? 0 : 255, 0, 0}; });
  engine->setPreviewSource(engine->makeTexture(redTopLeft));
  view->setDrawableSize({64, 64});
  tickAndDrain();
  EXPECT_GT(rgb(presenter->lastFrame(), 2, 2)[0], 200);
  EXPECT_LT(rgb(presenter->lastFrame(), 61, 61)[0], 50);
}

TEST_F(PreviewLoop, TheRunningClockDoesNotKeepItsEngineAlive) {
  RenderingEngineOptions options;
  options.device.preferredDevice = "cpu";
  auto other = RenderingEngine::create(options);
  other->startDisplayLink();
  std::weak_ptr<RenderingEngine> weak = other;
  other.reset();
  EXPECT_TRUE(weak.expired());
  links.tickAll(1);  // the link of the gone engine ticks into nothing
}

TEST_F(PreviewLoop, EntryPointsOffTheMainThreadStopTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::vector<std::function<void()>> calls = {
      [&] { engine->applyPreviewState(EditState{}); }, [&] { engine->tick(); }, [&] { view->setDrawableSize({1, 1}); }};
  for (const auto& call : calls) EXPECT_DEATH(std::thread(call).join(), "off the main queue's thread");
}

TEST(PreviewView, ReportsBoundsOnlyOnAChangeOfSize) {
  MainQueue::setShared(std::make_shared<ManualMainQueue>());
  PreviewView view;
  int reports = 0;
  view.onBoundsChanged = [&] { ++reports; };
  view.layout(320, 200);
  view.layout(320, 200);
  EXPECT_EQ(reports, 1);
  view.layout(320, 201);
  view.layout(320, 200);
  EXPECT_EQ(reports, 3);
  MainQueue::setShared(nullptr);
}

}  // namespace
}  // namespace halvane
