// `halvane export-video` as a user runs it: a written HEVC movie with the edit, the
// errors with their texts and causes, every terminating signal in the middle of an
// export, and a full disk, each leaving no file.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Support/TestClips.h"
#include "Support/ToolProcess.h"

namespace {

using namespace testsupport;

// `halvane export-video` with the arguments, and run to its end.
ToolProcess exportVideo(std::vector<std::string> arguments, rlim_t fileSizeLimit = RLIM_INFINITY) {
  arguments.insert(arguments.begin(), "export-video");
  return ToolProcess(HALVANE_TOOL_PATH, arguments, fileSizeLimit);
}
Finished run(const std::vector<std::string>& arguments) { return exportVideo(arguments).wait(); }

std::string toneClip() { return makeClip("cli-tone", {}); }

// 80 seconds of tiny frames with sound: long enough to interrupt, and a movie of
// several hundred kilobytes.
std::string longClip() { return makeClip("cli-long", {.frames = 2400}); }

// Each refusal says why after the engine's text, with its exit status, and leaves no
// file; on a failed export FFmpeg's own log stays silent.
TEST(ExportVideoCommandTest, ReportsErrorsWithTheirTextsAndCausesAndLeavesNoFile) {
  const std::string folder = temporaryFolder();
  const std::string photo = sample("photo/hopper.png");
  const auto output = freshPath("cli-failed.mov");
  const std::string noVideo =
      "halvane export-video: No video track found: " + photo + " is a still image, not a video\n";
  // The arguments, the exit status and what standard error says.
  const std::tuple<std::vector<std::string>, int, std::vector<std::string>> cases[] = {
      {{toneClip(), output, "--set", "trimStart=30"}, 1, {": Export failed: unknown"}},
      {{folder + "/none.mov", output}, 1, {"no such file"}},
      {{toneClip(), output, "--preset", "huge"}, 2, {"unknown preset"}},
      {{toneClip(), folder + "/cli.mp4"}, 2, {}},
      {{photo, output}, 1, {noVideo}},
      {{toneClip(), folder + "/no/such/out.mov"},
       1,
       {"halvane export-video: Failed to set up asset writer: Cannot create ", "No such file or directory"}}};
  for (const auto& [arguments, status, says] : cases) {
    const auto result = run(arguments);
    EXPECT_EQ(result.exitStatus, status) << arguments[0];
    for (const auto& text : says) EXPECT_NE(result.standardError.find(text), std::string::npos) << result.standardError;
    if (status == 1) { EXPECT_EQ(result.standardError.find('['), std::string::npos) << result.standardError; }
    EXPECT_FALSE(std::filesystem::exists(arguments[1]));
  }

  // A damaged picture stream still exports; the decoder's complaints stay unsaid.
  const std::string damaged = folder + "/cli-damaged.mov";
  std::string bytes = fileContents(toneClip());
  for (std::size_t at = bytes.size() / 4; at < bytes.size() * 3 / 4; at += bytes.size() / 16) bytes[at] ^= 0x5A;
  std::ofstream(damaged, std::ios::binary) << bytes;
  const auto result = run({damaged, freshPath("cli-damaged-out.mov")});
  EXPECT_EQ(result.standardError.find('['), std::string::npos) << result.standardError;
}

class TerminatingSignalTest : public ::testing::TestWithParam<int> {};

TEST_P(TerminatingSignalTest, CancelsCleanlyAndExitsAsKilledByIt) {
  const int number = GetParam();
  const std::string name = "cli-signal-" + std::to_string(number);
  const auto output = freshPath(name + ".mov");
  ToolProcess tool = exportVideo({longClip(), output});
  const std::string started = tool.readLine();
  ASSERT_NE(started.find("exporting"), std::string::npos);
  tool.signal(number);
  const auto result = tool.wait();
  EXPECT_EQ(result.exitStatus, 128 + number);
  EXPECT_NE(result.standardError.find("Export was cancelled"), std::string::npos) << result.standardError;
  EXPECT_EQ(result.standardOutput.find("written"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(output));
  EXPECT_TRUE(entriesNamed(temporaryFolder(), name).empty());  // nor any partial file
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminatingSignalTest, ::testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT));

// A full disk while the clip has sound, as a file size limit: the write fails with
// EFBIG, the export ends at once with its cause and leaves nothing in the folder.
TEST(ExportVideoCommandTest, AFullDiskEndsTheExportWithoutAFile) {
  const std::string folder = temporaryFolder();
  const auto result = exportVideo({longClip(), folder + "/full.mov"}, 128 * 1024).wait();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError.rfind("halvane export-video: Export failed: ", 0), 0u) << result.standardError;
  EXPECT_NE(result.standardError.find("File too large"), std::string::npos) << result.standardError;
  EXPECT_TRUE(entriesNamed(folder, "full").empty());
}

// The command goes through the tool's one output check (the tool tests hold its cases).
TEST(ExportVideoCommandTest, TheInputIsNeverTheOutput) {
  const std::string input = temporaryFolder() + "/cli-same.mov";
  std::filesystem::copy_file(toneClip(), input, std::filesystem::copy_options::overwrite_existing);
  const std::string before = fileContents(input);
  const auto result = run({input, input, "-y"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.standardError.find("is the input file"), std::string::npos) << result.standardError;
  EXPECT_EQ(fileContents(input), before);
}

// An existing output is kept unless asked; asked, it becomes an HEVC movie with the edit
// and the sound, and nothing else is left beside it.
TEST(ExportVideoCommandTest, WritesAnEditedHevcMovieOverAnExistingOutputOnlyWhenAsked) {
  const auto output = freshPath("cli-existing.mov");
  std::ofstream(output) << "keep me";
  const auto kept = run({toneClip(), output});
  EXPECT_EQ(kept.exitStatus, 1);
  EXPECT_NE(kept.standardError.find("already exists"), std::string::npos);
  EXPECT_EQ(fileContents(output), "keep me");
  const auto replaced = run({toneClip(), output, "--overwrite", "--set", "exposure=-3", "--preset", "social"});
  ASSERT_EQ(replaced.exitStatus, 0) << replaced.standardError;
  EXPECT_NE(replaced.standardOutput.find("written"), std::string::npos);
  const auto facts = probeMovie(output);
  EXPECT_EQ(facts.video.at(0).codec, "hevc");
  EXPECT_EQ(facts.audio.size(), 1u);
  const auto frames = decodedFrames(output, 1);
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_LT(meanLevel(frames[0]), 0.6 * meanLevel(decodedFrames(toneClip(), 1).at(0)));
  EXPECT_EQ(entriesNamed(temporaryFolder(), "cli-existing").size(), 1u);
}

// Frames whose times stop increasing (a damaged time table) make the writer fail
// part way while the sound goes on: the export ends at once, as failed, with no file.
TEST(ExportVideoCommandTest, FramesOutOfOrderEndTheExportAsFailed) {
  std::string bytes = fileContents(toneClip());
  const auto table = bytes.find("stts");  // the video track's, the first in the file
  ASSERT_NE(table, std::string::npos);
  for (std::size_t i = table + 16; i < table + 20; ++i) bytes[i] = 0;  // every frame at time 0
  const std::string damaged = temporaryFolder() + "/cli-stalled.mov";
  std::ofstream(damaged, std::ios::binary) << bytes;
  const auto output = freshPath("cli-stalled-out.mov");
  const auto result = run({damaged, output});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, "halvane export-video: Export failed: Frame times must increase\n");
  EXPECT_TRUE(entriesNamed(temporaryFolder(), "cli-stalled-out").empty());
}

TEST(ExportVideoCommandTest, OpusSoundIsReencodedToAac) {
  const auto opus = makeClip("cli-opus", {.audio = ClipAudio::opus, .sampleRate = 48000});
  const auto output = freshPath("cli-opus.mov");
  const auto result = run({opus, output});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  const auto facts = probeMovie(output);
  ASSERT_EQ(facts.audio.size(), 1u);
  EXPECT_EQ(facts.audio[0].codec + " " + std::to_string(facts.audio[0].sampleRate), "aac 48000");
}

}  // namespace
