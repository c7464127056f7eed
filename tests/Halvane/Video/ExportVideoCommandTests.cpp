// `halvane export-video` as a user runs it: a written HEVC movie with the edit, the
// errors with their texts, and Ctrl-C in the middle of an export leaving no file.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "VideoTestClips.h"

namespace {

struct Finished {
  int exitStatus = -1;  // 128 + signal for a process killed by a signal
  std::string standardOutput;
  std::string standardError;
};

// The tool running in a child process, its output on pipes.
class ToolProcess {
 public:
  explicit ToolProcess(const std::vector<std::string>& arguments) {
    int out[2], err[2];
    if (::pipe(out) != 0 || ::pipe(err) != 0) throw std::runtime_error("pipe");
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      ::close(out[0]), ::close(out[1]), ::close(err[0]), ::close(err[1]);
      std::vector<char*> argv;
      argv.push_back(const_cast<char*>(HALVANE_TOOL_PATH));
      for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      ::signal(SIGINT, SIG_DFL);
      ::execv(HALVANE_TOOL_PATH, argv.data());
      ::_exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    out_ = out[0];
    err_ = err[0];
  }

  // Reads standard output up to and including the next line.
  std::string readLine() {
    std::string line;
    char c;
    while (::read(out_, &c, 1) == 1) {
      output_ += c;
      if (c == '\n') break;
      line += c;
    }
    return line;
  }

  void interrupt() const { ::kill(pid_, SIGINT); }

  Finished wait() {
    Finished finished;
    finished.standardOutput = output_ + drain(out_);
    finished.standardError = drain(err_);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    finished.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return finished;
  }

 private:
  static std::string drain(int fd) {
    std::string text;
    char buffer[4096];
    ssize_t count;
    while ((count = ::read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, size_t(count));
    ::close(fd);
    return text;
  }

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  std::string output_;
};

Finished run(const std::vector<std::string>& arguments) { return ToolProcess(arguments).wait(); }

std::string toneClip() { return videotest::makeClip("cli-tone", videotest::ClipDescription()); }

TEST(ExportVideoCommandTest, WritesAnEditedHevcMovie) {
  const auto output = videotest::freshPath("cli.mov");
  const auto result = run({"export-video", toneClip(), output, "--set", "exposure=-3", "--preset", "social"});
  ASSERT_EQ(result.exitStatus, 0) << result.standardError;
  EXPECT_NE(result.standardOutput.find("written"), std::string::npos);
  const auto facts = videotest::probeMovie(output);
  ASSERT_EQ(facts.video.size(), 1u);
  EXPECT_EQ(facts.video[0].codec, "hevc");
  EXPECT_EQ(facts.audio.size(), 1u);
  const auto frames = videotest::decodedFrames(output, 1);
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_LT(videotest::meanLevel(frames[0]), 0.6 * videotest::meanLevel(videotest::patternFrame(64, 48, 0)));
}

TEST(ExportVideoCommandTest, ReportsErrorsWithTheirTextsAndLeavesNoFile) {
  const auto output = videotest::freshPath("cli-failed.mov");
  auto late = run({"export-video", toneClip(), output, "--set", "trimStart=30"});
  EXPECT_EQ(late.exitStatus, 1);
  EXPECT_NE(late.standardError.find("Export failed: unknown"), std::string::npos) << late.standardError;
  EXPECT_FALSE(std::filesystem::exists(output));

  auto missing = run({"export-video", videotest::temporaryFolder() + "/none.mov", output});
  EXPECT_EQ(missing.exitStatus, 1);
  EXPECT_NE(missing.standardError.find("no such file"), std::string::npos);

  auto preset = run({"export-video", toneClip(), output, "--preset", "huge"});
  EXPECT_EQ(preset.exitStatus, 2);
  EXPECT_NE(preset.standardError.find("unknown preset"), std::string::npos);

  auto notMov = run({"export-video", toneClip(), videotest::freshPath("cli.mp4")});
  EXPECT_EQ(notMov.exitStatus, 2);

  auto occupied = run({"export-video", toneClip(), toneClip()});
  EXPECT_EQ(occupied.exitStatus, 1);
  EXPECT_NE(occupied.standardError.find("already exists"), std::string::npos);
}

TEST(ExportVideoCommandTest, CtrlCCancelsCleanly) {
  videotest::ClipDescription longClip;
  longClip.frames = 2400;  // 80 seconds of tiny frames: long enough to interrupt
  const auto source = videotest::makeClip("cli-long", longClip);
  const auto output = videotest::freshPath("cli-interrupted.mov");
  ToolProcess tool({"export-video", source, output});
  const std::string started = tool.readLine();
  ASSERT_NE(started.find("exporting"), std::string::npos);
  tool.interrupt();
  const auto result = tool.wait();
  EXPECT_EQ(result.exitStatus, 128 + SIGINT);
  EXPECT_NE(result.standardError.find("Export was cancelled"), std::string::npos) << result.standardError;
  EXPECT_EQ(result.standardOutput.find("written"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(output));
  // Nor any partial file beside it.
  for (const auto& entry : std::filesystem::directory_iterator(videotest::temporaryFolder()))
    EXPECT_EQ(entry.path().filename().string().find("cli-interrupted"), std::string::npos) << entry.path();
}

}  // namespace
