#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/ref.h"
#include "catalogue/clsLCmpRec.h"
#include "cli/addin.h"
#include "schematic/lists.h"
#include "shapeutil/shape_access.h"

namespace ohmwise::cli {

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

struct Part {
  Ref<clsLCmpRec> record;
  double price = 0;             ///< to the cent: the record has no more than seven digits of it
  std::u16string unread_price;  ///< one that can be read in two ways counts as none
};
/// Components of a catalogue by their number.
using Catalogue = std::map<int32_t, Part>;
/// Reads a whole catalogue. Raises what opening and reading raise.
Catalogue ReadCatalogue(std::u16string_view location);

/// Collects one kind of report from drawings that are handed in one after the other; nothing of a
/// drawing is kept but its rows.
class Report {
 public:
  virtual ~Report() = default;
  /// Adds the rows of a scanned drawing; each begins with `lead` (its name, where there is a column
  /// for it).
  virtual void Add(AddIn& add_in, const std::vector<std::u16string>& lead) = 0;
  /// The finished table.
  virtual ReportTable Take() = 0;
};

std::unique_ptr<Report> MakeBillOfMaterials(bool with_drawing, Catalogue catalogue);
/// `kind`: references, wires, terminals, cables or pages.
std::unique_ptr<Report> MakeListReport(std::string_view kind, bool with_drawing);

enum class ReportFormat { kXlsx, kCsv, kRawCsv, kJson, kTable };
/// Writes the table to a file in one step, or to standard output for "-". Raises host errors; an
/// existing file stands then.
void WriteReport(ReportTable table, const std::vector<std::u16string>& drawings,
                 ReportFormat format, const std::string& path);

// Small steps shared by the kinds of report ------------------------------------------------------

using schematic::InReferenceOrder;
using schematic::Joined;
using shapeutil::CellOrEmpty;
/// The column of the drawing's name, for reports of several.
std::vector<ReportColumn> Columns(bool with_drawing, std::vector<ReportColumn> columns);

}  // namespace ohmwise::cli
