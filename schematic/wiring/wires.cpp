#include "schematic/wiring/wires.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <string>
#include <utility>

#include "base/text.h"
#include "shapeutil/shape_access.h"
#include "shapeutil/symbol_types.h"

namespace ohmwise::schematic {
namespace {

constexpr double kToleranceInches = 0.02;

struct Point {
  double x = 0, y = 0;
};

struct Box {
  double left = 0, bottom = 0, right = 0, top = 0;

  bool Holds(const Point& point, double tolerance) const {
    return point.x >= left - tolerance && point.x <= right + tolerance &&
           point.y >= bottom - tolerance && point.y <= top + tolerance;
  }
  bool Meets(const Box& other, double tolerance) const {
    return left <= other.right + tolerance && other.left <= right + tolerance &&
           bottom <= other.top + tolerance && other.bottom <= top + tolerance;
  }
};

Box BoxOf(const ShapeRef& shape) {
  const Point pin{shapeutil::NumberOr(shape, u"PinX", 0), shapeutil::NumberOr(shape, u"PinY", 0)};
  const Point inner{shapeutil::NumberOr(shape, u"LocPinX", 0),
                    shapeutil::NumberOr(shape, u"LocPinY", 0)};
  const double width = std::abs(shapeutil::NumberOr(shape, u"Width", 0));
  const double height = std::abs(shapeutil::NumberOr(shape, u"Height", 0));
  if (shapeutil::NumberOr(shape, u"Angle", 0) == 0) {
    return {pin.x - inner.x, pin.y - inner.y, pin.x - inner.x + width, pin.y - inner.y + height};
  }
  // Turned by any angle it stays within its diagonal around the pin.
  const double reach = std::hypot(width, height);
  return {pin.x - reach, pin.y - reach, pin.x + reach, pin.y + reach};
}

ShapeRef TopLevel(ShapeRef shape) {
  while (const ShapeRef parent = shape ? shape->ParentShape() : nullptr) shape = parent;
  return shape;
}

/// The shapes of a page as an electrician sees them.
class Page {
 public:
  Page(const PageRef& page, const std::vector<WiredShape>& shapes) {
    const ShapeRef sheet = page->PageSheet();
    const double paper = shapeutil::NumberOr(sheet, u"PageScale", 0);
    if (paper > 0)
      tolerance_ *= std::max(1.0, shapeutil::NumberOr(sheet, u"DrawingScale", 0) / paper);
    for (const WiredShape& wired : shapes) {
      Item item;
      item.is_net = wired.type == symbol::kNet;
      item.conducts = !symbol::IsComponent(wired.type);
      item.is_wire = wired.shape->OneD() && item.conducts;
      if (item.is_wire) {
        item.ends[0].at = {shapeutil::NumberOr(wired.shape, u"BeginX", 0),
                           shapeutil::NumberOr(wired.shape, u"BeginY", 0)};
        item.ends[1].at = {shapeutil::NumberOr(wired.shape, u"EndX", 0),
                           shapeutil::NumberOr(wired.shape, u"EndY", 0)};
        const auto [a, b] = std::pair(item.ends[0].at, item.ends[1].at);
        item.box = {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
      } else {
        item.box = BoxOf(wired.shape);
      }
      by_id_[wired.shape->ID()] = items_.size();
      items_.push_back(item);
    }
    groups_.resize(items_.size());
    std::iota(groups_.begin(), groups_.end(), size_t{0});
    for (size_t i = 0; i < items_.size(); ++i) {
      if (items_[i].is_wire) FollowGlue(shapes[i].shape, i);
    }
    for (size_t i = 0; i < items_.size(); ++i) MeetNeighbours(i);
  }

  std::vector<Wiring> Result() {
    std::vector<bool> numbered(items_.size());
    for (size_t i = 0; i < items_.size(); ++i) {
      if (items_[i].is_net) numbered[GroupOf(i)] = true;
    }
    std::vector<Wiring> result(items_.size());
    for (size_t i = 0; i < items_.size(); ++i) {
      const Item& item = items_[i];
      result[i].has_open_end = item.is_wire && !(item.ends[0].meets && item.ends[1].meets);
      result[i].is_wired = item.is_wired;
      result[i].has_net = numbered[GroupOf(i)];
    }
    return result;
  }

 private:
  struct End {
    Point at;
    bool meets = false;
  };
  struct Item {
    Box box;
    End ends[2];
    bool is_wire = false, is_net = false, is_wired = false;
    bool conducts = false;  ///< all that meets it is one potential
  };

  size_t GroupOf(size_t i) {
    while (groups_[i] != i) i = groups_[i] = groups_[groups_[i]];
    return i;
  }

  void Join(size_t a, size_t b) { groups_[GroupOf(a)] = GroupOf(b); }

  void Meet(size_t wire, size_t other) {
    items_[other].is_wired = true;
    if (items_[other].is_wire) items_[wire].is_wired = true;
    if (items_[other].conducts) Join(wire, other);
  }

  void FollowGlue(const ShapeRef& wire, size_t index) {
    const CollectionRef connects = wire->Connects();
    const int32_t count = connects ? connects->Count() : 0;
    for (int32_t position = 1; position <= count; ++position) {
      const ObjectRef object = connects->Item(position).AsObject();
      auto* const connect = dynamic_cast<Connect*>(object.get());
      if (!connect) continue;
      const std::u16string from = connect->FromCell();
      for (const size_t end : {size_t{0}, size_t{1}}) {
        const std::u16string_view name = end == 0 ? u"Begin" : u"End";
        if (EqualNoCase(std::u16string_view(from).substr(0, name.size()), name)) {
          items_[index].ends[end].meets = true;
        }
      }
      const ShapeRef to = connect->ToSheet();
      const auto known = to ? by_id_.find(TopLevel(to)->ID()) : by_id_.end();
      if (known == by_id_.end()) continue;
      Meet(index, known->second);
      // Wires at one pin are one potential, too.
      if (!connect->ToCell().starts_with(u"Connections.")) continue;
      const auto [first, is_first] = at_pin_.try_emplace({to->ID(), connect->ToCell()}, index);
      if (!is_first) Join(index, first->second);
    }
  }

  void MeetNeighbours(size_t index) {
    Item& item = items_[index];
    const bool is_number = item.is_net && !item.is_wire;
    if (!item.is_wire && !is_number) return;
    for (size_t other = 0; other < items_.size(); ++other) {
      if (other == index) continue;
      if (is_number) {  // a number by itself belongs to the wire that it stands on
        if (items_[other].is_wire && item.box.Meets(items_[other].box, tolerance_)) {
          Join(index, other);
        }
        continue;
      }
      if (RunsThrough(item, items_[other])) Meet(index, other);
      for (End& end : item.ends) {
        if (!items_[other].box.Holds(end.at, tolerance_)) continue;
        if (!items_[other].is_wire && items_[other].is_net) continue;
        end.meets = true;
        Meet(index, other);
      }
    }
  }

  /// Whether a terminal or junction stands on a straight wire.
  bool RunsThrough(const Item& wire, const Item& other) const {
    if (other.is_wire || !other.conducts) return false;
    const Box& line = wire.box;
    if (std::min(line.right - line.left, line.top - line.bottom) > tolerance_) return false;
    const Box& box = other.box;
    return line.Holds({(box.left + box.right) / 2, (box.bottom + box.top) / 2}, tolerance_);
  }

  double tolerance_ = kToleranceInches;
  std::vector<Item> items_;
  std::map<int32_t, size_t> by_id_;
  std::map<std::pair<int32_t, std::u16string>, size_t> at_pin_;
  std::vector<size_t> groups_;
};

}  // namespace

std::vector<Wiring> FollowWires(const PageRef& page, const std::vector<WiredShape>& shapes) {
  return Page(page, shapes).Result();
}

}  // namespace ohmwise::schematic
