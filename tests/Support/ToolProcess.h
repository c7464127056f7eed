#pragma once
// A command-line program run in a child process as a user runs it, its output on pipes:
// the engine's own tool, and ffmpeg and ffprobe for the test clips.
#include <sys/resource.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace testsupport {

struct Finished {
  int exitStatus = -1;  // 128 + signal for a process killed by a signal
  std::string standardOutput;
  std::string standardError;
};

// `program` is looked up on PATH unless it holds a slash; standard input is empty. With a
// file size limit, writes beyond it fail with EFBIG, as on a full disk. A program that
// hangs is stopped after two minutes.
class ToolProcess {
 public:
  ToolProcess(const std::string& program, const std::vector<std::string>& arguments,
              rlim_t fileSizeLimit = RLIM_INFINITY);

  // Reads standard output up to and including the next line.
  std::string readLine();
  void signal(int number) const;
  // Reads both outputs to their end and waits for the exit.
  Finished wait();

 private:
  pid_t pid_ = -1;
  int out_ = -1, err_ = -1;
  std::string output_;
};

}  // namespace testsupport
