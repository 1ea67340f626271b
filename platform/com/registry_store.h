#pragma once

#include "platform/settings_store.h"

namespace ohmwise::com {

/// The settings where the automation runtime's GetSetting and SaveSetting keep them: texts below
/// `Software\VB and VBA Program Settings\<application>\<section>` of the current user.
///
/// A text with zeros inside keeps them here, though other programs read it up to the first. A value
/// that is no text counts as absent. Raises 5 for names that the registry cannot hold, 70 without
/// permission, a host error otherwise.
class RegistryStore final : public SettingsStore {
 public:
  std::optional<std::u16string> Read(std::u16string_view application, std::u16string_view section,
                                     std::u16string_view key) override;
  void Write(std::u16string_view application, std::u16string_view section, std::u16string_view key,
             std::u16string_view value) override;
  /// The key of this library's own application.
  std::u16string Location() override;
};

}  // namespace ohmwise::com
