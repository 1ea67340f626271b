#pragma once

#include "platform/spreadsheet.h"

namespace ohmwise::com {

/// Microsoft Excel ("Excel.application"), called by name. Every call goes to another process.
class ExcelSpreadsheet final : public Spreadsheet {
 public:
  SpreadsheetApplicationRef CreateApplication() override;
};

}  // namespace ohmwise::com
