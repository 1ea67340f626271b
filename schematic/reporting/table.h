#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/sheet_file.h"

namespace ohmwise::schematic {

struct ReportColumn {
  enum class Kind { kText, kNumber, kPrice };
  std::u16string key;    ///< in JSON
  std::u16string title;  ///< for people
  Kind kind = Kind::kText;
};

/// A report as rows of texts; numbers are plain decimal texts with a point.
struct ReportTable {
  std::u16string name;  ///< "bom"
  std::u16string title;
  std::vector<ReportColumn> columns;
  std::vector<std::vector<std::u16string>> rows;
  /// Last row with the sums; empty for none.
  std::vector<std::u16string> totals;
  /// Sentences about what the person should know, one each.
  std::vector<std::u16string> remarks;
};

// The one road of rows into files; a terminal shows the table as it is.

/// How a cell is written that spreadsheet programs would take for a formula or calculate with: one
/// that begins with "=", "+", "-", "@" or a tab.
enum class FormulaLike {
  kAsText,  ///< `="text"`, which they show as the text and imports read as it
  kAsItIs,
};
/// Separated values (RFC 4180): UTF-8, "," and CRLF, the titles first. The totals are left out.
/// Numbers of numeric columns are as they are.
std::string CsvText(const ReportTable& table, FormulaLike form);

/// An object with the name of the report, the drawings it is about, its rows and its total. Numbers
/// that are empty are left out.
std::string JsonText(const ReportTable& table, const std::vector<std::u16string>& drawings);

struct WorkbookOptions {
  std::u16string header;  ///< printed above every page
  /// Made to be printed: titles on a background with a filter, a page wide, wide columns wrapped,
  /// empty ones hidden. Otherwise a plain sheet that other programs read.
  bool is_printed = true;
};
/// Fills a workbook and saves it to a file. `between` is called now and then and before the file is
/// written; what it throws ends the work. Raises what the sheet and `SheetFile::Save` raise.
void WriteWorkbook(ReportTable table, const WorkbookOptions& options, SheetFile& file,
                   const std::string& path, const std::function<void()>& between);

}  // namespace ohmwise::schematic
