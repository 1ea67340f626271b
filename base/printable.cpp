#include "base/printable.h"

#include "base/well_formed.h"

namespace ohmwise {

bool SteersTerminal(char16_t unit) noexcept {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

std::u16string Printable(std::u16string_view text) {
  std::u16string line = WellFormed(text);
  for (char16_t& unit : line) {
    if (unit == u'\n' || unit == u'\r' || unit == u'\t' || unit == 0x2028 || unit == 0x2029) {
      unit = u' ';
    } else if (SteersTerminal(unit)) {
      unit = u'\uFFFD';
    }
  }
  return line;
}

}  // namespace ohmwise
