// The settings file: where it lives under the XDG rules, and a round trip of values
// through the file into a second store, as across two runs of the program.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include "Platform/Qt/QtSettingsStore.h"
#include "Support/TestFiles.h"

namespace platform::qt {
namespace {

namespace fs = std::filesystem;

// Sets or, with nullptr, unsets a variable of this test process.
void setVariable(const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); }

TEST(UserSettingsPath, FollowsXdgConfigHomeWhenItIsAnAbsolutePath) {
  const std::string home = testsupport::temporaryFolder() + "/home";
  setVariable("HOME", home.c_str());
  const std::pair<const char*, std::string> cases[] = {
      {"/srv/config", "/srv/config/Tamrix/Editor.ini"},
      {nullptr, home + "/.config/Tamrix/Editor.ini"},
      {"", home + "/.config/Tamrix/Editor.ini"},
      {"relative/config", home + "/.config/Tamrix/Editor.ini"},
  };
  for (const auto& [configHome, expected] : cases) {
    setVariable("XDG_CONFIG_HOME", configHome);
    EXPECT_EQ(userSettingsPath("Tamrix", "Editor"), fs::path(expected)) << (configHome ? configHome : "unset");
  }
}

TEST(QtSettingsStore, ValuesSurviveIntoTheNextRunUnchanged) {
  const std::string configHome = testsupport::temporaryFolder() + "/config";
  setVariable("XDG_CONFIG_HOME", configHome.c_str());
  fs::remove_all(configHome);  // a repeated run starts without the last one's file
  const fs::path file = userSettingsPath("Tamrix", "Editor");
  ASSERT_FALSE(fs::exists(file));

  const std::pair<std::string, std::string> texts[] = {
      {"plain", "photo"}, {"empty", ""}, {"signs", "a=b; c # d [e] \"f\" 'g' \\h"}, {"lines", "one\ntwo\r\nthree\t"},
      {"at", "@Variant(not one)"}, {"unicode", "Grüße, 写真, 🌄"}, {"key with spaces and = sign", "x"},
      {"padded", "  both ends  "}};
  const std::pair<std::string, std::int64_t> integers[] = {
      {"photoPickCounter", 17}, {"lowest", std::numeric_limits<std::int64_t>::min()},
      {"highest", std::numeric_limits<std::int64_t>::max()}};
  {
    QtSettingsStore first(file);
    for (const auto& [key, value] : texts) first.setText(key, value);
    for (const auto& [key, value] : integers) first.setInteger(key, value);
    first.setBoolean("consented", true);
    first.setBoolean("declined", false);
    first.setText("removed", "soon gone");
    first.remove("removed");
  }
  ASSERT_TRUE(fs::exists(file)) << "written under XDG_CONFIG_HOME";

  const QtSettingsStore second(file);
  for (const auto& [key, value] : texts) EXPECT_EQ(second.text(key), value) << key;
  for (const auto& [key, value] : integers) EXPECT_EQ(second.integer(key), value) << key;
  EXPECT_TRUE(second.boolean("consented") && !second.boolean("declined") && second.contains("declined"));
  EXPECT_FALSE(second.contains("removed"));
  EXPECT_EQ(second.integer("followSnapchatCounter"), 0) << "a key never written reads as 0";
}

TEST(QtSettingsStore, AFileThatCannotBeWrittenKeepsTheValuesForThisRun) {
  // A folder that cannot be made, since a plain file stands in its place.
  const fs::path blocker = fs::path(testsupport::temporaryFolder()) / "not-a-folder";
  std::ofstream(blocker) << "in the way";
  const fs::path file = blocker / "Tamrix" / "Editor.ini";
  QtSettingsStore store(file);
  store.setInteger("photoPickCounter", 3);
  EXPECT_EQ(store.integer("photoPickCounter"), 3);
  EXPECT_TRUE(!fs::exists(file) && fs::is_regular_file(blocker)) << "nothing written; what stood there is left alone";
}

}  // namespace
}  // namespace platform::qt
