#include "base/printable.h"

namespace ohmwise {

bool SteersTerminal(char16_t unit) noexcept {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

std::u16string Printable(std::u16string_view text) {
  const auto is_high = [](char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  const auto is_low = [](char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  std::u16string line;
  line.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (is_high(unit) && i + 1 < text.size() && is_low(text[i + 1])) {
      line += text.substr(i++, 2);
    } else if (unit == u'\n' || unit == u'\r' || unit == u'\t' || unit == 0x2028 ||
               unit == 0x2029) {
      line += u' ';
    } else {
      line += is_high(unit) || is_low(unit) || SteersTerminal(unit) ? u'\uFFFD' : unit;
    }
  }
  return line;
}

}  // namespace ohmwise
