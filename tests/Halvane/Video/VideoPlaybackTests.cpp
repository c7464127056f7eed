// Playback through the pipeline with a manual clock and display link: load
// generations, the upright first frame, redraws while paused, the dirty flag before the
// first frame, both loop mechanisms, stopping and release.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Media/Asset.h"
#include "VideoPlaybackSupport.h"

namespace halvane {
namespace {

using platform::media::MediaSize;
using videotest::ClipAudio;
using videotest::ClipDescription;

class VideoPlaybackTest : public testing::VideoRendererTest {
 protected:
  std::string plainClip() {
    ClipDescription clip;
    clip.audio = ClipAudio::none;
    return videotest::makeClip("plain-64x48", clip);
  }

  // Advances the player's clock in steps until `done`, pumping and ticking between.
  bool runClockUntil(const std::function<bool()>& done, double step = 0.02) {
    return videotest::pumpUntil(*queue, [&] {
      if (done()) return true;
      clock->store(clock->load() + step);
      tick();
      std::this_thread::sleep_for(std::chrono::milliseconds(6));  // the player polls every 4 ms
      return false;
    });
  }

  double playerSeconds() const { return renderer->player().currentTime().seconds(); }
};

TEST_F(VideoPlaybackTest, ASecondLoadBeforeTheFirstTaskRunsDropsTheFirst) {
  ClipDescription portrait;
  portrait.quarterTurns = 1;
  const auto first = videotest::makeClip("portrait-48x64", portrait);
  ClipDescription small;
  small.width = 32;
  small.height = 24;
  small.frames = 10;
  small.audio = ClipAudio::none;
  const auto second = videotest::makeClip("small-32x24", small);

  renderer->loadAsset(platform::media::Asset::make(first));
  renderer->loadAsset(platform::media::Asset::make(second));
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
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] { return renderer->trackPropertiesLoaded(); }));
  queue->runUntilIdle();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(sizeSeen, (MediaSize{32, 24}));
  EXPECT_EQ(turnsSeen, 0);
  EXPECT_EQ(renderer->currentRenderSize(), (MediaSize{32, 24}));
  EXPECT_NEAR(renderer->cachedDuration().seconds(), 10.0 / 30, 0.05);
  EXPECT_FALSE(renderer->onTrackPropertiesLoaded);
}

TEST_F(VideoPlaybackTest, AnAssetWithoutVideoStillEndsItsLoadWithoutASize) {
  int calls = 0;
  renderer->loadAsset(platform::media::Asset::make(videotest::temporaryFolder() + "/missing.mov"));
  renderer->onTrackPropertiesLoaded = [&] { ++calls; };
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] { return renderer->trackPropertiesLoaded(); }));
  queue->runUntilIdle();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(renderer->videoNaturalSize(), (MediaSize{0, 0}));
  for (int i = 0; i < 3; ++i) tick();  // ticks run and find nothing to show
  EXPECT_FALSE(renderer->lastSourceTexture());
}

class VideoOrientationTest : public VideoPlaybackTest, public ::testing::WithParamInterface<int> {};

TEST_P(VideoOrientationTest, TheFirstTextureIsUprightAndUnedited) {
  ClipDescription clip;
  clip.width = 48;
  clip.height = 64;
  clip.quarterTurns = GetParam();
  clip.audio = ClipAudio::none;
  const auto path = videotest::makeClip("turned-" + std::to_string(GetParam()), clip);
  ASSERT_EQ(videotest::displayQuarterTurns(path), GetParam());

  EditState edit;
  edit.exposure = -2;  // the first texture is the source, before any edit
  renderer->updateEditState(edit);
  const auto first = showFirstFrame(path);
  ASSERT_TRUE(first);
  EXPECT_EQ(renderer->trackQuarterTurns(), GetParam());
  EXPECT_EQ(renderer->videoNaturalSize(), (MediaSize{48, 64}));
  EXPECT_EQ(first->width(), 48u);
  EXPECT_EQ(first->height(), 64u);
  const auto frame = readBackFrame(first);
  EXPECT_TRUE(videotest::showsUprightQuadrants(frame));
  EXPECT_EQ(videotest::frameNumber(frame), 0);
  // A turned frame lives in the pool's texture; the decoded buffer is let go.
  EXPECT_EQ(renderer->orientedTexture(), renderer->lastSourceTexture());
  EXPECT_FALSE(renderer->lastSourcePixelBuffer());
}

INSTANTIATE_TEST_SUITE_P(QuarterTurns, VideoOrientationTest, ::testing::Values(1, 2, 3));

TEST_F(VideoPlaybackTest, AnUnturnedFrameKeepsItsBufferAndNeedsNoPoolTexture) {
  const auto first = showFirstFrame(plainClip());
  ASSERT_TRUE(first);
  EXPECT_EQ(renderer->trackQuarterTurns(), 0);
  EXPECT_FALSE(renderer->orientedTexture());
  EXPECT_TRUE(renderer->lastSourcePixelBuffer());
  EXPECT_TRUE(videotest::showsUprightQuadrants(readBackFrame(first)));
}

TEST_F(VideoPlaybackTest, AStateChangeWhilePausedRedrawsOnceAtTheNextTick) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  for (int i = 0; i < 3; ++i) tick();  // a paused player brings no new frame
  settleGpu();
  const int shown = presenter->count();
  EXPECT_GE(shown, 1);

  EditState edit;
  edit.exposure = 1;
  renderer->updateEditState(edit);
  EXPECT_TRUE(renderer->previewIsDirty());
  settleGpu();
  EXPECT_EQ(presenter->count(), shown) << "nothing is drawn before the tick";
  tick();
  settleGpu();
  EXPECT_EQ(presenter->count(), shown + 1);
  EXPECT_FALSE(renderer->previewIsDirty());
  for (int i = 0; i < 3; ++i) tick();
  settleGpu();
  EXPECT_EQ(presenter->count(), shown + 1);
  EXPECT_EQ(renderer->player().rate(), 0.0f);
  EXPECT_DOUBLE_EQ(playerSeconds(), 0.0);
}

TEST_F(VideoPlaybackTest, ManyStatesBetweenTicksGiveOneRedrawWithTheLast) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  settleGpu();
  const int shown = presenter->count();
  const double unedited = videotest::meanLevel(presenter->lastFrame());

  EditState bright;
  bright.exposure = 3;
  EditState brighter = bright;
  brighter.brightness = 1;
  EditState dark;
  dark.exposure = -3;
  renderer->updateEditState(bright);
  renderer->updateEditState(brighter);
  renderer->updateEditState(dark);
  tick();
  settleGpu();
  EXPECT_EQ(presenter->count(), shown + 1);
  EXPECT_LT(videotest::meanLevel(presenter->lastFrame()), unedited * 0.5);
}

TEST_F(VideoPlaybackTest, StatesBeforeTheFirstFrameWaitForItAndTheLatestIsDrawn) {
  EditState bright;
  bright.exposure = 3;
  EditState dark;
  dark.exposure = -3;
  renderer->updateEditState(bright);
  renderer->updateEditState(dark);
  for (int i = 0; i < 3; ++i) tick();
  EXPECT_TRUE(renderer->previewIsDirty());
  ASSERT_TRUE(showFirstFrame(plainClip()));
  settleGpu();
  ASSERT_GE(presenter->count(), 1);
  // The letterboxed 64x48 picture at exposure -3 is near black all over.
  EXPECT_LT(videotest::meanLevel(presenter->lastFrame()), 30);
}

TEST_F(VideoPlaybackTest, ADrawableWithoutSizeKeepsTheFramePending) {
  view->setDrawableSize({0, 0});
  renderer->loadAsset(platform::media::Asset::make(plainClip()));
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] { return renderer->trackPropertiesLoaded(); }));
  for (int i = 0; i < 5; ++i) {
    tick();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_FALSE(renderer->lastSourceTexture());
  view->setDrawableSize({64, 64});
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] {
    tick();
    return renderer->lastSourceTexture() != nullptr;
  }));
}

TEST_F(VideoPlaybackTest, TheEndOfTheItemLoopsToTheTrimStartWithoutStopping) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  EditState trim;
  trim.trimStart = 0.5;
  renderer->updateEditState(trim);
  bool ended = false;
  const auto token = platform::dispatch::NotificationCenter::defaultCenter().addObserver(
      platform::media::kPlayerItemDidPlayToEndTimeNotification, nullptr, [&](const platform::dispatch::Notification&) { ended = true; });
  renderer->player().play();
  ASSERT_TRUE(runClockUntil([&] { return ended; }));
  // With the clock held, the seek lands exactly on the trim start.
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] { return std::fabs(playerSeconds() - 0.5) < 1e-6; }));
  EXPECT_EQ(renderer->player().rate(), 1.0f);
  platform::dispatch::NotificationCenter::defaultCenter().removeObserver(token);
}

TEST_F(VideoPlaybackTest, TheEndOfTheItemLoopsToZeroWithoutATrimStart) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  renderer->player().play();
  double latest = 0;
  ASSERT_TRUE(runClockUntil([&] {
    const double now = playerSeconds();
    const bool looped = latest > 0.9 && now < 0.5;
    latest = std::max(latest, now);
    return looped;
  }));
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] { return playerSeconds() == 0.0; }));
}

TEST_F(VideoPlaybackTest, TheTrimBoundaryLoopsToTheTrimStart) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  EditState trim;
  trim.trimStart = 0.2;
  trim.trimEnd = 0.6;
  renderer->updateEditState(trim);
  renderer->applyTrimRange(trim);
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] { return std::fabs(playerSeconds() - 0.2) < 1e-6; }));
  renderer->player().play();
  // The seek follows the crossing at once, so what shows is a jump back from near the
  // trim end.
  double latest = 0;
  ASSERT_TRUE(runClockUntil([&] {
    const double now = playerSeconds();
    const bool jumpedBack = now < latest - 0.2;
    latest = std::max(latest, now);
    return jumpedBack;
  }));
  EXPECT_GT(latest, 0.5);
  EXPECT_LT(latest, 0.7) << "played on past the trim end";
  ASSERT_TRUE(videotest::pumpUntil(*queue, [&] { return std::fabs(playerSeconds() - 0.2) < 1e-6; }));
  renderer->removeTrimBoundaryObserver();
}

TEST_F(VideoPlaybackTest, StopPlaybackKeepsTheAssetAndForgetsTheFrames) {
  ASSERT_TRUE(showFirstFrame(plainClip()));
  const auto asset = renderer->asset();
  renderer->stopPlayback();
  EXPECT_EQ(renderer->asset(), asset);
  EXPECT_FALSE(renderer->displayLink());
  EXPECT_FALSE(renderer->lastSourceTexture());
  EXPECT_FALSE(renderer->orientedTexture());
  EXPECT_FALSE(renderer->lastSourcePixelBuffer());
  EXPECT_FALSE(renderer->player().currentItem());
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
