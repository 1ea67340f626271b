#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/value.h"

namespace ohmwise::embedded {

inline constexpr int32_t kLastSheetRow = 1048576;
inline constexpr int32_t kLastSheetColumn = 16384;

/// A rectangle of cells, counted from 1, both ends included.
struct Area {
  int32_t first_row = 1;
  int32_t first_column = 1;
  int32_t last_row = 1;
  int32_t last_column = 1;

  bool Contains(int32_t row, int32_t column) const {
    return row >= first_row && row <= last_row && column >= first_column && column <= last_column;
  }
  bool WholeRows() const { return first_column == 1 && last_column == kLastSheetColumn; }
  bool WholeColumns() const { return first_row == 1 && last_row == kLastSheetRow; }
  int32_t RowCount() const { return last_row - first_row + 1; }
  int32_t ColumnCount() const { return last_column - first_column + 1; }
  friend bool operator==(const Area&, const Area&) = default;
};

/// The areas of an A1 address: "B2", "A1:C3", "A:C", "2:5", dollar signs, several with commas; ends
/// in any order. Raises a host error for anything else.
std::vector<Area> ParseAddress(std::u16string_view address);
/// Whole rows: a number, "5" or "2:5". Raises a host error.
Area ParseRows(const Value& rows);
/// Whole columns: a number, "C" or "B:D". Raises a host error.
Area ParseColumns(const Value& columns);
/// One cell. Raises a host error outside the sheet.
Area CellArea(int32_t row, int32_t column);

}  // namespace ohmwise::embedded
