#include "ToolRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

extern char** environ;

namespace halvane::testing {

ToolResult runTool(const std::vector<std::string>& arguments) {
  const auto folder = std::filesystem::temp_directory_path();
  const auto outPath = folder / ("halvane-tool-out-" + std::to_string(getpid()));
  const auto errPath = folder / ("halvane-tool-err-" + std::to_string(getpid()));
  std::vector<std::string> argv = {HALVANE_TOOL_PATH};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (auto& argument : argv) pointers.push_back(argument.data());
  pointers.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid = 0;
  ToolResult result;
  if (posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, pointers.data(), environ) == 0) {
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  posix_spawn_file_actions_destroy(&actions);
  for (auto [path, text] : {std::pair{outPath, &result.standardOutput}, std::pair{errPath, &result.standardError}}) {
    std::ifstream file(path, std::ios::binary);
    text->assign(std::istreambuf_iterator<char>(file), {});
    std::filesystem::remove(path);
  }
  return result;
}

}  // namespace halvane::testing
