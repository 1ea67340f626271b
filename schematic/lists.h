#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ohmwise::schematic {

/// Texts in the order of references and wire names; texts that cannot be compared come last.
std::vector<std::u16string> InReferenceOrder(const std::vector<std::u16string>& texts);
std::u16string Joined(const std::vector<std::u16string>& texts, std::u16string_view separator);

}  // namespace ohmwise::schematic
