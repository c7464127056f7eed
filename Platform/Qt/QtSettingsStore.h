#pragma once
// The application's settings on disk: an INI file read and written through QSettings.
// Each write is flushed at once, since the values change rarely and must outlive a
// crash. A file that cannot be written keeps the values for this run only.
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "Platform/System/SettingsStore.h"

class QSettings;

namespace platform::qt {

// $XDG_CONFIG_HOME/<organization>/<application>.ini, or ~/.config/... when the variable
// is unset or not an absolute path (as the XDG base directory rules say). Read anew on
// every call.
std::filesystem::path userSettingsPath(const std::string& organization, const std::string& application);

class QtSettingsStore final : public system::SettingsStore {
 public:
  // The file and its folder are made on the first write.
  explicit QtSettingsStore(const std::filesystem::path& file);
  ~QtSettingsStore() override;

 protected:
  std::optional<std::string> read(const std::string& key) const override;
  void write(const std::string& key, const std::string& value) override;
  void erase(const std::string& key) override;

 private:
  mutable std::mutex mutex_;
  std::unique_ptr<QSettings> settings_;
};

}  // namespace platform::qt
