#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>

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

std::string_view Abbreviation(Unit unit) {
  switch (unit) {
    case Unit::kMillimetres:
      return "mm";
    case Unit::kCentimetres:
      return "cm";
    case Unit::kMetres:
      return "m";
    case Unit::kKilometres:
      return "km";
    case Unit::kFeet:
    case Unit::kFeetInches:
      return "ft";
    case Unit::kYards:
      return "yd";
    case Unit::kMiles:
      return "mi";
    case Unit::kPoints:
    case Unit::kTypographic:
      return "pt";
    case Unit::kDegrees:
    case Unit::kAngle:
      return "deg";
    case Unit::kRadians:
      return "rad";
    case Unit::kInches:
    case Unit::kInchFraction:
    case Unit::kDrawingUnits:
    case Unit::kPageUnits:
      return "in";
    default:
      return "";
  }
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
    if (std::string_view("dDMyhHsCc").find(c) != std::string_view::npos) return true;
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
    size_t run = 1;
    while (i + run < picture.size() && picture[i + run] == c) ++run;
    i += run;
    switch (c) {
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
        if (run >= 3) {
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
        text += FormatDate(days, "M/d/yyyy");
        break;
      default:
        text.append(run, c);
    }
  }
  return text;
}

/// One section of a number picture: digits, point, grouping, percent, unit and
/// literals in order.
std::string FormatNumber(const FormulaValue& value, std::string_view picture) {
  double number = Shown(value);
  int decimals = 0, least_decimals = 0, least_whole = 0;
  bool point = false, group = false, percent = false, placeholders = false;
  for (size_t i = 0; i < picture.size(); ++i) {
    switch (picture[i]) {
      case '\\':
        ++i;
        break;
      case '"':
      case '\'':
        i = std::min(picture.find(picture[i], i + 1), picture.size());
        break;
      case '0':
        placeholders = true;
        if (point) {
          least_decimals = ++decimals;
        } else {
          ++least_whole;
        }
        break;
      case '#':
        placeholders = true;
        if (point) ++decimals;
        break;
      case '.':
        point = true;
        break;
      case ',':
        group = true;
        break;
      case '%':
        percent = true;
        break;
      default:
        break;
    }
  }
  if (percent) number *= 100;
  Digits digits = Split(std::fabs(number), decimals);
  while (static_cast<int>(digits.fraction.size()) < least_decimals) digits.fraction.push_back('0');
  while (static_cast<int>(digits.fraction.size()) > least_decimals &&
         digits.fraction.back() == '0') {
    digits.fraction.pop_back();
  }
  while (static_cast<int>(digits.whole.size()) < least_whole)
    digits.whole.insert(digits.whole.begin(), '0');
  if (group) {
    for (int at = static_cast<int>(digits.whole.size()) - 3; at > 0; at -= 3) {
      digits.whole.insert(static_cast<size_t>(at), 1, ',');
    }
  }
  const bool zero =
      (digits.whole + digits.fraction).find_first_of("123456789") == std::string::npos;
  std::string shown = (number < 0 && !zero ? "-" : "") + digits.whole;
  if (!digits.fraction.empty()) shown += "." + digits.fraction;

  std::string text;
  bool written = false;
  for (size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '\\' && i + 1 < picture.size()) {
      text.push_back(picture[++i]);
    } else if (c == '"' || c == '\'') {
      const size_t end = std::min(picture.find(c, i + 1), picture.size());
      text += picture.substr(i + 1, end - i - 1);
      i = end;
    } else if (c == '0' || c == '#' || c == '.' || c == ',') {
      if (placeholders && !written) text += shown;
      if (!placeholders) text.push_back(c);
      written = true;
    } else if (c == 'u' || c == 'U') {
      while (i + 1 < picture.size() && picture[i + 1] == c) ++i;
      std::string unit(Abbreviation(value.unit));
      if (c == 'U') {
        for (char& letter : unit)
          letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
      }
      if (unit.empty() && !text.empty() && text.back() == ' ') text.pop_back();
      text += unit;
    } else {
      text.push_back(c);
    }
  }
  return text;
}

}  // namespace

std::string FormatWithPicture(const FormulaValue& value, std::string_view picture) {
  if (value.IsError() || picture.empty()) return value.ToText();
  double number = 0;
  if (value.kind == FormulaValue::Kind::kText && !TextNumber(value.text, number)) {
    // "@" stands for the text, with "@+" in capitals and "@-" in small letters.
    const size_t at = picture.find('@');
    if (at == std::string_view::npos) return value.text;
    std::string text = value.text;
    const char change = at + 1 < picture.size() ? picture[at + 1] : '\0';
    if (change == '+' || change == '-') {
      for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        c = static_cast<char>(change == '+' ? std::toupper(byte) : std::tolower(byte));
      }
    }
    return std::string(picture.substr(0, at)) + text +
           std::string(picture.substr(at + (change == '+' || change == '-' ? 2 : 1)));
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

std::string FormatFieldPicture(const FormulaValue& value, int picture) {
  // VisFieldFormats: general, then none to three decimals, without and with
  // unit in turn.
  static constexpr std::string_view kDecimals[] = {"0", "0.0", "0.00", "0.000"};
  if (value.kind == FormulaValue::Kind::kText || value.IsError()) {
    if (picture == 38) return FormatWithPicture(value, "@-");
    if (picture == 39) return FormatWithPicture(value, "@+");
    return value.ToText();
  }
  if (picture == 0) {
    return value.kind == FormulaValue::Kind::kNumber && value.unit != Unit::kDate
               ? FormatWithPicture(value, "0.####")
               : value.ToText();
  }
  if (picture >= 2 && picture <= 9) {
    std::string format(kDecimals[(picture - 2) / 2]);
    if (picture % 2 == 1) format += " u";
    return FormatWithPicture(value, format);
  }
  switch (picture) {
    case 11:
      return NumberText(value.number) + " rad";
    case 12:
      return FormatWithPicture(FormulaValue::Number(value.number, Unit::kDegrees), "0.####") +
             " deg";
    case 20:
      return FormatWithPicture(value, "M/d/yyyy");
    case 21:
      return FormatWithPicture(value, "dddd, MMMM d, yyyy");
    case 30:
    case 31:
      return FormatWithPicture(value, "H:mm");
    default:
      return value.ToText();
  }
}

}  // namespace ohmwise::embedded
