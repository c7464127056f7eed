#include "Command.h"

namespace halvane::cli {

Command makeRenderCommand();
Command makeEditCommand();
Command makeFiltersCommand();
Command makePreviewCommand();
Command makeFocusSheetCommand();

const std::vector<Command>& allCommands() {
  static const std::vector<Command> commands = {
      makeRenderCommand(),
      makeEditCommand(),
      makeFiltersCommand(),
      makePreviewCommand(),
      makeFocusSheetCommand(),
  };
  return commands;
}

}  // namespace halvane::cli
