#pragma once
// A settings store that lives as long as the object: for tests, and for any host that
// keeps nothing between runs.
#include <map>
#include <mutex>

#include "Platform/System/SettingsStore.h"

namespace platform::system {

class InMemorySettingsStore final : public SettingsStore {
 protected:
  std::optional<std::string> read(const std::string& key) const override;
  void write(const std::string& key, const std::string& value) override;
  void erase(const std::string& key) override;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::string> values_;
};

}  // namespace platform::system
