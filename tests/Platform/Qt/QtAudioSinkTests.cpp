// The Qt sound output of the player: the ring between the decoding and audio threads,
// the clock that follows what is heard, and the sink itself on this machine's default
// output, with or without a device.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <atomic>
#include <cmath>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

#include "Platform/Dispatch/ManualMainQueue.h"
#include "Platform/Dispatch/MediaClock.h"
#include "Platform/Dispatch/NotificationCenter.h"
#include "Support/QtApplicationEnvironment.h"
#include "Support/TestClips.h"
#include "Platform/Media/Player.h"
#include "Platform/Qt/AudioClock.h"
#include "Platform/Qt/QtAudioSink.h"
#include "Platform/Qt/SampleRing.h"

using namespace platform;
using platform::qt::AudioClock;
using platform::qt::QtAudioSink;
using platform::qt::SampleRing;

// Qt Multimedia and the sink's audio thread need an application object, as the
// editor has.
[[maybe_unused]] static const auto* const kQtApplication =
    ::testing::AddGlobalTestEnvironment(new halvane::testing::QtApplicationEnvironment<QCoreApplication>);

TEST(SampleRing, KeepsOrderAcrossTheWrapAndTakesOnlyWhatFits) {
  SampleRing ring(5, 2);
  std::vector<float> in(16);
  std::iota(in.begin(), in.end(), 0.0f);
  EXPECT_EQ(ring.write(in.data(), 3), 3u);
  std::vector<float> out(16, -1);
  EXPECT_EQ(ring.read(out.data(), 2), 2u);
  EXPECT_EQ((std::vector<float>(out.begin(), out.begin() + 4)), (std::vector<float>{0, 1, 2, 3}));
  // 1 frame left, room for 4: a write of 8 frames takes 4 and wraps.
  EXPECT_EQ(ring.write(in.data() + 6, 8), 4u);
  EXPECT_EQ(ring.frames(), 5u);
  EXPECT_EQ(ring.write(in.data(), 1), 0u);  // full
  EXPECT_EQ(ring.read(out.data(), 10), 5u);
  EXPECT_EQ((std::vector<float>(out.begin(), out.begin() + 10)), (std::vector<float>{4, 5, 6, 7, 8, 9, 10, 11, 12, 13}));
  EXPECT_EQ(ring.read(out.data(), 1), 0u);
  ring.write(in.data(), 2);
  ring.clear();
  EXPECT_EQ(ring.frames(), 0u);
}

TEST(AudioClock, SettlesOnTheDevicesLagAndNeverGoesBack) {
  AudioClock clock;
  EXPECT_DOUBLE_EQ(clock.read(100.0), 100.0);  // no sound yet: host time
  clock.resumed(100.0);
  // A device that is heard 40 ms after it is started, reporting every 5 ms.
  double last = clock.read(100.0);
  for (int step = 1; step <= 200; ++step) {
    const double host = 100.0 + step * 0.005;
    const double heard = std::max(0.0, host - 100.0 - 0.040);
    clock.observe(host, std::int64_t(std::llround(heard * 48000)), 48000);
    const double now = clock.read(host);
    EXPECT_GE(now, last) << step;
    last = now;
  }
  EXPECT_NEAR(clock.lag(), 0.040, 0.001);
  EXPECT_NEAR(clock.read(101.0), 101.0 - 0.040, 0.001);

  // A device that stops playing: the lag is held at half a second.
  for (int step = 1; step <= 400; ++step) clock.observe(101.0 + step * 0.005, 48000, 48000);
  EXPECT_NEAR(clock.lag(), 0.5, 0.01);
  // Paused and resumed: the lag carries over, so the clock runs on without a jump.
  const double before = clock.read(105.0);
  clock.resumed(105.0);
  EXPECT_NEAR(clock.read(105.0), before, 1e-9);
}

TEST(QtAudioSink, OpensOnADeviceOrKeepsTimeWithoutOne) {
  QtAudioSink sink;
  EXPECT_FALSE(sink.open(0, 2));
  const bool opened = sink.open(48000, 2);
  RecordProperty("outputDevice", opened ? "opened" : "none");
  std::vector<float> tone(48000 * 2);
  for (std::size_t i = 0; i < tone.size(); ++i) tone[i] = 0.1f * std::sin(float(i / 2) * 0.0576f);
  if (opened) {
    // About a fifth of a second fits ahead of the device, and no more.
    const std::size_t taken = sink.write(tone.data(), 48000);
    EXPECT_TRUE(taken > 0 && taken < 48000) << taken;
    sink.setVolume(0.0f);
    sink.setPaused(false);
    sink.flush();
    sink.setPaused(true);
    sink.close();
  }
  // The clock keeps the monotonic clock's pace, device or not. The real device clock is
  // the subject here, so real time has to pass; its arithmetic is tested above on
  // host times the test chooses.
  const double hostBefore = dispatch::mediaTime(), clockBefore = sink.clock();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const double hostAfter = dispatch::mediaTime(), clockAfter = sink.clock();
  EXPECT_NEAR(clockAfter - clockBefore, hostAfter - hostBefore, 0.01);
  EXPECT_NEAR(clockAfter, hostAfter, 0.5);
}

// A player with the Qt sink plays a clip with sound to its end whether or not this
// machine has an output device.
TEST(QtAudioSink, APlayerPlaysThroughItToTheEnd) {
  auto queue = std::make_shared<dispatch::ManualMainQueue>();
  dispatch::MainQueue::setShared(queue);
  {
    auto player = std::make_unique<media::Player>(std::make_shared<QtAudioSink>());
    player->setActionAtItemEnd(media::ActionAtItemEnd::none);
    auto output = std::make_shared<media::PlayerItemVideoOutput>();
    auto item = media::PlayerItem::make(media::Asset::make(testsupport::makeClip("qt-sink", {})));
    item->addOutput(output);
    std::atomic<bool> ended = false;
    const auto observer = dispatch::NotificationCenter::defaultCenter().addObserver(
        media::kPlayerItemDidPlayToEndTimeNotification, item.get(), [&](const dispatch::Notification&) { ended = true; });
    player->replaceCurrentItem(item);
    player->setVolume(0.0f);
    player->play();
    EXPECT_TRUE(testsupport::pumpUntil(*queue, [&] { return ended.load(); }, std::chrono::seconds(10)));
    EXPECT_EQ(item->status(), media::PlayerItem::Status::readyToPlay);
    EXPECT_NEAR(player->currentTime().seconds(), item->asset()->loadNow()->duration, 0.05);
    dispatch::NotificationCenter::defaultCenter().removeObserver(observer);
  }
  dispatch::MainQueue::setShared(nullptr);
}
