#pragma once
// One subcommand of the `halvane` tool. A command returns the process's exit status;
// failures it can explain are thrown as CommandError and printed by main.
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace halvane::cli {

struct Command {
  std::string name;
  std::string usage;
  std::function<int(const std::vector<std::string>& arguments)> run;
};

struct CommandError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A wrong command line: main prints the command's usage beside the message.
struct UsageError : CommandError {
  using CommandError::CommandError;
};

const std::vector<Command>& allCommands();

}  // namespace halvane::cli
