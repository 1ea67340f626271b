#include "platform/conversion.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

#include "platform/error.h"
#include "platform/text.h"

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
bool IsCurrency(char16_t unit) {
  return unit == u'$' || unit == 0x20AC || unit == 0xA3 || unit == 0xA5;
}

/// Reader of the numbers that the runtime recognises: one sign before or behind or parentheses, one
/// currency sign, grouped digits, a point, an exponent; or &H and &O.
class NumberReader {
 public:
  explicit NumberReader(std::u16string_view text) : text_(text) {}

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
      } else if (IsCurrency(unit) && !currency) {
        currency = true;
      } else {
        break;
      }
      ++at_;
    }
    bool any = false;
    while (IsDigit(Peek()) || (any && Peek() == u',')) {
      if (Peek() != u',') digits.push_back(static_cast<char>(Peek()));
      any = true;
      ++at_;
    }
    if (Peek() == u'.') {
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
      } else if (IsCurrency(unit) && !currency) {
        currency = true;
      } else {
        break;
      }
      ++at_;
    }
    if (at_ != text_.size() || in_parentheses != closed_) return false;
    // strtod of a text that never holds a locale's point; from_chars wants a digit first.
    if (digits.front() == '.') digits.insert(digits.begin(), '0');
    double magnitude = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    if (result.ec == std::errc::result_out_of_range) {
      if (digits.find("e-") == std::string::npos) Raise(Err::kOverflow);
      magnitude = 0;
    }
    number = negative ? -magnitude : magnitude;
    return true;
  }

 private:
  char16_t Peek() const { return at_ < text_.size() ? text_[at_] : u'\0'; }
  void SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }

  bool ReadExponent(std::string& digits) {
    const char16_t letter = static_cast<char16_t>(Peek() | 0x20);
    if (letter != u'e' && letter != u'd') return true;
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

  /// &H1F, &O17, &17: up to 32 bits; four hexadecimal digits and fewer are a signed 16-bit number.
  bool ReadRadix(double& number) {
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
      value = value * radix + digit;
      if (value > 0xFFFFFFFFu) Raise(Err::kOverflow);
      any = true;
    }
    SkipBlanks();
    if (!any || at_ != text_.size()) return false;
    number = value <= 0xFFFF ? static_cast<double>(static_cast<int16_t>(value))
                             : static_cast<double>(static_cast<int32_t>(value));
    return true;
  }

  std::u16string_view text_;
  size_t at_ = 0;
  bool closed_ = false;
};

/// `%G`-like text with a point, "E+20" exponents of at least two digits as the runtime writes them.
template <class Number>
std::u16string SignificantText(Number number, int digits, double plain_above, double plain_below) {
  if (number == 0) return u"0";
  if (!std::isfinite(number)) Raise(Err::kOverflow);
  char buffer[64];
  auto end = std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::scientific,
                           digits - 1)
                 .ptr;
  double rounded = 0;
  std::from_chars(buffer, end, rounded);
  const double magnitude = std::fabs(rounded);
  if (magnitude >= plain_above && magnitude < plain_below) {
    return DecimalText(rounded);
  }
  std::string text(buffer, end);
  const size_t e = text.find('e');
  std::string mantissa = text.substr(0, e);
  mantissa.erase(mantissa.find_last_not_of('0') + 1);
  if (mantissa.back() == '.') mantissa.pop_back();
  text = mantissa + "E" + text.substr(e + 1);
  return {text.begin(), text.end()};
}

}  // namespace

int16_t ToInt16(double number) { return ToInteger<int16_t>(number); }
int32_t ToInt32(double number) { return ToInteger<int32_t>(number); }

double TextToDouble(std::u16string_view text) {
  double number = 0;
  if (!NumberReader(text).Read(number)) Raise(Err::kTypeMismatch);
  return number;
}
int16_t TextToInt16(std::u16string_view text) { return ToInt16(TextToDouble(text)); }
int32_t TextToInt32(std::u16string_view text) { return ToInt32(TextToDouble(text)); }

bool TextToBoolean(std::u16string_view text) {
  if (EqualNoCase(text, u"True") || EqualNoCase(text, u"#TRUE#")) return true;
  if (EqualNoCase(text, u"False") || EqualNoCase(text, u"#FALSE#")) return false;
  return TextToDouble(text) != 0;
}

std::u16string SingleText(float number) { return SignificantText(number, 7, 1e-7, 1e7); }
std::u16string DoubleText(double number) { return SignificantText(number, 15, 1e-15, 1e15); }

}  // namespace ohmwise
