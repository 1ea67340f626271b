#pragma once

#include <memory>
#include <string>

#include "platform/embedded/spreadsheet/workbook.h"
#include "platform/spreadsheet.h"

namespace ohmwise::embedded {

/// The spreadsheet program without a program: workbooks are kept in memory until they are saved.
class SpreadsheetProgram final : public Spreadsheet {
 public:
  SpreadsheetProgram();
  ~SpreadsheetProgram();

  SpreadsheetApplicationRef CreateApplication() override;

  /// The sheet of the workbook that was added last, as long as its application has not been ended;
  /// null otherwise.
  SheetModel* sheet() const;
  /// Writes that sheet as a workbook, replacing the file in one step. Raises a host error when
  /// there is none or it cannot be written; the old file stands then.
  void Save(const std::string& path) const;

  struct State;

 private:
  std::shared_ptr<State> state_;
};

}  // namespace ohmwise::embedded
