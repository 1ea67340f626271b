#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <numbers>
#include <utility>

#include "platform/embedded/drawing/formula_program.h"

namespace ohmwise::embedded {
namespace {

struct UnitInfo {
  Unit unit;
  std::string_view code;    ///< U attribute of the file format
  double factor;            ///< internal units in one
  std::string_view shown;   ///< behind a number
  std::string_view others;  ///< further spellings in formulas, blank-separated
};
constexpr double kDegree = std::numbers::pi / 180;
// MS-VSDX, "Unit of measure"; spellings of formulas from the drawing program's
// units documentation.
constexpr UnitInfo kUnits[] = {
    {Unit::kNumber, "NUM", 1, "", ""},
    {Unit::kPercent, "PER", 0.01, "%", ""},
    {Unit::kInches, "IN", 1, "in", "inch inches"},
    {Unit::kInchFraction, "IN_F", 1, "in", ""},
    {Unit::kFeet, "FT", 12, "ft", "foot feet"},
    {Unit::kFeetInches, "F_I", 12, "ft", "FEET/INCH"},
    {Unit::kYards, "YD", 36, "yd", "yard yards"},
    {Unit::kMiles, "MI", 63360, "mi", "mile miles"},
    {Unit::kMillimetres, "MM", 1 / 25.4, "mm", "millimeter millimeters millimetre millimetres"},
    {Unit::kCentimetres, "CM", 1 / 2.54, "cm", "centimeter centimeters centimetre centimetres"},
    {Unit::kMetres, "M", 1000 / 25.4, "m", "meter meters metre metres"},
    {Unit::kKilometres, "KM", 1000000 / 25.4, "km", "kilometer kilometers kilometre kilometres"},
    {Unit::kPoints, "PT", 1.0 / 72, "pt", "point points"},
    {Unit::kPicas, "P", 1.0 / 6, "p", "pica picas"},
    {Unit::kDidots, "D", 0.01483, "d", "didot didots"},
    {Unit::kCiceros, "C", 0.178, "c", "cicero ciceros"},
    {Unit::kNauticalMiles, "NM", 72913.3858267717, "nm", "nautical"},
    {Unit::kDrawingUnits, "DL", 1, "in", "du"},
    {Unit::kPageUnits, "DP", 1, "in", "pu"},
    {Unit::kTypographic, "DT", 1, "pt", ""},
    {Unit::kDegrees, "DEG", kDegree, "deg", "degree degrees \xC2\xB0"},
    {Unit::kRadians, "RAD", 1, "rad", "radian radians"},
    {Unit::kMinutesOfArc, "AM", kDegree / 60, "'", ""},
    {Unit::kSecondsOfArc, "AS", kDegree / 3600, "\"", ""},
    {Unit::kAngle, "DA", 1, "deg", ""},
    {Unit::kDate, "DATE", 1, "", ""},
    {Unit::kDays, "ED", 1, "ed.", "eday edays day days"},
    {Unit::kHours, "EH", 1.0 / 24, "eh.", "ehour ehours hour hours"},
    {Unit::kMinutes, "EM", 1.0 / 1440, "em.", "eminute eminutes minute minutes"},
    {Unit::kSeconds, "ES", 1.0 / 86400, "es.", "esecond eseconds second seconds"},
    {Unit::kWeeks, "EW", 7, "ew.", "eweek eweeks week weeks"},
    {Unit::kCurrency, "CY", 1, "", ""},
    {Unit::kBoolean, "BOOL", 1, "", ""},
    {Unit::kText, "STR", 1, "", ""},
    {Unit::kColor, "COLOR", 1, "", ""},
    {Unit::kPoint, "PNT", 1, "", ""},
    {Unit::kGuid, "GUID", 1, "", ""},
    {Unit::kMultiDimensional, "MULTIDIM", 1, "", ""},
    {Unit::kNurbs, "NURBS", 1, "", ""},
    {Unit::kPolyline, "POLYLINE", 1, "", ""},
    {Unit::kDegreesMinutesSeconds, "AD", kDegree, "deg", ""},
    {Unit::kDuration, "DE", 1, "ed.", ""},
    {Unit::kCicerosAndDidots, "C_D", 0.178, "c", "CICERO/DIDOT"},
    {Unit::kPicasAndPoints, "P_PT", 1.0 / 6, "p", "PICAPOINTS"},
    {Unit::kMileFraction, "MI_F", 63360, "mi", ""},
};

const UnitInfo& InfoOf(Unit unit) noexcept {
  for (const UnitInfo& info : kUnits) {
    if (info.unit == unit) return info;
  }
  return kUnits[0];
}

constexpr std::pair<FormulaErrorKind, std::string_view> kErrors[] = {
    {FormulaErrorKind::kDivideByZero, "#DIV/0!"}, {FormulaErrorKind::kValue, "#VALUE!"},
    {FormulaErrorKind::kReference, "#REF!"},      {FormulaErrorKind::kName, "#NAME?"},
    {FormulaErrorKind::kNumber, "#NUM!"},         {FormulaErrorKind::kNotAvailable, "#N/A"},
};

/// A number with its unit: four decimals at most, as the drawing program shows
/// measures.
std::string Measure(double number, std::string_view unit) {
  std::array<char, 400> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                 std::chars_format::fixed, 4)
                       .ptr;
  std::string text(buffer.data(), end);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  if (text == "-0") text = "0";
  if (unit == "%") return text + "%";
  if (!unit.empty()) text.append(" ").append(unit);
  return text;
}

}  // namespace

bool EqualAscii(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) !=
        std::toupper(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

bool TooLong(std::string_view text) noexcept {
  if (text.size() <= kLongestText) return false;
  size_t units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    units += byte >= 0xF0 ? 2 : (byte & 0xC0) == 0x80 ? 0 : 1;
  }
  return units > kLongestText;
}

Unit UnitFromCode(std::string_view code) noexcept {
  for (const UnitInfo& info : kUnits) {
    if (EqualAscii(info.code, code)) return info.unit;
  }
  return Unit::kNumber;
}

std::string_view UnitCode(Unit unit) noexcept {
  return unit == Unit::kNumber ? std::string_view() : InfoOf(unit).code;
}

double UnitFactor(Unit unit) noexcept { return InfoOf(unit).factor; }

bool UnitFromSuffix(std::string_view suffix, Unit& unit, double& factor) noexcept {
  for (const UnitInfo& info : kUnits) {
    if (info.unit == Unit::kNumber || info.unit == Unit::kPercent) continue;
    bool same = EqualAscii(info.code, suffix);
    for (std::string_view others = info.others; !same && !others.empty();) {
      const size_t blank = std::min(others.find(' '), others.size());
      same = EqualAscii(others.substr(0, blank), suffix);
      others.remove_prefix(std::min(blank + 1, others.size()));
    }
    if (!same) continue;
    unit = info.unit;
    factor = info.factor;
    return true;
  }
  return false;
}

bool IsLengthUnit(Unit unit) noexcept {
  return (unit >= Unit::kInches && unit <= Unit::kTypographic) || unit == Unit::kCicerosAndDidots ||
         unit == Unit::kPicasAndPoints || unit == Unit::kMileFraction;
}
bool IsAngleUnit(Unit unit) noexcept {
  return (unit >= Unit::kDegrees && unit <= Unit::kAngle) || unit == Unit::kDegreesMinutesSeconds;
}
bool IsTimeUnit(Unit unit) noexcept {
  return (unit >= Unit::kDays && unit <= Unit::kWeeks) || unit == Unit::kDuration;
}

std::string_view ErrorText(FormulaErrorKind kind) noexcept {
  for (const auto& [error, text] : kErrors) {
    if (error == kind) return text;
  }
  return "#VALUE!";
}

std::string NumberText(double number) {
  if (number == 0) return "0";
  std::array<char, 400> buffer;
  const double magnitude = std::fabs(number);
  const bool plain = magnitude < 1e15 && magnitude >= 1e-9;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                 std::chars_format::scientific, 14)
                       .ptr;
  double rounded = 0;
  std::from_chars(buffer.data(), end, rounded);
  const auto last = std::to_chars(buffer.data(), buffer.data() + buffer.size(), rounded,
                                  plain ? std::chars_format::fixed : std::chars_format::scientific)
                        .ptr;
  std::string text(buffer.data(), last);
  for (char& c : text) {
    if (c == 'e') c = 'E';
  }
  return text;
}

bool TextNumber(std::string_view text, double& number) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  if (text.empty() ||
      !(std::isdigit(static_cast<unsigned char>(text[0])) ||
        (text[0] == '.' && text.size() > 1 && std::isdigit(static_cast<unsigned char>(text[1]))))) {
    return false;
  }
  double value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc()) return false;
  std::string_view suffix(result.ptr, static_cast<size_t>(end - result.ptr));
  while (!suffix.empty() && suffix.front() == ' ') suffix.remove_prefix(1);
  if (!suffix.empty() && suffix.back() == '.') suffix.remove_suffix(1);
  if (suffix == "%") {
    value /= 100;
  } else if (!suffix.empty()) {
    Unit unit = Unit::kNumber;
    double factor = 1;
    if (!UnitFromSuffix(suffix, unit, factor)) return false;
    value = InternalUnits(value, factor);
  }
  number = negative ? -value : value;
  return true;
}

std::optional<FormulaValue> PointFromText(std::string_view text) noexcept {
  if (text.size() < 5 || !EqualAscii(text.substr(0, 4), "PNT(") || text.back() != ')') {
    return std::nullopt;
  }
  text = text.substr(4, text.size() - 5);
  const size_t comma = text.find(',');
  double x = 0;
  double y = 0;
  if (comma == std::string_view::npos || !TextNumber(text.substr(0, comma), x) ||
      !TextNumber(text.substr(comma + 1), y)) {
    return std::nullopt;
  }
  return FormulaValue::Point(x, y);
}

FormulaValue FormulaValue::Number(double number, Unit unit) {
  FormulaValue value;
  value.kind = Kind::kNumber;
  value.unit = unit;
  value.number = number;
  return value;
}

FormulaValue FormulaValue::Boolean(bool truth) {
  FormulaValue value;
  value.kind = Kind::kBoolean;
  value.unit = Unit::kBoolean;
  value.number = truth ? 1 : 0;
  return value;
}

FormulaValue FormulaValue::Text(std::string text) {
  FormulaValue value;
  value.kind = Kind::kText;
  value.unit = Unit::kText;
  value.text = std::move(text);
  return value;
}

FormulaValue FormulaValue::Point(double x, double y) {
  FormulaValue value;
  value.kind = Kind::kPoint;
  value.unit = Unit::kPoint;
  value.number = x;
  value.y = y;
  return value;
}

FormulaValue FormulaValue::Error(FormulaErrorKind kind) {
  FormulaValue value;
  value.kind = Kind::kError;
  value.error = kind;
  return value;
}

double FormulaValue::ToNumber() const noexcept {
  switch (kind) {
    case Kind::kNumber:
    case Kind::kBoolean:
    case Kind::kPoint:
      return number;
    case Kind::kText: {
      double parsed = 0;
      return TextNumber(text, parsed) ? parsed : 0;
    }
    default:
      return 0;
  }
}

std::string FormulaValue::ToText() const {
  switch (kind) {
    case Kind::kEmpty:
      return {};
    case Kind::kBoolean:
      return number != 0 ? "TRUE" : "FALSE";
    case Kind::kText:
      return text;
    case Kind::kPoint:
      return "PNT(" + NumberText(number) + "," + NumberText(y) + ")";
    case Kind::kError:
      return std::string(ErrorText(error));
    case Kind::kNumber:
      break;
  }
  switch (unit) {
    case Unit::kNumber:
    case Unit::kMultiDimensional:
      return NumberText(number);
    case Unit::kBoolean:
      return number != 0 ? "TRUE" : "FALSE";
    case Unit::kAngle:
      return Measure(number / kDegree, "deg");
    case Unit::kTypographic:
      return Measure(number * 72, "pt");
    case Unit::kDate:
      return FormatWithPicture(*this, "yyyy-MM-ddTHH:mm:ss");
    default: {
      const UnitInfo& info = InfoOf(unit);
      if (info.shown.empty()) return NumberText(number);
      return Measure(number / info.factor, info.shown);
    }
  }
}

}  // namespace ohmwise::embedded
