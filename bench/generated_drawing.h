#pragma once

#include <string>

namespace ohmwise::bench {

/// Writes a drawing of our own making: relays, contacts and numbered wires from masters with real
/// geometry, user cells, properties and connection points, spread evenly over the pages. Shapes
/// have no unique IDs and pages no page-number row, so that indexing it has something to write on
/// every page.
void GenerateDrawing(const std::string& path, int pages, int components, int wires);

}  // namespace ohmwise::bench
