#include <algorithm>

#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {

using crossref::Trapped;

namespace {

constexpr int16_t kControlY = 1;  // column of a control row

/// A zone on its page, in inches, borders included.
struct ZoneArea {
  double left, bottom, right, top;
  bool Holds(double x, double y) const {
    return left <= x && x <= right && bottom <= y && y <= top;
  }
};

double Number(const ShapeRef& shape, std::u16string_view cell) {
  return shape->Cells(cell)->ResultNumber();
}

/// The zone's own rectangle, stretched to its control handles (they pull the rungs up and down) and
/// widened by half a grid step, so that what snaps onto the border counts.
ZoneArea AreaOf(const ShapeRef& zone, double margin) {
  double low = 0;
  double high = Number(zone, u"Height");
  if (high < low) std::swap(low, high);
  const int16_t rows = zone->RowCount(section::kControls);
  for (int16_t row = 0; row < rows; ++row) {
    const double y = zone->CellsSRC(section::kControls, row, kControlY)->ResultNumber();
    low = std::min(low, y);
    high = std::max(high, y);
  }
  const double left = Number(zone, u"PinX") - Number(zone, u"LocPinX");
  const double base = Number(zone, u"PinY") - Number(zone, u"LocPinY");
  return {left - margin, base + low - margin, left + Number(zone, u"Width") + margin,
          base + high + margin};
}

bool LiesIn(const ShapeRef& shape, const ZoneArea& area) {
  if (!shape->OneD()) return area.Holds(Number(shape, u"PinX"), Number(shape, u"PinY"));
  return area.Holds(Number(shape, u"BeginX"), Number(shape, u"BeginY")) &&
         area.Holds(Number(shape, u"EndX"), Number(shape, u"EndY"));
}

}  // namespace

void clsLCrossRef::AddLZone(const ShapeRef& shpActive) {
  Trapped([&] {
    if (SharedMisc().TypeNo(crossref::Need(shpActive)) != symbol::kLadderZone) return;
    const DocumentRef document = crossref::IndexDocument(shpActive);
    if (!GotLZone(document)) return;
    const CollectionRef zones = crossref::IndexMember(document, u"colLZone");
    const std::u16string page_key = crossref::PageKey(crossref::PageOf(shpActive));
    crossref::EntryFor(zones, page_key)->Add(Value(shpActive), shpActive->UniqueID());
  });
}

void clsLCrossRef::RemoveLZone(const ShapeRef& shpActive) {
  Trapped([&] {
    const CollectionRef zones =
        crossref::IndexMember(crossref::IndexDocument(shpActive), u"colLZone");
    const std::u16string page_key = crossref::PageKey(crossref::PageOf(shpActive));
    crossref::RemoveKey(crossref::FindEntry(zones, page_key), shpActive->UniqueID());
  });
}

bool clsLCrossRef::LZoneHitTest(const ShapeRef& shpActive) {
  bool hit = false;
  Trapped([&] {
    const CollectionRef zones =
        crossref::IndexMember(crossref::IndexDocument(shpActive), u"colLZone");
    const std::u16string page_key = crossref::PageKey(crossref::PageOf(shpActive));
    const ShapeRef page_sheet = crossref::Need(shpActive->ContainingPage())->PageSheet();
    const double margin = shapeutil::NumberOr(page_sheet, u"User.Grid", 0) / 2;
    const std::u16string own_id = shpActive->UniqueID();
    for (const ShapeRef& zone : crossref::ShapesOf(crossref::FindEntry(zones, page_key))) {
      Trapped([&] {
        if (zone->UniqueID() == own_id || !LiesIn(shpActive, AreaOf(zone, margin))) return;
        last_zone_ = zone;
        hit = true;
      });
      if (hit) break;
    }
  });
  return hit;
}

ShapeRef clsLCrossRef::GetLZShape() const { return last_zone_; }

}  // namespace ohmwise
