#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/ref.h"
#include "catalogue/clsLCmpRec.h"
#include "catalogue/clsLDB.h"
#include "schematic/indexed_drawing.h"
#include "schematic/reporting/table.h"

namespace ohmwise::schematic {

struct Part {
  Ref<clsLCmpRec> record;
  double price = 0;             ///< to the cent: the record has no more than seven digits of it
  std::u16string unread_price;  ///< one that can be read in two ways counts as none
};
/// Components of a catalogue by their number.
using Catalogue = std::map<int32_t, Part>;
/// Reads a whole catalogue that is open. Raises what reading raises.
Catalogue ReadCatalogue(clsLDB& database);

/// Collects one kind of report from drawings that are handed in one after the other; nothing of a
/// drawing is kept but its rows.
class Report {
 public:
  virtual ~Report() = default;
  /// Adds the rows of a scanned drawing; each begins with `lead` (its name, where there is a column
  /// for it).
  virtual void Add(IndexedDrawing& drawing, const std::vector<std::u16string>& lead) = 0;
  /// The finished table.
  virtual ReportTable Take() = 0;
};

std::unique_ptr<Report> MakeBillOfMaterials(bool with_drawing, Catalogue catalogue);
/// `kind`: references, wires, terminals, cables or pages.
std::unique_ptr<Report> MakeListReport(std::string_view kind, bool with_drawing);

/// The column of the drawing's name, for reports of several.
std::vector<ReportColumn> Columns(bool with_drawing, std::vector<ReportColumn> columns);

}  // namespace ohmwise::schematic
