#include "cli/cell_report.h"

#include <algorithm>

#include "base/text.h"

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

std::u16string Outcome(const std::string& written) {
  return written.empty() ? u"nothing was saved" : u"the rest was saved to " + FromUtf8(written);
}

void PrintWarnings(const Printer& printer, const std::vector<embedded::ShownMessage>& messages) {
  if (messages.empty()) return;
  printer.Heading("Warnings");
  for (const embedded::ShownMessage& message : messages) {
    std::string lead = printer.Styled(Style::kWarning, Shown(message.title) + ":") + " ";
    std::u16string_view rest = message.text;
    while (!rest.empty()) {
      const size_t end = std::min(rest.find(u"\r\n"), rest.size());
      printer.Line("  " + lead + Shown(rest.substr(0, end)));
      rest.remove_prefix(std::min(end + 2, rest.size()));
      lead = "  ";
    }
  }
}

}  // namespace ohmwise::cli
