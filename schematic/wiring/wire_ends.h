#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/drawing.h"

namespace ohmwise::schematic {

/// What one end of a wire is glued to; all empty for a free end.
struct WireEnd {
  ShapeRef owner;       ///< the component or terminal, else the glued shape itself
  std::u16string pin;   ///< name of the pin of a component, "" without one
  std::u16string text;  ///< as people say it: "K1:A1", the text of a terminal
};

/// The begin and the end of a wire.
std::pair<WireEnd, WireEnd> GluedEnds(const ShapeRef& wire);
/// What the drawing keeps about both ends, else what they are glued to, as people say it.
std::pair<std::u16string, std::u16string> ShownEnds(const ShapeRef& wire);
/// The wires that are glued to a shape.
std::vector<ShapeRef> WiresAt(const ShapeRef& shape);

}  // namespace ohmwise::schematic
