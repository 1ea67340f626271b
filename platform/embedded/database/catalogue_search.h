#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/embedded/database/engine.h"

namespace ohmwise::embedded {

/// See `Connection::SearchComponents`. The engine finds candidates by its index; they are ranked
/// here, so that every engine ranks alike: a field that is the text, then one that begins with it,
/// then whole words, then beginnings; name and order code before model, brand and supplier.
std::vector<int32_t> SearchCatalogue(Session& session, std::u16string_view text, int32_t limit);

}  // namespace ohmwise::embedded
