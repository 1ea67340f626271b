#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/value.h"
#include "platform/embedded/spreadsheet/address.h"

namespace ohmwise::embedded {

/// What one assignment of a format covers. Later ones win where they overlap.
struct FormatRule {
  enum class What : uint8_t { kBold, kColor, kAlignment };
  Area area;
  What what = What::kBold;
  int32_t value = 0;
};

/// The format of one cell.
struct CellFormat {
  bool bold = false;
  int32_t color = 0;      ///< red in the lowest byte
  int32_t alignment = 0;  ///< 0 general, 2 left, 3 centred, 4 right

  void Apply(const FormatRule& rule);
  friend auto operator<=>(const CellFormat&, const CellFormat&) = default;
};

/// Formats of the cells of rows that are asked for in ascending order.
class FormatSweep {
 public:
  explicit FormatSweep(const std::vector<FormatRule>& rules);
  /// The rules that touch a row, in the order they were given.
  const std::vector<const FormatRule*>& RulesOfRow(int32_t row);
  static CellFormat Of(const std::vector<const FormatRule*>& rules, int32_t row, int32_t column);

 private:
  std::vector<const FormatRule*> by_first_row_;
  std::vector<const FormatRule*> active_;
  size_t next_ = 0;
};

/// How the sheet looks on screen and on paper; set by the program that owns the workbook.
struct SheetLayout {
  std::u16string name;                            ///< of the sheet, "" for the standard one
  int32_t frozen_rows = 0;                        ///< title rows, repeated on every printed page
  std::vector<Area> filter;                       ///< at most one
  bool a4_landscape = false;                      ///< one page wide, with numbered pages
  std::u16string header;                          ///< printed above every page
  int32_t title_background = -1;                  ///< of the frozen rows, -1 none
  int32_t widest_column = 0;                      ///< pixels; wider ones are wrapped; 0: no limit
  std::map<int32_t, std::string> number_formats;  ///< by column
};

/// Texts by number, each kept once.
class TextPool {
 public:
  uint32_t NumberOf(std::string_view text);
  const std::string& operator[](uint32_t number) const { return texts_[number]; }

 private:
  void Grow();
  size_t SlotOf(std::string_view text, size_t hash) const;

  static constexpr uint32_t kFree = UINT32_MAX;
  std::deque<std::string> texts_;
  std::vector<size_t> hashes_;   ///< by number
  std::vector<uint32_t> slots_;  ///< numbers where their hashes say, else in the next free slot
};

/// A worksheet in memory: values, formats, widths, what is hidden and what is selected.
class SheetModel {
 public:
  SheetModel() = default;
  SheetModel(const SheetModel&) = delete;
  SheetModel& operator=(const SheetModel&) = delete;

  using Content = std::variant<std::monostate, double, bool, uint32_t>;  ///< last: text number

  /// Fills an area with one value; "" and Empty clear. Raises a host error for a value that no
  /// cell holds, and for more than a million cells.
  void Fill(const Area& area, const Value& value);
  /// One row of values from the left. Raises a host error, and writes nothing, when the area is no
  /// row of as many cells or a value fits into no cell.
  void WriteRow(const Area& area, std::span<const Value> values);
  /// The content of a cell; Empty for none.
  Value At(int32_t row, int32_t column) const;

  void SetFormat(const Area& area, FormatRule::What what, int32_t value) {
    rules_.push_back({area, what, value});
  }
  CellFormat FormatAt(int32_t row, int32_t column) const;
  /// Raises a host error for what is neither whole rows nor whole columns.
  void SetHidden(const Area& area, bool hidden);
  bool RowHidden(int32_t row) const;
  bool ColumnHidden(int32_t column) const;
  /// Fits the columns of an area to the texts that it holds now. Columns without any stay.
  void AutoFit(const Area& area);
  /// Width in pixels; 0 for the standard one.
  int32_t ColumnWidth(int32_t column) const;
  void Select(const Area& area) { selection_ = area; }

  const std::map<int32_t, std::vector<Content>>& rows() const { return rows_; }
  const std::string& TextOf(uint32_t number) const { return texts_[number]; }  ///< UTF-8
  const std::vector<FormatRule>& rules() const { return rules_; }
  /// Later entries win.
  struct Hiding {
    Area area;
    bool hidden = true;
  };
  const std::vector<Hiding>& hidings() const { return hidings_; }
  const Area& selection() const { return selection_; }

  SheetLayout layout;

 private:
  Content ContentOf(const Value& value);
  Content& Cell(int32_t row, int32_t column);

  std::map<int32_t, std::vector<Content>> rows_;
  TextPool texts_;
  std::vector<FormatRule> rules_;
  std::vector<Hiding> hidings_;
  std::map<int32_t, int32_t> widths_;
  Area selection_;
};

}  // namespace ohmwise::embedded
