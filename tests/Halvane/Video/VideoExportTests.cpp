// Export on generated clips: upright pixels without rotation metadata, HEVC in a .mov,
// trimmed frame counts and times from 0, the output sizes of the presets and the
// scaler, the audio table end to end, and every way an export ends without a file.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "VideoPlaybackSupport.h"

namespace halvane {
namespace {

using namespace testsupport;

std::string toneClip() { return makeClip("tone-64x48", {}); }

double rms(const std::vector<float>& samples) {
  double sum = 0;
  for (float s : samples) sum += double(s) * s;
  return samples.empty() ? 0 : std::sqrt(sum / double(samples.size()));
}

float peak(const std::vector<float>& samples) {
  float most = 0;
  for (float s : samples) most = std::max(most, std::fabs(s));
  return most;
}

// The codec, rate and channels of a movie's one sound track ("none" without one).
std::string soundOf(const std::string& path) {
  const auto audio = probeMovie(path).audio;
  if (audio.size() != 1) return audio.empty() ? "none" : "several";
  return audio[0].codec + " " + std::to_string(audio[0].sampleRate) + " " + std::to_string(audio[0].channels);
}

class VideoExportTest : public testing::VideoRendererTest {
 protected:
  void SetUp() override {
    VideoRendererTest::SetUp();
    renderer->stopPlayback();  // export shares nothing with playback
  }
  // Exports `source` to a fresh `name` with `edit`; the output's path, empty on failure.
  std::string exported(const std::string& name, const EditState& edit, const std::string& source = toneClip(),
                       VideoExportPreset preset = VideoExportPreset::balanced) {
    const auto output = freshPath(name);
    const auto result = runExport(source, output, edit, preset);
    EXPECT_TRUE(result && result->hasValue()) << failureText(result);
    return result && result->hasValue() ? output : std::string();
  }
  void expectCancelled() {
    ASSERT_TRUE(pumpUntil([&] { return exportResult.has_value(); }));
    ASSERT_FALSE(exportResult->hasValue());
    EXPECT_EQ(exportResult->error().code(), VideoRenderError::Code::cancelled);
  }
};

// A turned clip is written upright without rotation metadata; a trimmed one (a second
// from 0.5 of a silent clip) holds its range from 0. Every frame is there with its time,
// one progress call a frame, rising, reaching 1 with the last, and one background task.
class WrittenExportTest : public VideoExportTest, public ::testing::WithParamInterface<int> {};

TEST_P(WrittenExportTest, WritesUprightHevcFramesFromZeroWithoutRotationMetadata) {
  const int turns = GetParam(), trimmed = turns == 0;
  const auto source =
      trimmed ? makeClip("silent-2s", {.frames = 60, .audio = ClipAudio::none})
              : makeClip("export-turned-" + std::to_string(turns), {.width = 64, .height = 96, .quarterTurns = turns});
  const auto output = freshPath("written-" + std::to_string(turns) + ".mov");
  const auto result = runExport(source, output, trimmed ? EditState{.trimStart = 0.5, .trimEnd = 1.5} : EditState{});
  ASSERT_TRUE(result && result->hasValue()) << failureText(result);
  EXPECT_EQ(**result, output);
  const auto facts = probeMovie(output);
  EXPECT_NE(facts.formatName.find("mov"), std::string::npos);
  ASSERT_EQ(facts.video.size(), 1u);
  EXPECT_EQ(facts.video[0].codec + " " + facts.video[0].codecTag, "hevc hvc1");
  EXPECT_EQ(std::pair(facts.video[0].width, facts.video[0].height), trimmed ? std::pair(64, 48) : std::pair(64, 96));
  EXPECT_FALSE(facts.video[0].hasDisplayMatrix);
  EXPECT_EQ(facts.audio.size(), trimmed ? 0u : 1u);
  const auto frames = decodedFrames(output);
  ASSERT_EQ(frames.size(), 30u);
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_TRUE(showsUprightQuadrants(frames[i])) << "frame " << i;
    EXPECT_EQ(frameNumber(frames[i]), int(i) + (trimmed ? 15 : 0));
    EXPECT_NEAR(frames[i].presentationTime().seconds(), double(i) / 30, 1e-3) << "frame " << i;
  }
  ASSERT_EQ(progress.size(), 30u);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_FLOAT_EQ(progress.back(), 1.0f);
  EXPECT_EQ(backgroundTasks->beginCount(), 1u);
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
}

INSTANTIATE_TEST_SUITE_P(QuarterTurnsOrTrimmed, WrittenExportTest, ::testing::Values(1, 2, 3, 0));

// Odd sides are evened by the scaler (the sizes of the presets are in the decision
// tests, the scaler's pixels against a reference in its own); a one-pixel crop writes
// 2 by 2 (inside the red quadrant); an edit reaches every frame.
TEST_F(VideoExportTest, OutputSizesFollowThePresetAndTheScalerAndEditsReachEveryFrame) {
  // The clip's size and frames, the edit and preset, the size written.
  const std::tuple<int, int, int, EditState, VideoExportPreset, int, int> cases[] = {
      {63, 47, 5, {}, VideoExportPreset::maxQuality, 62, 46},
      {64, 48, 3, {.cropRect = {8.0 / 64, 4.0 / 48, 1.0 / 64, 1.0 / 48}}, VideoExportPreset::balanced, 2, 2},
      {64, 48, 10, {.exposure = -3}, VideoExportPreset::balanced, 64, 48}};
  for (const auto& [width, height, frameCount, edit, preset, outWidth, outHeight] : cases) {
    const std::string clip = std::to_string(width) + "x" + std::to_string(height) + "-" + std::to_string(frameCount);
    SCOPED_TRACE(clip);
    const auto source =
        makeClip("silent-" + clip, {.width = width, .height = height, .frames = frameCount, .audio = ClipAudio::none});
    const auto frames = decodedFrames(exported("sized-" + clip + ".mov", edit, source, preset));
    ASSERT_EQ(int(frames.size()), frameCount);
    EXPECT_EQ(std::pair(frames[0].width(), frames[0].height()), std::pair(outWidth, outHeight));
    const double unedited = meanLevel(decodedFrames(source, 1).at(0));
    if (edit.exposure < 0) {
      for (const auto& frame : frames) EXPECT_LT(meanLevel(frame), unedited * 0.6);
    } else if (outWidth == 2) {
      EXPECT_GT(frames[0].row(0)[2], 150);  // red
      EXPECT_LT(frames[0].row(0)[1], 100);
    } else {
      EXPECT_TRUE(showsUprightQuadrants(frames[0]));
      EXPECT_EQ(frameNumber(frames.back()), frameCount - 1);
      EXPECT_NEAR(meanLevel(frames[0]), unedited, 6) << "the scaled picture stays close to the source";
    }
  }
}

// --- Audio ---

TEST_F(VideoExportTest, MutedGivesNoTrackAndVolumeZeroASilentOne) {
  EXPECT_EQ(soundOf(exported("muted.mov", {.audioVolume = 1.5f, .audioMuted = true})), "none");
  const auto output = exported("silent.mov", {.audioVolume = 0});
  EXPECT_EQ(soundOf(output), "aac 44100 1");
  const auto samples = decodedAudio(output);
  ASSERT_GT(samples.size(), 40000u);
  EXPECT_LT(peak(samples), 1e-3f);
}

TEST_F(VideoExportTest, AVolumeNearOnePassesThePacketsThroughAndPcmStaysPcm) {
  const auto written = audioPackets(exported("passthrough.mov", {.audioVolume = 1.0005f}));
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(written, audioPackets(toneClip()));
  const auto pcm = makeClip("pcm-first", {.audio = ClipAudio::pcm, .audioFirst = true});
  const auto output = exported("pcm.mov", EditState(), pcm, VideoExportPreset::maxQuality);
  EXPECT_EQ(soundOf(output), "pcm_s16le 44100 1");
  EXPECT_EQ(decodedAudio(output), decodedAudio(pcm));
}

TEST_F(VideoExportTest, AVolumeOffOneIsReencodedWithGainClippedAtOne) {
  const auto output = exported("gain.mov", {.audioVolume = 1.002f});
  EXPECT_EQ(soundOf(output), "aac 44100 1");
  EXPECT_NE(audioPackets(output), audioPackets(toneClip()));
  // A second AAC generation keeps the tone's level within a few per cent.
  EXPECT_NEAR(rms(decodedAudio(output)) / rms(decodedAudio(toneClip())), 1.002, 0.03);
  const auto samples =
      decodedAudio(exported("clipped.mov", {.audioVolume = 2}, makeClip("loud-tone", {.toneAmplitude = 0.8f})));
  ASSERT_GT(samples.size(), 40000u);
  const auto saturated = std::count_if(samples.begin(), samples.end(), [](float s) { return std::fabs(s) > 0.9f; });
  // Unclipped, the peak would be 1.6; clipped, the sine is flat at 1 for over half its
  // time. AAC's ripple takes the flat top a little past 1.
  EXPECT_LT(peak(samples), 1.15f);
  EXPECT_GT(double(saturated) / double(samples.size()), 0.4);
}

// --- Failures leave no file ---

TEST_F(VideoExportTest, AnExportThatCannotStartSaysWhyAndLeavesNoFileOrTheOneThere) {
  const std::string folder = temporaryFolder();
  // Source, output, edit, the failure's text.
  const std::tuple<std::string, std::string, EditState, std::string> cases[] = {
      {toneClip(), folder + "/beyond.mov", {.trimStart = 5}, "Export failed: unknown"},
      {folder + "/absent.mov", folder + "/novideo.mov", {}, "No video track found"},
      {toneClip(), folder + "/no/such/folder/out.mov", {}, "Failed to set up asset writer"},
      {toneClip(), folder + "/occupied.mov", {}, "Failed to set up asset writer"}};
  std::ofstream(folder + "/occupied.mov") << "keep me";
  for (const auto& [source, output, edit, text] : cases) {
    SCOPED_TRACE(output);
    const bool stood = std::filesystem::exists(output);
    EXPECT_EQ(failureText(runExport(source, output, edit)), text);
    EXPECT_EQ(std::filesystem::exists(output), stood);
    EXPECT_EQ(backgroundTasks->runningCount(), 0u);
  }
  EXPECT_EQ(fileContents(folder + "/occupied.mov"), "keep me");
  EXPECT_EQ(backgroundTasks->endCount(1), 1u) << "the task of the first is ended once";
}

TEST_F(VideoExportTest, ExpiryOfTheBackgroundTaskCancelsAndEndsTheTaskOnce) {
  const auto output = freshPath("expired.mov");
  startExport(toneClip(), output);
  // The export's end waits for a turn of the main queue, so expiry can come first.
  ASSERT_TRUE(pumpUntil([&] { return backgroundTasks->beginCount() == 1; }));
  backgroundTasks->expire();
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
  expectCancelled();
  EXPECT_FALSE(std::filesystem::exists(output));
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
}

TEST_F(VideoExportTest, ARendererGoneBeforeTheExportRunsGivesCancelled) {
  startExport(toneClip(), freshPath("orphan.mov"));
  renderer.reset();
  expectCancelled();
  EXPECT_EQ(backgroundTasks->beginCount(), 0u);
}

// Cancelled directly after its start, an export ends as cancelled with its task ended
// and no file. The writer and the clean-up read a file URL the same way: a cancelled
// export to "a%20b.mov" leaves no "a b.mov" and never touches a file literally named
// "a%20b.mov"; a finished one writes "a b.mov".
TEST_F(VideoExportTest, CancelDirectlyAfterStartLeavesNoFileAndAFileURLNamesTheSameFileThroughout) {
  const std::string folder = temporaryFolder() + "/url";
  std::filesystem::create_directories(folder);
  const std::string url = "file://" + folder + "/a%20b.mov";
  std::ofstream(folder + "/a%20b.mov") << "keep me";
  startExport(toneClip(), url);
  renderer->cancelExport();
  expectCancelled();
  EXPECT_EQ(backgroundTasks->endCount(1), 1u);
  EXPECT_EQ(backgroundTasks->runningCount(), 0u);
  EXPECT_FALSE(std::filesystem::exists(folder + "/a b.mov"));
  EXPECT_EQ(fileContents(folder + "/a%20b.mov"), "keep me");
  const auto written = runExport(toneClip(), url);
  ASSERT_TRUE(written && written->hasValue()) << failureText(written);
  EXPECT_EQ(probeMovie(folder + "/a b.mov").video.size(), 1u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()), 2);
}

}  // namespace
}  // namespace halvane
