#include "Platform/System/InMemorySettingsStore.h"

namespace platform::system {

std::optional<std::string> InMemorySettingsStore::read(const std::string& key) const {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

void InMemorySettingsStore::write(const std::string& key, const std::string& value) {
  std::lock_guard lock(mutex_);
  values_[key] = value;
}

void InMemorySettingsStore::erase(const std::string& key) {
  std::lock_guard lock(mutex_);
  values_.erase(key);
}

}  // namespace platform::system
