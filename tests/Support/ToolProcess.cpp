#include "Support/ToolProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace testsupport {

ToolProcess::ToolProcess(const std::string& program, const std::vector<std::string>& arguments,
                         rlim_t fileSizeLimit) {
  // Made before the fork: the child of a process with threads allocates nothing.
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  int out[2], err[2];
  // Closed on exec: another child started meanwhile keeps no end of these open.
  if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  pid_ = ::fork();
  if (pid_ == 0) {
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    ::dup2(out[1], STDOUT_FILENO);
    ::dup2(err[1], STDERR_FILENO);
    ::close(out[0]), ::close(out[1]), ::close(err[0]), ::close(err[1]);
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) ::signal(number, SIG_DFL);
    ::alarm(120);                // an alarm survives exec
    ::signal(SIGXFSZ, SIG_IGN);  // a write over the limit fails instead of the process dying
    const rlimit limit{fileSizeLimit, fileSizeLimit};
    if (fileSizeLimit != RLIM_INFINITY) ::setrlimit(RLIMIT_FSIZE, &limit);
    ::execvp(program.c_str(), argv.data());
    ::_exit(127);
  }
  ::close(out[1]), ::close(err[1]);
  out_ = out[0], err_ = err[0];
}

std::string ToolProcess::readLine() {
  std::string line;
  for (char c; ::read(out_, &c, 1) == 1 && (output_ += c, c != '\n');) line += c;
  return line;
}

void ToolProcess::signal(int number) const { ::kill(pid_, number); }

Finished ToolProcess::wait() {
  // Both pipes at once: a child blocked on a full one would never close the other.
  Finished finished{-1, output_, ""};
  pollfd pipes[2] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
  std::string* texts[2] = {&finished.standardOutput, &finished.standardError};
  char buffer[1 << 16];
  while (pipes[0].fd >= 0 || pipes[1].fd >= 0) {
    if (::poll(pipes, 2, -1) < 0) continue;  // interrupted
    for (int i = 0; i < 2; ++i) {
      if (pipes[i].fd < 0 || !pipes[i].revents) continue;
      const ssize_t count = ::read(pipes[i].fd, buffer, sizeof buffer);
      if (count > 0) texts[i]->append(buffer, std::size_t(count));
      else ::close(pipes[i].fd), pipes[i].fd = -1;
    }
  }
  int status = 0;
  ::waitpid(pid_, &status, 0);
  finished.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  EXPECT_FALSE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << "the program hung and was stopped";
  return finished;
}

}  // namespace testsupport
