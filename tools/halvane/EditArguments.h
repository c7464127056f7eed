#pragma once
// The edit options shared by the rendering commands: `--edit EDIT.json` loads a coded
// EditState, each `--set field=value` changes one field on top of it. A value outside
// its field's range is refused with the value it would have become, rather than
// silently repaired.
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Halvane/Model/EditState.h"

namespace halvane::cli {

// Reads a JSON file given on the command line, within the limits of size and depth of
// parseEditJSON. Throws CommandError, naming the file as `what` ("the edit file").
nlohmann::json readJSONFile(const std::string& path, const std::string& what);

// Reads the coded form from a file. Throws CommandError when the file cannot be read
// or is not a JSON object.
EditState loadEditFile(const std::string& path);

// Applies "field=value"; the value is JSON (a number, true/false, or for cropRect
// [[x, y], [width, height]]). Throws UsageError for an unknown field or a bad value.
EditState applySetting(const EditState& state, const std::string& assignment);

// Splits the option list into the edit options (consumed) and the rest, in order.
struct ParsedEdit {
  EditState state;
  std::vector<std::string> rest;
};
ParsedEdit parseEditOptions(const std::vector<std::string>& arguments);

// The rest of a rendering command's line: an input, an output, an optional
// `--preset NAME` and `-y`/`--overwrite`. Throws UsageError for anything else.
struct InputOutput {
  std::string input;
  std::string output;
  std::optional<std::string> preset;
  bool overwrite = false;
};
InputOutput parseInputOutput(const std::vector<std::string>& rest);

}  // namespace halvane::cli
