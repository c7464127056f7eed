#include "Command.h"

namespace halvane::cli {

Command makeRenderCommand();
Command makeEditCommand();
Command makeFiltersCommand();
Command makePreviewCommand();
Command makeFocusSheetCommand();
Command makeContactSheetCommand();
Command makeAdjustSheetCommand();
Command makeExportVideoCommand();

const std::vector<Command>& allCommands() {
  static const std::vector<Command> commands = {
      makeRenderCommand(),
      makeEditCommand(),
      makeFiltersCommand(),
      makePreviewCommand(),
      makeFocusSheetCommand(),
      makeContactSheetCommand(),
      makeAdjustSheetCommand(),
      makeExportVideoCommand(),
  };
  return commands;
}

}  // namespace halvane::cli
