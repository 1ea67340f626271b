#include <algorithm>
#include <array>

#include "base/code_page.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/spreadsheet/address.h"
#include "platform/embedded/spreadsheet/text_table.h"

namespace ohmwise::embedded {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

bool IsUtf8(std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[i++]);
    if (lead < 0x80) continue;
    if (lead < 0xC2 || lead > 0xF4) return false;
    const size_t more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    for (size_t k = 0; k < more; ++k, ++i) {
      if (i >= bytes.size() || (static_cast<unsigned char>(bytes[i]) & 0xC0) != 0x80) return false;
    }
  }
  return true;
}

std::u16string Decoded(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    Raise(Err::kHost, u"The table is written in UTF-16; save it as \"CSV UTF-8\" instead.");
  }
  if (bytes.find('\0') != bytes.npos) {
    Raise(Err::kHost, u"This is no text file; a table is a .csv or an .xlsx file.");
  }
  if (bytes.starts_with(kMark)) return FromUtf8(bytes.substr(kMark.size()));
  if (IsUtf8(bytes)) return FromUtf8(bytes);
  std::u16string text;
  text.reserve(bytes.size());
  for (const char byte : bytes) text += AnsiCharacter(static_cast<unsigned char>(byte));
  return text;
}

bool IsLineEnd(char16_t c) { return c == u'\n' || c == u'\r'; }

/// Takes the line "sep=;" off the front when there is one.
char16_t TakeSeparatorLine(std::u16string_view& text) {
  constexpr std::u16string_view kPrefix = u"sep=";
  if (!EqualNoCase(text.substr(0, kPrefix.size()), kPrefix) || text.size() <= kPrefix.size()) {
    return u'\0';
  }
  const std::u16string_view rest = text.substr(kPrefix.size() + 1);
  if (IsLineEnd(text[kPrefix.size()]) || (!rest.empty() && !IsLineEnd(rest.front()))) return u'\0';
  const char16_t separator = text[kPrefix.size()];
  text = rest;
  if (text.starts_with(u'\r')) text.remove_prefix(1);
  if (text.starts_with(u'\n')) text.remove_prefix(1);
  return separator;
}

char16_t SeparatorOf(std::u16string_view text) {
  constexpr std::array<char16_t, 3> kSeparators = {u',', u';', u'\t'};
  std::array<size_t, 3> counts = {};
  bool quoted = false;
  for (const char16_t c : text) {
    if (c == u'"') quoted = !quoted;
    if (quoted) continue;
    if (IsLineEnd(c)) break;
    for (size_t i = 0; i < kSeparators.size(); ++i) counts[i] += c == kSeparators[i] ? 1 : 0;
  }
  return kSeparators[static_cast<size_t>(std::max_element(counts.begin(), counts.end()) -
                                         counts.begin())];
}

/// The text of a formula that says nothing else, `="a"` or `="a"&"b"`; any other cell as it is.
std::u16string WithoutFormula(std::u16string cell) {
  if (!cell.starts_with(u"=\"")) return cell;
  std::u16string text;
  for (size_t at = 2; at < cell.size(); ++at) {
    if (cell[at] != u'"') {
      text += cell[at];
    } else if (at + 1 == cell.size()) {
      return text;
    } else if (cell[at + 1] == u'"') {
      text += cell[at++];
    } else if (cell.compare(at + 1, 2, u"&\"") == 0) {
      at += 2;
    } else {
      break;
    }
  }
  return cell;
}

[[noreturn]] void Refuse(size_t line, std::u16string_view what) {
  Raise(Err::kHost, u"Line " + DecimalText(static_cast<double>(line)) + u" of the table " +
                        std::u16string(what) + u".");
}

class Parser {
 public:
  Parser(std::u16string_view text, char16_t separator, size_t line)
      : text_(text), separator_(separator), line_(line) {}

  std::vector<TextTable::Row> Run() {
    std::vector<TextTable::Row> rows;
    while (at_ < text_.size()) {
      TextTable::Row& row = rows.emplace_back();
      row.line = line_;
      for (size_t column = 0;; ++column) {
        if (column == kLastSheetColumn) Refuse(row.line, u"has more than 16384 fields");
        std::u16string cell = WithoutFormula(text_.substr(at_, 1) == u"\"" ? Quoted() : Plain());
        if (!cell.empty()) row.Put(column, std::move(cell));
        if (at_ >= text_.size() || text_[at_] != separator_) break;
        ++at_;
      }
      TakeLineEnd();
    }
    return rows;
  }

 private:
  std::u16string Plain() {
    const size_t begin = at_;
    while (at_ < text_.size() && text_[at_] != separator_ && !IsLineEnd(text_[at_])) ++at_;
    return std::u16string(text_.substr(begin, at_ - begin));
  }

  std::u16string Quoted() {
    const size_t begin = line_;
    std::u16string cell;
    for (++at_;; ++at_) {
      if (at_ >= text_.size()) Refuse(begin, u"has a quote that is not closed");
      const char16_t c = text_[at_];
      if (c == u'"') {
        ++at_;
        if (text_.substr(at_, 1) != u"\"") break;
      }
      const bool pair = c == u'\r' && text_.substr(at_ + 1, 1) == u"\n";
      if (IsLineEnd(c) && !pair) ++line_;
      cell += c;
    }
    if (at_ < text_.size() && text_[at_] != separator_ && !IsLineEnd(text_[at_])) {
      Refuse(line_, u"has something behind a closing quote");
    }
    return cell;
  }

  void TakeLineEnd() {
    if (at_ >= text_.size()) return;
    if (text_[at_] == u'\r' && text_.substr(at_ + 1, 1) == u"\n") ++at_;
    ++at_;
    ++line_;
  }

  std::u16string_view text_;
  char16_t separator_;
  size_t at_ = 0;
  size_t line_;
};

}  // namespace

void TextTable::Row::Put(size_t column, std::u16string text) {
  // Nearly always at the end.
  auto at = columns.end();
  while (at != columns.begin() && *(at - 1) > column) --at;
  cells.insert(cells.begin() + (at - columns.begin()), std::move(text));
  columns.insert(at, column);
}

TextTable ParseSeparatedValues(std::string_view bytes) {
  const std::u16string decoded = Decoded(bytes);
  std::u16string_view text = decoded;
  const char16_t named = TakeSeparatorLine(text);
  TextTable table;
  table.rows =
      Parser(text, named != u'\0' ? named : SeparatorOf(text), named != u'\0' ? 2 : 1).Run();
  return table;
}

}  // namespace ohmwise::embedded
