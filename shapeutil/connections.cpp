#include <cmath>
#include <optional>
#include <string>

#include "base/conversion.h"
#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {
namespace {

using shapeutil::CellText;
using shapeutil::HasCell;
using shapeutil::NumberOr;
using shapeutil::Required;
using shapeutil::ValueOr;

/// Calls with every connection of a list; ends early when the call returns true, and says so.
template <class Function>
bool AnyConnect(const CollectionRef& connects, Function call) {
  const int32_t count = connects->Count();
  for (int32_t position = 1; position <= count; ++position) {
    const ObjectRef object = connects->Item(position).AsObject();
    auto* const connect = dynamic_cast<Connect*>(object.get());
    if (!connect) Raise(Err::kTypeMismatch);
    if (call(*connect)) return true;
  }
  return false;
}

/// Row of a connection point from the name of one of its cells ("Connections.X3" is row 2).
std::optional<int16_t> ConnectionRow(std::u16string_view cell) {
  constexpr std::u16string_view kPrefix = u"Connections.X";
  if (!EqualNoCase(cell.substr(0, kPrefix.size()), kPrefix)) return std::nullopt;
  const std::u16string_view number = cell.substr(kPrefix.size());
  const int16_t one_based = ValueOr(int16_t{0}, [&] { return TextToInt16(number); });
  if (one_based < 1) return std::nullopt;
  return static_cast<int16_t>(one_based - 1);
}

/// What a wire's end is called: the reference of the shape it is glued to, or of the group around
/// that shape, else the shape's name; then, after a colon, the name of the pin when it has one.
std::u16string EndText(clsLMisc& misc, Connect& connect) {
  const ShapeRef glued = connect.ToSheet();
  std::u16string text;
  for (ShapeRef owner = glued; owner && text.empty(); owner = owner->ParentShape()) {
    text = CellText(*owner, u"User.Ref");
  }
  if (text.empty()) text = Required(glued).Name();
  const std::optional<int16_t> row = ConnectionRow(connect.ToCell());
  if (!row) return text;
  const std::u16string pin = ValueOr(std::u16string(u"?"), [&] {
    std::u16string list = shapeutil::PinList(*glued, *row);
    return misc.GetPin(list, misc.PinSet(glued));
  });
  return pin == u"?" ? text : text + u":" + pin;
}

void WriteEnd(clsLMisc& misc, Shape& wire, std::u16string_view row, std::u16string_view from_cell) {
  std::u16string text;
  AnyConnect(wire.Connects(), [&](Connect& connect) {
    const std::u16string from = connect.FromCell();
    if (!EqualNoCase(std::u16string_view(from).substr(0, from_cell.size()), from_cell))
      return false;
    text = EndText(misc, connect);
    return true;
  });
  const std::u16string cell = u"User." + std::u16string(row);
  if (!HasCell(wire, cell)) {
    if (text.empty()) return;
    wire.AddNamedRow(section::kUser, row, row_tag::kDefault);
  }
  const std::u16string formula = shapeutil::TextFormula(text);
  const CellRef target = wire.Cells(cell);
  if (target->Formula() != formula) target->SetFormula(formula);
}

/// Adds the wires that meet a shape or one of its sub-shapes.
void CollectWires(clsLMisc& misc, Shape& shape, const CollectionRef& wires) {
  const auto add = [&](const ShapeRef& other) {
    if (!other || !other->OneD()) return;
    const std::u16string key = other->UniqueID();
    if (!misc.GotInCollection(wires, key)) wires->Add(other, key);
  };
  AnyConnect(shape.FromConnects(), [&](Connect& connect) {
    add(connect.FromSheet());
    return false;
  });
  AnyConnect(shape.Connects(), [&](Connect& connect) {
    add(connect.ToSheet());
    return false;
  });
  const ShapesRef sub_shapes = shape.Shapes();
  const int32_t count = sub_shapes->Count();
  for (int32_t position = 1; position <= count; ++position) {
    CollectWires(misc, *sub_shapes->Item(position), wires);
  }
}

std::u16string PageInLink(std::u16string_view name) {
  return ReplaceAll(ReplaceAll(name, u" ", u"%20"), u"/", u"%2f");
}

/// The page that a link names: with blanks and slashes escaped, or as it is called. Nothing when
/// there is none.
PageRef PageAtLink(const PagesRef& pages, std::u16string_view link) {
  std::u16string name = ReplaceAll(link, u"%20", u" ");
  name = ReplaceAll(ReplaceAll(name, u"%2f", u"/"), u"%2F", u"/");
  if (PageRef page = ValueOr(PageRef(), [&] { return pages->Item(name); })) return page;
  // A name that holds such a sign itself reads as another one.
  const int32_t count = pages->Count();
  for (int32_t position = 1; position <= count; ++position) {
    PageRef page = pages->Item(position);
    const std::u16string own = page->Name();
    if (EqualNoCase(own, link) || EqualNoCase(PageInLink(own), link)) return page;
  }
  return nullptr;
}

/// The shape behind "page/shape"; without a slash a shape of the same page. Where the page's own
/// slashes stand as they are, each of them may be the one between the two names.
ShapeRef ShapeAtLink(Shape& from, std::u16string_view link) {
  size_t slash = link.find(u'/');
  if (slash == link.npos) return Required(from.ContainingPage()).Shapes()->Item(link);
  const PagesRef pages = Required(from.Document()).Pages();
  for (; slash != link.npos; slash = link.find(u'/', slash + 1)) {
    const PageRef page = PageAtLink(pages, link.substr(0, slash));
    if (!page) continue;
    const std::u16string_view name = link.substr(slash + 1);
    if (ShapeRef shape = ValueOr(ShapeRef(), [&] { return page->Shapes()->Item(name); })) {
      return shape;
    }
  }
  return nullptr;
}

ShapeRef ShapeAtLinkCell(Shape& from, std::u16string_view cell) {
  if (!HasCell(from, cell)) return nullptr;
  const std::u16string link = from.Cells(cell)->ResultText();
  if (link.empty()) return nullptr;
  // A name may end in a quote; a link that is stored in quotes is read without them.
  if (ShapeRef shape = ValueOr(ShapeRef(), [&] { return ShapeAtLink(from, link); })) return shape;
  return ShapeAtLink(from, shapeutil::Unquoted(link));
}

}  // namespace

void clsLMisc::DetectConnection(const ShapeRef& shpActive) {
  ValueOr(false, [&] {
    Shape& wire = Required(shpActive);
    if (!wire.OneD()) return false;
    WriteEnd(*this, wire, u"Begin", u"Begin");
    WriteEnd(*this, wire, u"End", u"End");
    return true;
  });
}

bool clsLMisc::IsConnectedTo(const ShapeRef& shpA, const ShapeRef& shpB) {
  return ValueOr(false, [&] {
    Required(shpB);
    return AnyConnect(Required(shpA).Connects(),
                      [&](Connect& connect) { return Same(connect.ToSheet(), shpB); }) ||
           AnyConnect(shpA->FromConnects(),
                      [&](Connect& connect) { return Same(connect.FromSheet(), shpB); });
  });
}

CollectionRef clsLMisc::ConnectedToWires(const ShapeRef& shpActive) {
  try {
    CollectionRef wires = MakeCollection();
    CollectWires(*this, Required(shpActive), wires);
    return wires;
  } catch (const AutomationError&) {
    return MakeCollection();
  }
}

ShapeRef clsLMisc::GetUserLinkShape(const ShapeRef& shpActive) {
  return ValueOr(ShapeRef(), [&] { return ShapeAtLinkCell(Required(shpActive), u"User.Link"); });
}

ShapeRef clsLMisc::GetLinkedShape(const ShapeRef& shpActive) {
  if (ShapeRef linked = GetUserLinkShape(shpActive)) return linked;
  return ValueOr(ShapeRef(),
                 [&] { return ShapeAtLinkCell(Required(shpActive), u"Hyperlink.Go1.SubAddress"); });
}

bool clsLMisc::GotLinkedShape(const ShapeRef& shpActive) {
  return static_cast<bool>(GetLinkedShape(shpActive));
}

double clsLMisc::GetLZCellV(const ShapeRef& shpLZone, int16_t Row) {
  return ValueOr(0.0, [&] {
    Shape& zone = Required(shpLZone);
    const std::u16string control = u"Controls.Row_" + DecimalText(int32_t{Row});
    const double x = zone.Cells(control + u".X")->ResultNumber();
    const double y = zone.Cells(control + u".Y")->ResultNumber();
    const double right = x - NumberOr(zone, u"Connections.X1", 0);
    const double up = y - NumberOr(zone, u"Connections.Y1", 0);
    const double angle = NumberOr(zone, u"Angle", 0);
    return zone.Cells(u"PinY")->ResultNumber() + right * std::sin(angle) + up * std::cos(angle);
  });
}

bool clsLMisc::GotInSelection(const ObjectRef& tSel, const ShapeRef& shpActive) {
  return ValueOr(false, [&] {
    Required(shpActive);
    if (auto* const shapes = dynamic_cast<Shapes*>(&Required(tSel))) {
      const int32_t count = shapes->Count();
      for (int32_t position = 1; position <= count; ++position) {
        if (Same(shapes->Item(position), shpActive)) return true;
      }
      return false;
    }
    const int32_t count = tSel->Get(u"Count").ToInt32();
    for (int32_t position = 1; position <= count; ++position) {
      const Value at[] = {Value(position)};
      if (Same(tSel->Get(u"Item", at).AsObject(), shpActive)) return true;
    }
    return false;
  });
}

bool clsLMisc::ShapeExistInShapes(const ShapesRef& tShapes, std::u16string_view tUID) {
  return ValueOr(false, [&] {
    const ShapeRef found = Required(tShapes).Item(tUID);
    return EqualNoCase(Required(found).UniqueID(), tUID);
  });
}

}  // namespace ohmwise
