#include "platform/embedded/spreadsheet/text_width.h"

#include <algorithm>
#include <cmath>

#include "base/conversion.h"
#include "base/text.h"

namespace ohmwise::embedded {
namespace {

// Advance widths of U+0020 to U+007E.
constexpr uint8_t kWidths[] = {3, 5,  6, 7, 7, 11, 10, 3,  5,  5,  7, 7,  4, 5,  4, 6, 7, 7,  7,
                               7, 7,  7, 7, 7, 7,  7,  4,  4,  7,  7, 7,  7, 13, 9, 8, 8, 9,  7,
                               7, 9,  9, 4, 5, 8,  6,  13, 10, 10, 8, 10, 8, 7,  7, 9, 9, 13, 8,
                               7, 7,  5, 6, 5, 7,  7,  4,  7,  8,  6, 8,  8, 5,  7, 8, 4, 4,  7,
                               4, 12, 8, 8, 8, 8,  5,  6,  5,  8,  7, 11, 7, 7,  6, 5, 7, 5,  7};
constexpr int32_t kOtherWidth = 9;
constexpr int32_t kWideWidth = 15;  // East Asian

int32_t WidthOf(char16_t unit) {
  if (unit >= 0x20 && unit <= 0x7E) return kWidths[unit - 0x20];
  if (unit >= 0x0300 && unit <= 0x036F) return 0;  // combining marks
  if (unit >= 0xDC00 && unit <= 0xDFFF) return 0;  // second half of a pair
  if (unit >= 0xD800 && unit <= 0xDBFF) return kWideWidth;
  if ((unit >= 0x1100 && unit <= 0x115F) || (unit >= 0x2E80 && unit <= 0xD7A3) ||
      (unit >= 0xF900 && unit <= 0xFAFF) || (unit >= 0xFE30 && unit <= 0xFE6F) ||
      (unit >= 0xFF01 && unit <= 0xFF60)) {
    return kWideWidth;
  }
  return kOtherWidth;
}

int32_t Emboldened(int32_t width, bool bold) { return bold ? width + (width + 19) / 20 : width; }

}  // namespace

int32_t TextWidth(std::string_view utf8, bool bold) {
  int32_t widest = 0, line = 0;
  const size_t plain = static_cast<size_t>(
      std::find_if(utf8.begin(), utf8.end(), [](char byte) { return byte < ' ' || byte > '~'; }) -
      utf8.begin());
  for (const char character : utf8.substr(0, plain)) line += kWidths[character - ' '];
  widest = line;
  if (plain == utf8.size()) return Emboldened(widest, bold);
  for (const char16_t unit : FromUtf8(utf8.substr(plain))) {
    if (unit == u'\n' || unit == u'\r') {
      line = 0;
    } else {
      line += WidthOf(unit);
      widest = std::max(widest, line);
    }
  }
  return Emboldened(widest, bold);
}

int32_t NumberWidth(double number, const std::string& format, bool bold) {
  const double magnitude = std::fabs(number);
  int32_t decimals = 0;
  if (format.empty()) {
    const bool is_short_integer = magnitude < 1e9 && magnitude == std::floor(magnitude);
    if (!is_short_integer) return TextWidth(ToUtf8(DoubleText(number)), bold);
  } else if (const size_t point = format.find('.'); point != std::string::npos) {
    const size_t end = std::min(format.find_first_not_of("0#", point + 1), format.size());
    decimals = static_cast<int32_t>(end - point - 1);
  }
  // All digits are as wide as each other, so counting them is enough.
  const int32_t digits = magnitude < 1 ? 1 : static_cast<int32_t>(std::log10(magnitude)) + 1;
  int32_t width = (digits + decimals) * WidthOf(u'0');
  if (decimals > 0) width += WidthOf(u'.');
  if (number < 0) width += WidthOf(u'-');
  if (format.find(',') != std::string::npos) width += (digits - 1) / 3 * WidthOf(u',');
  if (format.find('_') != std::string::npos) width += WidthOf(u'0');
  return Emboldened(width, bold);
}

}  // namespace ohmwise::embedded
