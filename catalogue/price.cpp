#include "catalogue/price.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "platform/error.h"

namespace ohmwise::catalogue {
namespace {

constexpr int kDecimals = 2;
constexpr int kSignificant = 15;

bool AllDigits(std::u16string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= u'0' && c <= u'9'; });
}

bool HasStoredForm(std::u16string_view text) {
  if (text.starts_with(u'-')) text.remove_prefix(1);
  const size_t point = text.find(u'.');
  return point != text.npos && AllDigits(text.substr(0, point)) &&
         text.size() - point - 1 == kDecimals && AllDigits(text.substr(point + 1));
}

/// Digits of |number| with the point after `point` of them; "" for 0.
std::string Digits(double number, int& point) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, std::abs(number),
                                 std::chars_format::scientific, kSignificant - 1)
                       .ptr;
  const std::string text(buffer, end);
  const size_t e = text.find('e');
  const size_t sign = text[e + 1] == '+' ? 2 : 1;
  std::from_chars(text.data() + e + sign, text.data() + text.size(), point);
  ++point;
  std::string digits = text.substr(0, e);
  std::erase(digits, '.');
  return number == 0 ? std::string() : digits;
}

/// Cut after `count` digits, rounded by the first one left out. True when it got a digit longer.
bool RoundTo(std::string& digits, int count) {
  if (count < 0) digits.clear();
  if (count < 0 || static_cast<size_t>(count) >= digits.size()) return false;
  const bool up = digits[static_cast<size_t>(count)] >= '5';
  digits.resize(static_cast<size_t>(count));
  if (!up) return false;
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
    if (*digit != '9') {
      ++*digit;
      return false;
    }
    *digit = '0';
  }
  digits.insert(digits.begin(), '1');
  return true;
}

std::u16string TwoDecimals(double number) {
  int point = 0;
  std::string digits = Digits(number, point);
  if (RoundTo(digits, point + kDecimals)) ++point;
  if (digits.find_first_not_of('0') == std::string::npos) return u"0.00";
  if (point < 1) {
    digits.insert(0, static_cast<size_t>(1 - point), '0');
    point = 1;
  }
  digits.resize(static_cast<size_t>(point + kDecimals), '0');
  digits.insert(static_cast<size_t>(point), 1, '.');
  if (std::signbit(number)) digits.insert(0, 1, '-');
  return {digits.begin(), digits.end()};
}

}  // namespace

std::u16string PriceText(std::u16string_view text, const NumberFormat& format) {
  try {
    return TwoDecimals(HasStoredForm(text) ? TextToDouble(text) : TextToDouble(text, format));
  } catch (const AutomationError&) {
    return std::u16string(text);
  }
}

}  // namespace ohmwise::catalogue
