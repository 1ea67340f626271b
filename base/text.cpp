#include "base/text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace ohmwise {
namespace {

struct FoldRun {
  char16_t first, last;
  uint16_t step, offset;
};
constexpr FoldRun kFoldRuns[] = {
#include "base/fold_table.inc"
};

/// The runs spread out, so that folding is one load.
const std::array<char16_t, 0x10000>& FoldTable() {
  static std::array<char16_t, 0x10000> table;  // no heap: comparing must not fail
  static const bool ready = [] {
    for (uint32_t unit = 0; unit < 0x10000; ++unit) table[unit] = static_cast<char16_t>(unit);
    for (const FoldRun& run : kFoldRuns) {
      for (uint32_t unit = run.first; unit <= run.last; unit += run.step) {
        table[unit] = static_cast<char16_t>(unit + run.offset);
      }
    }
    return true;
  }();
  static_cast<void>(ready);
  return table;
}

bool IsHigh(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::u16string FromUtf8(std::string_view utf8) {
  std::u16string text;
  text.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {
      text.push_back(lead);
      ++i;
      continue;
    }
    const size_t length = lead >= 0xF0 && lead < 0xF5   ? 4
                          : lead >= 0xE0 && lead < 0xF0 ? 3
                          : lead >= 0xC2 && lead < 0xE0 ? 2
                                                        : 0;
    char32_t code = length == 4 ? lead & 0x07u : length == 3 ? lead & 0x0Fu : lead & 0x1Fu;
    size_t used = 1;
    while (used < length && i + used < utf8.size()) {
      const auto next = static_cast<unsigned char>(utf8[i + used]);
      if ((next & 0xC0u) != 0x80u) break;
      code = (code << 6) | (next & 0x3Fu);
      ++used;
    }
    const bool overlong =
        (length == 3 && code < 0x800) || (length == 4 && (code < 0x10000 || code > 0x10FFFF));
    if (length == 0 || used != length || overlong) {
      text.push_back(0xFFFD);
      i += used;
      continue;
    }
    if (code >= 0x10000) {
      text.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
      text.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
    } else {
      text.push_back(static_cast<char16_t>(code));
    }
    i += length;
  }
  return text;
}

void AppendUtf8(std::string& out, char32_t code) {
  const auto put = [&out](char32_t byte) {
    out.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6));
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3F));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

std::string ToUtf8(std::u16string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    if (IsHigh(code) && i + 1 < text.size() && IsLow(text[i + 1])) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
    }
    AppendUtf8(utf8, code);
  }
  return utf8;
}

char16_t FoldCase(char16_t unit) noexcept { return FoldTable()[unit]; }

std::u16string FoldCase(std::u16string_view text) {
  std::u16string folded(text);
  const auto& table = FoldTable();
  for (char16_t& unit : folded) unit = table[unit];
  return folded;
}

bool EqualNoCase(std::u16string_view a, std::u16string_view b) noexcept {
  if (a.size() != b.size()) return false;
  const auto& table = FoldTable();
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && table[a[i]] != table[b[i]]) return false;
  }
  return true;
}

size_t HashNoCase(std::u16string_view text) noexcept {
  const auto& table = FoldTable();
  uint64_t hash = 0xCBF29CE484222325u;
  for (const char16_t unit : text) hash = (hash ^ table[unit]) * 0x100000001B3u;
  return static_cast<size_t>(hash ^ (hash >> 29));
}

std::u16string_view TrimSpaces(std::u16string_view text) noexcept {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  return text;
}

std::u16string ReplaceAll(std::u16string_view text, std::u16string_view from,
                          std::u16string_view to) {
  std::u16string result;
  for (size_t begin = 0;;) {
    const size_t found = from.empty() ? std::u16string_view::npos : text.find(from, begin);
    if (found == std::u16string_view::npos) return result.append(text.substr(begin));
    result.append(text.substr(begin, found - begin)).append(to);
    begin = found + from.size();
  }
}

std::u16string DecimalText(double number) {
  if (!std::isfinite(number)) return u"0";
  // Fifteen significant digits, written out: find the digits first, then place the point.
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, std::fabs(number),
                                 std::chars_format::scientific, 14)
                       .ptr;
  std::string mantissa(1, digits[0]);
  const char* p = digits + 2;
  while (p != end && *p != 'e') mantissa.push_back(*p++);
  int exponent = 0;
  std::from_chars(p + (p[1] == '+' ? 2 : 1), end, exponent);
  mantissa.erase(mantissa.find_last_not_of('0') + 1);
  if (mantissa.empty()) return u"0";
  std::string text;
  if (exponent < 0) {
    text = "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + mantissa;
  } else {
    const auto whole = static_cast<size_t>(exponent) + 1;
    if (mantissa.size() <= whole) {
      text = mantissa + std::string(whole - mantissa.size(), '0');
    } else {
      text = mantissa.substr(0, whole) + "." + mantissa.substr(whole);
    }
  }
  if (number < 0) text.insert(text.begin(), '-');
  return {text.begin(), text.end()};
}

std::u16string DecimalText(int32_t number) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  return {digits, end};
}

}  // namespace ohmwise
