#pragma once

#include <string_view>

namespace ohmwise::embedded {
class Drawing;
}

namespace ohmwise::testing {

/// Gives a drawing the sheet of its cables, with the cable W2: its text and which wires its cores
/// are.
void AddCable(embedded::Drawing& drawing, std::u16string_view cable, std::u16string_view arrange);

}  // namespace ohmwise::testing
