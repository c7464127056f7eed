// What every settings store shares: numbers and truth values read from text, missing
// keys, removal, and keys that a settings file could not hold. The in-memory store
// stands for all of them; the file store's round trip is in the Qt tests.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "Platform/System/InMemorySettingsStore.h"

namespace platform::system {
namespace {

TEST(SettingsStore, ReadsWholeNumbersAndTruthValuesFromTextAndAnythingElseAsZero) {
  struct Case {
    const char* stored;
    std::int64_t integer;
    bool boolean;
  };
  const Case cases[] = {
      {"42", 42, false},
      {"-7", -7, false},
      {"0", 0, false},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max(), false},
      {"9223372036854775808", 0, false},  // out of range
      {"12abc", 0, false},
      {" 12", 0, false},
      {"+3", 0, false},
      {"1.5", 0, false},
      {"", 0, false},
      {"true", 0, true},
      {"TRUE", 0, false},
      {"1", 1, false},
  };
  InMemorySettingsStore store;
  for (const auto& c : cases) {
    store.setText("value", c.stored);
    EXPECT_EQ(store.integer("value"), c.integer) << '"' << c.stored << '"';
    EXPECT_EQ(store.boolean("value"), c.boolean) << '"' << c.stored << '"';
  }
}

TEST(SettingsStore, MissingKeysReadAsNothingAndRemovalForgets) {
  InMemorySettingsStore store;
  EXPECT_EQ(store.text("photoPickCounter"), std::nullopt);
  EXPECT_EQ(store.integer("photoPickCounter"), 0);
  EXPECT_FALSE(store.boolean("photoPickCounter"));
  store.setInteger("photoPickCounter", -12);
  store.setBoolean("flag", true);
  EXPECT_EQ(store.text("photoPickCounter"), "-12");
  EXPECT_EQ(store.text("flag"), "true");
  store.remove("photoPickCounter");
  store.remove("never written");
  EXPECT_FALSE(store.contains("photoPickCounter"));
  EXPECT_TRUE(store.contains("flag"));
}

TEST(SettingsStoreDeathTest, AKeyASettingsFileCannotHoldStopsTheProgram) {
  InMemorySettingsStore store;
  for (const std::string key : {"", "group/key", "back\\slash"}) {
    EXPECT_DEATH(store.setText(key, "x"), "SettingsStore: the key") << key;
    EXPECT_DEATH((void)store.integer(key), "SettingsStore: the key") << key;
  }
}

}  // namespace
}  // namespace platform::system
