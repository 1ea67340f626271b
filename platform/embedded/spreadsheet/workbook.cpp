#include "platform/embedded/spreadsheet/workbook.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "base/well_formed.h"
#include "platform/embedded/spreadsheet/text_width.h"

namespace ohmwise::embedded {
namespace {

constexpr size_t kLongestText = 32767;
constexpr int64_t kMostCellsAtOnce = 1000000;
constexpr int32_t kFilterButton = 16;    // pixels
constexpr int32_t kWidestColumn = 1790;  // 255 characters

}  // namespace

void CellFormat::Apply(const FormatRule& rule) {
  switch (rule.what) {
    case FormatRule::What::kBold:
      bold = rule.value != 0;
      break;
    case FormatRule::What::kColor:
      color = rule.value & 0xFFFFFF;
      break;
    case FormatRule::What::kAlignment:
      alignment = rule.value;
      break;
  }
}

FormatSweep::FormatSweep(const std::vector<FormatRule>& rules) {
  for (const FormatRule& rule : rules) by_first_row_.push_back(&rule);
  std::stable_sort(by_first_row_.begin(), by_first_row_.end(), [](const auto* a, const auto* b) {
    return a->area.first_row < b->area.first_row;
  });
}

const std::vector<const FormatRule*>& FormatSweep::RulesOfRow(int32_t row) {
  std::erase_if(active_, [row](const FormatRule* rule) { return rule->area.last_row < row; });
  const size_t before = active_.size();
  for (; next_ < by_first_row_.size() && by_first_row_[next_]->area.first_row <= row; ++next_) {
    if (by_first_row_[next_]->area.last_row >= row) active_.push_back(by_first_row_[next_]);
  }
  // Rules stand in one vector, so addresses are in the order in which they were given.
  if (active_.size() > before) std::sort(active_.begin(), active_.end());
  return active_;
}

CellFormat FormatSweep::Of(const std::vector<const FormatRule*>& rules, int32_t row,
                           int32_t column) {
  CellFormat format;
  for (const FormatRule* rule : rules) {
    if (rule->area.Contains(row, column)) format.Apply(*rule);
  }
  return format;
}

size_t TextPool::SlotOf(std::string_view text, size_t hash) const {
  size_t slot = hash & (slots_.size() - 1);
  while (slots_[slot] != kFree && (hashes_[slots_[slot]] != hash || texts_[slots_[slot]] != text)) {
    slot = (slot + 1) & (slots_.size() - 1);
  }
  return slot;
}

void TextPool::Grow() {
  slots_.assign(std::max<size_t>(2 * slots_.size(), 1024), kFree);
  for (uint32_t number = 0; number < texts_.size(); ++number) {
    slots_[SlotOf(texts_[number], hashes_[number])] = number;
  }
}

uint32_t TextPool::NumberOf(std::string_view text) {
  if (2 * (texts_.size() + 1) > slots_.size()) Grow();
  const size_t hash = std::hash<std::string_view>()(text);
  uint32_t& slot = slots_[SlotOf(text, hash)];
  if (slot != kFree) return slot;
  slot = static_cast<uint32_t>(texts_.size());
  texts_.emplace_back(text);
  hashes_.push_back(hash);
  return slot;
}

SheetModel::Content SheetModel::ContentOf(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kEmpty:
    case Value::Kind::kNull:
      return {};
    case Value::Kind::kBoolean:
      return value.ToBoolean();
    case Value::Kind::kInt16:
    case Value::Kind::kInt32:
    case Value::Kind::kDouble:
    case Value::Kind::kForeignNumber:
      return value.ToDouble();
    case Value::Kind::kText:
      break;
    case Value::Kind::kObject:
      Raise(Err::kHost, u"A cell of a worksheet holds no objects.");
  }
  const std::u16string& text = value.AsText();
  if (text.empty()) return {};
  if (text.size() > kLongestText) {
    Raise(Err::kHost, u"A cell of a worksheet holds at most 32767 characters.");
  }
  return texts_.NumberOf(ToUtf8(WellFormed(text)));
}

SheetModel::Content& SheetModel::Cell(int32_t row, int32_t column) {
  std::vector<Content>& cells = rows_[row];
  const auto index = static_cast<size_t>(column - 1);
  if (cells.size() <= index) cells.resize(index + 1);
  return cells[index];
}

void SheetModel::Fill(const Area& area, const Value& value) {
  if (int64_t{area.RowCount()} * area.ColumnCount() > kMostCellsAtOnce) {
    Raise(Err::kHost, u"More than a million cells cannot be filled at once.");
  }
  const Content content = ContentOf(value);
  for (int32_t row = area.first_row; row <= area.last_row; ++row) {
    for (int32_t column = area.first_column; column <= area.last_column; ++column) {
      Cell(row, column) = content;
    }
  }
}

void SheetModel::WriteRow(const Area& area, std::span<const Value> values) {
  if (area.RowCount() != 1 || std::cmp_not_equal(values.size(), area.ColumnCount())) {
    Raise(Err::kHost, u"A row of values needs a range of one row and as many cells.");
  }
  std::vector<Content> contents;
  contents.reserve(values.size());
  for (const Value& value : values) contents.push_back(ContentOf(value));
  std::vector<Content>& cells = rows_[area.first_row];
  const auto begin = static_cast<size_t>(area.first_column - 1);
  if (cells.size() < begin + contents.size()) cells.resize(begin + contents.size());
  std::copy(contents.begin(), contents.end(), cells.begin() + area.first_column - 1);
}

Value SheetModel::At(int32_t row, int32_t column) const {
  const auto cells = rows_.find(row);
  if (cells == rows_.end() || std::cmp_less(cells->second.size(), column)) return {};
  const Content& content = cells->second[static_cast<size_t>(column - 1)];
  if (const auto* number = std::get_if<double>(&content)) return *number;
  if (const auto* truth = std::get_if<bool>(&content)) return *truth;
  if (const auto* text = std::get_if<uint32_t>(&content)) return FromUtf8(TextOf(*text));
  return {};
}

CellFormat SheetModel::FormatAt(int32_t row, int32_t column) const {
  CellFormat format;
  for (const FormatRule& rule : rules_) {
    if (rule.area.Contains(row, column)) format.Apply(rule);
  }
  return format;
}

void SheetModel::SetHidden(const Area& area, bool hidden) {
  if (!area.WholeRows() && !area.WholeColumns()) {
    Raise(Err::kHost, u"Only whole rows and columns can be hidden.");
  }
  hidings_.push_back({area, hidden});
}

bool SheetModel::RowHidden(int32_t row) const {
  bool hidden = false;
  for (const Hiding& hiding : hidings_) {
    if (hiding.area.WholeRows() && hiding.area.Contains(row, 1)) hidden = hiding.hidden;
  }
  return hidden;
}

bool SheetModel::ColumnHidden(int32_t column) const {
  bool hidden = false;
  for (const Hiding& hiding : hidings_) {
    if (hiding.area.WholeColumns() && hiding.area.Contains(1, column)) hidden = hiding.hidden;
  }
  return hidden;
}

void SheetModel::AutoFit(const Area& area) {
  FormatSweep sweep(rules_);
  std::map<int32_t, int32_t> fitted;
  for (auto row = rows_.lower_bound(area.first_row);
       row != rows_.end() && row->first <= area.last_row; ++row) {
    const auto& rules = sweep.RulesOfRow(row->first);
    const int32_t last = std::min(area.last_column, static_cast<int32_t>(row->second.size()));
    for (int32_t column = area.first_column; column <= last; ++column) {
      const Content& content = row->second[static_cast<size_t>(column - 1)];
      int32_t width = 0;
      const bool bold = FormatSweep::Of(rules, row->first, column).bold;
      if (const auto* text = std::get_if<uint32_t>(&content)) {
        width = TextWidth(TextOf(*text), bold);
      } else if (const auto* number = std::get_if<double>(&content)) {
        const auto format = layout.number_formats.find(column);
        width = NumberWidth(
            *number, format == layout.number_formats.end() ? std::string() : format->second, bold);
      } else if (std::holds_alternative<bool>(content)) {
        width = TextWidth(std::get<bool>(content) ? "TRUE" : "FALSE", bold);
      }
      if (width == 0) continue;
      width += kCellPadding;
      for (const Area& filter : layout.filter) {
        if (row->first == filter.first_row) width += kFilterButton;
      }
      int32_t& widest = fitted[column];
      widest = std::max(widest, std::min(width, kWidestColumn));
    }
  }
  for (const auto& [column, width] : fitted) widths_[column] = width;
}

int32_t SheetModel::ColumnWidth(int32_t column) const {
  const auto width = widths_.find(column);
  return width == widths_.end() ? 0 : width->second;
}

}  // namespace ohmwise::embedded
