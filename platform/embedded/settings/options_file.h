#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/settings_store.h"

namespace ohmwise::embedded {

/// The settings store as files that a person can read and edit: one INI file per application in one
/// folder ("ohmwise.ini"), `[section]` and `name = value` in UTF-8. What a person wrote between the
/// values (comments, empty and unknown lines, order, spelling, line ends) stays.
///
/// A value stands as it is, without the blanks around it. Only where that would lose something
/// (line ends, blanks at the ends, control characters, lone surrogates) it stands in double quotes,
/// with
/// \" \\ \n \r \t and \uXXXX for single code units. Names may be quoted likewise.
///
/// Where a name occurs twice, the first one counts. Every read reads the file. A write takes a lock
/// beside the file, reads, and replaces the file in one step; so programs that write at once lose
/// nothing. Raises host errors that name the file: a folder that cannot be made or written, a file
/// that is no UTF-8 or too large, a value with a quote that does not end. No folder is made before
/// something is written.
class OptionsFile final : public SettingsStore {
 public:
  explicit OptionsFile(std::filesystem::path folder) : folder_(std::move(folder)) {}

  std::optional<std::u16string> Read(std::u16string_view application, std::u16string_view section,
                                     std::u16string_view key) override;
  void Write(std::u16string_view application, std::u16string_view section, std::u16string_view key,
             std::u16string_view value) override;
  /// The file of this library's own application.
  std::u16string Location() override;

 private:
  std::string FileOf(std::u16string_view application) const;

  std::filesystem::path folder_;
};

/// The user's folder for options: "ohmwise" in $XDG_CONFIG_HOME or in ~/.config; empty where the
/// system tells of neither.
std::filesystem::path UserOptionsFolder();

}  // namespace ohmwise::embedded
