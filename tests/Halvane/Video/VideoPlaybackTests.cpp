// Playback through the pipeline with a manual clock and display link: load
// generations, the upright first frame, redraws while paused, the dirty flag before the
// first frame, both loop mechanisms, stopping and release. The clock only jumps: the
// player's worker sees each jump on its next turn, and the tests wait for what it hands
// to the main queue.
#include <gtest/gtest.h>

#include <cmath>

#include "Platform/Dispatch/NotificationCenter.h"
#include "VideoPlaybackSupport.h"

namespace halvane {
namespace {

using namespace testsupport;
using platform::media::Asset;
using platform::media::MediaSize;

class VideoPlaybackTest : public testing::VideoRendererTest {
 protected:
  static std::string plainClip() { return makeClip("plain-64x48", {.audio = ClipAudio::none}); }
  double playerSeconds() const { return renderer->player().currentTime().seconds(); }
  bool playerReachesSeconds(double seconds) {
    return pumpUntil([&] { return std::fabs(playerSeconds() - seconds) < 1e-6; });
  }
  // Plays from where the player stands with the clock moved on by `seconds` at once, and
  // again at each idle turn until the item's end is announced: a jump made while a seek is
  // under way is absorbed by it (the player's time holds still until the seek lands).
  // True once the end was announced; the clock then stays where it is.
  bool playUntilTheEnd(double seconds) {
    bool ended = false;
    auto& center = platform::dispatch::NotificationCenter::defaultCenter();
    const auto token = center.addObserver(platform::media::kPlayerItemDidPlayToEndTimeNotification, nullptr,
                                          [&](const platform::dispatch::Notification&) { ended = true; });
    renderer->player().play();
    pumpUntil([&] {
      if (!ended) clock->store(clock->load() + seconds);
      return ended;
    });
    center.removeObserver(token);
    return ended;
  }
  void ticks(int count) {
    for (int i = 0; i < count; ++i) tick();
  }
  int redrawsAfter(const std::function<void()>& change) {
    settleGpu();
    const int before = presenter->count();
    change();
    settleGpu();
    return presenter->count() - before;
  }
};

TEST_F(VideoPlaybackTest, ASecondLoadBeforeTheFirstTaskRunsDropsTheFirst) {
  renderer->loadAsset(Asset::make(makeClip("portrait-48x64", {.width = 48, .height = 64, .quarterTurns = 1})));
  renderer->loadAsset(
      Asset::make(makeClip("small-32x24", {.width = 32, .height = 24, .frames = 10, .audio = ClipAudio::none})));
  EXPECT_EQ(renderer->loadGeneration(), 2);
  EXPECT_FALSE(renderer->trackPropertiesLoaded());
  int calls = 0;
  MediaSize sizeSeen;
  std::int64_t turnsSeen = -1;
  renderer->onTrackPropertiesLoaded = [&] {
    ++calls;
    sizeSeen = renderer->videoNaturalSize();
    turnsSeen = renderer->trackQuarterTurns();
  };
  ASSERT_TRUE(pumpUntil([&] { return renderer->trackPropertiesLoaded(); }));
  queue->runUntilIdle();
  // Called once, for the second clip, with its properties already set.
  EXPECT_EQ(std::tuple(calls, sizeSeen, turnsSeen, renderer->currentRenderSize()),
            std::tuple(1, MediaSize{32, 24}, 0, MediaSize{32, 24}));
  EXPECT_NEAR(renderer->cachedDuration().seconds(), 10.0 / 30, 0.05);
  EXPECT_FALSE(renderer->onTrackPropertiesLoaded);
}

TEST_F(VideoPlaybackTest, AnAssetWithoutVideoStillEndsItsLoadWithoutASize) {
  int calls = 0;
  renderer->loadAsset(Asset::make(temporaryFolder() + "/missing.mov"));
  renderer->onTrackPropertiesLoaded = [&] { ++calls; };
  ASSERT_TRUE(pumpUntil([&] { return renderer->trackPropertiesLoaded(); }));
  queue->runUntilIdle();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(renderer->videoNaturalSize(), (MediaSize{0, 0}));
  ticks(3);  // they run and find nothing to show
  EXPECT_FALSE(renderer->lastSourceTexture());
}

class VideoOrientationTest : public VideoPlaybackTest, public ::testing::WithParamInterface<int> {};

// The first texture is the upright source before any edit; a turned frame lives in the
// pool's texture and its decoded buffer is let go, an unturned one keeps its buffer.
TEST_P(VideoOrientationTest, TheFirstTextureIsUprightAndUnedited) {
  const int turns = GetParam();
  const auto path = makeClip("turned-" + std::to_string(turns),
                             {.width = 48, .height = 64, .quarterTurns = turns, .audio = ClipAudio::none});
  ASSERT_EQ(probeMovie(path).video.at(0).quarterTurns, turns);
  renderer->updateEditState({.exposure = -2});
  const auto first = showFirstFrame(path);
  ASSERT_TRUE(first);
  EXPECT_EQ(renderer->trackQuarterTurns(), turns);
  EXPECT_EQ(renderer->videoNaturalSize(), (MediaSize{48, 64}));
  EXPECT_EQ(std::pair(first->width(), first->height()), std::pair(48u, 64u));
  const auto frame = readBackFrame(first);
  EXPECT_TRUE(showsUprightQuadrants(frame));
  EXPECT_EQ(frameNumber(frame), 0);
  EXPECT_EQ(renderer->orientedTexture(), turns ? renderer->lastSourceTexture() : nullptr);
  EXPECT_EQ(bool(renderer->lastSourcePixelBuffer()), turns == 0);
}

INSTANTIATE_TEST_SUITE_P(QuarterTurns, VideoOrientationTest, ::testing::Values(0, 1, 2, 3));

// Paused, a state change draws nothing until the next tick, then once; many states
// between two ticks give one redraw, with the last.
TEST_F(VideoPlaybackTest, StateChangesWhilePausedRedrawOnceAtTheNextTickWithTheLast) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  EXPECT_EQ(redrawsAfter([&] { ticks(3); }), 0) << "a paused player brings no frame";
  const double unedited = meanLevel(asPixelBuffer(presenter->lastFrame()));
  EXPECT_EQ(redrawsAfter([&] {
              renderer->updateEditState({.exposure = 3});
              renderer->updateEditState({.exposure = -3});
            }),
            0)
      << "nothing is drawn before the tick";
  EXPECT_TRUE(renderer->previewIsDirty());
  EXPECT_EQ(redrawsAfter([&] { ticks(3); }), 1);
  EXPECT_FALSE(renderer->previewIsDirty());
  EXPECT_LT(meanLevel(asPixelBuffer(presenter->lastFrame())), unedited * 0.5);
  EXPECT_EQ(renderer->player().rate(), 0.0f);
  EXPECT_DOUBLE_EQ(playerSeconds(), 0.0);
}

TEST_F(VideoPlaybackTest, StatesBeforeTheFirstFrameWaitForItAndTheLatestIsDrawn) {
  renderer->updateEditState({.exposure = 3});
  renderer->updateEditState({.exposure = -3});
  ticks(3);
  EXPECT_TRUE(renderer->previewIsDirty());
  ASSERT_TRUE(showFirstFrame(plainClip()));
  settleGpu();
  ASSERT_GE(presenter->count(), 1);
  // The letterboxed 64x48 picture at exposure -3 is near black all over.
  EXPECT_LT(meanLevel(asPixelBuffer(presenter->lastFrame())), 30);
}

TEST_F(VideoPlaybackTest, ADrawableWithoutSizeKeepsTheFramePending) {
  view->setDrawableSize({0, 0});
  renderer->loadAsset(Asset::make(plainClip()));
  ASSERT_TRUE(pumpUntil([&] { return renderer->trackPropertiesLoaded(); }));
  // An exact seek completes once its frame is decoded: from then on a frame is due.
  bool frameReady = false;
  renderer->player().seek(platform::media::MediaTime::zero(), [&](bool) { frameReady = true; });
  ASSERT_TRUE(pumpUntil([&] { return frameReady; }));
  ticks(5);
  EXPECT_FALSE(renderer->lastSourceTexture());
  view->setDrawableSize({64, 64});
  ASSERT_TRUE(pumpUntil([&] { return tick(), renderer->lastSourceTexture() != nullptr; }));
}

// The item's end seeks back to the trim start (0 without one) and plays on.
TEST_F(VideoPlaybackTest, TheEndOfTheItemLoopsToTheTrimStartWithoutStopping) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  for (const double trimStart : {0.5, 0.0}) {
    SCOPED_TRACE(trimStart);
    renderer->updateEditState({.trimStart = trimStart});
    ASSERT_TRUE(playUntilTheEnd(2.0));
    // With the clock held, the seek lands exactly on the trim start.
    EXPECT_TRUE(playerReachesSeconds(trimStart));
    EXPECT_EQ(renderer->player().rate(), 1.0f);
  }
}

TEST_F(VideoPlaybackTest, TheTrimBoundaryLoopsToTheTrimStart) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  const EditState trim{.trimStart = 0.2, .trimEnd = 0.6};
  renderer->updateEditState(trim);
  renderer->applyTrimRange(trim);
  ASSERT_TRUE(playerReachesSeconds(0.2));
  // A jump over the trim end, short of the item's end: only the boundary brings it back.
  renderer->player().play();
  clock->store(clock->load() + 0.45);
  EXPECT_TRUE(playerReachesSeconds(0.2));
  EXPECT_EQ(renderer->player().rate(), 1.0f);
  renderer->removeTrimBoundaryObserver();
}

TEST_F(VideoPlaybackTest, StopPlaybackKeepsTheAssetAndForgetsTheFrames) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  const auto asset = renderer->asset();
  renderer->stopPlayback();
  EXPECT_EQ(renderer->asset(), asset);
  // The link, source texture, turned texture, decoded buffer and player item are gone.
  EXPECT_EQ(std::tuple(bool(renderer->displayLink()), bool(renderer->lastSourceTexture()),
                       bool(renderer->orientedTexture()), bool(renderer->lastSourcePixelBuffer()),
                       bool(renderer->player().currentItem())),
            std::tuple(false, false, false, false, false));
  EXPECT_EQ(tick(), 0u);
}

TEST_F(VideoPlaybackTest, ALinkOutlivingItsRendererDoesNothing) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  const VideoDisplayLinkProxy proxy(renderer);
  renderer.reset();
  proxy.tick();
  EXPECT_EQ(tick(), 0u);
}

}  // namespace
}  // namespace halvane
