#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/FuzzTargets.h"

namespace halvane::fuzz {
namespace {

std::vector<std::uint8_t> contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Runs every file of folder/NAME through the target NAME; a folder must name a target.
int replayAll(const std::filesystem::path& folder) {
  int replayed = 0;
  if (!std::filesystem::is_directory(folder)) return replayed;
  for (const auto& targetFolder : std::filesystem::directory_iterator(folder)) {
    const std::string name = targetFolder.path().filename().string();
    const FuzzTarget* target = findFuzzTarget(name);
    EXPECT_NE(target, nullptr) << targetFolder.path() << " names no fuzz target";
    if (!target) continue;
    for (const auto& input : std::filesystem::directory_iterator(targetFolder.path())) {
      SCOPED_TRACE(input.path().string());
      target->run(contents(input.path()));
      ++replayed;
    }
  }
  return replayed;
}

TEST(FuzzRegressions, EveryKeptInputIsHandled) {
  EXPECT_GT(replayAll(HALVANE_FUZZ_REGRESSIONS_DIR), 0);
}

TEST(FuzzRegressions, EverySeedIsHandled) {
  EXPECT_GT(replayAll(HALVANE_FUZZ_SEEDS_DIR), 0);
}

TEST(FuzzRegressions, EveryTargetHasAName) {
  for (const FuzzTarget& target : fuzzTargets()) EXPECT_EQ(findFuzzTarget(target.name), &target);
  EXPECT_EQ(findFuzzTarget("no-such-target"), nullptr);
}

}  // namespace
}  // namespace halvane::fuzz
