// Any bytes as a table to import: separated values, a workbook, or ("<…") the only sheet of a sound
// workbook, so that checksums do not keep the mutations away from its reader. What is refused must
// be refused by an AutomationError; what is read must come back the same when it is written as
// separated values and read again; its lines are understood as articles.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "base/error.h"
#include "catalogue/article_import.h"
#include "catalogue/price.h"
#include "platform/embedded/spreadsheet/text_table.h"
#include "platform/embedded/vsdx/package.h"
#include "schematic/reporting/table.h"

namespace {

using ohmwise::AutomationError;
using ohmwise::embedded::TextTable;

/// A file without a name.
class File {
 public:
  explicit File(const std::string& bytes) : descriptor_(memfd_create("fuzz", 0)) {
    if (write(descriptor_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
      std::abort();
    }
  }
  ~File() { close(descriptor_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

std::string Workbook(const std::string& sheet) {
  const auto relation = [](const char* type, const char* target) {
    return std::string("<Relationships><Relationship Id=\"r1\" Type=\"http://x/") + type +
           "\" Target=\"" + target + "\"/></Relationships>";
  };
  const std::string nothing = "PK\x05\x06" + std::string(18, '\0');
  return ohmwise::embedded::Package(nothing, "fuzz", {})
      .Rebuild({{"_rels/.rels", relation("officeDocument", "xl/workbook.xml")},
                {"xl/workbook.xml",
                 "<workbook><sheets><sheet name=\"S\" r:id=\"r1\"/></sheets></workbook>"},
                {"xl/_rels/workbook.xml.rels", relation("worksheet", "worksheets/s.xml")},
                {"xl/worksheets/s.xml", sheet}},
               {});
}

/// The same with every cell in its place; blank ones are left out of what is read.
TextTable Dense(const TextTable& table) {
  TextTable dense;
  for (const TextTable::Row& row : table.rows) {
    auto& cells = dense.rows.emplace_back().cells;
    for (size_t i = 0; i < row.cells.size(); ++i) {
      cells.resize(row.ColumnOf(i) + 1);
      cells.back() = row.cells[i];
    }
  }
  return dense;
}

/// The cells that hold something, in reading order.
std::vector<std::u16string> Filled(const TextTable& table) {
  std::vector<std::u16string> cells;
  for (const TextTable::Row& row : table.rows) {
    for (const std::u16string& cell : row.cells) {
      if (!cell.empty()) cells.push_back(cell);
    }
  }
  return cells;
}

void Use(const TextTable& table) {
  const TextTable dense = Dense(table);
  ohmwise::schematic::ReportTable report;
  for (const TextTable::Row& row : dense.rows) {
    try {
      ohmwise::catalogue::ReadHeader(row.cells);
    } catch (const AutomationError&) {  // columns that contradict each other
    }
    for (const std::u16string& cell : row.cells) ohmwise::catalogue::PriceOf(cell);
    report.rows.push_back(row.cells);
    report.columns.resize(std::max(report.columns.size(), row.cells.size()));
  }
  for (auto& row : report.rows) row.resize(report.columns.size());
  const std::string text =
      ohmwise::schematic::CsvText(report, ohmwise::schematic::FormulaLike::kAsText);
  if (Filled(ohmwise::embedded::ParseSeparatedValues(text)) == Filled(dense)) return;
  std::cerr << "not the same after writing\n";
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  if (bytes.starts_with("<")) bytes = Workbook(bytes);
  std::vector<TextTable> tables;
  try {
    tables = ohmwise::embedded::ReadTextTables(File(bytes).path());
  } catch (const AutomationError&) {
    return 0;
  }
  for (const TextTable& table : tables) Use(table);
  return 0;
}
