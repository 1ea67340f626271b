#include "base/conversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise {
namespace {

double RoundHalfEven(double number) { return std::nearbyint(number); }

template <class To>
To ToInteger(double number) {
  const double rounded = RoundHalfEven(number);
  if (!(rounded >= static_cast<double>(std::numeric_limits<To>::min()) &&
        rounded <= static_cast<double>(std::numeric_limits<To>::max()))) {
    Raise(Err::kOverflow);
  }
  return static_cast<To>(rounded);
}

bool IsBlank(char16_t unit) { return unit == u' ' || (unit >= 9 && unit <= 13) || unit == 0xA0; }
bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
bool IsExponentLetter(char16_t unit) {
  return unit == u'e' || unit == u'E' || unit == u'd' || unit == u'D';
}
bool IsCommonCurrency(char16_t unit) {
  return unit == u'$' || unit == 0x20AC || unit == 0xA3 || unit == 0xA5;
}

const NumberFormat& Invariant() {
  static const NumberFormat format;
  return format;
}

/// Reader of the numbers that the runtime recognises: one sign before or behind or parentheses, one
/// currency sign, grouped digits, a point, an exponent; or &H and &O.
class NumberReader {
 public:
  explicit NumberReader(std::u16string_view text, const NumberFormat& format = Invariant())
      : text_(text), format_(format) {}

  bool Read(double& number) {
    SkipBlanks();
    if (Peek() == u'&') return ReadRadix(number);
    std::string digits;
    bool in_parentheses = false, negative = false, sign = false, currency = false;
    for (;; SkipBlanks()) {
      const char16_t unit = Peek();
      if (unit == u'(' && !in_parentheses && !sign) {
        in_parentheses = negative = true;
      } else if ((unit == u'-' || unit == u'+') && !sign && !in_parentheses) {
        sign = true;
        negative = unit == u'-';
      } else if (const size_t units = currency ? 0 : CurrencyLength(); units > 0) {
        currency = true;
        at_ += units - 1;
      } else {
        break;
      }
      ++at_;
    }
    bool any = false;
    while (IsDigit(Peek()) || (any && IsGrouping(Peek()))) {
      if (IsDigit(Peek())) digits.push_back(static_cast<char>(Peek()));
      any = true;
      ++at_;
    }
    if (Peek() == format_.decimal) {
      digits.push_back('.');
      ++at_;
      while (IsDigit(Peek())) {
        digits.push_back(static_cast<char>(Peek()));
        any = true;
        ++at_;
      }
    }
    if (!any) return false;
    if (!ReadExponent(digits)) return false;
    for (SkipBlanks();; SkipBlanks()) {
      const char16_t unit = Peek();
      if (unit == u')' && in_parentheses && !closed_) {
        closed_ = true;
      } else if ((unit == u'-' || unit == u'+') && !sign && !in_parentheses) {
        sign = true;
        negative = unit == u'-';
      } else if (const size_t units = currency ? 0 : CurrencyLength(); units > 0) {
        currency = true;
        at_ += units - 1;
      } else {
        break;
      }
      ++at_;
    }
    if (at_ != text_.size() || in_parentheses != closed_) return false;
    const double magnitude = Magnitude(digits);
    number = negative ? -magnitude : magnitude;
    return true;
  }

  /// True for &H and &O: such a text is a pattern of bits, whose sign is that of the type asked
  /// for.
  bool is_bits() const { return is_bits_; }

 private:
  char16_t Peek() const { return at_ < text_.size() ? text_[at_] : u'\0'; }
  /// Code units of the currency sign here, 0 without one.
  size_t CurrencyLength() const {
    const std::u16string_view sign = format_.currency;
    if (!sign.empty() &&
        EqualNoCase(text_.substr(std::min(at_, text_.size()), sign.size()), sign)) {
      return sign.size();
    }
    return IsCommonCurrency(Peek()) ? 1 : 0;
  }
  bool IsGrouping(char16_t unit) const {
    if (unit == u'\0') return false;
    return unit == format_.grouping ||
           (unit == u' ' && (format_.grouping == 0xA0 || format_.grouping == 0x202F));
  }
  void SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }

  /// Value of "12.5e-3"; too small is 0, too large raises.
  static double Magnitude(std::string digits) {
    if (digits.front() == '.') digits.insert(digits.begin(), '0');
    double magnitude = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    if (result.ec != std::errc::result_out_of_range) return magnitude;
    // Which end it fell off: the power of ten of its first digit, exponent included.
    const size_t e = std::min(digits.find('e'), digits.size());
    int64_t power = 0;
    if (e < digits.size() &&
        std::from_chars(digits.data() + e + 1, digits.data() + digits.size(), power).ec !=
            std::errc()) {
      power = digits[e + 1] == '-' ? std::numeric_limits<int32_t>::min()
                                   : std::numeric_limits<int32_t>::max();
    }
    const auto point = static_cast<int64_t>(std::min(digits.find('.'), e));
    const auto first = static_cast<int64_t>(digits.find_first_of("123456789"));
    if (power + point - first > 0) Raise(Err::kOverflow);
    return 0;
  }

  bool ReadExponent(std::string& digits) {
    if (!IsExponentLetter(Peek())) return true;
    ++at_;
    digits.push_back('e');
    if (Peek() == u'-' || Peek() == u'+') {
      if (Peek() == u'-') digits.push_back('-');
      ++at_;
    }
    if (!IsDigit(Peek())) return false;
    while (IsDigit(Peek())) {
      digits.push_back(static_cast<char>(Peek()));
      ++at_;
    }
    return true;
  }

  /// &H1F, &O17, &17: up to 64 bits. A pattern of 17 to 32 bits is a signed 32-bit number.
  bool ReadRadix(double& number) {
    is_bits_ = true;
    ++at_;
    uint32_t radix = 8;
    if ((Peek() | 0x20) == u'h') {
      radix = 16;
      ++at_;
    } else if ((Peek() | 0x20) == u'o') {
      ++at_;
    }
    uint64_t value = 0;
    bool any = false;
    for (; at_ < text_.size() && !IsBlank(text_[at_]); ++at_) {
      const char16_t unit = text_[at_];
      uint32_t digit = 99;
      if (IsDigit(unit)) digit = unit - u'0';
      if ((unit | 0x20) >= u'a' && (unit | 0x20) <= u'f') digit = (unit | 0x20u) - u'a' + 10;
      if (digit >= radix) return false;
      if (value > (std::numeric_limits<uint64_t>::max() - digit) / radix) Raise(Err::kOverflow);
      value = value * radix + digit;
      any = true;
    }
    SkipBlanks();
    if (!any || at_ != text_.size()) return false;
    number = value <= std::numeric_limits<uint32_t>::max() ? static_cast<int32_t>(value)
                                                           : static_cast<double>(value);
    return true;
  }

  std::u16string_view text_;
  const NumberFormat& format_;
  size_t at_ = 0;
  bool closed_ = false;
  bool is_bits_ = false;
};

/// Value of a digit in a radix up to 16; -1 for none.
int32_t DigitOf(char16_t unit, int32_t radix) {
  int32_t digit = -1;
  if (IsDigit(unit)) digit = unit - u'0';
  if (unit >= u'a' && unit <= u'f') digit = unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'F') digit = unit - u'A' + 10;
  return digit < radix ? digit : -1;
}

/// The bits that "&H1F…" or "&O17…" begins with, signed like the shortest integer that holds them:
/// "&HFFFF" is -1, and "&HFFFF&" 65535.
double LeadingBits(std::u16string_view text) {
  text.remove_prefix(1);
  int32_t radix = 8;
  if (!text.empty() && (text.front() | 0x20) == u'h') radix = 16;
  if (!text.empty() && (radix == 16 || (text.front() | 0x20) == u'o')) text.remove_prefix(1);
  uint64_t bits = 0;
  while (!text.empty() && DigitOf(text.front(), radix) >= 0) {
    const auto digit = static_cast<uint64_t>(DigitOf(text.front(), radix));
    if (bits > (std::numeric_limits<uint64_t>::max() - digit) / static_cast<uint64_t>(radix)) {
      Raise(Err::kOverflow);
    }
    bits = bits * static_cast<uint64_t>(radix) + digit;
    text.remove_prefix(1);
  }
  const bool is_wide = text.starts_with(u'&');
  if (bits <= 0xFFFF && !is_wide) return static_cast<int16_t>(bits);
  if (bits <= 0xFFFFFFFF) return static_cast<int32_t>(bits);
  return static_cast<double>(bits);
}

/// Text of at most `digits` significant digits: plain as long as neither side of the point needs
/// more than that many places, else with an exponent of at least two digits.
template <class Number>
std::u16string SignificantText(Number number, int digits) {
  if (number == 0) return u"0";
  if (!std::isfinite(number)) Raise(Err::kOverflow);
  char buffer[64];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, number,
                                 std::chars_format::scientific, digits - 1)
                       .ptr;
  double rounded = 0;
  std::from_chars(buffer, end, rounded);
  const std::string text(buffer, end);
  const size_t e = text.find('e');
  int exponent = 0;
  std::from_chars(text.data() + e + (text[e + 1] == '+' ? 2 : 1), text.data() + text.size(),
                  exponent);
  std::string mantissa = text.substr(0, e);
  mantissa.erase(mantissa.find_last_not_of('0') + 1);
  if (mantissa.back() == '.') mantissa.pop_back();
  const auto point = mantissa.find('.');
  const int decimals =
      (point == std::string::npos ? 0 : static_cast<int>(mantissa.size() - point) - 1) - exponent;
  if (exponent < digits && decimals <= digits) return DecimalText(rounded);
  mantissa += "E" + text.substr(e + 1);
  return {mantissa.begin(), mantissa.end()};
}

}  // namespace

int16_t ToInt16(double number) { return ToInteger<int16_t>(number); }
int32_t ToInt32(double number) { return ToInteger<int32_t>(number); }

double TextToDouble(std::u16string_view text) { return TextToDouble(text, {}); }
double TextToDouble(std::u16string_view text, const NumberFormat& format) {
  double number = 0;
  if (!NumberReader(text, format).Read(number)) Raise(Err::kTypeMismatch);
  return number;
}
int16_t TextToInt16(std::u16string_view text) {
  NumberReader reader(text);
  double number = 0;
  if (!reader.Read(number)) Raise(Err::kTypeMismatch);
  if (reader.is_bits() && number >= 0x8000 && number <= 0xFFFF) number -= 0x10000;
  return ToInt16(number);
}
int32_t TextToInt32(std::u16string_view text) { return ToInt32(TextToDouble(text)); }

bool IsNumericText(std::u16string_view text, const NumberFormat& format) {
  try {
    double ignored = 0;
    return NumberReader(text, format).Read(ignored);
  } catch (const AutomationError&) {
    return false;
  }
}

double LeadingNumber(std::u16string_view text) {
  std::u16string packed;
  for (const char16_t unit : text) {
    if (unit != u' ' && unit != u'\t' && unit != u'\n' && unit != u'\r') packed += unit;
  }
  if (packed.starts_with(u'&')) return LeadingBits(packed);
  size_t end = 0;
  const auto skip_digits = [&] {
    const size_t begin = end;
    while (end < packed.size() && IsDigit(packed[end])) ++end;
    return end > begin;
  };
  const auto skip_sign = [&] {
    if (end < packed.size() && (packed[end] == u'-' || packed[end] == u'+')) ++end;
  };
  skip_sign();
  bool any = skip_digits();
  if (end < packed.size() && packed[end] == u'.') {
    ++end;
    any = skip_digits() || any;
  }
  if (!any) return 0;
  const size_t mantissa_end = end;
  if (end < packed.size() && IsExponentLetter(packed[end])) {
    ++end;
    skip_sign();
    if (!skip_digits()) end = mantissa_end;
  }
  return TextToDouble(std::u16string_view(packed).substr(0, end));
}

bool TextToBoolean(std::u16string_view text) {
  if (EqualNoCase(text, u"True") || EqualNoCase(text, u"#TRUE#")) return true;
  if (EqualNoCase(text, u"False") || EqualNoCase(text, u"#FALSE#")) return false;
  return TextToDouble(text) != 0;
}

std::u16string SingleText(float number) { return SignificantText(number, 7); }
std::u16string DoubleText(double number) { return SignificantText(number, 15); }

}  // namespace ohmwise
