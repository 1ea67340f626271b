#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/spreadsheet.h"

namespace ohmwise {

/// Writes report rows and their formats into a new workbook of the spreadsheet program.
///
/// Except for `CloseApp`, a failure shows a box (text of the step, stop icon) and goes no further;
/// what is written stays. Before `OpenApp` has succeeded once every other member does nothing.
/// Addresses are in A1 notation, rows and columns count from 1, colours are 24 bits with red in the
/// lowest byte.
class clsLExport {
 public:
  /// Starts the program with a new workbook. False when that failed; the box says at which step.
  bool OpenApp();
  /// Lets go of the program, after ending it when asked. Raises what ending it raises.
  void CloseApp(bool QuitApp);

  /// Writes the fields of a row from column A on: "|" parts them, "\|" is a bar in a field. Fields
  /// that the numeric test accepts become the number they begin with. More than 26 fields are
  /// refused and nothing of the row is written. Row 0 and below write nothing.
  void RowWrite(int32_t lngRow, std::u16string_view strData);
  /// The row of the last `RowWrite` that was not refused.
  int32_t LastRow() const noexcept { return last_row_; }
  void CellWrite(int32_t lngRow, int32_t lngCol, std::u16string_view strData);

  void RowBold(int32_t lngRow);
  void RowColor(int32_t lngRow, int32_t lngColorCode);
  void CellBold(int32_t lngRow, int32_t lngCol);
  void CellColor(int32_t lngRow, int32_t lngCol, int32_t lngColorCode);
  /// "5" or "5:9"; "C" or "C:E".
  void HideRows(std::u16string_view strRows);
  void HideCols(std::u16string_view strCols);
  /// Makes the columns of a range as wide as what the range holds.
  void AutoFit(std::u16string_view strRange);
  void SelectRange(std::u16string_view strRange);
  /// 2 left, 3 centred, 4 right; nothing for others.
  void HorAlignment(std::u16string_view strRange, int16_t intAlign);

 private:
  template <class Step>
  bool Guarded(Step&& step);

  SpreadsheetApplicationRef application_;
  WorksheetRef sheet_;
  int32_t last_row_ = 0;
  std::u16string step_text_;
};

}  // namespace ohmwise
