#include "schematic/comparing/content.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>
#include <utility>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "schematic/lists.h"
#include "schematic/wiring/wire_ends.h"
#include "settings/clsLSettings.h"
#include "shapeutil/cable_cores.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"
#include "shapeutil/symbol_types.h"

namespace ohmwise::schematic {
namespace {

using Role = ContentShape::Role;
using shapeutil::CellOrEmpty;

bool RoleOf(int32_t type, Role& role) {
  if (symbol::IsComponent(type)) {
    role = Role::kReference;
  } else if (symbol::IsTerminal(type)) {
    role = Role::kTerminal;
  } else if (type == symbol::kNet) {
    role = Role::kWire;
  } else if (type == symbol::kTitleBlock) {
    role = Role::kTitleBlock;
  } else {
    return false;
  }
  return true;
}

/// Reads one open drawing.
class ContentReader {
 public:
  explicit ContentReader(IndexedDrawing& drawing) : drawing_(drawing) {}

  DrawingContent Read() {
    // Shapes without a unique ID get a new one when they are indexed, another in each drawing; so
    // what the file itself says is noted first.
    NoteShapes();
    drawing_.Scan();
    components_ = MakeCollection();
    drawing_.index().GetRefComp(drawing_.Member(u"colRefShape"), components_, false);
    ReadPages();
    for (size_t i = 0; i < handles_.size(); ++i) ReadShape(i);
    for (size_t i = 0; i < handles_.size(); ++i) ReadConnections(i);
    ReadParts();
    ReadCables();
    ReadGrid();
    return std::move(content_);
  }

 private:
  void NoteShapes() {
    pages_ = drawing_.ForegroundPages();
    for (size_t page = 0; page < pages_.size(); ++page) {
      shapeutil::ForEachShape(pages_[page]->Shapes(), [&](const ShapeRef& handle) {
        ContentShape shape;
        shape.type = SharedMisc().TypeNo(handle);
        if (!RoleOf(shape.type, shape.role)) return;
        shape.id = handle->ID();
        shape.page = page;
        shape.unique_id = FoldCase(StoredUniqueID(handle));
        positions_.try_emplace({page, shape.id}, handles_.size());
        handles_.push_back(handle);
        content_.shapes.push_back(std::move(shape));
      });
    }
  }

  void ReadPages() {
    for (size_t i = 0; i < pages_.size(); ++i) {
      const PageRef& page = pages_[i];
      page_positions_[page->ID()] = i;
      const double number = page->PageSheet()->Cells(u"User.PageNumber")->ResultNumber();
      content_.pages.push_back(
          {page->ID(),
           page->Name(),
           {{u"name", page->Name(), {}}, {u"number", DecimalText(ToInt32(number)), {}}}});
    }
  }

  void ReadShape(size_t index) {
    ContentShape& shape = content_.shapes[index];
    const ShapeRef& handle = handles_[index];
    shape.name = handle->Name();
    shape.label = handle->Text();
    try {
      shape.location = settings_.GetLocation(handle);
      shape.grid_field = settings_.GetLocation(handle, true);
    } catch (const AutomationError&) {
      shape.location.clear();  // a shape off the grid
    }
    const Fact page{
        u"page", content_.pages[shape.page].label, {{Mention::Of::kPage, shape.page, u""}}};
    const Fact location{
        u"location", shape.location, {{Mention::Of::kPage, shape.page, shape.grid_field}}};
    const Fact kind{u"kind", SharedMisc().GetNameU(handle->NameU()), {}};
    switch (shape.role) {
      case Role::kReference: {
        const std::u16string group =
            DecimalText(ToInt32(shapeutil::NumberOr(handle, u"User.Group", 0)));
        shape.group = Group(content_.parts, part_positions_, shape.label, group);
        shape.facts = {{u"reference", shape.label, {}},
                       kind,
                       location,
                       {u"group", group, {{Mention::Of::kPart, shape.group, u""}}}};
        break;
      }
      case Role::kWire:
        shape.group = Group(content_.nets, net_positions_, shape.label, u"");
        shape.facts = {{u"wire", shape.label, {}}, page};
        break;
      case Role::kTerminal:
        shape.facts = {{u"terminal", shape.label, {}}, kind, location};
        break;
      case Role::kTitleBlock:
        shape.facts = {{u"text", shape.label, {}}, page};
        break;
    }
  }

  using Positions = std::map<std::pair<std::u16string, std::u16string>, size_t>;

  /// The item of a label, made when it is new. Labels are one without regard to case, as in the
  /// index.
  static size_t Group(std::vector<ContentItem>& items, Positions& positions,
                      const std::u16string& label, const std::u16string& group) {
    const auto [known, is_new] = positions.try_emplace({FoldCase(label), group}, items.size());
    if (is_new)
      items.push_back({group.empty() || group == u"1" ? label : label + u"-G" + group, {}});
    return known->second;
  }

  /// The shape or the group it is in, as far as it is known; `kNone` for others.
  size_t PositionOf(ShapeRef shape) const {
    for (; shape; shape = shape->ParentShape()) {
      const auto page = page_positions_.find(shape->ContainingPageID());
      if (page == page_positions_.end()) return kNone;
      const auto known = positions_.find({page->second, shape->ID()});
      if (known != positions_.end()) return known->second;
    }
    return kNone;
  }

  void ReadConnections(size_t index) {
    ContentShape& shape = content_.shapes[index];
    if (shape.role == Role::kWire) {
      const auto [begin, end] = GluedEnds(handles_[index]);
      shape.facts.push_back(EndFact(u"from", begin, CellOrEmpty(handles_[index], u"User.Begin")));
      shape.facts.push_back(EndFact(u"to", end, CellOrEmpty(handles_[index], u"User.End")));
    } else if (shape.role == Role::kTerminal) {
      Fact fact{u"wires", u"", {}};
      std::map<size_t, std::u16string> nets;
      for (const ShapeRef& wire : WiresAt(handles_[index])) {
        const size_t position = PositionOf(wire);
        if (position == kNone) continue;
        const size_t net = content_.shapes[position].group;
        nets[net] = content_.nets[net].label;
      }
      std::vector<std::u16string> names;
      for (const auto& [net, name] : nets) {
        fact.mentions.push_back({Mention::Of::kNet, net, u""});
        names.push_back(name);
      }
      fact.text = Joined(InReferenceOrder(names), u", ");
      shape.facts.push_back(std::move(fact));
    }
  }

  /// `kept` is what the drawing itself says about an end that is glued to nothing.
  Fact EndFact(std::u16string name, const WireEnd& end, const std::u16string& kept) const {
    Fact fact{std::move(name), end.owner ? end.text : kept, {}};
    const size_t owner = end.owner ? PositionOf(end.owner) : kNone;
    if (owner != kNone) fact.mentions.push_back({Mention::Of::kShape, owner, end.pin});
    return fact;
  }

  void ReadParts() {
    const int32_t count = components_->Count();
    for (int32_t position = 1; position <= count; ++position) {
      const ShapeRef shape = ToShape(components_->Item(position));
      const size_t known = PositionOf(shape);
      if (known == kNone) continue;
      ContentItem& part = content_.parts[content_.shapes[known].group];
      const std::u16string number = SharedMisc().CompIDStr(shape);
      const std::u16string quantity = SharedMisc().QtyStr(shape);
      part.facts = {{u"component", number == u"0" ? u"" : number, {}},
                    {u"quantity", quantity.empty() ? u"1" : quantity, {}}};
      for (const auto& [name, cell] : {std::pair(u"name", u"Prop.Name"),
                                       {u"description", u"Prop.Desc"},
                                       {u"brand", u"Prop.Brand"},
                                       {u"rating", u"Prop.Rating"},
                                       {u"model", u"Prop.Model"},
                                       {u"order", u"Prop.Order"},
                                       {u"supplier", u"Prop.Supplier"},
                                       {u"remarks", u"Prop.Remarks"},
                                       {u"price", u"Prop.Price"}}) {
        part.facts.push_back({name, CellOrEmpty(shape, cell), {}});
      }
    }
  }

  void ReadCables() {
    const ShapeRef sheet = shapeutil::CableSheet(drawing_.document());
    const int16_t rows = sheet ? sheet->RowCount(section::kUser) : int16_t{0};
    clsLMisc& misc = SharedMisc();
    for (int16_t row = 0; row < rows; ++row) {
      const std::u16string name = sheet->RowName(section::kUser, row);
      const std::u16string cable = CellOrEmpty(sheet, u"User." + name);
      const std::u16string arrange = CellOrEmpty(sheet, u"User." + name + u".Prompt");
      ContentItem item{name, {{u"type", cable.substr(0, cable.find(u'|')), {}}}};
      std::u16string names;
      if (std::count(cable.begin(), cable.end(), u'|') >= 4) names = misc.GetCoreNames(cable);
      item.facts.push_back({u"cores", names, {}});
      const int32_t cores = misc.GetCoreCount(arrange);
      for (int32_t core = 0; core < cores; ++core) {
        item.facts.push_back(
            CoreFact(u"core " + DecimalText(core + 1), misc.GetCoreKey(arrange, core)));
      }
      content_.cables.push_back(std::move(item));
    }
  }

  /// The wire that a core carries.
  Fact CoreFact(std::u16string name, std::u16string_view key) const {
    key = TrimSpaces(key);
    Fact fact{std::move(name), std::u16string(key), {}};
    if (key.empty()) return fact;
    const ShapeRef wire = shapeutil::ShapeOfKey(key, drawing_.document());
    const size_t position = wire ? PositionOf(wire) : kNone;
    if (position != kNone && content_.shapes[position].role == Role::kWire) {
      const size_t net = content_.shapes[position].group;
      fact.text = content_.shapes[position].label;
      fact.mentions.push_back({Mention::Of::kNet, net, u""});
    } else {
      fact.text += u" (not drawn)";
    }
    return fact;
  }

  void ReadGrid() {
    const DocumentRef document = drawing_.document();
    const auto inches = [](std::u16string name, double value) {
      return Fact{std::move(name), DecimalText(std::round(value * 1e4) / 1e4) + u" in", {}};
    };
    content_.grid.push_back({u"Location grid",
                             {inches(u"rows from", settings_.LocationA(document)),
                              inches(u"row height", settings_.LocationB(document)),
                              inches(u"columns from", settings_.LocationC(document)),
                              inches(u"column width", settings_.LocationD(document))}});
  }

  static constexpr size_t kNone = static_cast<size_t>(-1);

  IndexedDrawing& drawing_;
  clsLSettings settings_;
  CollectionRef components_;
  std::vector<PageRef> pages_;
  std::map<int32_t, size_t> page_positions_;
  std::vector<ShapeRef> handles_;  ///< of the shapes, at their positions
  std::map<std::pair<size_t, int32_t>, size_t> positions_;
  Positions part_positions_, net_positions_;
  DrawingContent content_;
};

}  // namespace

DrawingContent ReadContent(IndexedDrawing& drawing) { return ContentReader(drawing).Read(); }

}  // namespace ohmwise::schematic
