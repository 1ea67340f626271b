#pragma once

#include <string>

#include "platform/embedded/spreadsheet/workbook.h"

namespace ohmwise::embedded {

/// Writes a sheet as a workbook (.xlsx), replacing the file in one step. Raises a host error when
/// it cannot be written; the old file stands then.
void WriteXlsx(const SheetModel& sheet, const std::string& path);

}  // namespace ohmwise::embedded
