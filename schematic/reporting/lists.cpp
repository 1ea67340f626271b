#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "crossref/clsTBlockObj.h"
#include "crossref/index_access.h"
#include "schematic/lists.h"
#include "schematic/reporting/report.h"
#include "schematic/wiring/wire_ends.h"
#include "shapeutil/cable_cores.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"
#include "shapeutil/symbol_types.h"
#include "sort/clsLSortShapeText.h"

namespace ohmwise::schematic {

std::vector<ReportColumn> Columns(bool with_drawing, std::vector<ReportColumn> columns) {
  if (with_drawing) {
    columns.insert(columns.begin(), {u"drawing", u"Drawing", ReportColumn::Kind::kText});
  }
  return columns;
}

namespace {

using crossref::ShapesOf;
using shapeutil::CellOrEmpty;
using Kind = ReportColumn::Kind;
using Row = std::vector<std::u16string>;
using Emit = std::function<void(Row)>;

/// Shapes in the order of their texts.
std::vector<ShapeRef> InTextOrder(const std::vector<ShapeRef>& shapes) {
  const CollectionRef sorted = MakeCollection();
  clsLSortShapeText sorter;
  sorter.SetDataSet(sorted);
  sorter.SetAllowDuplicates(true);
  sorter.SetDescending(false);
  std::vector<ShapeRef> unsorted;
  for (const ShapeRef& shape : shapes) {
    const int32_t before = sorted->Count();
    sorter.Add(shape);
    if (sorted->Count() == before) unsorted.push_back(shape);
  }
  std::vector<ShapeRef> result = ShapesOf(sorted);
  result.insert(result.end(), unsorted.begin(), unsorted.end());
  return result;
}

std::u16string NumberText(const PageRef& page) { return DecimalText(PageNumber(page)); }

// One function for each kind: the rows of one drawing
// ----------------------------------------------

void ListReferences(IndexedDrawing& drawing, const Emit& emit) {
  const CollectionRef references = drawing.Member(u"colRefShape");
  std::map<std::u16string, CollectionRef> entries;
  std::vector<std::u16string> names;
  for (int32_t position = 1; position <= references->Count(); ++position) {
    const CollectionRef entry = ToCollection(references->Item(position));
    if (entry->Count() == 0) continue;
    const std::u16string name = CellOrEmpty(ToShape(entry->Item(1)), u"User.Ref");
    names.push_back(name);
    entries[name] = entry;
  }
  for (const std::u16string& name : InReferenceOrder(names)) {
    for (const ShapeRef& shape : ShapesOf(entries[name])) {
      const PageRef page = shape->ContainingPage();
      std::u16string link;
      if (const ShapeRef linked = SharedMisc().GetLinkedShape(shape)) {
        link = linked->Name();
        if (const PageRef there = linked->ContainingPage()) link += u" (" + there->Name() + u")";
      }
      emit({name, SharedMisc().GetNameU(shape->NameU()), CellOrEmpty(shape, u"User.Group"),
            NumberText(page), page->Name(), LocationOf(shape), shape->Name(), link});
    }
  }
}

void ListWires(IndexedDrawing& drawing, const Emit& emit) {
  for (const PageRef& page : drawing.ForegroundPages()) {
    const auto nets = drawing.index().GetPageNets(drawing.Member(u"colPageNet"), page->ID());
    for (const ShapeRef& wire : InTextOrder(ShapesOf(nets))) {
      const auto [begin, end] = ShownEnds(wire);
      emit({CellOrEmpty(wire, u"Scratch.B1"), begin, end, NumberText(page), page->Name(),
            LocationOf(wire), wire->Name()});
    }
  }
}

void ListTerminals(IndexedDrawing& drawing, const Emit& emit) {
  std::vector<ShapeRef> terminals;
  for (const PageRef& page : drawing.ForegroundPages()) {
    const auto here = drawing.index().GetPageTerms(drawing.Member(u"colPageTerm"), page->ID());
    for (const ShapeRef& terminal : ShapesOf(here)) terminals.push_back(terminal);
  }
  for (const ShapeRef& terminal : InTextOrder(terminals)) {
    const std::u16string text = terminal->Text();
    const size_t colon = text.rfind(u':');
    std::vector<std::u16string> wires;
    for (const ShapeRef& wire : WiresAt(terminal)) {
      std::u16string name = CellOrEmpty(wire, u"Scratch.B1");
      if (std::find(wires.begin(), wires.end(), name) == wires.end()) {
        wires.push_back(std::move(name));
      }
    }
    const PageRef page = terminal->ContainingPage();
    emit({colon == text.npos ? std::u16string() : text.substr(0, colon),
          colon == text.npos ? text : text.substr(colon + 1),
          Joined(InReferenceOrder(wires), u", "), SharedMisc().GetNameU(terminal->NameU()),
          NumberText(page), page->Name(), LocationOf(terminal), terminal->Name()});
  }
}

/// Cables that are drawn; what their shape says they are, by reference.
std::map<std::u16string, std::u16string> DrawnCables(IndexedDrawing& drawing) {
  std::map<std::u16string, std::u16string> drawn;
  const CollectionRef references = drawing.Member(u"colRefShape");
  for (int32_t position = 1; position <= references->Count(); ++position) {
    for (const ShapeRef& shape : ShapesOf(ToCollection(references->Item(position)))) {
      if (SharedMisc().TypeNo(shape) != symbol::kCable) continue;
      drawn.try_emplace(CellOrEmpty(shape, u"User.Ref"), CellOrEmpty(shape, u"Prop.Name"));
    }
  }
  return drawn;
}

void ListCables(IndexedDrawing& drawing, const Emit& emit) {
  const ShapeRef cables = shapeutil::CableSheet(drawing.document());
  std::map<std::u16string, std::u16string> drawn = DrawnCables(drawing);
  std::map<std::u16string, ShapeRef> wires;
  for (const PageRef& page : drawing.ForegroundPages()) {
    const auto nets = drawing.index().GetPageNets(drawing.Member(u"colPageNet"), page->ID());
    for (const ShapeRef& wire : ShapesOf(nets)) {
      wires.try_emplace(FoldCase(wire->UniqueID()), wire);
      wires.try_emplace(FoldCase(CellOrEmpty(wire, u"Scratch.B1")), wire);
    }
  }
  clsLMisc& misc = SharedMisc();
  std::vector<std::u16string> names;
  for (int16_t row = 0; cables && row < cables->RowCount(section::kUser); ++row) {
    names.push_back(cables->RowName(section::kUser, row));
    std::erase_if(drawn, [&](const auto& cable) { return EqualNoCase(cable.first, names.back()); });
  }
  for (const auto& [name, type] : drawn) names.push_back(name);
  for (const std::u16string& name : InReferenceOrder(names)) {
    if (const auto shape = drawn.find(name); shape != drawn.end()) {
      emit({name, shape->second, u"", u"", u"", u"", u"", u""});
      continue;
    }
    const std::u16string cable = CellOrEmpty(cables, u"User." + name);
    const std::u16string arrange = CellOrEmpty(cables, u"User." + name + u".Prompt");
    std::u16string core_names;
    if (std::count(cable.begin(), cable.end(), u'|') >= 4) core_names = misc.GetCoreNames(cable);
    int32_t cores = misc.GetCoreCount(arrange);
    if (!core_names.empty()) {
      cores = std::max(
          cores, static_cast<int32_t>(std::count(core_names.begin(), core_names.end(), u',') + 1));
    }
    const std::u16string type = cable.substr(0, cable.find(u'|'));
    if (cores == 0) emit({name, type, u"", u"", u"", u"", u"", u""});
    for (int32_t core = 0; core < cores; ++core) {
      const std::u16string key(TrimSpaces(misc.GetCoreKey(arrange, core)));
      std::u16string wire_name = key.starts_with(u'{') ? std::u16string() : key;
      std::pair<std::u16string, std::u16string> ends;
      const auto known = wires.find(FoldCase(key));
      const ShapeRef wire = key.empty()            ? ShapeRef()
                            : known != wires.end() ? known->second
                                                   : shapeutil::ShapeOfKey(key, drawing.document());
      if (wire) {
        wire_name = CellOrEmpty(wire, u"Scratch.B1");
        ends = ShownEnds(wire);
      }
      emit({name, type, DecimalText(core + 1),
            core <= INT16_MAX ? misc.GetCoreName(core_names, static_cast<int16_t>(core))
                              : std::u16string(),
            wire_name, ends.first, ends.second, key});
    }
  }
}

void ListPages(IndexedDrawing& drawing, const Emit& emit) {
  struct Block {
    std::u16string key;
    ShapeRef shape;
  };
  std::multimap<int32_t, Block> blocks;
  const CollectionRef all = drawing.index().GetTBlock(drawing.document());
  for (const ShapeRef& shape : ShapesOf(all)) {
    clsTBlockObj record;
    record.SetData(shape);
    blocks.insert({shape->ContainingPageID(), {record.GetKey(), shape}});
  }
  std::map<int32_t, int32_t> references;
  const CollectionRef by_reference = drawing.Member(u"colRefShape");
  for (int32_t position = 1; position <= by_reference->Count(); ++position) {
    std::map<int32_t, bool> pages;
    for (const ShapeRef& shape : ShapesOf(ToCollection(by_reference->Item(position)))) {
      pages[shape->ContainingPageID()] = true;
    }
    for (const auto& [page, here] : pages) ++references[page];
  }
  for (const PageRef& page : drawing.ForegroundPages()) {
    const int32_t id = page->ID();
    const auto count = [](const CollectionRef& entry) {
      return DecimalText(entry ? entry->Count() : 0);
    };
    const auto add = [&](const Block& block) {
      emit({NumberText(page), page->Name(), block.shape ? block.shape->Text() : u"", block.key,
            block.shape ? CellOrEmpty(block.shape, u"User.Group") : u"",
            DecimalText(references[id]),
            count(drawing.index().GetPageNets(drawing.Member(u"colPageNet"), id)),
            count(drawing.index().GetPageTerms(drawing.Member(u"colPageTerm"), id))});
    };
    const auto [begin, end] = blocks.equal_range(id);
    if (begin == end) add({});
    for (auto block = begin; block != end; ++block) add(block->second);
  }
}

struct ListKind {
  std::string_view name;
  std::u16string_view title;
  std::vector<ReportColumn> columns;
  void (*list)(IndexedDrawing& drawing, const Emit& emit);
};

const std::vector<ListKind>& ListKinds() {
  static const ReportColumn number{u"pageNumber", u"Page", Kind::kNumber};
  static const ReportColumn page{u"page", u"Page name", Kind::kText};
  static const ReportColumn location{u"location", u"Location", Kind::kText};
  static const ReportColumn shape{u"shape", u"Shape", Kind::kText};
  static const std::vector<ListKind> kinds = {
      {"references",
       u"References",
       {{u"reference", u"Reference", Kind::kText},
        {u"kind", u"Kind", Kind::kText},
        {u"group", u"Group", Kind::kNumber},
        number,
        page,
        location,
        shape,
        {u"link", u"Link", Kind::kText}},
       ListReferences},
      {"wires",
       u"Wires",
       {{u"wire", u"Wire", Kind::kText},
        {u"from", u"From", Kind::kText},
        {u"to", u"To", Kind::kText},
        number,
        page,
        location,
        shape},
       ListWires},
      {"terminals",
       u"Terminals",
       {{u"strip", u"Strip", Kind::kText},
        {u"terminal", u"Terminal", Kind::kText},
        {u"wires", u"Wires", Kind::kText},
        {u"kind", u"Kind", Kind::kText},
        number,
        page,
        location,
        shape},
       ListTerminals},
      {"cables",
       u"Cables",
       {{u"cable", u"Cable", Kind::kText},
        {u"type", u"Type", Kind::kText},
        {u"core", u"Core", Kind::kNumber},
        {u"coreName", u"Core name", Kind::kText},
        {u"wire", u"Wire", Kind::kText},
        {u"from", u"From", Kind::kText},
        {u"to", u"To", Kind::kText},
        {u"key", u"Wire key", Kind::kText}},
       ListCables},
      {"pages",
       u"Pages",
       {number,
        page,
        {u"title", u"Title", Kind::kText},
        {u"key", u"Title block", Kind::kText},
        {u"group", u"Group", Kind::kNumber},
        {u"references", u"References", Kind::kNumber},
        {u"wires", u"Wires", Kind::kNumber},
        {u"terminals", u"Terminals", Kind::kNumber}},
       ListPages},
  };
  return kinds;
}

class ListReport final : public Report {
 public:
  ListReport(const ListKind& kind, bool with_drawing) : list_(kind.list) {
    table_.name = FromUtf8(kind.name);
    table_.title = kind.title;
    table_.columns = Columns(with_drawing, kind.columns);
  }
  void Add(IndexedDrawing& drawing, const std::vector<std::u16string>& lead) override {
    list_(drawing, [&](Row fields) {
      Row row = lead;
      row.insert(row.end(), std::make_move_iterator(fields.begin()),
                 std::make_move_iterator(fields.end()));
      table_.rows.push_back(std::move(row));
    });
  }
  ReportTable Take() override { return std::move(table_); }

 private:
  ReportTable table_;
  void (*list_)(IndexedDrawing& drawing, const Emit& emit);
};

}  // namespace

std::unique_ptr<Report> MakeListReport(std::string_view kind, bool with_drawing) {
  for (const ListKind& known : ListKinds()) {
    if (known.name == kind) return std::make_unique<ListReport>(known, with_drawing);
  }
  Raise(Err::kInvalidCall);
}

}  // namespace ohmwise::schematic
