#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/addin.h"
#include "cli/command.h"
#include "cli/output.h"

namespace ohmwise::cli {

/// "name  value" lines, aligned.
void PrintFields(const Printer& printer,
                 const std::vector<std::pair<std::string, std::string>>& fields);
/// Which results changed, and where the drawing was written, "" for nowhere.
void PrintChangedResults(const Printer& printer, const std::vector<CellChange>& changes,
                         const std::string& written);
/// What became of the drawing, for `AddIn::EndWithFailures`: saved to the path, "" for not saved.
std::u16string Outcome(const std::string& written);
/// The message boxes that were collected, under a heading; nothing when there are none.
void PrintWarnings(const Printer& printer, const std::vector<embedded::ShownMessage>& messages);

}  // namespace ohmwise::cli
