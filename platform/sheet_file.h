#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "platform/spreadsheet.h"

namespace ohmwise {

/// How a sheet looks on screen and on paper.
struct SheetLook {
  std::u16string name;                            ///< of the sheet
  std::u16string header;                          ///< printed above every page
  int32_t frozen_rows = 0;                        ///< title rows, repeated on every printed page
  int32_t filter_rows = 0, filter_columns = 0;    ///< filtered from A1 on; 0: no filter
  bool a4_landscape = false;                      ///< one page wide, with numbered pages
  int32_t title_background = -1;                  ///< of the frozen rows, -1 none
  int32_t widest_column = 0;                      ///< pixels; wider ones are wrapped; 0: no limit
  std::map<int32_t, std::string> number_formats;  ///< by column, from 1
};

/// A workbook of one sheet that becomes a file without anybody having looked at it.
class SheetFile {
 public:
  /// The empty sheet; what was there before is given up.
  virtual WorksheetRef Start(const SheetLook& look) = 0;
  /// Writes the workbook, replacing the file in one step. Raises a host error when it cannot be
  /// written; the old file stands then.
  virtual void Save(const std::string& path) = 0;

 protected:
  ~SheetFile() = default;
};

}  // namespace ohmwise
