// The numeric decisions of playback and export: quarter turns from a track transform,
// the upright size, the neutral test, output sizes, trim ranges, encoder settings and
// the audio table. The error texts are checked where the user meets them, in the export
// and command-line tests.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "Halvane/Video/NeutralRendering.h"
#include "Halvane/Video/TrackOrientation.h"
#include "Halvane/Video/VideoExportSettings.h"

namespace halvane {
namespace {

using platform::media::AffineTransform;
using platform::media::AudioFormatDescription;

// The three turns; just inside and just outside the strict 0.01; then a turn with a
// small scale, a shear, a turn and a mirror, 45 degrees and not a number: no turn.
TEST(QuarterTurnsTest, ReadsTheThreeTurnsWithinTheToleranceAndNothingElse) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::pair<AffineTransform, int> cases[] = {{{1, 0, 0, 1, 0, 0}, 0},
                                                   {{0, 1, -1, 0, 480, 0}, 1},
                                                   {{-1, 0, 0, -1, 640, 480}, 2},
                                                   {{0, -1, 1, 0, 0, 640}, 3},
                                                   {{0.0099, 0.9901, -1.0099, -0.0099, 0, 0}, 1},
                                                   {{0.01, 1, -1, 0, 0, 0}, 0},
                                                   {{0, 1, -1.01, 0, 0, 0}, 0},
                                                   {{0, 0.5, -0.5, 0, 0, 0}, 0},
                                                   {{1, 0.2, 0, 1, 0, 0}, 0},
                                                   {{0, 1, 1, 0, 0, 0}, 0},
                                                   {{0.7071, 0.7071, -0.7071, 0.7071, 0, 0}, 0},
                                                   {{nan, 1, -1, 0, 0, 0}, 0}};
  for (const auto& c : cases) EXPECT_EQ(quarterTurnsFromTransform(c.first), c.second) << "case " << &c - cases;
}

TEST(QuarterTurnsTest, UprightSizeExchangesSidesForOddTurnsAndBoundsAShear) {
  using Size = platform::media::MediaSize;
  EXPECT_EQ(uprightSize({0, 1, -1, 0, 1080, 0}, {1920, 1080}), (Size{1080, 1920}));
  EXPECT_EQ(uprightSize({-1, 0, 0, -1, 0, 0}, {640, 480}), (Size{640, 480}));
  EXPECT_EQ(uprightSize({0, -1, 1, 0, 0, 0}, {80, 60}), (Size{60, 80}));
  EXPECT_EQ(uprightSize({1, 0, 0.5, 1, 0, 0}, {100, 10}), (Size{105, 10}));
  EXPECT_FALSE(orientationState(0));
  ASSERT_TRUE(orientationState(3));
  EXPECT_EQ(*orientationState(3), EditState{.rotationQuarterTurns = 3});
}

TEST(NeutralRenderingTest, TrimAudioAndVersionNeverCostAPass) {
  EditState state, turnedOnly, unreadable;
  EXPECT_TRUE(isNeutralForRendering(state));
  state.version = 7, state.trimStart = 1.5, state.trimEnd = 3, state.audioVolume = 0, state.audioMuted = true;
  EXPECT_TRUE(isNeutralForRendering(state));
  state.exposure = 0.1f;
  turnedOnly.rotationQuarterTurns = 1;
  unreadable.contrast = std::numeric_limits<float>::quiet_NaN();
  for (const EditState& costly : {state, turnedOnly, unreadable}) EXPECT_FALSE(isNeutralForRendering(costly));
}

// 4000 x 1: a long thin strip scales to below 2 on its short side, and is raised again.
TEST(ExportOutputSizeTest, SocialFitsWithinFullHDAndEverySizeIsEven) {
  using enum VideoExportPreset;
  const std::tuple<PixelSize, VideoExportPreset, PixelSize> cases[] = {{{1921, 1080}, social, {1920, 1078}},
                                                                       {{1920, 1080}, social, {1920, 1080}},
                                                                       {{1080, 1920}, social, {1080, 1920}},
                                                                       {{3840, 2160}, social, {1920, 1080}},
                                                                       {{1440, 1440}, social, {1080, 1080}},
                                                                       {{4000, 1}, social, {1920, 2}},
                                                                       {{3840, 2160}, balanced, {3840, 2160}},
                                                                       {{1081, 721}, maxQuality, {1080, 720}},
                                                                       {{1, 1}, balanced, {2, 2}},
                                                                       {{3, 1}, social, {2, 2}}};
  for (const auto& [size, preset, expected] : cases)
    EXPECT_EQ(exportOutputSize(size, preset), expected) << size.width << "x" << size.height;
}

TEST(ExportTimeRangeTest, ClampsTrimsAndRefusesAnEmptyRange) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // Duration, trim start and end, the range or none.
  const std::tuple<double, double, double, std::optional<std::pair<double, double>>> cases[] = {
      {2.0, 0, 0, {{0, 2.0}}},  // no trim: the whole source
      {2.0, 0.5, 1.5, {{0.5, 1.5}}},
      {2.0, 0.5, 0.5, {{0.5, 1.0}}},  // an end at the start: half a second from it
      {2.0, 1.8, 1.0, {{1.8, 2.0}}},  // an end before the start, near the end: shorter
      {2.0, -1, 9, {{0, 2.0}}},       // clamped to the source
      {2.0, nan, 9, {{0, 2.0}}},
      {2.0, 2.0, 0, {}},  // a start at or past the end
      {2.0, 5.0, 0, {}},
      {0, 0, 0, {}},  // no duration
      {-1, 0, 0, {}},
      {nan, 0, 0, {}},
      {0.0004, 0, 0, {}},  // shorter than one tick
  };
  for (const auto& [duration, trimStart, trimEnd, expected] : cases) {
    SCOPED_TRACE(std::to_string(duration) + " " + std::to_string(trimStart) + " " + std::to_string(trimEnd));
    const auto range = exportTimeRange(duration, {.trimStart = trimStart, .trimEnd = trimEnd});
    ASSERT_EQ(range.has_value(), expected.has_value());
    if (!range) continue;
    EXPECT_DOUBLE_EQ(range->start, expected->first);
    EXPECT_DOUBLE_EQ(range->end, expected->second);
  }
  EditState trim{.trimStart = 0.5, .trimEnd = 1.5};
  const auto ticks = exportTimeRange(2.0, trim)->mediaRange();
  EXPECT_EQ(std::tuple(ticks.start.value, ticks.start.timescale, ticks.duration.value), std::tuple(300, 600, 600));
  // Ends that round onto the start's tick are no range: half a second from the start.
  for (double end : {1e-320, 0.0004, 1.0 + 1e-9}) {
    trim.trimStart = end > 1 ? 1.0 : 0.0, trim.trimEnd = end;
    const auto tiny = exportTimeRange(2.0, trim);
    ASSERT_TRUE(tiny) << end;
    EXPECT_EQ(tiny->mediaRange().duration.value, 300) << end;
  }
}

TEST(VideoEncoderSettingsTest, BitRatesFollowThePresetAndStrictThresholds) {
  using enum VideoExportPreset;
  const std::tuple<VideoExportPreset, PixelSize, int> cases[] = {
      {social, {1280, 720}, 4'000'000},    {social, {1920, 1080}, 6'000'000},    {social, {720, 1280}, 6'000'000},
      {balanced, {1280, 720}, 6'000'000},  {balanced, {1920, 1080}, 10'000'000}, {balanced, {1080, 1920}, 10'000'000},
      {balanced, {3840, 2160}, 20'000'000}};
  for (const auto& [preset, size, rate] : cases)
    EXPECT_EQ(videoEncoderSettings(preset, size, 30).averageBitRate, rate) << size.width << "x" << size.height;
  const auto quality = videoEncoderSettings(maxQuality, {1080, 720}, 24);
  EXPECT_EQ(quality.quality, std::optional(1.0));
  EXPECT_EQ(std::tuple(quality.width, quality.height, quality.expectedFrameRate), std::tuple(1080, 720, 24.0));
}

// Sound a movie cannot carry as it is (Opus, FLAC) is encoded again, without gain; no
// format description: decoded, but no gain so near 1. A 0 in the encoder's columns is
// not checked.
TEST(AudioPlanTest, FollowsTheDecisionTable) {
  AudioFormatDescription mono;
  mono.sampleRate = 48000, mono.channels = 1, mono.codec = "aac";
  AudioFormatDescription opus = mono;
  opus.codec = "opus", opus.copiesIntoMovie = false;
  using P = VideoExportPreset;
  // Muted, has sound, volume, preset, the sound's format; the route, gain, and the
  // encoder's bit rate, channels and sample rate.
  const std::tuple<bool, bool, float, P, std::optional<AudioFormatDescription>, AudioRoute, bool, int, int, int>
      cases[] = {
          {true, true, 1, P::balanced, mono, AudioRoute::none, false, 0, 0, 0},
          {false, false, 1, P::balanced, mono, AudioRoute::none, false, 0, 0, 0},
          {false, true, 1.0005f, P::balanced, mono, AudioRoute::passthrough, false, 0, 0, 0},
          {false, true, 1.0005f, P::maxQuality, std::nullopt, AudioRoute::reencode, false, 256000, 2, 44100},
          {false, true, 1.0005f, P::balanced, opus, AudioRoute::reencode, false, 0, 0, 48000},
          {false, true, 1.002f, P::balanced, mono, AudioRoute::reencode, true, 256000, 1, 48000},
          {false, true, 1, P::social, mono, AudioRoute::reencode, false, 128000, 0, 0},
          {false, true, 0, P::balanced, mono, AudioRoute::reencode, true, 0, 0, 0},
      };
  for (std::size_t row = 0; row < std::size(cases); ++row) {
    SCOPED_TRACE(row);
    const auto& [muted, hasAudio, volume, preset, format, route, gain, bitRate, channels, sampleRate] = cases[row];
    const auto plan = planAudio({.audioVolume = volume, .audioMuted = muted}, preset, hasAudio, format);
    EXPECT_EQ(plan.route, route);
    EXPECT_EQ(plan.appliesGain, gain);
    if (bitRate) { EXPECT_EQ(plan.encoder.bitRate, bitRate); }
    if (channels) { EXPECT_EQ(plan.encoder.channels, channels); }
    if (sampleRate) { EXPECT_EQ(plan.encoder.sampleRate, sampleRate); }
  }
}

}  // namespace
}  // namespace halvane
