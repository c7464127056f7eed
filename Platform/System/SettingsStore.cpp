#include "Platform/System/SettingsStore.h"

#include <charconv>

#include "Platform/Base/Fatal.h"

namespace platform::system {
namespace {

const std::string& checkedKey(const std::string& key) {
  if (key.empty() || key.find_first_of("/\\") != std::string::npos) {
    platform::fatalError("SettingsStore: the key \"" + key + "\" is empty or holds '/' or '\\'");
  }
  return key;
}

}  // namespace

std::optional<std::string> SettingsStore::text(const std::string& key) const { return read(checkedKey(key)); }

void SettingsStore::setText(const std::string& key, const std::string& value) { write(checkedKey(key), value); }

void SettingsStore::remove(const std::string& key) { erase(checkedKey(key)); }

std::int64_t SettingsStore::integer(const std::string& key) const {
  const auto stored = text(key);
  if (!stored) return 0;
  std::int64_t value = 0;
  const char* end = stored->data() + stored->size();
  const auto [stop, error] = std::from_chars(stored->data(), end, value);
  return error == std::errc() && stop == end ? value : 0;
}

void SettingsStore::setInteger(const std::string& key, std::int64_t value) { setText(key, std::to_string(value)); }

bool SettingsStore::boolean(const std::string& key) const { return text(key) == "true"; }

void SettingsStore::setBoolean(const std::string& key, bool value) { setText(key, value ? "true" : "false"); }

}  // namespace platform::system
