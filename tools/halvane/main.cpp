#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "Command.h"

namespace {

void printUsage(FILE* stream) {
  std::fprintf(stream, "usage:\n");
  for (const auto& command : halvane::cli::allCommands()) std::fprintf(stream, "  halvane %s\n", command.usage.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  using namespace halvane::cli;
  if (argc < 2 || std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h") {
    printUsage(argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  const std::string name = argv[1];
  const std::vector<std::string> arguments(argv + 2, argv + argc);
  for (const auto& command : allCommands()) {
    if (command.name != name) continue;
    try {
      return command.run(arguments);
    } catch (const UsageError& error) {
      std::fprintf(stderr, "halvane %s: %s\nusage: halvane %s\n", name.c_str(), error.what(), command.usage.c_str());
      return 2;
    } catch (const std::exception& error) {
      std::fprintf(stderr, "halvane %s: %s\n", name.c_str(), error.what());
      return 1;
    }
  }
  std::fprintf(stderr, "halvane: unknown command '%s'\n", name.c_str());
  printUsage(stderr);
  return 2;
}
