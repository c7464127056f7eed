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

TEST(QuarterTurnsTest, ReadsTheThreeTurnsWithinTheTolerance) {
  EXPECT_EQ(quarterTurnsFromTransform({1, 0, 0, 1, 0, 0}), 0);
  EXPECT_EQ(quarterTurnsFromTransform({0, 1, -1, 0, 480, 0}), 1);
  EXPECT_EQ(quarterTurnsFromTransform({-1, 0, 0, -1, 640, 480}), 2);
  EXPECT_EQ(quarterTurnsFromTransform({0, -1, 1, 0, 0, 640}), 3);
  // Just inside and just outside the strict 0.01.
  EXPECT_EQ(quarterTurnsFromTransform({0.0099, 0.9901, -1.0099, -0.0099, 0, 0}), 1);
  EXPECT_EQ(quarterTurnsFromTransform({0.01, 1, -1, 0, 0, 0}), 0);
  EXPECT_EQ(quarterTurnsFromTransform({0, 1, -1.01, 0, 0, 0}), 0);
}

TEST(QuarterTurnsTest, ScaleShearAndMirrorCountAsNoTurn) {
  EXPECT_EQ(quarterTurnsFromTransform({0, 0.5, -0.5, 0, 0, 0}), 0);   // turn with a small scale
  EXPECT_EQ(quarterTurnsFromTransform({1, 0.2, 0, 1, 0, 0}), 0);      // shear
  EXPECT_EQ(quarterTurnsFromTransform({0, 1, 1, 0, 0, 0}), 0);        // a turn and a mirror
  EXPECT_EQ(quarterTurnsFromTransform({0.7071, 0.7071, -0.7071, 0.7071, 0, 0}), 0);  // 45 degrees
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(quarterTurnsFromTransform({nan, 1, -1, 0, 0, 0}), 0);
}

TEST(QuarterTurnsTest, UprightSizeExchangesSidesForOddTurnsAndBoundsAShear) {
  EXPECT_EQ(uprightSize({0, 1, -1, 0, 1080, 0}, {1920, 1080}), (platform::media::MediaSize{1080, 1920}));
  EXPECT_EQ(uprightSize({-1, 0, 0, -1, 0, 0}, {640, 480}), (platform::media::MediaSize{640, 480}));
  EXPECT_EQ(uprightSize({0, -1, 1, 0, 0, 0}, {80, 60}), (platform::media::MediaSize{60, 80}));
  EXPECT_EQ(uprightSize({1, 0, 0.5, 1, 0, 0}, {100, 10}), (platform::media::MediaSize{105, 10}));
  EXPECT_FALSE(orientationState(0));
  ASSERT_TRUE(orientationState(3));
  EditState expected;
  expected.rotationQuarterTurns = 3;
  EXPECT_EQ(*orientationState(3), expected);
}

TEST(NeutralRenderingTest, TrimAudioAndVersionNeverCostAPass) {
  EditState state;
  EXPECT_TRUE(isNeutralForRendering(state));
  state.version = 7;
  state.trimStart = 1.5;
  state.trimEnd = 3;
  state.audioVolume = 0;
  state.audioMuted = true;
  EXPECT_TRUE(isNeutralForRendering(state));
  state.exposure = 0.1f;
  EXPECT_FALSE(isNeutralForRendering(state));
  EditState turnedOnly;
  turnedOnly.rotationQuarterTurns = 1;
  EXPECT_FALSE(isNeutralForRendering(turnedOnly));
  EditState unreadable;
  unreadable.contrast = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(isNeutralForRendering(unreadable));
}

TEST(ExportOutputSizeTest, SocialFitsWithinFullHDAndEverySizeIsEven) {
  using P = PixelSize;
  EXPECT_EQ(exportOutputSize({1921, 1080}, VideoExportPreset::social), (P{1920, 1078}));
  EXPECT_EQ(exportOutputSize({1920, 1080}, VideoExportPreset::social), (P{1920, 1080}));
  EXPECT_EQ(exportOutputSize({1080, 1920}, VideoExportPreset::social), (P{1080, 1920}));
  EXPECT_EQ(exportOutputSize({3840, 2160}, VideoExportPreset::social), (P{1920, 1080}));
  EXPECT_EQ(exportOutputSize({1440, 1440}, VideoExportPreset::social), (P{1080, 1080}));
  // A long thin strip scales to below 2 on its short side, and is raised again.
  EXPECT_EQ(exportOutputSize({4000, 1}, VideoExportPreset::social), (P{1920, 2}));
  EXPECT_EQ(exportOutputSize({3840, 2160}, VideoExportPreset::balanced), (P{3840, 2160}));
  EXPECT_EQ(exportOutputSize({1081, 721}, VideoExportPreset::maxQuality), (P{1080, 720}));
  EXPECT_EQ(exportOutputSize({1, 1}, VideoExportPreset::balanced), (P{2, 2}));
  EXPECT_EQ(exportOutputSize({3, 1}, VideoExportPreset::social), (P{2, 2}));
}

TEST(ExportTimeRangeTest, ClampsTrimsAndRefusesAnEmptyRange) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double duration, trimStart, trimEnd;
    std::optional<std::pair<double, double>> range;
  } cases[] = {
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
  for (const auto& c : cases) {
    EditState state;
    state.trimStart = c.trimStart;
    state.trimEnd = c.trimEnd;
    const auto range = exportTimeRange(c.duration, state);
    ASSERT_EQ(range.has_value(), c.range.has_value()) << c.duration << " " << c.trimStart << " " << c.trimEnd;
    if (!range) continue;
    EXPECT_DOUBLE_EQ(range->start, c.range->first) << c.trimStart << " " << c.trimEnd;
    EXPECT_DOUBLE_EQ(range->end, c.range->second) << c.trimStart << " " << c.trimEnd;
  }
  EditState trim;
  trim.trimStart = 0.5;
  trim.trimEnd = 1.5;
  const auto ticks = exportTimeRange(2.0, trim)->mediaRange();
  EXPECT_EQ(ticks.start.value, 300);
  EXPECT_EQ(ticks.start.timescale, 600);
  EXPECT_EQ(ticks.duration.value, 600);
  // Ends that round onto the start's tick are no range: half a second from the start.
  for (double end : {1e-320, 0.0004, 1.0 + 1e-9}) {
    trim.trimStart = end > 1 ? 1.0 : 0.0;
    trim.trimEnd = end;
    const auto tiny = exportTimeRange(2.0, trim);
    ASSERT_TRUE(tiny) << end;
    EXPECT_EQ(tiny->mediaRange().duration.value, 300) << end;
  }
}

TEST(VideoEncoderSettingsTest, BitRatesFollowThePresetAndStrictThresholds) {
  auto rate = [](VideoExportPreset preset, uint32_t w, uint32_t h) {
    return videoEncoderSettings(preset, {w, h}, 30).averageBitRate;
  };
  EXPECT_EQ(rate(VideoExportPreset::social, 1280, 720), 4'000'000);
  EXPECT_EQ(rate(VideoExportPreset::social, 1920, 1080), 6'000'000);
  EXPECT_EQ(rate(VideoExportPreset::social, 720, 1280), 6'000'000);
  EXPECT_EQ(rate(VideoExportPreset::balanced, 1280, 720), 6'000'000);
  EXPECT_EQ(rate(VideoExportPreset::balanced, 1920, 1080), 10'000'000);
  EXPECT_EQ(rate(VideoExportPreset::balanced, 1080, 1920), 10'000'000);
  EXPECT_EQ(rate(VideoExportPreset::balanced, 3840, 2160), 20'000'000);
  const auto quality = videoEncoderSettings(VideoExportPreset::maxQuality, {1080, 720}, 24);
  ASSERT_TRUE(quality.quality);
  EXPECT_DOUBLE_EQ(*quality.quality, 1.0);
  EXPECT_EQ(quality.width, 1080);
  EXPECT_EQ(quality.height, 720);
  EXPECT_DOUBLE_EQ(quality.expectedFrameRate, 24);
}

TEST(AudioPlanTest, FollowsTheDecisionTable) {
  AudioFormatDescription mono;
  mono.sampleRate = 48000;
  mono.channels = 1;
  mono.codec = "aac";
  EditState state;

  state.audioMuted = true;
  EXPECT_EQ(planAudio(state, VideoExportPreset::balanced, true, mono).route, AudioRoute::none);
  state.audioMuted = false;
  EXPECT_EQ(planAudio(state, VideoExportPreset::balanced, false, mono).route, AudioRoute::none);

  state.audioVolume = 1.0005f;
  auto passthrough = planAudio(state, VideoExportPreset::balanced, true, mono);
  EXPECT_EQ(passthrough.route, AudioRoute::passthrough);
  EXPECT_FALSE(passthrough.appliesGain);
  // No format description: decoded, but no gain so near 1.
  auto unknown = planAudio(state, VideoExportPreset::maxQuality, true, std::nullopt);
  EXPECT_EQ(unknown.route, AudioRoute::reencode);
  EXPECT_FALSE(unknown.appliesGain);
  EXPECT_EQ(unknown.encoder.channels, 2);
  EXPECT_EQ(unknown.encoder.sampleRate, 44100);
  EXPECT_EQ(unknown.encoder.bitRate, 256000);

  // Sound a movie cannot carry as it is (Opus, FLAC) is encoded again, without gain.
  AudioFormatDescription opus = mono;
  opus.codec = "opus";
  opus.copiesIntoMovie = false;
  auto reencoded = planAudio(state, VideoExportPreset::balanced, true, opus);
  EXPECT_EQ(reencoded.route, AudioRoute::reencode);
  EXPECT_FALSE(reencoded.appliesGain);
  EXPECT_EQ(reencoded.encoder.sampleRate, 48000);

  state.audioVolume = 1.002f;
  auto gained = planAudio(state, VideoExportPreset::balanced, true, mono);
  EXPECT_EQ(gained.route, AudioRoute::reencode);
  EXPECT_TRUE(gained.appliesGain);
  EXPECT_EQ(gained.encoder.bitRate, 256000);
  EXPECT_EQ(gained.encoder.channels, 1);
  EXPECT_EQ(gained.encoder.sampleRate, 48000);

  state.audioVolume = 1;
  auto social = planAudio(state, VideoExportPreset::social, true, mono);
  EXPECT_EQ(social.route, AudioRoute::reencode);
  EXPECT_FALSE(social.appliesGain);
  EXPECT_EQ(social.encoder.bitRate, 128000);

  state.audioVolume = 0;
  auto silent = planAudio(state, VideoExportPreset::balanced, true, mono);
  EXPECT_EQ(silent.route, AudioRoute::reencode);
  EXPECT_TRUE(silent.appliesGain);
}

}  // namespace
}  // namespace halvane
