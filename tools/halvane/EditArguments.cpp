#include "EditArguments.h"

#include <cmath>
#include <fstream>
#include <sstream>

#include "Command.h"
#include "Halvane/Model/EditFieldTable.h"
#include "Halvane/Model/EditStateCoding.h"

namespace halvane::cli {

using Json = nlohmann::ordered_json;

nlohmann::json readJSONFile(const std::string& path, const std::string& what) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw CommandError("cannot read " + what + " " + path);
  // One byte over the limit is enough to refuse the file without reading it all.
  std::string text(kMaxEditJSONBytes + 1, '\0');
  file.read(text.data(), std::streamsize(text.size()));
  if (file.bad()) throw CommandError("cannot read " + what + " " + path);
  text.resize(std::size_t(file.gcount()));
  try {
    return parseEditJSON(text);
  } catch (const EditStateCodingError& error) {
    throw CommandError(what + " " + path + ": " + error.what());
  }
}

EditState loadEditFile(const std::string& path) {
  const nlohmann::json document = readJSONFile(path, "the edit file");
  try {
    return decodeEditState(document);
  } catch (const EditStateCodingError& error) {
    throw CommandError("the edit file " + path + ": " + error.what());
  }
}

namespace {

// True when decoding kept the value as given (after the field's own precision).
bool keptAsGiven(const Json& given, const Json& stored) {
  if (given.is_number() && stored.is_number()) {
    if (given.is_number_integer() && stored.is_number_integer()) return given.get<int64_t>() == stored.get<int64_t>();
    return float(given.get<double>()) == float(stored.get<double>());
  }
  if (given.is_array() && stored.is_array()) {
    if (given.size() != stored.size()) return false;
    for (size_t i = 0; i < given.size(); ++i)
      if (!keptAsGiven(given[i], stored[i])) return false;
    return true;
  }
  return given == stored;
}

}  // namespace

EditState applySetting(const EditState& state, const std::string& assignment) {
  const auto equals = assignment.find('=');
  if (equals == std::string::npos || equals == 0) throw UsageError("--set takes field=value, got '" + assignment + "'");
  const std::string field = assignment.substr(0, equals);
  const std::string text = assignment.substr(equals + 1);
  if (findEditField(field) == nullptr) {
    throw UsageError("unknown field '" + field + "' (see `halvane edit --print-default`)");
  }
  Json value;
  try {
    value = parseEditJSON(text);
  } catch (const EditStateCodingError& error) {
    throw UsageError("the value of " + field + " is not a number, boolean or array: " + error.what());
  }

  Json document = encodeEditState(state);
  document[field] = value;
  EditState result = decodeEditState(document);
  const Json stored = encodeEditState(result)[field];
  if (!keptAsGiven(value, stored)) {
    throw UsageError(field + "=" + text + " is outside the field's valid values; it would become " + stored.dump());
  }
  return result;
}

ParsedEdit parseEditOptions(const std::vector<std::string>& arguments) {
  ParsedEdit parsed;
  std::vector<std::string> settings;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--edit" || argument == "--set") {
      if (i + 1 >= arguments.size()) throw UsageError(argument + " needs a value");
      if (argument == "--edit") {
        parsed.state = loadEditFile(arguments[++i]);
      } else {
        settings.push_back(arguments[++i]);
      }
    } else {
      parsed.rest.push_back(argument);
    }
  }
  // Settings apply on top of the file, whatever their order on the line.
  for (const auto& setting : settings) parsed.state = applySetting(parsed.state, setting);
  return parsed;
}

InputOutput parseInputOutput(const std::vector<std::string>& rest) {
  InputOutput parsed;
  std::vector<std::string> paths;
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == "--preset") {
      if (i + 1 >= rest.size()) throw UsageError("--preset needs a value");
      parsed.preset = rest[++i];
    } else if (rest[i] == "-y" || rest[i] == "--overwrite") {
      parsed.overwrite = true;
    } else if (rest[i].starts_with("--")) {
      throw UsageError("unknown option '" + rest[i] + "'");
    } else {
      paths.push_back(rest[i]);
    }
  }
  if (paths.size() != 2) throw UsageError("needs an input and an output path");
  parsed.input = paths[0];
  parsed.output = paths[1];
  return parsed;
}

}  // namespace halvane::cli
