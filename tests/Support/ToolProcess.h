#pragma once
// A command-line program run in a child process as a user runs it, its output on pipes:
// the engine's own tool, and ffmpeg and ffprobe for the test clips.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

namespace testsupport {

struct Finished {
  int exitStatus = -1;  // 128 + signal for a process killed by a signal
  std::string standardOutput;
  std::string standardError;
};

// `program` is looked up on PATH unless it holds a slash; standard input is empty; the
// environment is this one's with `settings` ("NAME=value") added. With a file size limit,
// writes beyond it fail with EFBIG, as on a full disk. A program that hangs is stopped
// after two minutes.
class ToolProcess {
 public:
  ToolProcess(const std::string& program, const std::vector<std::string>& arguments,
              rlim_t fileSizeLimit = RLIM_INFINITY, const std::vector<std::string>& settings = {}) {
    // Made before the fork: the child of a process with threads allocates nothing.
    std::vector<char*> argv{const_cast<char*>(program.c_str())}, envp;
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    for (const auto& setting : settings) envp.push_back(const_cast<char*>(setting.c_str()));  // found first
    for (char** inherited = environ; *inherited; ++inherited) envp.push_back(*inherited);
    argv.push_back(nullptr), envp.push_back(nullptr);
    int out[2], err[2];
    // Closed on exec: another child started meanwhile keeps no end of these open.
    if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) ::signal(number, SIG_DFL);
      ::alarm(120);                // an alarm survives exec
      ::signal(SIGXFSZ, SIG_IGN);  // a write over the limit fails instead of the process dying
      const rlimit limit{fileSizeLimit, fileSizeLimit};
      if (fileSizeLimit != RLIM_INFINITY) ::setrlimit(RLIMIT_FSIZE, &limit);
      ::execvpe(program.c_str(), argv.data(), envp.data());
      ::_exit(127);
    }
    ::close(out[1]), ::close(err[1]);
    pipes_[0].fd = out[0], pipes_[1].fd = err[0];
  }

  // Reads standard output up to and including the next line.
  std::string readLine() {
    std::string line;
    for (char c; ::read(pipes_[0].fd, &c, 1) == 1 && (output_ += c, c != '\n');) line += c;
    return line;
  }

  void signal(int number) const { ::kill(pid_, number); }

  // Reads both outputs to their end, together (a child blocked on a full pipe would never
  // close the other), and waits for the exit.
  Finished wait() {
    Finished finished{-1, output_, ""};
    std::string* texts[2] = {&finished.standardOutput, &finished.standardError};
    char buffer[1 << 16];
    while (pipes_[0].fd >= 0 || pipes_[1].fd >= 0) {
      if (::poll(pipes_, 2, -1) < 0) continue;  // interrupted
      for (int i = 0; i < 2; ++i) {
        if (pipes_[i].fd < 0 || !pipes_[i].revents) continue;
        const ssize_t count = ::read(pipes_[i].fd, buffer, sizeof buffer);
        if (count > 0) texts[i]->append(buffer, std::size_t(count));
        if (count <= 0) ::close(pipes_[i].fd), pipes_[i].fd = -1;
      }
    }
    int status = 0;
    ::waitpid(pid_, &status, 0);
    finished.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    EXPECT_FALSE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << "the program hung and was stopped";
    return finished;
  }

 private:
  pid_t pid_ = -1;
  pollfd pipes_[2] = {{-1, POLLIN, 0}, {-1, POLLIN, 0}};  // standard output and error
  std::string output_;
};

}  // namespace testsupport
