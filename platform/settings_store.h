#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ohmwise {

/// Texts kept per user between runs, by application, section and key, as the automation runtime's
/// GetSetting and SaveSetting keep them. Names compare without case; values keep every code unit.
class SettingsStore {
 public:
  /// The stored text; nullopt when the key is absent. Always reads what is stored now, so that a
  /// change by another process is seen.
  virtual std::optional<std::u16string> Read(std::u16string_view application,
                                             std::u16string_view section,
                                             std::u16string_view key) = 0;
  /// Creates or replaces one value, durable on return. Raises 5 for an empty name; after any raise
  /// the store is unchanged.
  virtual void Write(std::u16string_view application, std::u16string_view section,
                     std::u16string_view key, std::u16string_view value) = 0;
  /// Where the values are, for messages: a file or a registry key.
  virtual std::u16string Location() = 0;

 protected:
  ~SettingsStore() = default;
};

}  // namespace ohmwise
