#include "Command.h"

namespace halvane::cli {

Command makeRenderCommand();
Command makeEditCommand();
Command makeFiltersCommand();

const std::vector<Command>& allCommands() {
  static const std::vector<Command> commands = {
      makeRenderCommand(),
      makeEditCommand(),
      makeFiltersCommand(),
  };
  return commands;
}

}  // namespace halvane::cli
