#pragma once

#include <string>
#include <string_view>

namespace ohmwise {

/// Text as a terminal shows it on one line without obeying it: line ends and tabs become blanks;
/// other control characters (C0, DEL, C1), what turns the direction of writing round and lone
/// surrogates become U+FFFD.
std::u16string Printable(std::u16string_view text);

/// True for what a terminal obeys or turns round and another program may want as it is: control
/// characters, line and paragraph separators, embeddings, overrides and isolates of direction.
bool SteersTerminal(char16_t unit) noexcept;

}  // namespace ohmwise
