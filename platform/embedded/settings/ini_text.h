#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ohmwise::embedded {

/// The value of a name in the text of an INI file; nullopt when it is not there. Section and key
/// compare without case. Raises a host error when its line cannot be read; `file` is named in it.
std::optional<std::u16string> FindIniValue(std::string_view text, std::u16string_view section,
                                           std::u16string_view key, const std::string& file);

/// The text with one value set: in its line, or in a new line at the end of its section, or in a
/// new section at the end. All other bytes stay as they are.
std::string WithIniValue(std::string_view text, std::u16string_view section,
                         std::u16string_view key, std::u16string_view value);

}  // namespace ohmwise::embedded
