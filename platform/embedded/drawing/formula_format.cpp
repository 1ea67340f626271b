#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <numeric>
#include <utility>

#include "platform/embedded/drawing/formula_dates.h"
#include "platform/embedded/drawing/formula_program.h"

namespace ohmwise::embedded {
namespace {

/// Number in the unit it is shown in.
double Shown(const FormulaValue& value) {
  if (value.kind != FormulaValue::Kind::kNumber) return value.ToNumber();
  if (value.unit == Unit::kAngle) return value.number * 180 / std::numbers::pi;
  if (value.unit == Unit::kTypographic) return value.number * 72;
  if (value.unit == Unit::kPercent) return value.number;
  return value.number / UnitFactor(value.unit);
}

struct UnitLabel {
  Unit unit;
  std::string_view brief, full;
};
constexpr UnitLabel kLabels[] = {
    {Unit::kInches, "in.", "inches"},
    {Unit::kInchFraction, "in.", "inches"},
    {Unit::kDrawingUnits, "in.", "inches"},
    {Unit::kPageUnits, "in.", "inches"},
    {Unit::kFeet, "ft.", "feet"},
    {Unit::kYards, "yd.", "yards"},
    {Unit::kMiles, "mi.", "miles"},
    {Unit::kMileFraction, "mi.", "miles"},
    {Unit::kMillimetres, "mm", "millimeters"},
    {Unit::kCentimetres, "cm", "centimeters"},
    {Unit::kMetres, "m", "meters"},
    {Unit::kKilometres, "km", "kilometers"},
    {Unit::kPoints, "pt.", "points"},
    {Unit::kTypographic, "pt.", "points"},
    {Unit::kPicas, "p", "picas"},
    {Unit::kDidots, "d", "didots"},
    {Unit::kCiceros, "c", "ciceros"},
    {Unit::kNauticalMiles, "nm.", "nautical miles"},
    {Unit::kDegrees, "deg.", "degrees"},
    {Unit::kAngle, "deg.", "degrees"},
    {Unit::kRadians, "rad", "radians"},
    {Unit::kWeeks, "ew.", "eweeks"},
    {Unit::kDays, "ed.", "edays"},
    {Unit::kDuration, "ed.", "edays"},
    {Unit::kHours, "eh.", "ehours"},
    {Unit::kMinutes, "em.", "eminutes"},
    {Unit::kSeconds, "es.", "eseconds"},
};

/// Label of a unit for a run of "u" or "U": short, long or universal.
std::string Label(Unit unit, size_t run, bool capitals) {
  std::string text;
  for (const UnitLabel& label : kLabels) {
    if (label.unit != unit) continue;
    text = run == 1 ? label.brief : run == 2 ? label.full : UnitCode(unit);
  }
  for (char& letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    letter = static_cast<char>(capitals ? std::toupper(byte) : std::tolower(byte));
  }
  return text;
}

/// Decimal digits of a magnitude, rounded half away from zero as pictures do.
struct Digits {
  std::string whole, fraction;
};
Digits Split(double magnitude, int decimals) {
  char buffer[400];
  // The shortest text first: 2.675 rounds to 2.68 although its binary value
  // lies below.
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, magnitude, std::chars_format::fixed).ptr;
  std::string text(buffer, end);
  const size_t point = std::min(text.find('.'), text.size());
  Digits digits{text.substr(0, point), point < text.size() ? text.substr(point + 1) : ""};
  const auto keep = static_cast<size_t>(decimals);
  if (digits.fraction.size() > keep) {
    const bool up = digits.fraction[keep] >= '5';
    digits.fraction.resize(keep);
    if (up) {
      std::string all = digits.whole + digits.fraction;
      size_t at = all.size();
      while (at > 0 && all[at - 1] == '9') all[--at] = '0';
      if (at == 0) {
        all.insert(all.begin(), '1');
      } else {
        ++all[at - 1];
      }
      digits.whole = all.substr(0, all.size() - keep);
      digits.fraction = all.substr(all.size() - keep);
    }
  }
  if (digits.whole == "0") digits.whole.clear();
  return digits;
}

bool IsDatePicture(std::string_view picture) {
  bool quoted = false;
  for (size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '"') quoted = !quoted;
    if (c == '\\') ++i;
    if (quoted || c == '\\') continue;
    if (c == '0' || c == '#' || c == '@') return false;
    if (std::string_view("dDMyhHsCcw[").find(c) != std::string_view::npos) return true;
  }
  return false;
}

std::string FormatDate(double days, std::string_view picture) {
  const DateParts parts = SplitDate(days);
  static constexpr const char* kMonths[] = {"January",   "February", "March",    "April",
                                            "May",       "June",     "July",     "August",
                                            "September", "October",  "November", "December"};
  static constexpr const char* kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                          "Thursday", "Friday", "Saturday"};
  std::string text;
  const auto two = [&](int number, size_t run) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, run > 1 ? "%02d" : "%d", number);
    text += buffer;
  };
  for (size_t i = 0; i < picture.size();) {
    const char c = picture[i];
    if (c == '\\' && i + 1 < picture.size()) {
      text.push_back(picture[i + 1]);
      i += 2;
      continue;
    }
    if (c == '"' || c == '\'') {
      const size_t end = std::min(picture.find(c, i + 1), picture.size());
      text += picture.substr(i + 1, end - i - 1);
      i = end + 1;
      continue;
    }
    if (c == '[') {
      // Elapsed units count on beyond the next larger one.
      const size_t end = std::min(picture.find(']', i), picture.size());
      const std::string_view what = picture.substr(i + 1, end - i - 1);
      const double in_day = what.starts_with('h')   ? 24
                            : what.starts_with('m') ? 1440
                            : what.starts_with('s') ? 86400
                            : what.starts_with('w') ? 1.0 / 7
                                                    : 1;
      text += NumberText(std::trunc(days * in_day + (days < 0 ? -1e-9 : 1e-9)));
      i = std::min(end + 1, picture.size());
      continue;
    }
    size_t run = 1;
    while (i + run < picture.size() && picture[i + run] == c) ++run;
    i += run;
    switch (c) {
      case 'w':
        text += run == 1 ? std::string(kDays[parts.weekday]).substr(0, 3) : kDays[parts.weekday];
        break;
      case 'y':
        if (run > 2) {
          text += std::to_string(parts.year);
        } else {
          two(parts.year % 100, 2);
        }
        break;
      case 'M':
        if (run >= 3) {
          text += run == 3 ? std::string(kMonths[parts.month - 1]).substr(0, 3)
                           : kMonths[parts.month - 1];
        } else {
          two(parts.month, run);
        }
        break;
      case 'd':
        if (run == 5) {
          text += FormatDate(days, "M/d/yyyy");
        } else if (run >= 3) {
          text += run == 3 ? std::string(kDays[parts.weekday]).substr(0, 3) : kDays[parts.weekday];
        } else {
          two(parts.day, run);
        }
        break;
      case 'H':
        two(parts.hour, run);
        break;
      case 'h':
        two(parts.hour % 12 == 0 ? 12 : parts.hour % 12, run);
        break;
      case 'm':
        two(parts.minute, run);
        break;
      case 's':
        two(parts.second, run);
        break;
      case 't':
        text += std::string(parts.hour < 12 ? "AM" : "PM").substr(0, run);
        break;
      case 'c':
      case 'C':
        text += FormatDate(days, c == 'c' ? "M/d/yyyy" : "dddd, MMMM d, yyyy");
        if (days != std::floor(days)) text += FormatDate(days, " h:mm:ss tt");
        break;
      default:
        text.append(run, c);
    }
  }
  return text;
}

bool IsPlaceholder(char c) { return c == '0' || c == '#'; }

/// A magnitude by the digits of a slot such as "#,##0.00"; grouping and point included.
std::string Decimal(double magnitude, std::string_view slot) {
  int decimals = 0;
  size_t least_decimals = 0, least_whole = 0;
  bool point = false, group = false;
  for (const char c : slot) {
    if (c == '.') point = true;
    if (c == ',') group = true;
    if (!IsPlaceholder(c)) continue;
    if (point) {
      ++decimals;
      if (c == '0') least_decimals = static_cast<size_t>(decimals);
    } else if (c == '0') {
      ++least_whole;
    }
  }
  Digits digits = Split(magnitude, decimals);
  if (digits.fraction.size() < least_decimals) digits.fraction.resize(least_decimals, '0');
  while (digits.fraction.size() > least_decimals && digits.fraction.back() == '0') {
    digits.fraction.pop_back();
  }
  if (digits.whole.size() < least_whole) {
    digits.whole.insert(0, least_whole - digits.whole.size(), '0');
  }
  if (group) {
    for (int at = static_cast<int>(digits.whole.size()) - 3; at > 0; at -= 3) {
      digits.whole.insert(static_cast<size_t>(at), 1, ',');
    }
  }
  return digits.fraction.empty() ? digits.whole : digits.whole + "." + digits.fraction;
}

/// "#/4", "#/#8", "#/##": whole part, then the nearest fraction.
std::string Fraction(double magnitude, std::string_view denominator, bool with_whole) {
  const size_t placeholders = std::min(denominator.find_first_not_of('#'), denominator.size());
  double whole = std::floor(magnitude);
  const double rest = magnitude - whole;
  int64_t below = 1;
  int64_t above = 0;
  if (placeholders < denominator.size()) {
    std::from_chars(denominator.data() + placeholders, denominator.data() + denominator.size(),
                    below);
    below = std::clamp<int64_t>(below, 1, 1000000);
    above = std::llround(rest * static_cast<double>(below));
  } else {
    const int64_t last = placeholders < 2 ? 9 : placeholders < 3 ? 99 : 999;
    double nearest = 2;
    for (int64_t candidate = 1; candidate <= last; ++candidate) {
      const auto count = std::llround(rest * static_cast<double>(candidate));
      const double off =
          std::fabs(rest - static_cast<double>(count) / static_cast<double>(candidate));
      if (off < nearest - 1e-12) {
        nearest = off;
        below = candidate;
        above = count;
      }
    }
  }
  if (placeholders > 0 && above > 0) {
    const int64_t common = std::gcd(above, below);
    above /= common;
    below /= common;
  }
  if (!with_whole) {
    return NumberText(whole * static_cast<double>(below) + static_cast<double>(above)) + "/" +
           std::to_string(below);
  }
  if (above == below) {
    whole += 1;
    above = 0;
  }
  if (above == 0) return NumberText(whole);
  const std::string part = std::to_string(above) + "/" + std::to_string(below);
  return whole == 0 ? part : NumberText(whole) + " " + part;
}

/// "###.#e+#": as many digits before the point as there are placeholders.
std::string Scientific(double magnitude, std::string_view slot, char letter, bool plus,
                       size_t least_digits) {
  const size_t point = std::min(slot.find('.'), slot.size());
  const auto before = static_cast<int>(std::max<size_t>(point, 1));
  int exponent = 0;
  if (magnitude > 0) {
    exponent = static_cast<int>(std::floor(std::log10(magnitude))) - (before - 1);
    magnitude /= std::pow(10.0, exponent);
  }
  std::string text = Decimal(magnitude, slot);
  text.push_back(letter);
  if (exponent < 0) text.push_back('-');
  if (exponent >= 0 && plus) text.push_back('+');
  std::string digits = std::to_string(std::abs(exponent));
  if (digits.size() < least_digits) digits.insert(0, least_digits - digits.size(), '0');
  return text + digits;
}

/// One section of a number picture: slot of digits, percent sign, unit labels and literals.
std::string FormatNumber(const FormulaValue& value, std::string_view picture) {
  double number = Shown(value);
  bool percent = false;
  char quote = '\0';
  for (size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '\\') {
      ++i;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else {
      percent = percent || c == '%';
    }
  }
  if (percent) number *= 100;
  if (!std::isfinite(number)) return value.ToText();
  const double magnitude = std::fabs(number);
  std::string text, shown;
  size_t sign_at = std::string::npos;
  for (size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '\\' && i + 1 < picture.size()) {
      text.push_back(picture[++i]);
    } else if (c == '"' || c == '\'') {
      const size_t end = std::min(picture.find(c, i + 1), picture.size());
      text += picture.substr(i + 1, end - i - 1);
      i = end;
    } else if ((IsPlaceholder(c) || c == '.') && sign_at == std::string::npos) {
      size_t end = std::min(picture.find_first_not_of("0#.,", i), picture.size());
      std::string_view slot = picture.substr(i, end - i);
      const auto after = [&](size_t at) { return at < picture.size() ? picture[at] : '\0'; };
      // A second slot before "/" is the numerator of a fraction.
      const size_t next = std::min(picture.find_first_not_of(' ', end), picture.size());
      const size_t bar = std::min(picture.find_first_not_of("0#", next), picture.size());
      const bool mixed = next > end && bar > next && after(bar) == '/';
      if (slot.find_first_of("0#") == std::string_view::npos) {
        text += slot;
        i = end - 1;
        continue;
      }
      sign_at = text.size();
      if (mixed || after(end) == '/') {
        const size_t from = (mixed ? bar : end) + 1;
        end = std::min(picture.find_first_not_of("#0123456789", from), picture.size());
        shown = Fraction(magnitude, picture.substr(from, end - from), mixed);
      } else if ((after(end) == 'e' || after(end) == 'E') &&
                 (after(end + 1) == '+' || after(end + 1) == '-') &&
                 IsPlaceholder(after(end + 2))) {
        const size_t last = std::min(picture.find_first_not_of("0#", end + 2), picture.size());
        const std::string_view places = picture.substr(end + 2, last - end - 2);
        shown = Scientific(magnitude, slot, after(end), after(end + 1) == '+',
                           static_cast<size_t>(std::count(places.begin(), places.end(), '0')));
        end = last;
      } else if (value.unit == Unit::kFeetInches && value.kind == FormulaValue::Kind::kNumber &&
                 after(picture.find_first_not_of(' ', end)) == 'u') {
        // Feet and inches are labelled one by one.
        const std::string gap(next - end, ' ');
        const double inches = std::fabs(value.number);
        const double feet = std::floor(inches / 12 + 1e-9);
        if (feet > 0 || slot[0] == '0') shown = NumberText(feet) + gap + "ft. ";
        shown += Decimal(std::max(0.0, inches - feet * 12), slot) + gap + "in.";
        end = std::min(picture.find_first_not_of('u', next), picture.size());
      } else {
        shown = Decimal(magnitude, slot);
      }
      text += shown;
      i = end - 1;
    } else if (c == 'u' || c == 'U') {
      const size_t end = std::min(picture.find_first_not_of(c, i), picture.size());
      const std::string label = Label(value.unit, end - i, c == 'U');
      if (label.empty() && !text.empty() && text.back() == ' ') text.pop_back();
      text += label;
      i = end - 1;
    } else {
      text.push_back(c);
    }
  }
  if (number < 0 && shown.find_first_of("123456789") != std::string::npos)
    text.insert(sign_at, "-");
  return text;
}

/// "@" stands for the text, "@+" in capitals and "@-" in small letters.
std::string FormatText(std::string_view value, std::string_view picture) {
  std::string text;
  for (size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '\\' && i + 1 < picture.size()) {
      text.push_back(picture[++i]);
    } else if (c == '"' || c == '\'') {
      const size_t end = std::min(picture.find(c, i + 1), picture.size());
      text += picture.substr(i + 1, end - i - 1);
      i = end;
    } else if (c == '@') {
      const char change = i + 1 < picture.size() ? picture[i + 1] : '\0';
      const bool cased = change == '+' || change == '-';
      if (cased) ++i;
      if (text.size() + value.size() > 4 * kLongestText) return text;  // too long already
      text += !cased ? std::string(value) : change == '+' ? UpperText(value) : LowerText(value);
    } else {
      text.push_back(c);
    }
  }
  return text;
}

}  // namespace

std::string FormatWithPicture(const FormulaValue& value, std::string_view picture) {
  if (value.IsError() || picture.empty()) return value.ToText();
  if (const auto field = FieldPictureNumber(picture)) return FormatFieldPicture(value, *field);
  if (picture.starts_with("{{") && picture.ends_with("}}") && picture.size() >= 4) {
    picture = picture.substr(2, picture.size() - 4);
    if (value.kind == FormulaValue::Kind::kNumber) return FormatDate(value.number, picture);
  }
  double number = 0;
  if (value.kind == FormulaValue::Kind::kText && !TextNumber(value.text, number)) {
    return picture.find('@') == std::string_view::npos ? value.text
                                                       : FormatText(value.text, picture);
  }
  if (picture == "@") return value.ToText();
  if (IsDatePicture(picture)) return FormatDate(value.ToNumber(), picture);
  // Up to three sections: positive, negative, zero.
  std::string_view sections[3];
  size_t count = 0;
  bool quoted = false;
  size_t begin = 0;
  for (size_t i = 0; i <= picture.size() && count < 3; ++i) {
    if (i < picture.size() && picture[i] == '"') quoted = !quoted;
    if (i == picture.size() || (picture[i] == ';' && !quoted)) {
      sections[count++] = picture.substr(begin, i - begin);
      begin = i + 1;
    }
  }
  const double shown = value.ToNumber();
  if (count == 3 && shown == 0) return FormatNumber(value, sections[2]);
  if (count >= 2 && shown < 0) {
    return FormatNumber(
        FormulaValue::Number(
            -shown, value.kind == FormulaValue::Kind::kNumber ? value.unit : Unit::kNumber),
        sections[1]);
  }
  return FormatNumber(value, sections[0]);
}

std::optional<int> FieldPictureNumber(std::string_view picture) noexcept {
  for (const auto& [open, close] : {std::pair<std::string_view, std::string_view>{"esc(", ")"},
                                    std::pair<std::string_view, std::string_view>{"{<", ">}"}}) {
    if (!picture.starts_with(open) || !picture.ends_with(close)) continue;
    const char* end = picture.data() + picture.size() - close.size();
    int number = 0;
    const auto result = std::from_chars(picture.data() + open.size(), end, number);
    if (result.ec == std::errc() && result.ptr == end) return number;
  }
  return std::nullopt;
}

std::string FormatFieldPicture(const FormulaValue& value, int picture) {
  // The numbers of VisFieldFormats; those that only East Asian languages have show the value as it
  // is.
  struct FieldFormat {
    int number;
    std::string_view picture;
  };
  static constexpr FieldFormat kFormats[] = {
      {0, "0.####"},
      {1, "0.#### u"},
      {2, "0"},
      {3, "0 u"},
      {4, "0.0"},
      {5, "0.0 u"},
      {6, "0.00"},
      {7, "0.00 u"},
      {8, "0.000"},
      {9, "0.000 u"},
      {15, "# #/#"},
      {16, "# #/# u"},
      {17, "# #/##"},
      {18, "# #/## u"},
      {20, "M/d/yyyy"},
      {21, "dddd, MMMM d, yyyy"},
      {22, "M/d/yy"},
      {23, "MM/dd/yy"},
      {24, "MMM d, yyyy"},
      {25, "MMMM d, yyyy"},
      {26, "d/M/yy"},
      {27, "dd/MM/yy"},
      {28, "d MMM, yyyy"},
      {29, "d MMMM, yyyy"},
      {30, "h:mm:ss tt"},
      {31, "h:mm"},
      {32, "hh:mm"},
      {33, "H:mm"},
      {34, "HH:mm"},
      {35, "h:mm tt"},
      {36, "hh:mm tt"},
      {200, "M/d/yyyy"},
      {201, "dddd, MMMM dd, yyyy"},
      {202, "MMMM d, yyyy"},
      {203, "M/d/yy"},
      {204, "yyyy-MM-dd"},
      {205, "d-MMM-yy"},
      {206, "M/d/yy"},
      {207, "MMM. d, yy"},
      {208, "d MMMM yyyy"},
      {209, "MMMM yy"},
      {210, "MMM-yy"},
      {211, "M/d/yyyy h:mm tt"},
      {212, "M/d/yyyy h:mm:ss tt"},
      {213, "h:mm tt"},
      {214, "h:mm:ss tt"},
      {215, "H:mm"},
      {216, "H:mm:ss"},
  };
  using Kind = FormulaValue::Kind;
  if (value.kind == Kind::kText) {
    if (picture == 38) return LowerText(value.text);
    if (picture == 39) return UpperText(value.text);
  }
  if (value.kind != Kind::kNumber) return value.ToText();
  switch (picture) {
    case 10:
    case 13:
    case 14: {
      const std::string_view format = picture == 10 ? "0 u" : picture == 13 ? "0.0 u" : "0.00 u";
      return FormatWithPicture(FormulaValue::Number(value.number, Unit::kFeetInches), format);
    }
    case 11:
      return FormatWithPicture(FormulaValue::Number(value.number, Unit::kRadians), "0.#### u");
    case 12:
      return FormatWithPicture(FormulaValue::Number(value.number, Unit::kDegrees), "0.#### u");
    default:
      break;
  }
  // A date in a number format stays a date.
  if (value.unit == Unit::kDate && picture < 20) return value.ToText();
  for (const FieldFormat& format : kFormats) {
    if (format.number == picture) return FormatWithPicture(value, format.picture);
  }
  return value.ToText();
}

}  // namespace ohmwise::embedded
