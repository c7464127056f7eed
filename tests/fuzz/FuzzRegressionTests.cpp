#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/FuzzTargets.h"

namespace halvane::fuzz {
namespace {

namespace fs = std::filesystem;

// Runs every file of folder/NAME through the target NAME; a folder must name a target.
int replayAll(const fs::path& folder) {
  int replayed = 0;
  for (const auto& targetFolder : fs::directory_iterator(folder)) {
    const FuzzTarget* target = findFuzzTarget(targetFolder.path().filename().string());
    EXPECT_NE(target, nullptr) << targetFolder.path() << " names no fuzz target";
    for (const auto& input : fs::directory_iterator(targetFolder.path())) {
      if (!target) break;
      SCOPED_TRACE(input.path().string());
      std::ifstream file(input.path(), std::ios::binary);
      target->run(std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), {}));
      ++replayed;
    }
  }
  return replayed;
}

// Every kept input and every seed is handled, and every target is found by its name.
TEST(FuzzRegressions, EveryKeptInputAndEverySeedIsHandled) {
  EXPECT_GT(replayAll(HALVANE_FUZZ_REGRESSIONS_DIR), 0);
  EXPECT_GT(replayAll(HALVANE_FUZZ_SEEDS_DIR), 0);
  for (const FuzzTarget& target : fuzzTargets()) EXPECT_EQ(findFuzzTarget(target.name), &target);
  EXPECT_EQ(findFuzzTarget("no-such-target"), nullptr);
}

}  // namespace
}  // namespace halvane::fuzz
