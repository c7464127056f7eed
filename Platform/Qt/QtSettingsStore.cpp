#include "Platform/Qt/QtSettingsStore.h"

#include <QSettings>
#include <QString>

#include <cstdlib>

namespace platform::qt {

std::filesystem::path userSettingsPath(const std::string& organization, const std::string& application) {
  std::filesystem::path base;
  if (const char* configHome = std::getenv("XDG_CONFIG_HOME"); configHome && configHome[0] == '/') {
    base = configHome;
  } else if (const char* home = std::getenv("HOME"); home && home[0] == '/') {
    base = std::filesystem::path(home) / ".config";
  } else {
    base = std::filesystem::current_path() / ".config";  // no home at all: beside the program's work
  }
  return base / organization / (application + ".ini");
}

QtSettingsStore::QtSettingsStore(const std::filesystem::path& file)
    : settings_(std::make_unique<QSettings>(QString::fromStdString(file.string()), QSettings::IniFormat)) {}

QtSettingsStore::~QtSettingsStore() = default;

std::optional<std::string> QtSettingsStore::read(const std::string& key) const {
  std::lock_guard lock(mutex_);
  const QVariant value = settings_->value(QString::fromStdString(key));
  if (!value.isValid()) return std::nullopt;
  return value.toString().toStdString();
}

void QtSettingsStore::write(const std::string& key, const std::string& value) {
  std::lock_guard lock(mutex_);
  settings_->setValue(QString::fromStdString(key), QString::fromStdString(value));
  settings_->sync();
}

void QtSettingsStore::erase(const std::string& key) {
  std::lock_guard lock(mutex_);
  settings_->remove(QString::fromStdString(key));
  settings_->sync();
}

}  // namespace platform::qt
