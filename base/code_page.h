#pragma once

#include <cstdint>

namespace ohmwise {

/// Character codes of the code page 1252, whose five unused codes stand for themselves. Raise 5 for
/// a character without a code, and for a code outside 0..255.
int32_t AnsiCode(char16_t unit);
char16_t AnsiCharacter(int32_t code);

}  // namespace ohmwise
