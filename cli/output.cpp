#include "cli/output.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <new>

#include "base/printable.h"
#include "base/text.h"
#include "cli/terminal.h"

namespace ohmwise::cli {
namespace {

struct Range {
  char32_t first, last;
};

// Combining marks and other characters without a width of their own.
constexpr Range kZeroWidth[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},  {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},  {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2064},  {0x20D0, 0x20FF}, {0xFE00, 0xFE0F},
    {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}, {0xE0100, 0xE01EF}};
// East Asian wide and full-width characters, and pictographs.
constexpr Range kDoubleWidth[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x33FF},
                                  {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},
                                  {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
                                  {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F},
                                  {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

template <size_t N>
bool In(const Range (&ranges)[N], char32_t code_point) {
  const Range* const after =
      std::upper_bound(std::begin(ranges), std::end(ranges), code_point,
                       [](char32_t value, const Range& range) { return value < range.first; });
  return after != std::begin(ranges) && code_point <= std::prev(after)->last;
}

/// Start of each code point; bytes that continue one are 10xxxxxx.
bool Continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u; }

bool WantsColour() {
  const char* const refused = std::getenv("NO_COLOR");
  if (refused != nullptr && *refused != '\0') return false;
  const char* const terminal = std::getenv("TERM");
  if (terminal != nullptr && std::string_view(terminal) == "dumb") return false;
  return OutputIsTerminal();
}

}  // namespace

Printer::Printer() : coloured_(WantsColour()) {}

std::string Printer::Styled(Style style, std::string_view text) const {
  if (!coloured_ || style == Style::kPlain || text.empty()) return std::string(text);
  const char* code = "";
  switch (style) {
    case Style::kHeading:
      code = "\x1b[1;36m";
      break;
    case Style::kFaint:
      code = "\x1b[2m";
      break;
    case Style::kStrong:
      code = "\x1b[1m";
      break;
    case Style::kWarning:
      code = "\x1b[33m";
      break;
    case Style::kAdded:
      code = "\x1b[32m";
      break;
    case Style::kError:
    case Style::kRemoved:
      code = "\x1b[31m";
      break;
    case Style::kPlain:
      break;
  }
  return code + std::string(text) + "\x1b[0m";
}

void Printer::Line(std::string_view text) const { std::cout << text << '\n'; }

void Printer::Heading(std::string_view text) const {
  Line();
  Line(Styled(Style::kHeading, text));
}

void Printer::Table(const std::vector<std::string>& titles,
                    const std::vector<std::vector<std::string>>& rows) const {
  std::vector<size_t> widths;
  for (const std::string& title : titles) widths.push_back(DisplayWidth(title));
  for (const auto& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  const auto line = [&](const std::vector<std::string>& cells, Style first, Style others) {
    std::string out = " ";
    size_t gap = 0;
    for (size_t i = 0; i < cells.size(); ++i) {
      if (!cells[i].empty()) {
        out += std::string(gap + 1, ' ') + Styled(i == 0 ? first : others, cells[i]);
        gap = 0;
      } else {
        ++gap;
      }
      gap += widths[i] - DisplayWidth(cells[i]) + 1;
    }
    Line(out);
  };
  line(titles, Style::kFaint, Style::kFaint);
  for (const auto& row : rows) line(row, Style::kStrong, Style::kPlain);
}

std::string Shown(std::u16string_view text) { return ToUtf8(Printable(text)); }

void Tell(std::string_view text) {
  for (size_t end = 0; end != text.npos;) {
    end = text.find('\n');
    std::cerr << Shown(FromUtf8(text.substr(0, end))) << '\n';
    if (end != text.npos) text.remove_prefix(end + 1);
  }
}

void Complain(std::string_view sentence) { Tell("ohmwise: " + std::string(sentence)); }

std::string SentenceOf(const std::exception& error) {
  if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return "there is not enough memory.";
  if (const auto* const file = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
    return "\"" + file->path1().string() + "\": " + file->code().message() + ".";
  }
  return error.what();
}

size_t DisplayWidth(std::string_view utf8) {
  size_t width = 0;
  for (size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    char32_t code_point = lead < 0x80   ? lead
                          : lead < 0xE0 ? lead & 0x1Fu
                          : lead < 0xF0 ? lead & 0x0Fu
                                        : lead & 0x07u;
    for (++i; i < utf8.size() && Continues(utf8[i]); ++i) {
      code_point = code_point << 6 | (static_cast<unsigned char>(utf8[i]) & 0x3Fu);
    }
    width += In(kZeroWidth, code_point) ? 0u : In(kDoubleWidth, code_point) ? 2u : 1u;
  }
  return width;
}

std::string Counted(size_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace ohmwise::cli
