#pragma once
// The little the program keeps between runs, as the user defaults of a phone: values
// under string keys, stored as text. Whole numbers and truth values are read from and
// written as text, here once for every store; a missing key or a text of another kind
// reads as 0 or false, so a fresh install needs no set-up.
//
// Keys are the program's own constants: a key that is empty or holds '/' or '\' (which
// a settings file reads as a group path) is a broken precondition and stops the program.
// Every store is safe from any thread.
#include <cstdint>
#include <optional>
#include <string>

namespace platform::system {

class SettingsStore {
 public:
  virtual ~SettingsStore() = default;

  std::optional<std::string> text(const std::string& key) const;
  void setText(const std::string& key, const std::string& value);
  void remove(const std::string& key);
  bool contains(const std::string& key) const { return text(key).has_value(); }

  // A decimal whole number in the range of int64; anything else reads as 0.
  std::int64_t integer(const std::string& key) const;
  void setInteger(const std::string& key, std::int64_t value);
  // "true" reads as true, anything else as false.
  bool boolean(const std::string& key) const;
  void setBoolean(const std::string& key, bool value);

 protected:
  virtual std::optional<std::string> read(const std::string& key) const = 0;
  virtual void write(const std::string& key, const std::string& value) = 0;
  virtual void erase(const std::string& key) = 0;
};

}  // namespace platform::system
