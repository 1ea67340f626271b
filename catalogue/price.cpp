#include "catalogue/price.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "base/error.h"
#include "base/text.h"

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
  const auto whole = static_cast<size_t>(point);
  digits.resize(whole + kDecimals, '0');
  digits.insert(whole, 1, '.');
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

std::optional<std::u16string> PriceOf(std::u16string_view text) {
  const auto is_number_part = [](char16_t c) {
    return (c >= u'0' && c <= u'9') || c == u'.' || c == u',';
  };
  const auto is_group_sign = [](char16_t c) {
    return c == u' ' || c == u'\'' || c == 0xA0 || c == 0x202F || c == 0x2019;
  };
  size_t first = 0;
  while (first < text.size() && !is_number_part(text[first])) ++first;
  size_t last = text.size();
  while (last > first && !is_number_part(text[last - 1])) --last;
  const auto is_decoration = [&](std::u16string_view around) {
    return std::all_of(around.begin(), around.end(), [&](char16_t c) {
      const bool letter = (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
      return is_group_sign(c) || letter || c == u'$' || c == 0x20AC || c == 0xA3 || c == 0xA5;
    });
  };
  if (first == last) {
    if (TrimSpaces(text).empty()) return u"0.00";
    return std::nullopt;
  }
  if (!is_decoration(text.substr(0, first)) || !is_decoration(text.substr(last))) {
    return std::nullopt;
  }
  std::u16string number;
  for (const char16_t c : text.substr(first, last - first)) {
    if (is_number_part(c)) {
      number += c;
    } else if (!is_group_sign(c)) {
      return std::nullopt;
    }
  }
  NumberFormat format;
  const size_t sign = number.find_last_of(u".,");
  if (sign != number.npos) {
    const char16_t other = number[sign] == u'.' ? u',' : u'.';
    const bool has_other = number.find(other) != number.npos;
    const bool repeated = number.find(number[sign]) != sign;
    if (repeated && has_other) return std::nullopt;
    // One sign before three digits may stand between groups or before decimals, unless what stands
    // before it cannot be a group.
    const bool three = number.size() - sign == 4 && sign >= 1 && sign <= 3 && number[0] != u'0';
    if (three && !has_other && !repeated) return std::nullopt;
    const bool is_decimal = !repeated;
    if ((number[sign] == u',') == is_decimal) std::swap(format.decimal, format.grouping);
    // Groups have three digits; "1,23,456" is a slip of the finger.
    const size_t end = is_decimal ? sign : number.size();
    size_t at = number.find(format.grouping);
    if (at < end && (at == 0 || at > 3)) return std::nullopt;
    while (at < end) {
      const size_t next = std::min(number.find(format.grouping, at + 1), end);
      if (next - at != 4) return std::nullopt;
      at = next;
    }
  }
  const std::u16string stored = PriceText(number, format);
  if (!HasStoredForm(stored)) return std::nullopt;
  return stored;
}

}  // namespace ohmwise::catalogue
