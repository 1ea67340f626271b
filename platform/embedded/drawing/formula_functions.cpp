#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <string>
#include <unordered_map>
#include <utility>

#include "base/text.h"
#include "platform/embedded/drawing/formula_dates.h"
#include "platform/embedded/drawing/formula_program.h"

namespace ohmwise::embedded {

// Days counted from the civil calendar's own epoch (Howard Hinnant,
// "chrono-compatible low-level date algorithms").
double JoinDate(int year, int month, int day) {
  year += (month - 1 - ((month - 1) % 12 + 12) % 12) / 12;
  month = ((month - 1) % 12 + 12) % 12 + 1;
  const int y = month <= 2 ? year - 1 : year;
  const int era = (y >= 0 ? y : y - 399) / 400;
  const int of_era = y - era * 400;
  const int of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5;
  const int64_t of_calendar = of_era * int64_t{365} + of_era / 4 - of_era / 100 + of_year + day - 1;
  return static_cast<double>(era * int64_t{146097} + of_calendar - 719468 + 25569);
}

DateParts SplitDate(double days) {
  DateParts parts;
  if (!(std::fabs(days) < 1e8)) return parts;
  double whole = std::floor(days);
  auto seconds = static_cast<int>(std::lround((days - whole) * 86400));
  if (seconds == 86400) {
    seconds = 0;
    whole += 1;
  }
  parts.hour = seconds / 3600;
  parts.minute = seconds / 60 % 60;
  parts.second = seconds % 60;
  const auto serial = static_cast<int64_t>(whole);
  parts.weekday = static_cast<int>(((serial + 6) % 7 + 7) % 7);
  const int64_t z = serial - 25569 + 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t of_era = z - era * 146097;
  const int64_t year_of_era = (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
  const int64_t day_of_year = of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t mp = (5 * day_of_year + 2) / 153;
  parts.day = static_cast<int>(day_of_year - (153 * mp + 2) / 5 + 1);
  parts.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  parts.year = static_cast<int>(year_of_era + era * 400 + (parts.month <= 2 ? 1 : 0));
  return parts;
}

/// Simple case mapping; letters without a partner stay.
std::string LowerText(std::string_view text) { return ToUtf8(FoldCase(FromUtf8(text))); }
std::string UpperText(std::string_view text) {
  static const auto kUpper = [] {
    std::unordered_map<char16_t, char16_t> table;
    for (uint32_t unit = 0xFFFF; unit > 0; --unit) {
      const char16_t folded = FoldCase(static_cast<char16_t>(unit));
      // The lowest partner is the plain capital letter; the capital sharp s is in no common use.
      if (folded != unit && unit != 0x1E9E) table[folded] = static_cast<char16_t>(unit);
    }
    return table;
  }();
  std::u16string result = FromUtf8(text);
  for (char16_t& unit : result) {
    if (const auto found = kUpper.find(unit); found != kUpper.end()) unit = found->second;
  }
  return ToUtf8(result);
}

namespace {

using Value = FormulaValue;
using Kind = FormulaValue::Kind;
using Args = const CallArguments&;

Value Error(FormulaErrorKind kind) { return Value::Error(kind); }

/// The first argument that is an error ends most functions.
template <FunctionBody body>
Value Strict(Args a) {
  for (const Value& value : a.values) {
    if (value.IsError()) return value;
  }
  return body(a);
}

Unit UnitOf(const Value& value) { return value.kind == Kind::kNumber ? value.unit : Unit::kNumber; }

template <double (*function)(double)>
Value Plain(Args a) {
  const double number = function(a.Number(0));
  if (!std::isfinite(number)) return Error(FormulaErrorKind::kNumber);
  return Value::Number(number);
}
template <double (*function)(double)>
Value Angle(Args a) {
  const double number = function(a.Number(0));
  if (!std::isfinite(number)) return Error(FormulaErrorKind::kNumber);
  return Value::Number(number, Unit::kAngle);
}

/// A number rounded in the unit it is shown in, so that ROUND(12.3mm, 0) is 12
/// mm.
template <class Round>
Value Rounded(const Value& value, Round round) {
  const Unit unit = UnitOf(value);
  const double factor = unit == Unit::kPercent ? 1 : UnitFactor(unit);
  const double number = round(value.ToNumber() / factor) * factor;
  if (!std::isfinite(number)) return Error(FormulaErrorKind::kNumber);
  return Value::Number(number, unit);
}

double HalfAway(double number) {
  // The shortest decimal decides, not the binary value next to it.
  const double nudged = number * (1 + (number == 0 ? 0 : 1e-15));
  return nudged < 0 ? -std::floor(-nudged + 0.5) : std::floor(nudged + 0.5);
}
double PowerOfTen(double digits) {
  return std::pow(10.0, std::clamp(std::trunc(digits), -300.0, 300.0));
}

/// Part of a quotient nearest an integer, so that 0.3/0.1 counts as 3.
double Quotient(double a, double b) {
  const double quotient = a / b;
  const double whole = std::round(quotient);
  return std::fabs(quotient - whole) < 1e-9 ? whole : quotient;
}

// Logic
// ------------------------------------------------------------------------------------------
Value And(Args a) {
  return Value::Boolean(std::all_of(a.values.begin(), a.values.end(),
                                    [](const Value& v) { return v.ToNumber() != 0; }));
}
Value Or(Args a) {
  return Value::Boolean(std::any_of(a.values.begin(), a.values.end(),
                                    [](const Value& v) { return v.ToNumber() != 0; }));
}
Value Not(Args a) { return Value::Boolean(a.Number(0) == 0); }
Value IsErrorValue(Args a) { return Value::Boolean(a.values[0].IsError()); }
Value IsErr(Args a) {
  return Value::Boolean(a.values[0].IsError() &&
                        a.values[0].error != FormulaErrorKind::kNotAvailable);
}
Value IsErrNa(Args a) {
  return Value::Boolean(a.values[0].IsError() &&
                        a.values[0].error == FormulaErrorKind::kNotAvailable);
}
Value IsErrValue(Args a) {
  return Value::Boolean(a.values[0].IsError() && a.values[0].error == FormulaErrorKind::kValue);
}
Value Same(Args a) { return a.values[0]; }
/// SETATREF shows the cell it redirects to, unless it is told to show nothing.
Value SetAtRef(Args a) { return a.Has(2) && a.Number(2) != 0 ? Value::Number(0) : a.values[0]; }
/// What was set last stands in the formula itself.
Value SetAtRefExpression(Args a) { return a.Has(0) ? a.values[0] : Value::Number(0); }
Value Nothing(Args) { return Value::Number(0); }
Value NotAvailable(Args) { return Error(FormulaErrorKind::kNotAvailable); }
Value NoReference(Args) { return Error(FormulaErrorKind::kReference); }

// Numbers
// ----------------------------------------------------------------------------------------
Value Abs(Args a) { return Value::Number(std::fabs(a.Number(0)), UnitOf(a.values[0])); }
/// Whole numbers count something; the unit they were measured in is gone.
Value Int(Args a) { return Value::Number(std::floor(a.Number(0))); }
Value IntUp(Args a) { return Value::Number(std::ceil(a.Number(0))); }
Value Round(Args a) {
  const double scale = PowerOfTen(a.Number(1));
  return Rounded(a.values[0], [scale](double n) { return HalfAway(n * scale) / scale; });
}
Value Trunc(Args a) {
  const double scale = PowerOfTen(a.size() > 1 ? a.Number(1) : 0);
  return Rounded(a.values[0], [scale](double n) { return std::trunc(n * scale) / scale; });
}
/// The step of CEILING, FLOOR and MODULUS: a bare number is one in the unit of the value.
double Step(Args a) {
  if (!a.Has(1)) return UnitFactor(UnitOf(a.values[0]));
  const double step = a.Number(1);
  return UnitOf(a.values[1]) == Unit::kNumber ? step * UnitFactor(UnitOf(a.values[0])) : step;
}
/// The sign is that of the divisor.
Value Modulus(Args a) {
  const double divisor = Step(a);
  if (divisor == 0) return Error(FormulaErrorKind::kDivideByZero);
  const double number = a.Number(0);
  const double quotient = Quotient(number, divisor);
  double rest = 0;
  if (quotient != std::floor(quotient)) {
    rest = std::fmod(number, divisor);
    if (rest != 0 && (rest < 0) != (divisor < 0)) rest += divisor;
  }
  return Value::Number(rest, UnitOf(a.values[0]));
}
/// A multiple of the other sign cannot be rounded to.
bool Opposed(Args a) { return a.Has(1) && a.Number(0) * a.Number(1) < 0; }
/// Away from zero to a multiple.
Value Ceiling(Args a) {
  const double step = std::fabs(Step(a));
  const double number = a.Number(0);
  if (Opposed(a)) return Error(FormulaErrorKind::kNumber);
  if (step == 0) return Value::Number(0, UnitOf(a.values[0]));
  const double steps = std::ceil(Quotient(std::fabs(number), step));
  return Value::Number(std::copysign(steps * step, number), UnitOf(a.values[0]));
}
/// Towards zero to a multiple.
Value Floor(Args a) {
  const double step = std::fabs(Step(a));
  const double number = a.Number(0);
  if (Opposed(a)) return Error(FormulaErrorKind::kNumber);
  if (step == 0) return Value::Number(0, UnitOf(a.values[0]));
  const double steps = std::floor(Quotient(std::fabs(number), step));
  return Value::Number(std::copysign(steps * step, number), UnitOf(a.values[0]));
}
Value Sign(Args a) {
  const double fuzz = a.Has(1) ? std::fabs(a.Number(1)) : 1e-9;
  const double number = a.Number(0);
  return Value::Number(std::fabs(number) <= fuzz ? 0 : number < 0 ? -1 : 1);
}
Value Min(Args a) {
  return *std::min_element(a.values.begin(), a.values.end(), [](const Value& x, const Value& y) {
    return x.ToNumber() < y.ToNumber();
  });
}
Value Max(Args a) {
  return *std::max_element(a.values.begin(), a.values.end(), [](const Value& x, const Value& y) {
    return x.ToNumber() < y.ToNumber();
  });
}
Value Sum(Args a) {
  double sum = 0;
  Unit unit = Unit::kNumber;
  for (const Value& value : a.values) {
    sum += value.ToNumber();
    if (unit == Unit::kNumber) unit = UnitOf(value);
  }
  return Value::Number(sum, unit);
}
Value Average(Args a) {
  Value sum = Sum(a);
  sum.number /= static_cast<double>(a.size());
  return sum;
}
Value Sqrt(Args a) {
  if (a.Number(0) < 0) return Error(FormulaErrorKind::kNumber);
  // The root of a product of two lengths is a length again.
  const Unit unit =
      UnitOf(a.values[0]) == Unit::kMultiDimensional ? Unit::kDrawingUnits : Unit::kNumber;
  return Value::Number(std::sqrt(a.Number(0)), unit);
}
Value Power(Args a) {
  const double number = std::pow(a.Number(0), a.Number(1));
  return std::isfinite(number) ? Value::Number(number) : Error(FormulaErrorKind::kNumber);
}
Value Atan2(Args a) { return Value::Number(std::atan2(a.Number(0), a.Number(1)), Unit::kAngle); }
Value Pi(Args) { return Value::Number(std::numbers::pi); }
Value Degrees(Args a) { return Value::Number(a.Number(0) * 180 / std::numbers::pi); }
Value Radians(Args a) { return Value::Number(a.Number(0)); }
Value Angle360(Args a) {
  const double turn = 2 * std::numbers::pi;
  const double angle = a.Number(0);
  return Value::Number(angle - turn * std::floor(Quotient(angle, turn)), Unit::kAngle);
}
Value Magnitude(Args a) {
  return Value::Number(std::hypot(a.Number(0) * a.Number(1), a.Number(2) * a.Number(3)),
                       UnitOf(a.values[1]));
}
Value BitAnd(Args a) {
  return Value::Number(
      static_cast<double>(static_cast<int64_t>(a.Number(0)) & static_cast<int64_t>(a.Number(1))));
}
Value BitOr(Args a) {
  return Value::Number(
      static_cast<double>(static_cast<int64_t>(a.Number(0)) | static_cast<int64_t>(a.Number(1))));
}
Value BitXor(Args a) {
  return Value::Number(
      static_cast<double>(static_cast<int64_t>(a.Number(0)) ^ static_cast<int64_t>(a.Number(1))));
}
/// Bitwise functions take what fits 32 bits.
template <FunctionBody body>
Value Bits(Args a) {
  for (const Value& value : a.values) {
    if (!(std::fabs(value.ToNumber()) < 4294967296.0)) return Error(FormulaErrorKind::kNumber);
  }
  return body(a);
}
Value BitNot(Args a) {
  return Value::Number(static_cast<double>(65535 & ~static_cast<int64_t>(a.Number(0))));
}
/// Holds a value inside the nearest range that is not switched off (type 0) or outside of every
/// such range (type 1); type 2 leaves it alone.
Value Bound(Args a) {
  const double number = a.Number(0);
  const double type = a.Number(1);
  double best = number, distance = -1;
  for (size_t i = 2; type != 2 && i + 2 < a.size(); i += 3) {
    if (a.Number(i) != 0) continue;
    const double low = std::min(a.Number(i + 1), a.Number(i + 2));
    const double high = std::max(a.Number(i + 1), a.Number(i + 2));
    if (type == 1) {
      if (best > low && best < high) best = best - low < high - best ? low : high;
      continue;
    }
    const double held = std::clamp(number, low, high);
    if (distance < 0 || std::fabs(held - number) < distance) {
      distance = std::fabs(held - number);
      best = held;
    }
  }
  return Value::Number(best, UnitOf(a.values[0]));
}
Value Point(Args a) { return Value::Point(a.Number(0), a.Number(1)); }
/// One part of a point; cells keep points as texts too.
template <double Value::*part>
Value PointPart(Args a) {
  if (a.values[0].kind == Kind::kPoint) {
    return Value::Number(a.values[0].*part, Unit::kDrawingUnits);
  }
  const auto point = PointFromText(a.values[0].text);
  return point ? Value::Number((*point).*part, Unit::kDrawingUnits)
               : Error(FormulaErrorKind::kValue);
}

// Texts: positions and lengths count UTF-16 code units
// ----------------------------------------------
size_t Length(double number) {
  return number <= 0 ? 0 : static_cast<size_t>(std::min(number, 1e9));
}

Value Left(Args a) {
  return Value::Text(ToUtf8(FromUtf8(a.Text(0)).substr(0, a.Has(1) ? Length(a.Number(1)) : 1)));
}
Value Right(Args a) {
  const std::u16string text = FromUtf8(a.Text(0));
  const size_t length = std::min(a.Has(1) ? Length(a.Number(1)) : 1, text.size());
  return Value::Text(ToUtf8(text.substr(text.size() - length)));
}
Value Mid(Args a) {
  if (a.Number(1) < 1 || a.Number(2) < 0) return Error(FormulaErrorKind::kValue);
  const std::u16string text = FromUtf8(a.Text(0));
  const size_t begin = std::min(Length(a.Number(1)) - 1, text.size());
  return Value::Text(ToUtf8(text.substr(begin, Length(a.Number(2)))));
}
Value Len(Args a) { return Value::Number(static_cast<double>(FromUtf8(a.Text(0)).size())); }
Value Find(Args a) {
  const bool ignore_case = a.Has(3) && a.Number(3) != 0;
  const auto prepared = [&](size_t i) {
    std::u16string text = FromUtf8(a.Text(i));
    return ignore_case ? FoldCase(text) : text;
  };
  const double start = a.Has(2) ? a.Number(2) : 1;
  if (start < 1) return Error(FormulaErrorKind::kValue);
  const std::u16string within = prepared(1);
  if (start > static_cast<double>(within.size())) return Error(FormulaErrorKind::kValue);
  const size_t found = within.find(prepared(0), Length(start) - 1);
  if (found == std::u16string::npos) return Error(FormulaErrorKind::kValue);
  return Value::Number(static_cast<double>(found) + 1);
}
Value Replace(Args a) {
  std::u16string text = FromUtf8(a.Text(0));
  if (a.Number(1) < 1 || a.Number(2) < 0) return Error(FormulaErrorKind::kValue);
  const size_t begin = std::min(Length(a.Number(1)) - 1, text.size());
  text.replace(begin, std::min(Length(a.Number(2)), text.size() - begin), FromUtf8(a.Text(3)));
  return Value::Text(ToUtf8(text));
}
Value Substitute(Args a) {
  const std::u16string text = FromUtf8(a.Text(0)), from = FromUtf8(a.Text(1)),
                       to = FromUtf8(a.Text(2));
  const double which = a.Has(3) ? std::trunc(a.Number(3)) : 0;
  const bool ignore_case = a.Has(4) && a.Number(4) != 0;
  if (from.empty()) return Value::Text(a.Text(0));
  // Folding keeps every code unit in its place.
  const std::u16string searched = ignore_case ? FoldCase(text) : text;
  const std::u16string wanted = ignore_case ? FoldCase(from) : from;
  std::u16string result;
  size_t begin = 0;
  double count = 0;
  for (;;) {
    const size_t found = searched.find(wanted, begin);
    if (found == std::u16string::npos) {
      return Value::Text(ToUtf8(result.append(text, begin)));
    }
    result.append(text, begin, found - begin);
    // A short pattern with a long replacement must not take up the memory first.
    if (result.size() + to.size() > kLongestText) return Error(FormulaErrorKind::kValue);
    ++count;
    result += which == 0 || which == count ? to : from;
    begin = found + from.size();
  }
}
Value Repeat(Args a) {
  const std::string text = a.Text(0);
  const size_t count = text.empty() ? 0 : Length(a.Number(1));
  if (count > kLongestText) return Error(FormulaErrorKind::kValue);
  if (text.size() * count > 4 * kLongestText) return Error(FormulaErrorKind::kValue);
  std::string result;
  for (size_t i = 0; i < count; ++i) result += text;
  return Value::Text(result);
}
/// One blank stays between words.
Value TrimBlanks(Args a) {
  std::string result;
  for (const char c : a.Text(0)) {
    if (c == ' ' && (result.empty() || result.back() == ' ')) continue;
    result.push_back(c);
  }
  if (!result.empty() && result.back() == ' ') result.pop_back();
  return Value::Text(result);
}
Value Lower(Args a) { return Value::Text(LowerText(a.Text(0))); }
Value Upper(Args a) { return Value::Text(UpperText(a.Text(0))); }
/// Characters of code page 1252 beyond ISO 8859-1.
constexpr std::array<char16_t, 32> kCp1252 = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
Value Char(Args a) {
  const double code = std::trunc(a.Number(0));
  if (!(code >= 1 && code <= 255)) return Error(FormulaErrorKind::kValue);
  auto unit = static_cast<char32_t>(code);
  if (unit >= 0x80 && unit < 0xA0) unit = kCp1252[unit - 0x80];
  std::string text;
  AppendUtf8(text, unit);
  return Value::Text(text);
}
Value UniChar(Args a) {
  const double code = std::trunc(a.Number(0));
  if (!(code >= 1 && code <= 65535)) return Error(FormulaErrorKind::kValue);
  std::string text;
  AppendUtf8(text, static_cast<char32_t>(code));
  return Value::Text(text);
}
Value StrSame(Args a) {
  const std::string x = a.Text(0), y = a.Text(1);
  const bool ignore_case = a.Has(2) && a.Number(2) != 0;
  return Value::Boolean(ignore_case ? EqualNoCase(FromUtf8(x), FromUtf8(y)) : x == y);
}
std::vector<std::string> Items(const std::string& list, const std::string& delimiter) {
  std::vector<std::string> items;
  if (delimiter.empty()) return {list};
  for (size_t begin = 0;;) {
    const size_t end = list.find(delimiter, begin);
    items.push_back(list.substr(begin, end == std::string::npos ? end : end - begin));
    if (end == std::string::npos) return items;
    begin = end + delimiter.size();
  }
}
std::string Delimiter(Args a, size_t i) { return a.Has(i) ? a.Text(i) : ";"; }
/// Item of a list, counted from 0; beyond it the fourth argument or nothing. That may be an error
/// as long as nobody needs it.
Value Index(Args a) {
  for (size_t i = 0; i < std::min<size_t>(a.size(), 3); ++i) {
    if (a.values[i].IsError()) return a.values[i];
  }
  const std::vector<std::string> items = Items(a.Text(1), Delimiter(a, 2));
  const double index = std::trunc(a.Number(0));
  if (index < 0 || index >= static_cast<double>(items.size())) {
    return a.Has(3) ? a.values[3] : Value::Text("");
  }
  return Value::Text(items[static_cast<size_t>(index)]);
}
/// Place of an item in a list, from 0; -1 when it is not there. Case does not
/// count.
Value Lookup(Args a) {
  const std::u16string key = FromUtf8(a.Text(0));
  const std::vector<std::string> items = Items(a.Text(1), Delimiter(a, 2));
  for (size_t i = 0; i < items.size(); ++i) {
    if (EqualNoCase(FromUtf8(items[i]), key)) return Value::Number(static_cast<double>(i));
  }
  return Value::Number(-1);
}
Value Format(Args a) {
  const std::string picture = a.Text(1);
  double number = 0;
  // A picture of digits has no place for a text that is no number.
  if (a.values[0].kind == Kind::kText && !TextNumber(a.values[0].text, number) &&
      !a.values[0].text.empty() && picture.find_first_of("0#") != std::string::npos &&
      picture.find('@') == std::string::npos && !FieldPictureNumber(picture)) {
    return Error(FormulaErrorKind::kValue);
  }
  return Value::Text(FormatWithPicture(a.values[0], picture));
}
/// The picture of a field format by its number; formats of the office suite begin at 200.
Value FieldPicture(Args a) {
  const double number = std::trunc(a.Number(0));
  return Value::Text(number < 200 ? "esc(" + NumberText(number) + ")"
                                  : "{<" + NumberText(number) + ">}");
}

// Dates
// ------------------------------------------------------------------------------------------
Value Date(Args a) {
  const auto part = [&](size_t i) {
    return static_cast<int>(std::clamp(std::trunc(a.Number(i)), -1e5, 1e5));
  };
  return Value::Number(JoinDate(part(0), part(1), part(2)), Unit::kDate);
}
Value Time(Args a) {
  return Value::Number((a.Number(0) * 3600 + a.Number(1) * 60 + a.Number(2)) / 86400, Unit::kDate);
}
template <int DateParts::*part, int shift = 0>
Value DatePart(Args a) {
  return Value::Number(SplitDate(a.Number(0)).*part + shift);
}
Value DayOfYear(Args a) {
  const double days = std::floor(a.Number(0));
  return Value::Number(days - JoinDate(SplitDate(days).year, 1, 1) + 1);
}

// What the drawing knows
// --------------------------------------------------------------------------
Value PageName(Args a) { return Value::Text(a.context.PageName()); }
Value PageNumber(Args a) { return Value::Number(a.context.PageNumber()); }
Value PageCount(Args a) { return Value::Number(a.context.PageCount()); }
Value Property(Args a) {
  return a.context.Property(a.name, {a.values.begin(), a.values.end()})
      .value_or(Error(FormulaErrorKind::kNotAvailable));
}

// Semantics follow the public ShapeSheet function reference of the drawing
// program. Functions that start something (RUNADDON, CALLTHIS …) give 0 and
// start nothing here.
constexpr FunctionInfo kFunctions[] = {
    {"ABS", 1, 1, Strict<Abs>, [](Value& v) { v.number = std::fabs(v.number); }},
    {"ACOS", 1, 1, Strict<Angle<std::acos>>},
    {"AND", 1, 255, Strict<And>},
    {"ANG360", 1, 1, Strict<Angle360>},
    {"ASIN", 1, 1, Strict<Angle<std::asin>>},
    {"ATAN", 1, 1, Strict<Angle<std::atan>>},
    {"ATAN2", 2, 2, Strict<Atan2>},
    {"AVERAGE", 1, 255, Strict<Average>},
    {"BITAND", 2, 2, Strict<Bits<BitAnd>>},
    {"BITNOT", 1, 1, Strict<Bits<BitNot>>},
    {"BITOR", 2, 2, Strict<Bits<BitOr>>},
    {"BITXOR", 2, 2, Strict<Bits<BitXor>>},
    {"BOUND", 5, 255, Strict<Bound>},
    {"CALLTHIS", 1, 255, Nothing},
    {"CEILING", 1, 2, Strict<Ceiling>},
    {"CHAR", 1, 1, Strict<Char>},
    {"COS", 1, 1, Strict<Plain<std::cos>>},
    {"COSH", 1, 1, Strict<Plain<std::cosh>>},
    {"DATE", 3, 3, Strict<Date>},
    {"DAY", 1, 2, Strict<DatePart<&DateParts::day>>},
    {"DAYOFYEAR", 1, 2, Strict<DayOfYear>},
    {"DEFAULTEVENT", 0, 0, Nothing},
    {"DEG", 1, 1, Strict<Degrees>},
    {"DEPENDSON", 0, 255, Nothing},
    {"DOCMD", 1, 1, Nothing},
    {"FIELDPICTURE", 1, 1, Strict<FieldPicture>},
    {"FIND", 2, 4, Strict<Find>},
    {"FLOOR", 1, 2, Strict<Floor>},
    {"FORMAT", 2, 2, Strict<Format>},
    {"GOTOPAGE", 1, 255, Nothing},
    {"GUARD", 1, 1, Same, [](Value&) {}},
    {"HOUR", 1, 2, Strict<DatePart<&DateParts::hour>>},
    {"HYPERLINK", 1, 255, Nothing},
    {"ID", 0, 0, Property},
    {"INDEX", 2, 4, Index},
    {"INT", 1, 1, Strict<Int>,
     [](Value& v) {
       v.number = std::floor(v.number);
       v.unit = Unit::kNumber;
     }},
    {"INTUP", 1, 1, Strict<IntUp>},
    {"ISERR", 1, 1, IsErr},
    {"ISERRNA", 1, 1, IsErrNa},
    {"ISERROR", 1, 1, IsErrorValue},
    {"ISERRVALUE", 1, 1, IsErrValue},
    {"LEFT", 1, 2, Strict<Left>},
    {"LEN", 1, 1, Strict<Len>},
    {"LN", 1, 1, Strict<Plain<std::log>>},
    {"LOG10", 1, 1, Strict<Plain<std::log10>>},
    {"LOOKUP", 2, 3, Strict<Lookup>},
    {"LOWER", 1, 1, Strict<Lower>},
    {"MAGNITUDE", 4, 4, Strict<Magnitude>},
    {"MASTERNAME", 0, 1, Property},
    {"MAX", 1, 255, Strict<Max>},
    {"MID", 3, 3, Strict<Mid>},
    {"MIN", 1, 255, Strict<Min>},
    {"MINUTE", 1, 2, Strict<DatePart<&DateParts::minute>>},
    {"MODULUS", 2, 2, Strict<Modulus>},
    {"MONTH", 1, 2, Strict<DatePart<&DateParts::month>>},
    {"NA", 0, 0, NotAvailable},
    {"NAME", 0, 1, Property},
    {"NOT", 1, 1, Strict<Not>},
    {"OPENGROUPWIN", 0, 0, Nothing},
    {"OPENSHEETWIN", 0, 0, Nothing},
    {"OPENTEXTWIN", 0, 0, Nothing},
    {"OR", 1, 255, Strict<Or>},
    {"PAGECOUNT", 0, 1, PageCount},
    {"PAGENAME", 0, 1, PageName},
    {"PAGENUMBER", 0, 1, PageNumber},
    {"PAR", 1, 1, Property},
    {"PI", 0, 0, Pi},
    {"PLAYSOUND", 1, 255, Nothing},
    {"PNT", 2, 2, Strict<Point>},
    {"PNTX", 1, 1, Strict<PointPart<&Value::number>>},
    {"PNTY", 1, 1, Strict<PointPart<&Value::y>>},
    {"POW", 2, 2, Strict<Power>},
    {"RAD", 1, 1, Strict<Radians>},
    {"REF", 0, 0, NoReference},
    {"REPLACE", 4, 4, Strict<Replace>},
    {"REPT", 2, 2, Strict<Repeat>},
    {"RIGHT", 1, 2, Strict<Right>},
    {"ROUND", 2, 2, Strict<Round>},
    {"RUNADDON", 1, 1, Nothing},
    {"RUNADDONWARGS", 2, 2, Nothing},
    {"SECOND", 1, 2, Strict<DatePart<&DateParts::second>>},
    {"SETATREF", 1, 3, SetAtRef},
    {"SETATREFEVAL", 1, 1, Same},
    {"SETATREFEXPR", 0, 1, SetAtRefExpression},
    {"SHAPETEXT", 1, 2, Property},
    {"SIGN", 1, 2, Strict<Sign>},
    {"SIN", 1, 1, Strict<Plain<std::sin>>},
    {"SINH", 1, 1, Strict<Plain<std::sinh>>},
    {"SQRT", 1, 1, Strict<Sqrt>},
    {"STRSAME", 2, 3, Strict<StrSame>},
    {"SUBSTITUTE", 3, 5, Strict<Substitute>},
    {"SUM", 1, 255, Strict<Sum>},
    {"TAN", 1, 1, Strict<Plain<std::tan>>},
    {"TANH", 1, 1, Strict<Plain<std::tanh>>},
    {"TIME", 3, 3, Strict<Time>},
    {"TRIM", 1, 1, Strict<TrimBlanks>},
    {"TRUNC", 1, 2, Strict<Trunc>},
    {"UNICHAR", 1, 1, Strict<UniChar>},
    {"UPPER", 1, 1, Strict<Upper>},
    {"WEEKDAY", 1, 2, Strict<DatePart<&DateParts::weekday, 1>>},
    {"YEAR", 1, 2, Strict<DatePart<&DateParts::year>>},
};

}  // namespace

const FunctionInfo* FindFunction(std::string_view name) noexcept {
  std::array<char, 16> upper;
  if (name.size() > upper.size()) return nullptr;
  std::transform(name.begin(), name.end(), upper.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  const std::string_view wanted(upper.data(), name.size());
  const auto* found = std::lower_bound(
      std::begin(kFunctions), std::end(kFunctions), wanted,
      [](const FunctionInfo& function, std::string_view key) { return function.name < key; });
  return found != std::end(kFunctions) && found->name == wanted ? found : nullptr;
}

}  // namespace ohmwise::embedded
