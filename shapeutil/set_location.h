#pragma once

#include <string>
#include <string_view>

#include "platform/drawing.h"

namespace ohmwise::shapeutil {

// What a location label needs besides its formulas (library `ohmwise_locations`).

/// Gives the document the grid cells that location formulas refer to, as far as they are missing.
void EnsureGrid(const DocumentRef& document);

/// Formula of the text that names a link: what a component is called, a blank, and the result of a
/// cell as the label's formulas refer to it. Raises what `StoredText` raises.
std::u16string LinkDescription(std::u16string_view cell);

}  // namespace ohmwise::shapeutil
