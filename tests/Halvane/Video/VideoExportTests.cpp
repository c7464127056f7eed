// Export on generated clips: upright pixels without rotation metadata, HEVC in a .mov,
// trimmed frame counts and times from 0, the output sizes of the presets and the
// scaler, the audio table end to end, and every way an export ends without a file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Platform/Media/Asset.h"
#include "VideoPlaybackSupport.h"

namespace halvane {
namespace {

using platform::media::PixelBuffer;
using testsupport::ClipAudio;
using testsupport::ClipDescription;

class VideoExportTest : public testing::VideoRendererTest {
 protected:
  void SetUp() override {
    VideoRendererTest::SetUp();
    renderer->stopPlayback();  // export shares nothing with playback
  }

  static std::string toneClip() {
    ClipDescription clip;
    return testsupport::makeClip("tone-64x48", clip);
  }

  static double rms(const std::vector<float>& samples) {
    double sum = 0;
    for (float s : samples) sum += double(s) * s;
    return samples.empty() ? 0 : std::sqrt(sum / double(samples.size()));
  }

  std::string failureText(const std::optional<VideoExportResult>& result) {
    if (!result || result->hasValue()) return "(no failure)";
    return result->error().localizedDescription();
  }

  // A silent pattern clip of `frames` frames at width x height, exported with `edit`
  // at `preset`: the written frames as decoded, none when the export failed.
  std::vector<PixelBuffer> exportSilentClip(const std::string& name, int width, int height, int frames,
                                            const EditState& edit, VideoExportPreset preset) {
    ClipDescription clip;
    clip.width = width;
    clip.height = height;
    clip.frames = frames;
    clip.audio = ClipAudio::none;
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    const auto source = testsupport::makeClip("silent-" + size + "-" + std::to_string(frames), clip);
    const auto output = testsupport::freshPath(name + ".mov");
    const auto result = runExport(source, output, edit, preset);
    EXPECT_TRUE(result && result->hasValue()) << failureText(result);
    return result && result->hasValue() ? testsupport::decodedFrames(output) : std::vector<PixelBuffer>{};
  }
};

class RotatedExportTest : public VideoExportTest, public ::testing::WithParamInterface<int> {};

TEST_P(RotatedExportTest, WritesUprightHevcFramesWithoutRotationMetadata) {
  ClipDescription clip;
  clip.width = 64;
  clip.height = 96;
  clip.quarterTurns = GetParam();
  const auto source = testsupport::makeClip("export-turned-" + std::to_string(GetParam()), clip);
  const auto output = testsupport::freshPath("turned-" + std::to_string(GetParam()) + ".mov");
  std::vector<float> progress;
  const auto result = runExport(source, output, EditState(), VideoExportPreset::balanced, &progress);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  EXPECT_EQ(**result, output);

  const auto facts = testsupport::probeMovie(output);
  EXPECT_NE(facts.formatName.find("mov"), std::string::npos);
  ASSERT_EQ(facts.video.size(), 1u);
  EXPECT_EQ(facts.video[0].codec, "hevc");
  EXPECT_EQ(facts.video[0].codecTag, "hvc1");
  EXPECT_EQ(facts.video[0].width, 64);
  EXPECT_EQ(facts.video[0].height, 96);
  EXPECT_FALSE(facts.video[0].hasDisplayMatrix);
  EXPECT_EQ(testsupport::displayQuarterTurns(output), 0);
  EXPECT_EQ(facts.audio.size(), 1u);

  const auto frames = testsupport::decodedFrames(output);
  ASSERT_EQ(frames.size(), 30u);
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_TRUE(testsupport::showsUprightQuadrants(frames[i])) << "frame " << i;
    EXPECT_EQ(testsupport::frameNumber(frames[i]), int(i));
  }

  // One progress call a frame, rising, and 1 reached with the last.
  ASSERT_EQ(progress.size(), 30u);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_FLOAT_EQ(progress.back(), 1.0f);
  EXPECT_EQ(backgroundTasks->beginCount(), 1u);
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
}

INSTANTIATE_TEST_SUITE_P(QuarterTurns, RotatedExportTest, ::testing::Values(1, 2, 3));

TEST_F(VideoExportTest, ATrimmedExportHoldsTheRangeFromZero) {
  ClipDescription clip;
  clip.frames = 60;
  clip.audio = ClipAudio::none;
  const auto source = testsupport::makeClip("silent-2s", clip);
  const auto output = testsupport::freshPath("trimmed.mov");
  EditState trim;
  trim.trimStart = 0.5;
  trim.trimEnd = 1.5;
  std::vector<float> progress;
  const auto result = runExport(source, output, trim, VideoExportPreset::balanced, &progress);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);

  EXPECT_TRUE(testsupport::probeMovie(output).audio.empty());
  const auto times = testsupport::videoFrameTimes(output);
  ASSERT_EQ(times.size(), 30u);
  for (size_t i = 0; i < times.size(); ++i) EXPECT_NEAR(times[i], double(i) / 30, 1e-3) << "frame " << i;
  const auto frames = testsupport::decodedFrames(output);
  ASSERT_EQ(frames.size(), 30u);
  for (size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(testsupport::frameNumber(frames[i]), int(i) + 15);
  EXPECT_EQ(progress.size(), 30u);
}

TEST_F(VideoExportTest, AnOddSizeIsEvenedByTheScaler) {
  const auto frames = exportSilentClip("odd", 63, 47, 5, EditState(), VideoExportPreset::maxQuality);
  ASSERT_EQ(frames.size(), 5u);
  EXPECT_EQ(frames[0].width(), 62);
  EXPECT_EQ(frames[0].height(), 46);
  EXPECT_TRUE(testsupport::showsUprightQuadrants(frames[0]));
}

TEST_F(VideoExportTest, AColourEditReachesEveryFrame) {
  EditState dark;
  dark.exposure = -3;
  const auto frames = exportSilentClip("edited", 64, 48, 10, dark, VideoExportPreset::balanced);
  ASSERT_EQ(frames.size(), 10u);
  const double unedited = testsupport::meanLevel(testsupport::patternFrame(64, 48, 0));
  for (const auto& frame : frames) EXPECT_LT(testsupport::meanLevel(frame), unedited * 0.6);
}

// Real 1080-line sources, a few frames long.
TEST_F(VideoExportTest, SocialScalesJustOverFullHDDownToEvenSides) {
  const auto frames = exportSilentClip("social", 1921, 1080, 3, EditState(), VideoExportPreset::social);
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_EQ(frames[0].width(), 1920);
  EXPECT_EQ(frames[0].height(), 1078);
  EXPECT_TRUE(testsupport::showsUprightQuadrants(frames[0]));
  EXPECT_EQ(testsupport::frameNumber(frames[2]), 2);
}

TEST_F(VideoExportTest, MaxQualityEvensAnOddRenderSizeWithTheScaler) {
  const auto frames = exportSilentClip("maxquality", 1081, 721, 3, EditState(), VideoExportPreset::maxQuality);
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_EQ(frames[0].width(), 1080);
  EXPECT_EQ(frames[0].height(), 720);
  // The scaled picture stays close to the source's pattern.
  const auto expected = testsupport::patternFrame(1081, 721, 0);
  EXPECT_TRUE(testsupport::showsUprightQuadrants(frames[0]));
  EXPECT_EQ(testsupport::frameNumber(frames[0]), 0);
  EXPECT_NEAR(testsupport::meanLevel(frames[0]), testsupport::meanLevel(expected), 6);
}

TEST_F(VideoExportTest, ACropToOnePixelWritesTwoByTwo) {
  EditState crop;
  crop.cropRect = {8.0 / 64, 4.0 / 48, 1.0 / 64, 1.0 / 48};  // inside the red quadrant
  const auto frames = exportSilentClip("pixel", 64, 48, 3, crop, VideoExportPreset::balanced);
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_EQ(frames[0].width(), 2);
  EXPECT_EQ(frames[0].height(), 2);
  const std::uint8_t* pixel = frames[0].row(0);
  EXPECT_GT(pixel[2], 150);  // red
  EXPECT_LT(pixel[1], 100);
}

// --- Audio ---

TEST_F(VideoExportTest, MutedGivesNoAudioTrackWhateverTheVolume) {
  const auto output = testsupport::freshPath("muted.mov");
  EditState muted;
  muted.audioMuted = true;
  muted.audioVolume = 1.5f;
  const auto result = runExport(toneClip(), output, muted, VideoExportPreset::balanced);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  EXPECT_TRUE(testsupport::probeMovie(output).audio.empty());
}

TEST_F(VideoExportTest, VolumeZeroGivesASilentTrack) {
  const auto output = testsupport::freshPath("silent.mov");
  EditState silent;
  silent.audioVolume = 0;
  const auto result = runExport(toneClip(), output, silent, VideoExportPreset::balanced);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  const auto facts = testsupport::probeMovie(output);
  ASSERT_EQ(facts.audio.size(), 1u);
  EXPECT_EQ(facts.audio[0].codec, "aac");
  const auto samples = testsupport::decodedAudio(output);
  ASSERT_GT(samples.size(), 40000u);
  float peak = 0;
  for (float s : samples) peak = std::max(peak, std::fabs(s));
  EXPECT_LT(peak, 1e-3f);
}

TEST_F(VideoExportTest, AVolumeNearOnePassesThePacketsThrough) {
  const auto output = testsupport::freshPath("passthrough.mov");
  EditState near;
  near.audioVolume = 1.0005f;
  const auto result = runExport(toneClip(), output, near, VideoExportPreset::balanced);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  const auto written = testsupport::audioPackets(output);
  const auto original = testsupport::audioPackets(toneClip());
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(written, original);
}

TEST_F(VideoExportTest, PcmSoundPassesThroughAsPcm) {
  ClipDescription clip;
  clip.audio = ClipAudio::pcm;
  clip.audioFirst = true;
  const auto source = testsupport::makeClip("pcm-first", clip);
  const auto output = testsupport::freshPath("pcm.mov");
  const auto result = runExport(source, output, EditState(), VideoExportPreset::maxQuality);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  const auto facts = testsupport::probeMovie(output);
  ASSERT_EQ(facts.audio.size(), 1u);
  EXPECT_EQ(facts.audio[0].codec, "pcm_s16le");
  EXPECT_EQ(testsupport::decodedAudio(output), testsupport::decodedAudio(source));
}

TEST_F(VideoExportTest, AVolumeJustOffOneIsReencodedWithGain) {
  const auto output = testsupport::freshPath("gain.mov");
  EditState louder;
  louder.audioVolume = 1.002f;
  const auto result = runExport(toneClip(), output, louder, VideoExportPreset::balanced);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  const auto facts = testsupport::probeMovie(output);
  ASSERT_EQ(facts.audio.size(), 1u);
  EXPECT_EQ(facts.audio[0].codec, "aac");
  EXPECT_EQ(facts.audio[0].sampleRate, 44100);
  EXPECT_EQ(facts.audio[0].channels, 1);
  EXPECT_NE(testsupport::audioPackets(output), testsupport::audioPackets(toneClip()));
  // A second AAC generation keeps the tone's level within a few per cent.
  const double ratio = rms(testsupport::decodedAudio(output)) / rms(testsupport::decodedAudio(toneClip()));
  EXPECT_NEAR(ratio, 1.002, 0.03);
}

TEST_F(VideoExportTest, GainAboveOneIsClippedAtOne) {
  ClipDescription clip;
  clip.toneAmplitude = 0.8f;
  const auto source = testsupport::makeClip("loud-tone", clip);
  const auto output = testsupport::freshPath("clipped.mov");
  EditState doubled;
  doubled.audioVolume = 2;
  const auto result = runExport(source, output, doubled, VideoExportPreset::balanced);
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  const auto samples = testsupport::decodedAudio(output);
  ASSERT_GT(samples.size(), 40000u);
  float peak = 0;
  size_t saturated = 0;
  for (float s : samples) {
    peak = std::max(peak, std::fabs(s));
    if (std::fabs(s) > 0.9f) ++saturated;
  }
  // Unclipped, the peak would be 1.6; clipped, the sine is flat at 1 for over half its
  // time. AAC's ripple takes the flat top a little past 1.
  EXPECT_LT(peak, 1.15f);
  EXPECT_GT(double(saturated) / double(samples.size()), 0.4);
}

// --- Failures leave no file ---

TEST_F(VideoExportTest, ATrimStartBeyondTheDurationFailsWithoutUnderlyingError) {
  const auto output = testsupport::freshPath("beyond.mov");
  EditState late;
  late.trimStart = 5;
  const auto result = runExport(toneClip(), output, late, VideoExportPreset::balanced);
  ASSERT_TRUE(result && !result->hasValue());
  EXPECT_EQ(result->error().localizedDescription(), "Export failed: unknown");
  EXPECT_FALSE(std::filesystem::exists(output));
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
}

TEST_F(VideoExportTest, CancelDirectlyAfterStartEndsCancelledWithoutFile) {
  const auto output = testsupport::freshPath("cancelled.mov");
  std::optional<VideoExportResult> result;
  renderer->setAsset(platform::media::Asset::make(toneClip()));
  renderer->exportVideo(output, EditState(), VideoExportPreset::balanced, {},
                        [&](VideoExportResult outcome) { result = std::move(outcome); });
  renderer->cancelExport();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return result.has_value(); }));
  ASSERT_FALSE(result->hasValue());
  EXPECT_EQ(result->error().code(), VideoRenderError::Code::cancelled);
  EXPECT_FALSE(std::filesystem::exists(output));
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
  EXPECT_EQ(backgroundTasks->runningCount(), 0u);
}

TEST_F(VideoExportTest, ExpiryOfTheBackgroundTaskCancelsAndEndsTheTaskOnce) {
  const auto output = testsupport::freshPath("expired.mov");
  std::optional<VideoExportResult> result;
  renderer->setAsset(platform::media::Asset::make(toneClip()));
  renderer->exportVideo(output, EditState(), VideoExportPreset::balanced, {},
                        [&](VideoExportResult outcome) { result = std::move(outcome); });
  // The export's end waits for a turn of the main queue, so expiry can come first.
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return backgroundTasks->beginCount() == 1; }));
  backgroundTasks->expire();
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return result.has_value(); }));
  ASSERT_FALSE(result->hasValue());
  EXPECT_EQ(result->error().code(), VideoRenderError::Code::cancelled);
  EXPECT_FALSE(std::filesystem::exists(output));
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
}

TEST_F(VideoExportTest, ARendererGoneBeforeTheExportRunsGivesCancelled) {
  std::optional<VideoExportResult> result;
  renderer->setAsset(platform::media::Asset::make(toneClip()));
  renderer->exportVideo(testsupport::freshPath("orphan.mov"), EditState(), VideoExportPreset::balanced, {},
                        [&](VideoExportResult outcome) { result = std::move(outcome); });
  renderer.reset();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return result.has_value(); }));
  ASSERT_FALSE(result->hasValue());
  EXPECT_EQ(result->error().code(), VideoRenderError::Code::cancelled);
  EXPECT_EQ(backgroundTasks->beginCount(), 0u);
}

TEST_F(VideoExportTest, ASourceWithoutVideoReportsIt) {
  const auto output = testsupport::freshPath("novideo.mov");
  const auto result = runExport(testsupport::temporaryFolder() + "/absent.mov", output, EditState(),
                                VideoExportPreset::balanced);
  ASSERT_TRUE(result && !result->hasValue());
  EXPECT_EQ(result->error().localizedDescription(), "No video track found");
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(VideoExportTest, AnOccupiedOutputIsRefusedAndLeftAlone) {
  const auto output = testsupport::freshPath("occupied.mov");
  std::ofstream(output) << "keep me";
  const auto result = runExport(toneClip(), output, EditState(), VideoExportPreset::balanced);
  ASSERT_TRUE(result && !result->hasValue());
  EXPECT_EQ(result->error().localizedDescription(), "Failed to set up asset writer");
  std::ifstream kept(output);
  std::string text;
  std::getline(kept, text);
  EXPECT_EQ(text, "keep me");
}

// The writer and the clean-up read a file URL the same way: a cancelled export to
// "a%20b.mov" leaves no "a b.mov" and never touches a file literally named "a%20b.mov";
// a finished one writes "a b.mov".
TEST_F(VideoExportTest, AFileURLNamesTheSameFileThroughout) {
  const std::string folder = testsupport::temporaryFolder() + "/url";
  std::filesystem::create_directories(folder);
  const std::string url = "file://" + folder + "/a%20b.mov";
  std::ofstream(folder + "/a%20b.mov") << "keep me";
  std::optional<VideoExportResult> result;
  renderer->setAsset(platform::media::Asset::make(toneClip()));
  renderer->exportVideo(url, EditState(), VideoExportPreset::balanced, {},
                        [&](VideoExportResult outcome) { result = std::move(outcome); });
  renderer->cancelExport();
  ASSERT_TRUE(testsupport::pumpUntil(*queue, [&] { return result.has_value(); }));
  ASSERT_FALSE(result->hasValue());
  EXPECT_EQ(result->error().code(), VideoRenderError::Code::cancelled);
  EXPECT_FALSE(std::filesystem::exists(folder + "/a b.mov"));
  std::string kept;
  std::getline(std::ifstream(folder + "/a%20b.mov"), kept);
  EXPECT_EQ(kept, "keep me");

  const auto written = runExport(toneClip(), url, EditState(), VideoExportPreset::balanced);
  ASSERT_TRUE(written && written->hasValue()) << failureText(written);
  EXPECT_EQ(testsupport::probeMovie(folder + "/a b.mov").video.size(), 1u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()), 2);
}

TEST_F(VideoExportTest, AMissingFolderFailsSetUpWithoutFile) {
  const auto output = testsupport::temporaryFolder() + "/no/such/folder/out.mov";
  const auto result = runExport(toneClip(), output, EditState(), VideoExportPreset::balanced);
  ASSERT_TRUE(result && !result->hasValue());
  EXPECT_EQ(result->error().code(), VideoRenderError::Code::writerSetupFailed);
  EXPECT_FALSE(std::filesystem::exists(output));
}

}  // namespace
}  // namespace halvane
