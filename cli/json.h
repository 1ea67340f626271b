#pragma once

#include <string_view>
#include <vector>

#include "platform/changes.h"
#include "schematic/reporting/json.h"

namespace ohmwise::cli {

using schematic::JsonWriter;

/// [{"page", "shape", "cell", `text_name`}] of changes.
void WriteChanges(JsonWriter& json, const std::vector<CellChange>& changes,
                  std::u16string_view text_name);

}  // namespace ohmwise::cli
