#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <thread>
#include <vector>

#include "EngineTestSupport.h"
#include "Halvane/Rendering/PreviewView.h"
#include "Platform/Dispatch/ManualMainQueue.h"

namespace halvane {
namespace {

using namespace platform::gpu;
using platform::dispatch::ManualDisplayLinkFactory;
using platform::dispatch::ManualMainQueue;
using platform::dispatch::MainQueue;
using platform::media::Image;
using testing::allocatorControl;

// Keeps a copy of every presented frame.
class RecordingPresenter : public FramePresenter {
 public:
  void present(const std::shared_ptr<Texture>& drawable) override {
    Image frame;
    frame.width = int(drawable->width());
    frame.height = int(drawable->height());
    frame.pixels.resize(frame.bytesPerRow() * size_t(frame.height));
    drawable->getBytes(frame.pixels.data(), frame.bytesPerRow(), Region{{0, 0}, drawable->width(), drawable->height()});
    std::lock_guard guard(lock);
    frames.push_back(std::move(frame));
  }
  size_t count() {
    std::lock_guard guard(lock);
    return frames.size();
  }
  Image last() {
    std::lock_guard guard(lock);
    return frames.back();
  }

 private:
  std::mutex lock;
  std::vector<Image> frames;
};

class PreviewLoop : public testing::EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    queue = std::make_shared<ManualMainQueue>();
    MainQueue::setShared(queue);
    platform::dispatch::setDisplayLinkFactory(links.factory());
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
    platform::dispatch::setDisplayLinkFactory(nullptr);
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
  static const uint8_t* at(const Image& image, int x, int y) { return image.pixel(x, y); }

  std::shared_ptr<ManualMainQueue> queue;
  ManualDisplayLinkFactory links;
  std::shared_ptr<PreviewView> view;
  std::shared_ptr<RecordingPresenter> presenter = std::make_shared<RecordingPresenter>();
  double time = 0;
};

TEST_F(PreviewLoop, ADirtyTickDrawsOnceAndCleanTicksDoNothing) {
  engine->setPreviewSource(engine->makeTexture(testing::makeSolidImage(64, 48, 10, 20, 30)));
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 1u);
  for (int i = 0; i < 5; ++i) tickAndDrain();
  EXPECT_EQ(presenter->count(), 1u);
  // A default state draws the source itself: no intermediate was taken.
  EXPECT_EQ(allocatorControl().allocations, 0);
  const Image frame = presenter->last();
  EXPECT_EQ(at(frame, 32, 24)[0], 10);
  EXPECT_EQ(at(frame, 32, 24)[2], 30);
}

TEST_F(PreviewLoop, ManyStatesBetweenTicksGiveOneFrameWithTheLast) {
  engine->setPreviewSource(engine->makeTexture(testing::makeDistinctImage(64, 48)));
  tickAndDrain();
  for (int64_t turns = 1; turns <= 3; ++turns) {
    EditState state;
    state.rotationQuarterTurns = turns;
    state.flipHorizontal = turns == 3;
    engine->applyPreviewState(state);
  }
  EditState same = engine->previewState();
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 2u);
  engine->applyPreviewState(same);  // equal to what is shown: no new frame
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 2u);
  EXPECT_EQ(allocatorControl().allocations, 1);  // the geometry stage; no colour pass
}

TEST_F(PreviewLoop, AZeroDrawableKeepsTheFramePending) {
  view->setDrawableSize({0, 48});
  engine->setPreviewSource(engine->makeTexture(testing::makeSolidImage(8, 8, 1, 2, 3)));
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 0u);
  EXPECT_TRUE(engine->previewIsDirty());
  view->setDrawableSize({32, 32});
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 1u);
  EXPECT_FALSE(engine->previewIsDirty());
}

TEST_F(PreviewLoop, AnExhaustedPoolShowsTheUneditedSource) {
  engine->setPreviewSource(engine->makeTexture(testing::makeSolidImage(64, 48, 40, 50, 60)));
  EditState state;
  state.exposure = 2;
  engine->applyPreviewState(state);
  allocatorControl().remaining = 0;
  tickAndDrain();
  ASSERT_EQ(presenter->count(), 1u);
  EXPECT_EQ(at(presenter->last(), 32, 24)[1], 50);
}

TEST_F(PreviewLoop, NoViewOrNoSourceDrawsNothing) {
  engine->setPreviewSource(nullptr);
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 0u);
  engine->setPreviewSource(engine->makeTexture(testing::makeSolidImage(8, 8, 1, 2, 3)));
  view.reset();
  tickAndDrain();
  EXPECT_EQ(presenter->count(), 0u);
  EXPECT_TRUE(engine->previewIsDirty());
}

TEST_F(PreviewLoop, SameAspectFillsTheDrawable) {
  EXPECT_EQ(fitQuad(64, 48, 640, 480, 1, 0, 0), (DisplayQuad{-1, -1, 2, 2}));
  engine->setPreviewSource(engine->makeTexture(testing::makeSolidImage(32, 24, 200, 200, 200)));
  tickAndDrain();
  const Image frame = presenter->last();
  for (auto [x, y] : {std::pair{0, 0}, {63, 0}, {0, 47}, {63, 47}, {32, 24}}) EXPECT_EQ(at(frame, x, y)[0], 200);
}

TEST_F(PreviewLoop, PortraitInLandscapeLeavesBlackBarsAndOverscaleDoubles) {
  const DisplayQuad fitted = fitQuad(24, 48, 64, 48, 1, 0, 0);
  EXPECT_FLOAT_EQ(fitted.sizeY, 2);
  EXPECT_FLOAT_EQ(fitted.sizeX, 0.75f);
  const DisplayQuad doubled = fitQuad(24, 48, 64, 48, 2, 0, 0);
  EXPECT_FLOAT_EQ(doubled.sizeX, 2 * fitted.sizeX);
  EXPECT_FLOAT_EQ(doubled.sizeY, 2 * fitted.sizeY);

  engine->setPreviewSource(engine->makeTexture(testing::makeSolidImage(24, 48, 200, 200, 200)));
  tickAndDrain();
  Image frame = presenter->last();
  // The picture spans the middle 24 of 64 columns: x 20 to 43.
  EXPECT_EQ(at(frame, 2, 24)[0], 0);
  EXPECT_EQ(at(frame, 2, 24)[3], 255);
  EXPECT_EQ(at(frame, 61, 24)[0], 0);
  EXPECT_EQ(at(frame, 32, 24)[0], 200);
  EXPECT_EQ(at(frame, 32, 0)[0], 200);
  EXPECT_EQ(at(frame, 22, 24)[0], 200);

  view->displayOverscale = 2;
  engine->setPreviewNeedsDisplay();
  tickAndDrain();
  frame = presenter->last();
  // Twice as wide: 48 columns, x 8 to 55.
  EXPECT_EQ(at(frame, 4, 24)[0], 0);
  EXPECT_EQ(at(frame, 12, 24)[0], 200);
  EXPECT_EQ(at(frame, 51, 24)[0], 200);
  EXPECT_EQ(at(frame, 60, 24)[0], 0);
}

TEST_F(PreviewLoop, TheTopLeftTexelIsAtTheUpperLeft) {
  Image source = testing::makeSolidImage(2, 2, 0, 0, 0);
  source.pixel(0, 0)[2] = 255;  // red at the top left
  engine->setPreviewSource(engine->makeTexture(source));
  view->setDrawableSize({64, 64});
  tickAndDrain();
  const Image frame = presenter->last();
  EXPECT_GT(at(frame, 2, 2)[2], 200);
  EXPECT_LT(at(frame, 61, 61)[2], 50);
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
      [&] { engine->applyPreviewState(EditState{}); },
      [&] { engine->tick(); },
      [&] { view->setDrawableSize({1, 1}); },
  };
  for (const auto& call : calls) {
    EXPECT_DEATH(std::thread(call).join(), "off the main queue's thread");
  }
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
