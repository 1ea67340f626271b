#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "schematic/indexed_drawing.h"

namespace ohmwise::schematic {

// What a drawing says, read out so that two drawings can be compared when both are closed again.

/// Something of the drawing that a value speaks of. Values are compared by it and not by their
/// words: a coil that gets another reference leaves the wires at it as they were.
struct Mention {
  enum class Of { kPage, kShape, kNet, kPart };
  Of of = Of::kShape;
  size_t index = 0;       ///< in the list of `DrawingContent`
  std::u16string detail;  ///< the pin of the shape, the grid field on the page
};

/// One thing that is said of a shape, a page or a part.
struct Fact {
  std::u16string name;
  std::u16string text;
  std::vector<Mention> mentions;  ///< none: the text alone counts
};

/// Facts of one kind of thing stand at the same positions in each.
using Facts = std::vector<Fact>;

struct ContentShape {
  enum class Role { kReference, kWire, kTerminal, kTitleBlock };
  Role role = Role::kReference;
  int32_t type = 0;
  int32_t id = 0;
  size_t page = 0;
  std::u16string unique_id;  ///< as stored, "" when the drawing has none
  std::u16string name;
  std::u16string label;  ///< reference, wire name, text
  std::u16string location, grid_field;
  size_t group = 0;  ///< part of a reference, net of a wire
  Facts facts;       ///< the first one is the label
};

struct ContentPage {
  int32_t id = 0;
  std::u16string label;
  Facts facts;
};

/// A part (a reference and a group of its shapes), a net (the wires of one name), a cable, the
/// location grid.
struct ContentItem {
  std::u16string label;
  Facts facts;
};

struct DrawingContent {
  std::vector<ContentPage> pages;  ///< foreground pages in order
  std::vector<ContentShape> shapes;
  std::vector<ContentItem> parts, nets, cables;
  std::vector<ContentItem> grid;
};

/// Scans and reads a drawing that was just opened. Raises what scanning raises.
DrawingContent ReadContent(IndexedDrawing& drawing);

// What two drawings do not share -----------------------------------------------------------------

struct FactChange {
  std::u16string name, old_text, new_text;
};

struct Place {
  std::u16string page, location, shape;
};

struct Difference {
  enum class Kind { kAdded, kRemoved, kChanged };
  Kind kind = Kind::kChanged;
  std::u16string label;             ///< in the new drawing, where it is there
  std::u16string old_label;         ///< of what changed: in the old one
  std::vector<FactChange> changes;  ///< of what was added or removed: all that is said of it
  bool is_renamed = false;          ///< the label is what changed; the only entry of `changes`
  std::vector<Place> places;        ///< shapes concerned, in the new drawing where they are there
};

struct DifferenceSection {
  std::u16string key;    ///< in JSON
  std::u16string title;  ///< for people
  std::vector<Difference> differences;
};

/// All sections, also those without differences. Exchanging the drawings mirrors the result.
std::vector<DifferenceSection> CompareContents(const DrawingContent& before,
                                               const DrawingContent& after);

}  // namespace ohmwise::schematic
