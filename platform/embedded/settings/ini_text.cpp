#include "platform/embedded/settings/ini_text.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::embedded {
namespace {

using std::string_view;

constexpr string_view kMark = "\xEF\xBB\xBF";
constexpr string_view kBlanks = " \t";

string_view TrimmedLeft(string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text;
}
string_view Trimmed(string_view text) {
  text = TrimmedLeft(text);
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// Length of the quoted token at the front, quotes included; 0 when its quote does not end.
size_t QuotedLength(string_view text) {
  for (size_t at = 1; at < text.size(); ++at) {
    if (text[at] == '\\') {
      ++at;
    } else if (text[at] == '"') {
      return at + 1;
    }
  }
  return 0;
}

/// What a quoted token says; nullopt for an escape that there is not.
std::optional<std::u16string> Unquoted(string_view token) {
  std::u16string result;
  std::string plain;
  const auto flush = [&] {
    result += FromUtf8(plain);
    plain.clear();
  };
  for (size_t at = 1; at + 1 < token.size(); ++at) {
    if (token[at] != '\\') {
      plain += token[at];
      continue;
    }
    switch (token[++at]) {
      case '"':
      case '\\':
        plain += token[at];
        break;
      case 'n':
        plain += '\n';
        break;
      case 'r':
        plain += '\r';
        break;
      case 't':
        plain += '\t';
        break;
      case 'u': {
        uint32_t unit = 0;
        for (int digit = 0; digit < 4; ++digit) {
          // The closing quote is no digit, so this ends within the token.
          const char letter = token[++at];
          const size_t value = string_view("0123456789ABCDEFabcdef").find(letter);
          if (value == string_view::npos) return std::nullopt;
          unit = unit * 16 + static_cast<uint32_t>(value < 16 ? value : value - 6);
        }
        flush();
        result += static_cast<char16_t>(unit);
        break;
      }
      default:
        return std::nullopt;
    }
  }
  flush();
  return result;
}

bool IsSurrogate(char16_t unit) { return (unit & 0xF800) == 0xD800; }
bool IsPair(std::u16string_view text, size_t at) {
  return (text[at] & 0xFC00) == 0xD800 && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00;
}
bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

std::string Quoted(std::u16string_view text) {
  std::string out = "\"";
  for (size_t at = 0; at < text.size(); ++at) {
    const char16_t unit = text[at];
    if (unit == u'"' || unit == u'\\') {
      out += '\\';
      out += static_cast<char>(unit);
    } else if (unit == u'\n' || unit == u'\r' || unit == u'\t') {
      out += unit == u'\n' ? "\\n" : unit == u'\r' ? "\\r" : "\\t";
    } else if (IsPair(text, at)) {
      out += ToUtf8(text.substr(at++, 2));
    } else if (IsControl(unit) || IsSurrogate(unit) || unit == 0xFEFF) {
      constexpr char kDigits[] = "0123456789ABCDEF";
      out += "\\u";
      for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[(unit >> shift) & 15];
    } else {
      out += ToUtf8(text.substr(at, 1));
    }
  }
  return out + '"';
}

/// A text that stands in the file as it is, or else quoted. `reserved` may not be in it, `leading`
/// not at its beginning.
std::string Token(std::u16string_view text, std::u16string_view reserved,
                  std::u16string_view leading) {
  bool plain = text.find_first_of(reserved) == text.npos;
  for (size_t at = 0; plain && at < text.size(); ++at) {
    if (IsPair(text, at)) {
      ++at;
    } else {
      plain = !IsControl(text[at]) && !IsSurrogate(text[at]) && text[at] != 0xFEFF;
    }
  }
  if (!text.empty()) {
    plain = plain && text.front() != u' ' && text.back() != u' ' && text.front() != u'"' &&
            leading.find(text.front()) == leading.npos;
  }
  return plain ? ToUtf8(text) : Quoted(text);
}

struct Line {
  enum class Kind { kOther, kSection, kValue };
  string_view text;  ///< with its line end
  string_view body;
  Kind kind = Kind::kOther;
  std::u16string name;
  string_view value;
};

/// The name at the front of `rest` up to `stop`, quoted or plain; false when there is no stop.
bool TakeName(string_view& rest, char stop, std::u16string& name) {
  if (rest.starts_with('"')) {
    const size_t length = QuotedLength(rest);
    const auto unquoted = length == 0 ? std::nullopt : Unquoted(rest.substr(0, length));
    const string_view after = TrimmedLeft(rest.substr(length));
    if (!unquoted || !after.starts_with(stop)) return false;
    name = *unquoted;
    rest = after.substr(1);
    return true;
  }
  const size_t end = rest.find(stop);
  if (end == string_view::npos) return false;
  name = FromUtf8(Trimmed(rest.substr(0, end)));
  rest.remove_prefix(end + 1);
  return true;
}

std::vector<Line> Lines(string_view text) {
  std::vector<Line> lines;
  for (size_t begin = text.starts_with(kMark) ? kMark.size() : 0; begin < text.size();) {
    size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
    Line line;
    line.body = text.substr(begin, end - begin);
    if (end < text.size()) end += text.substr(end, 2) == "\r\n" ? 2 : 1;
    line.text = text.substr(begin, end - begin);
    begin = end;
    string_view rest = TrimmedLeft(line.body);
    if (rest.starts_with('[')) {
      rest = TrimmedLeft(rest.substr(1));
      if (TakeName(rest, ']', line.name)) line.kind = Line::Kind::kSection;
    } else if (!rest.empty() && rest[0] != ';' && rest[0] != '#') {
      if (TakeName(rest, '=', line.name)) line.kind = Line::Kind::kValue;
      line.value = Trimmed(rest);
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

/// Where a name is, or would go.
struct Place {
  static constexpr size_t kNone = static_cast<size_t>(-1);
  size_t line = kNone;
  size_t section_end = kNone;  ///< index behind the last line of the first such section that says
                               ///< something
};

Place Find(const std::vector<Line>& lines, std::u16string_view section, std::u16string_view key) {
  Place place;
  bool inside = false, first = false;
  for (size_t i = 0; i < lines.size(); ++i) {
    const Line& line = lines[i];
    if (line.kind == Line::Kind::kSection) {
      inside = EqualNoCase(line.name, section);
      first = inside && place.section_end == Place::kNone;
    } else if (inside && line.kind == Line::Kind::kValue && EqualNoCase(line.name, key)) {
      place.line = i;
      return place;
    }
    if (first && !Trimmed(line.body).empty()) place.section_end = i + 1;
  }
  return place;
}

}  // namespace

std::optional<std::u16string> FindIniValue(string_view text, std::u16string_view section,
                                           std::u16string_view key, const std::string& file) {
  const std::vector<Line> lines = Lines(text);
  const Place place = Find(lines, section, key);
  if (place.line == Place::kNone) return std::nullopt;
  const string_view value = lines[place.line].value;
  if (!value.starts_with('"')) return FromUtf8(value);
  std::optional<std::u16string> unquoted;
  if (QuotedLength(value) == value.size()) unquoted = Unquoted(value);
  if (!unquoted) {
    Raise(Err::kHost, FromUtf8("The options file \"" + file + "\" cannot be read: line " +
                               std::to_string(place.line + 1) +
                               " has a quoted value that does not end or an unknown escape."));
  }
  return unquoted;
}

std::string WithIniValue(string_view text, std::u16string_view section, std::u16string_view key,
                         std::u16string_view value) {
  const std::vector<Line> lines = Lines(text);
  const Place place = Find(lines, section, key);
  const size_t mark = text.starts_with(kMark) ? kMark.size() : 0;
  std::string line_end = "\n";
  if (!lines.empty() && lines[0].text.size() > lines[0].body.size()) {
    line_end = lines[0].text.substr(lines[0].body.size());
  }
  const std::string token = Token(value, u"", u"");
  std::string out(text.substr(0, mark));
  if (place.line != Place::kNone) {
    const Line& old = lines[place.line];
    const auto begin = static_cast<size_t>(old.value.data() - text.data());
    const auto end = begin + old.value.size();
    const auto line_begin = static_cast<size_t>(old.text.data() - text.data());
    out = text.substr(0, begin);
    if (begin > line_begin && text[begin - 1] == '=' && !token.empty() && old.value.empty()) {
      out += ' ';
    }
    return out + token + std::string(text.substr(end));
  }
  const std::string entry = Token(key, u"=", u"[;#") + " = " + token;
  const size_t at = place.section_end == Place::kNone ? lines.size() : place.section_end;
  for (size_t i = 0; i < at; ++i) out += lines[i].text;
  if (at > 0 && lines[at - 1].text.size() == lines[at - 1].body.size()) out += line_end;
  if (place.section_end == Place::kNone) {
    if (at > 0 && !Trimmed(lines[at - 1].body).empty()) out += line_end;
    out += '[' + Token(section, u"]", u"") + ']' + line_end;
  }
  out += entry + line_end;
  for (size_t i = at; i < lines.size(); ++i) out += lines[i].text;
  return out;
}

}  // namespace ohmwise::embedded
