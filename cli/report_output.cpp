#include "cli/report_output.h"

#include <iostream>
#include <utility>

#include "cli/interrupt.h"
#include "cli/output.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/spreadsheet/workbook_file.h"
#include "platform/host.h"

namespace ohmwise::cli {
namespace {

using Row = std::vector<std::u16string>;
using schematic::FormulaLike;
using schematic::ReportColumn;
using schematic::ReportTable;

void PrintTable(const ReportTable& table) {
  const Printer printer;
  std::vector<std::string> titles;
  std::vector<std::vector<std::string>> rows;
  for (const ReportColumn& column : table.columns) titles.push_back(Shown(column.title));
  const auto add = [&](const Row& row) {
    std::vector<std::string>& cells = rows.emplace_back();
    for (const std::u16string& text : row) cells.push_back(Shown(text));
  };
  for (const Row& row : table.rows) add(row);
  if (!table.totals.empty()) add(table.totals);
  printer.Heading(Shown(table.title));
  printer.Table(titles, rows);
}

}  // namespace

void WriteReport(ReportTable table, const std::vector<std::u16string>& drawings,
                 ReportFormat format, const std::string& path) {
  switch (format) {
    case ReportFormat::kXlsx: {
      embedded::EmbeddedHost host({});
      const HostScope scope(host);
      schematic::WorkbookOptions options{table.title};
      if (drawings.size() == 1) options.header += u" · " + drawings.front();
      embedded::WorkbookFile file;
      schematic::WriteWorkbook(std::move(table), options, file, path, Interrupt::Check);
      return;
    }
    case ReportFormat::kTable:
      PrintTable(table);
      return;
    case ReportFormat::kCsv:
    case ReportFormat::kRawCsv: {
      const FormulaLike form =
          format == ReportFormat::kCsv ? FormulaLike::kAsText : FormulaLike::kAsItIs;
      if (path != "-") return WriteCsv(table, form, path);
      std::cout << schematic::CsvText(table, form);
      return;
    }
    case ReportFormat::kJson:
      break;
  }
  const std::string text = schematic::JsonText(table, drawings);
  if (path == "-") {
    std::cout << text;
    return;
  }
  Interrupt::Check();
  embedded::ReplaceFile(path, text);
}

void WriteCsv(const ReportTable& table, FormulaLike form, const std::string& path) {
  const std::string text = schematic::CsvText(table, form);
  Interrupt::Check();
  // The mark tells spreadsheet programs that the text is UTF-8.
  embedded::ReplaceFile(path, "\xEF\xBB\xBF" + text);
}

}  // namespace ohmwise::cli
