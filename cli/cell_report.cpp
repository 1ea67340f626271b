#include "cli/cell_report.h"

#include <algorithm>

#include "platform/text.h"

namespace ohmwise::cli {

void PrintFields(const Printer& printer,
                 const std::vector<std::pair<std::string, std::string>>& fields) {
  size_t width = 0;
  for (const auto& [name, value] : fields) width = std::max(width, DisplayWidth(name));
  for (const auto& [name, value] : fields) {
    std::string line = printer.Styled(Style::kFaint, name);
    if (!value.empty()) line += std::string(width - DisplayWidth(name) + 2, ' ') + value;
    printer.Line(line);
  }
}

void PrintChangedResults(const Printer& printer, const std::vector<CellChange>& changes,
                         const std::string& written) {
  if (changes.empty()) {
    printer.Heading("No result changed.");
  } else {
    printer.Heading(Counted(changes.size(), "result") + " changed");
    std::vector<std::vector<std::string>> rows;
    for (const CellChange& change : changes) {
      rows.push_back({Shown(change.place.page), Shown(change.place.shape), Shown(change.place.cell),
                      Shown(change.text)});
    }
    printer.Table({"Page", "Shape", "Cell", "Result"}, rows);
  }
  printer.Line();
  printer.Line(written.empty() ? "Not saved (--save or --output FILE writes the drawing)"
                               : "Saved to " + Shown(FromUtf8(written)));
}

}  // namespace ohmwise::cli
