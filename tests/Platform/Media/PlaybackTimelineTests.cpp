// The player's time arithmetic on a clock the test sets: where the time stands, when it
// holds, and what playback passes.
#include <gtest/gtest.h>

#include "Platform/Media/PlaybackTimeline.h"

namespace platform::media {
namespace {

MediaTime seconds(double value) { return MediaTime::fromSeconds(value); }

// A ready item of 2 s, started at clock 100.
PlaybackTimeline playing(float rate = 1) {
  PlaybackTimeline timeline;
  timeline.reset(100);
  timeline.itemReady(seconds(2), 100);
  timeline.setRate(rate, 100);
  return timeline;
}

// Within the item: the time, and a seek's target.
TEST(PlaybackTimeline, TimeFollowsTheClockAtTheRateAndSeeksStayWithinTheItem) {
  const std::tuple<float, double, double> cases[] = {{1, 100.5, 0.5}, {2, 100.5, 1.0}, {0.5, 101, 0.5}, {1, 105, 2.0},
                                                     {1, 99, 0.0},    {-1, 101, 0.0},  {0, 101, 0.0}};
  for (const auto& [rate, clock, expected] : cases)
    EXPECT_NEAR(playing(rate).timeAt(clock).seconds(), expected, 1e-9) << rate << " at " << clock;
  PlaybackTimeline timeline = playing();
  EXPECT_EQ(timeline.beginSeek(seconds(-1), 100), MediaTime::zero());
  EXPECT_EQ(timeline.beginSeek(seconds(9), 100), seconds(2));
}

TEST(PlaybackTimeline, HoldsWhileLoadingSeekingOrPaused) {
  PlaybackTimeline timeline;
  timeline.reset(0);
  timeline.setRate(1, 0);
  EXPECT_EQ(timeline.timeAt(5), MediaTime::zero()) << "not ready";
  timeline.itemReady(MediaTime::invalid(), 5);
  EXPECT_NEAR(timeline.timeAt(8).seconds(), 3, 1e-9) << "an unknown duration bounds nothing";

  EXPECT_EQ(timeline.beginSeek(seconds(1), 8), seconds(1));
  EXPECT_EQ(timeline.timeAt(20), seconds(1)) << "held during the seek";
  timeline.finishSeek(20);
  EXPECT_NEAR(timeline.timeAt(20.5).seconds(), 1.5, 1e-9) << "goes on from the target";

  timeline.setRate(0, 21);
  EXPECT_NEAR(timeline.timeAt(30).seconds(), 2, 1e-9) << "paused where it was";
  timeline.reset(30);
  EXPECT_EQ(timeline.timeAt(31), MediaTime::zero()) << "a new item starts at 0";
}

TEST(PlaybackTimeline, PlaybackPassesEachTimeOnceAndASeekPassesNothing) {
  PlaybackTimeline timeline = playing();
  const MediaTime boundary = seconds(0.5);
  EXPECT_FALSE(timeline.advance(100.4, false).passed(boundary));
  EXPECT_TRUE(timeline.advance(100.6, false).passed(boundary));
  EXPECT_FALSE(timeline.advance(100.7, false).passed(boundary));

  timeline.beginSeek(seconds(0.8), 100.7);
  timeline.beginSeek(seconds(0.2), 100.7);
  EXPECT_FALSE(timeline.advance(100.7, false).passed(boundary)) << "held while seeking";
  timeline.finishSeek(100.7);
  EXPECT_FALSE(timeline.advance(100.7, false).passed(boundary));
  EXPECT_TRUE(timeline.advance(101.1, false).passed(boundary)) << "played across again";

  timeline.setRate(0, 101.1);
  EXPECT_FALSE(timeline.advance(200, false).passed(seconds(1))) << "paused";
}

TEST(PlaybackTimeline, TheEndIsReportedOncePerArrival) {
  for (const bool stopAtEnd : {false, true}) {
    SCOPED_TRACE(stopAtEnd);
    PlaybackTimeline timeline = playing();
    EXPECT_FALSE(timeline.advance(101.5, stopAtEnd).reachedEnd);
    EXPECT_TRUE(timeline.advance(102.5, stopAtEnd).reachedEnd);
    EXPECT_EQ(timeline.rate(), stopAtEnd ? 0.0f : 1.0f);
    EXPECT_EQ(timeline.timeAt(103), seconds(2));
    EXPECT_FALSE(timeline.advance(103, stopAtEnd).reachedEnd);

    // Looping: a seek back makes a new arrival.
    timeline.beginSeek(MediaTime::zero(), 103);
    timeline.finishSeek(103);
    timeline.setRate(1, 103);
    EXPECT_NEAR(timeline.timeAt(103.25).seconds(), 0.25, 1e-9);
    EXPECT_TRUE(timeline.advance(105.5, stopAtEnd).reachedEnd);
  }
}

}  // namespace
}  // namespace platform::media
