#pragma once

#include <string>
#include <vector>

#include "schematic/reporting/table.h"

namespace ohmwise::cli {

enum class ReportFormat { kXlsx, kCsv, kRawCsv, kJson, kTable };
/// Writes the table to a file in one step, or to standard output for "-". Raises host errors; an
/// existing file stands then.
void WriteReport(schematic::ReportTable table, const std::vector<std::u16string>& drawings,
                 ReportFormat format, const std::string& path);
/// Writes separated values that spreadsheet programs know as UTF-8.
void WriteCsv(const schematic::ReportTable& table, schematic::FormulaLike form,
              const std::string& path);

}  // namespace ohmwise::cli
