#pragma once

#include <functional>
#include <string>
#include <vector>

#include "schematic/indexed_drawing.h"
#include "schematic/renumbering/plan.h"

namespace ohmwise::schematic {

struct RenumberRequest {
  NameKind kind = NameKind::kReference;
  std::vector<std::u16string> patterns;  ///< see `PlanNumbers`
  /// Pages whose names may change, all when empty: names, numbers and "3-5", also with commas
  /// between them.
  std::vector<std::u16string> pages;
};

/// The shapes that carry a name and the one it is placed by.
struct Carried {
  std::vector<ShapeRef> shapes;
  ShapeRef leader;
};

/// Names and their shapes, at the same positions, and what is to become of them.
struct RenumberedNames {
  std::vector<NumberedName> names;
  std::vector<Carried> carried;
  RenumberPlan plan;
};

/// Plans new numbers for the names of a scanned drawing. Raises 5, with a sentence for the person
/// who asked, when no such page is there and what `PlanNumbers` raises.
RenumberedNames PlanRenumbering(IndexedDrawing& drawing, const RenumberRequest& request);

/// Gives the shapes of a scanned drawing their new names, and all that speaks of them: labels,
/// links, ends of wires, cores of cables. The drawing is scanned anew. `between` is called between
/// two names; what it throws ends the work halfway. Raises a host error when a shape did not take
/// its name; the drawing is not to be saved then.
void Renumber(IndexedDrawing& drawing, const RenumberedNames& names, NameKind kind,
              const std::function<void()>& between);

}  // namespace ohmwise::schematic
