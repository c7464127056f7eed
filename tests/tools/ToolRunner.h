#pragma once
// Runs the real `halvane` executable and captures its exit status and output.
#include <string>
#include <vector>

namespace halvane::testing {

struct ToolResult {
  int exitStatus = -1;
  std::string standardOutput;
  std::string standardError;
};

ToolResult runTool(const std::vector<std::string>& arguments);

}  // namespace halvane::testing
