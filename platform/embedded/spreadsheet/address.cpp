#include "platform/embedded/spreadsheet/address.h"

#include <optional>
#include <string>
#include <utility>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::embedded {
namespace {

/// One end of an address; 0 for what it does not name.
struct End {
  int32_t row = 0;
  int32_t column = 0;
};

std::optional<End> ParseEnd(std::u16string_view text) {
  End end;
  const auto skip_dollar = [&] {
    if (text.starts_with(u'$')) text.remove_prefix(1);
  };
  skip_dollar();
  while (!text.empty()) {
    const char16_t letter = static_cast<char16_t>(text.front() & ~0x20);
    if (letter < u'A' || letter > u'Z') break;
    end.column = end.column * 26 + (letter - u'A' + 1);
    if (end.column > kLastSheetColumn) return std::nullopt;
    text.remove_prefix(1);
  }
  if (end.column > 0) skip_dollar();
  const bool has_row = !text.empty();
  while (!text.empty()) {
    if (text.front() < u'0' || text.front() > u'9') return std::nullopt;
    end.row = end.row * 10 + (text.front() - u'0');
    if (end.row > kLastSheetRow) return std::nullopt;
    text.remove_prefix(1);
  }
  if ((has_row && end.row == 0) || (!has_row && end.column == 0)) return std::nullopt;
  return end;
}

enum class Single { kRefuse, kAllow };  ///< a row or column without a second end

std::optional<Area> ParseArea(std::u16string_view text, Single single) {
  const size_t colon = text.find(u':');
  const auto first = ParseEnd(TrimSpaces(text.substr(0, colon)));
  if (!first) return std::nullopt;
  std::optional<End> last = first;
  if (colon != text.npos) last = ParseEnd(TrimSpaces(text.substr(colon + 1)));
  if (!last || (first->row == 0) != (last->row == 0) ||
      (first->column == 0) != (last->column == 0)) {
    return std::nullopt;
  }
  const bool is_cell = first->row != 0 && first->column != 0;
  if (colon == text.npos && !is_cell && single == Single::kRefuse) return std::nullopt;
  Area area{first->row, first->column, last->row, last->column};
  if (area.first_row > area.last_row) std::swap(area.first_row, area.last_row);
  if (area.first_column > area.last_column) std::swap(area.first_column, area.last_column);
  if (area.first_row == 0) {
    area.first_row = 1;
    area.last_row = kLastSheetRow;
  }
  if (area.first_column == 0) {
    area.first_column = 1;
    area.last_column = kLastSheetColumn;
  }
  return area;
}

[[noreturn]] void Refuse(std::u16string_view address, std::u16string_view what) {
  Raise(Err::kHost, u"\"" + std::u16string(address) + u"\" names no " + std::u16string(what) +
                        u" of a worksheet.");
}

std::u16string NumberOrText(const Value& value) {
  return value.IsText() ? value.AsText() : DecimalText(value.ToInt32());
}

}  // namespace

std::vector<Area> ParseAddress(std::u16string_view address) {
  std::vector<Area> areas;
  for (size_t begin = 0; begin <= address.size();) {
    const size_t end = std::min(address.find(u',', begin), address.size());
    const auto area = ParseArea(TrimSpaces(address.substr(begin, end - begin)), Single::kRefuse);
    if (!area) Refuse(address, u"range");
    areas.push_back(*area);
    begin = end + 1;
  }
  return areas;
}

Area ParseRows(const Value& rows) {
  const std::u16string text = NumberOrText(rows);
  const auto area = ParseArea(TrimSpaces(text), Single::kAllow);
  if (!area || !area->WholeRows()) Refuse(text, u"rows");
  return *area;
}

Area ParseColumns(const Value& columns) {
  std::u16string text = NumberOrText(columns);
  if (!columns.IsText()) {
    const int32_t number = columns.ToInt32();
    if (number < 1 || number > kLastSheetColumn) Refuse(text, u"columns");
    return {1, number, kLastSheetRow, number};
  }
  const auto area = ParseArea(TrimSpaces(text), Single::kAllow);
  if (!area || !area->WholeColumns()) Refuse(text, u"columns");
  return *area;
}

Area CellArea(int32_t row, int32_t column) {
  if (row < 1 || row > kLastSheetRow || column < 1 || column > kLastSheetColumn) {
    Refuse(u"row " + DecimalText(row) + u", column " + DecimalText(column), u"cell");
  }
  return {row, column, row, column};
}

}  // namespace ohmwise::embedded
