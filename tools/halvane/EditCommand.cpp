#include <cstdio>

#include "Command.h"
#include "EditArguments.h"
#include "Halvane/Model/EditStateCoding.h"

namespace halvane::cli {

// Prints the coded form of an edit: the default one, or a file with settings on top,
// so that an edit can be written by hand and checked.
Command makeEditCommand() {
  return Command{
      "edit",
      "edit --print-default | edit --print [--edit EDIT.json] [--set field=value]...",
      [](const std::vector<std::string>& arguments) {
        if (arguments.empty()) throw UsageError("say --print-default or --print");
        const std::vector<std::string> options(arguments.begin() + 1, arguments.end());
        EditState state;
        if (arguments[0] == "--print") {
          auto parsed = parseEditOptions(options);
          if (!parsed.rest.empty()) throw UsageError("unexpected argument '" + parsed.rest.front() + "'");
          state = parsed.state;
        } else if (arguments[0] != "--print-default" || !options.empty()) {
          throw UsageError("unexpected argument '" + arguments[0] + "'");
        }
        std::printf("%s\n", encodeEditState(state).dump(2).c_str());
        return 0;
      }};
}

}  // namespace halvane::cli
