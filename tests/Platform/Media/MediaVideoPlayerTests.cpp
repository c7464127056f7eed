// The player on a clock of the test's own: frames follow the clock, exact seeks, the
// end of the item, boundary observers, a new item, sound handed to a sink, and the
// real phone clips played to their end.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>

#include "Platform/Dispatch/MainQueue.h"
#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Platform/Media/Player.h"
#include "Support/TestClips.h"

using namespace platform::media;
using namespace testsupport;
using platform::dispatch::MainQueue;
using platform::dispatch::ManualMainQueue;
using platform::dispatch::Notification;
using platform::dispatch::NotificationCenter;

namespace {

// A sink with a device: takes every sample and keeps the test's clock.
class RecordingSink final : public AudioSink {
 public:
  explicit RecordingSink(std::function<double()> clock) : clock_(std::move(clock)) {}
  bool open(int sampleRate, int channels) override {
    std::lock_guard lock(mutex);
    this->sampleRate = sampleRate, this->channels = channels;
    return true;
  }
  void close() override {}
  std::size_t write(const float* interleaved, std::size_t frames) override {
    std::lock_guard lock(mutex);
    samples.insert(samples.end(), interleaved, interleaved + frames * std::size_t(channels));
    return frames;
  }
  void flush() override {}
  void setPaused(bool) override {}
  void setVolume(float value) override { volume = value; }
  double clock() const override { return clock_(); }

  std::mutex mutex;
  int sampleRate = 0, channels = 0;
  std::vector<float> samples;
  std::atomic<float> volume{1.0f};

 private:
  std::function<double()> clock_;
};

class MediaVideoPlayer : public ::testing::Test {
 protected:
  void SetUp() override { MainQueue::setShared(queue); }
  void TearDown() override {
    if (endObserver) NotificationCenter::defaultCenter().removeObserver(endObserver);
    player.reset();
    MainQueue::setShared(nullptr);
  }

  // A player with the sink (a silent one by default) and the clip loaded.
  void start(const std::string& path = makeClip("basic", {}), std::shared_ptr<AudioSink> sink = nullptr) {
    if (!sink) sink = std::make_shared<SilentAudioSink>([this] { return now.load(); });
    player = std::make_unique<Player>(sink);
    player->setActionAtItemEnd(ActionAtItemEnd::none);
    load(path);
  }
  void load(const std::string& path) {
    output = std::make_shared<PlayerItemVideoOutput>();
    item = PlayerItem::make(Asset::make(path));
    item->addOutput(output);
    player->replaceCurrentItem(item);
    ASSERT_TRUE(pumpUntil(*queue, [&] { return item->status() != PlayerItem::Status::unknown; }));
    ASSERT_EQ(item->status(), PlayerItem::Status::readyToPlay);
  }

  // Runs `handler` at each end-of-item notification of the loaded item.
  void onEnd(std::function<void()> handler) {
    endObserver = NotificationCenter::defaultCenter().addObserver(kPlayerItemDidPlayToEndTimeNotification, item.get(),
                                                                  [handler](const Notification&) { handler(); });
  }

  // The frame shown at the clock's time: the test clips run at 30 frames a second, so
  // a frame taken while its successor is also due is not yet the one, however far the
  // decoder has got.
  PixelBuffer frameNow() {
    const MediaTime time = output->itemTime(now.load());
    PixelBuffer frame;
    pumpUntil(
        *queue,
        [&] {
          if (output->hasNewPixelBuffer(time)) frame = output->copyPixelBuffer(time);
          return frame && frame.presentationTime().seconds() + 1.0 / 30 > time.seconds();
        },
        std::chrono::milliseconds(5000));
    return frame;
  }
  // The number of the frame shown now, -1 without one.
  int shownNumber(int quarterTurns = 0) { return frameNumber(frameNow(), quarterTurns); }
  void waitFor(const std::function<bool()>& done) { ASSERT_TRUE(pumpUntil(*queue, done)); }

  void seek(MediaTime time) {
    std::optional<bool> finished;
    player->seek(time, [&](bool value) {
      EXPECT_TRUE(queue->isCurrentThread());
      finished = value;
    });
    waitFor([&] { return finished.has_value(); });
    EXPECT_TRUE(finished.value_or(false));
  }

  std::atomic<double> now{1000.0};
  std::shared_ptr<ManualMainQueue> queue = std::make_shared<ManualMainQueue>();
  std::unique_ptr<Player> player;
  std::shared_ptr<PlayerItem> item;
  std::shared_ptr<PlayerItemVideoOutput> output;
  NotificationCenter::ObserverToken endObserver = 0;
};

}  // namespace

TEST_F(MediaVideoPlayer, FramesFollowTheClock) {
  start();
  EXPECT_EQ(player->currentTime(), MediaTime::zero());
  PixelBuffer first = frameNow();  // paused at 0: the first frame is due
  EXPECT_EQ(frameNumber(first), 0);
  EXPECT_EQ(first.presentationTime(), MediaTime::zero());

  player->play();
  EXPECT_EQ(player->rate(), 1.0f);
  const double start = now.load();
  for (int n = 1; n < 30; ++n) {
    now = start + n / 30.0 + 0.001;  // just after the frame's time, as a display tick would be
    PixelBuffer frame = frameNow();
    EXPECT_EQ(frameNumber(frame), n);
    EXPECT_EQ(frame.presentationTime(), (MediaTime{n, 30}));
  }
  EXPECT_NEAR(player->currentTime().seconds(), 29.0 / 30 + 0.001, 1e-6);
  player->pause();
  const MediaTime paused = player->currentTime();
  now = now + 5.0;
  EXPECT_EQ(player->currentTime(), paused);
}

TEST_F(MediaVideoPlayer, SeekIsExactAndAnOvertakenSeekFinishesFalse) {
  start();
  // Frame 15 lies between the key frames 10 and 20: decoded from 10, 10 to 14 dropped.
  seek(MediaTime{300, 600});
  EXPECT_EQ(player->currentTime(), (MediaTime{300, 600}));
  PixelBuffer frame = frameNow();
  EXPECT_EQ(frame.presentationTime(), (MediaTime{15, 30}));
  EXPECT_EQ(frameNumber(frame), 15);
  // Between two frames: the frame shown there, 22, comes first.
  seek(MediaTime::fromSeconds(22.5 / 30, 600));
  EXPECT_EQ(shownNumber(), 22);
  // Back to the start while playing: frames go on from there.
  player->play();
  seek(MediaTime::zero());
  EXPECT_EQ(shownNumber(), 0);
  now = now + 2.0 / 30 + 0.001;
  EXPECT_EQ(shownNumber(), 2);
  // A seek overtaken by the next finishes false.
  player->pause();
  std::vector<bool> results;
  player->seek(MediaTime{10, 30}, [&](bool finished) { results.push_back(finished); });
  player->seek(MediaTime{20, 30}, [&](bool finished) { results.push_back(finished); });
  waitFor([&] { return results.size() == 2; });
  EXPECT_EQ(results, (std::vector<bool>{false, true}));
  EXPECT_EQ(shownNumber(), 20);
}

TEST_F(MediaVideoPlayer, EndOfItemKeepsTheRateWithActionNone) {
  start();
  int ends = 0;
  onEnd([&] {
    EXPECT_TRUE(queue->isCurrentThread());
    ++ends;
  });
  player->play();
  now = now + 0.5;
  queue->runPending();
  EXPECT_EQ(ends, 0);
  now = now + 1.0;
  waitFor([&] { return ends == 1; });
  EXPECT_EQ(player->rate(), 1.0f);
  // Held at the end: the longer track's, the sound's 1024-sample frames. (Looping, a seek
  // back and a second end, is the renderer's: VideoPlaybackTests.)
  EXPECT_NEAR(player->currentTime().seconds(), item->asset()->loadNow()->duration, 1e-6);
}

// A clip without sound ends by its video alone; with the action pause, the rate drops.
TEST_F(MediaVideoPlayer, AClipWithoutSoundPlaysToItsEndAndPauses) {
  start(makeClip("silent", {.audio = ClipAudio::none}), std::make_shared<RecordingSink>([this] { return now.load(); }));
  player->setActionAtItemEnd(ActionAtItemEnd::pause);
  bool ended = false;
  onEnd([&] { ended = true; });
  player->play();
  now = now + 3.0;
  waitFor([&] { return ended; });
  EXPECT_EQ(player->rate(), 0.0f);
}

TEST_F(MediaVideoPlayer, BoundaryObserverFiresWhenPlaybackCrossesItsTime) {
  start();
  int fired = 0;
  const auto token = player->addBoundaryTimeObserver({MediaTime{300, 600}}, [&] {
    EXPECT_TRUE(queue->isCurrentThread());
    ++fired;
  });
  // A second observer at the same time, which stays: when it fires, the first one's
  // post of the same passage has run too, so its count can be read without waiting.
  int witnessed = 0;
  player->addBoundaryTimeObserver({MediaTime{300, 600}}, [&] { ++witnessed; });
  player->play();
  now = now + 0.6;
  waitFor([&] { return witnessed == 1; });
  EXPECT_EQ(fired, 1);

  // Played across again (what seeks pass is in the timeline's tests): the removed one stays quiet.
  player->removeTimeObserver(token);
  seek(MediaTime::fromSeconds(0.2));
  now = now + 0.5;
  waitFor([&] { return witnessed == 2; });
  EXPECT_EQ(fired, 1);
}

TEST_F(MediaVideoPlayer, ReplacingTheItemStartsTheNewOneAtZero) {
  start();
  seek(MediaTime{20, 30});
  auto oldOutput = output;
  load(makeClip("portrait-silent", {.width = 48, .height = 64, .quarterTurns = 1, .audio = ClipAudio::none}));
  EXPECT_EQ(player->currentTime(), MediaTime::zero());
  EXPECT_FALSE(oldOutput->itemTime(now.load()).isValid());
  PixelBuffer frame = frameNow();
  EXPECT_EQ(frameNumber(frame, 3), 0);
  EXPECT_EQ(frame.width(), 64);  // frames come as stored; the engine turns them
}

TEST_F(MediaVideoPlayer, SoundGoesToTheSinkWithItsVolume) {
  auto sink = std::make_shared<RecordingSink>([this] { return now.load(); });
  start(makeClip("basic", {}), sink);
  player->setVolume(0.25f);
  EXPECT_EQ(sink->volume.load(), 0.25f);
  player->play();
  now = now + 0.5;
  waitFor([&] {
    std::lock_guard lock(sink->mutex);
    return sink->samples.size() >= 44100 / 4;
  });
  std::lock_guard lock(sink->mutex);
  EXPECT_EQ(std::pair(sink->sampleRate, sink->channels), std::pair(44100, 1));
  float peak = 0;
  // The first quarter second: the clip's last AAC frame ends in the coder's own tail.
  for (std::size_t i = 0; i < 44100 / 4; ++i) peak = std::max(peak, std::fabs(sink->samples[i]));
  EXPECT_NEAR(peak, 0.5, 0.1);  // the tone, unscaled: the device applies the volume
}

TEST_F(MediaVideoPlayer, AMissingFileFailsTheItem) {
  player = std::make_unique<Player>(std::make_shared<SilentAudioSink>([this] { return now.load(); }));
  item = PlayerItem::make(Asset::make(temporaryFolder() + "/missing.mov"));
  player->replaceCurrentItem(item);
  waitFor([&] { return item->status() != PlayerItem::Status::unknown; });
  EXPECT_EQ(item->status(), PlayerItem::Status::failed);
  ASSERT_TRUE(item->error().has_value());
  EXPECT_EQ(item->error()->code, MediaError::Code::openFailed);
}

TEST_F(MediaVideoPlayer, RealClipsPlayToTheirEnd) {
  for (const char* file : {"video/sideways_movie.mov", "video/ios9.mov", "video/with-gps.mov", "video/train.mov",
                           "video/max-heromode.mp4", "video/video_rotate.mp4", "livephoto/IMG_7943_HEVC.MOV"}) {
    SCOPED_TRACE(file);
    const std::string path = sample(file);
    if (path.empty()) continue;
    if (endObserver) NotificationCenter::defaultCenter().removeObserver(std::exchange(endObserver, 0));
    start(path);
    bool ended = false;
    onEnd([&] { ended = true; });
    player->play();
    int frames = 0;
    MediaTime last = MediaTime::invalid();
    const double start = now.load();
    while (!ended) {
      now = now + 0.1;
      const MediaTime time = output->itemTime(now.load());
      pumpUntil(
          *queue, [&] { return output->hasNewPixelBuffer(time) || ended; }, std::chrono::milliseconds(2000));
      if (PixelBuffer frame = output->copyPixelBuffer(time)) {
        ++frames;
        EXPECT_GT(frame.presentationTime(), last);
        EXPECT_LE(frame.presentationTime(), time);
        last = frame.presentationTime();
      }
      queue->runPending();
      ASSERT_LT(now.load(), start + 60.0) << "never reached the end";
    }
    EXPECT_GT(frames, 3);
    EXPECT_EQ(item->status(), PlayerItem::Status::readyToPlay);
  }
}
