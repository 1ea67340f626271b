#pragma once

#include <string>
#include <string_view>

namespace ohmwise {

/// The text with U+FFFD for each half of a surrogate pair that stands alone.
std::u16string WellFormed(std::u16string_view text);

}  // namespace ohmwise
