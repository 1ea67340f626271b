#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/drawing.h"

namespace ohmwise::schematic {

/// A shape of a page that wires meet: a wire, a junction, a terminal or a component.
struct WiredShape {
  ShapeRef shape;
  int32_t type = 0;
};

/// What a shape is wired to.
struct Wiring {
  bool has_open_end = false;  ///< a wire: one of its ends meets nothing
  bool is_wired = false;      ///< some wire meets it
  bool has_net = false;       ///< a numbered wire meets it, directly or over others
};

/// Follows the wires of one page. Ends meet what they are glued to, and what lies at the place
/// where they end. The result has an entry for each shape given.
std::vector<Wiring> FollowWires(const PageRef& page, const std::vector<WiredShape>& shapes);

}  // namespace ohmwise::schematic
