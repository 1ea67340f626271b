#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ohmwise {

/// How a user writes numbers. The signs of dollar, euro, pound and yen always count as a currency.
struct NumberFormat {
  char16_t decimal = u'.';
  char16_t grouping = u',';  ///< a no-break space stands for any space
  std::u16string currency = u"$";
};

/// Conversions of the runtime. To integers: halves round to even; raise 6 out of range (and for a
/// NaN). From texts: the numeric recognition of the runtime in the invariant locale; raise 13 for a
/// text that is no number. "&HFFFF" is -1 as a 16-bit integer and 65535 otherwise.
int16_t ToInt16(double number);
int32_t ToInt32(double number);
double TextToDouble(std::u16string_view text);
/// The same, written as a user writes numbers.
double TextToDouble(std::u16string_view text, const NumberFormat& format);
int16_t TextToInt16(std::u16string_view text);
int32_t TextToInt32(std::u16string_view text);
/// "True"/"False" in any case, "#TRUE#"/"#FALSE#", or a number (0 is False). Raises 13 otherwise.
bool TextToBoolean(std::u16string_view text);

/// The numeric test of the runtime (IsNumeric): a sign before or behind, parentheses, a currency
/// sign, groups, a decimal sign, an exponent, or &H and &O. False for what no Double can hold.
bool IsNumericText(std::u16string_view text, const NumberFormat& format = {});
/// The number that a text begins with, 0 without one (Val): a point is the only decimal sign, and
/// blanks between the digits do not count. Never the user's form: "1,234" is 1 everywhere. Raises 6
/// above a Double.
double LeadingNumber(std::u16string_view text);

/// A Single as text: up to seven significant digits, no trailing zeros ("12.25", "0").
std::u16string SingleText(float number);
/// A Double as text: up to fifteen significant digits. Both take the exponent form where either
/// side of the point would need more places than that ("1E+20", "6.66666666666667E-02").
std::u16string DoubleText(double number);

/// Narrows an integer; raises 6 when the value does not fit.
template <class To, class From>
To CheckedCast(From value);

}  // namespace ohmwise

#include <limits>
#include <utility>

#include "base/error.h"

namespace ohmwise {
template <class To, class From>
To CheckedCast(From value) {
  if (!std::in_range<To>(value)) Raise(Err::kOverflow);
  return static_cast<To>(value);
}
}  // namespace ohmwise
