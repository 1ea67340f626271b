#pragma once

#include "platform/embedded/spreadsheet/program.h"
#include "platform/sheet_file.h"

namespace ohmwise::embedded {

/// A workbook in memory until it is saved as an .xlsx file.
class WorkbookFile final : public SheetFile {
 public:
  WorksheetRef Start(const SheetLook& look) override;
  void Save(const std::string& path) override { program_.Save(path); }

 private:
  SpreadsheetProgram program_;
  SpreadsheetApplicationRef application_;
};

}  // namespace ohmwise::embedded
