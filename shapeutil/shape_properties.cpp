#include <array>
#include <string>

#include "base/conversion.h"
#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {

namespace shapeutil {

bool HasCell(Shape& shape, std::u16string_view cell) { return shape.CellExists(cell, false); }

double NumberOr(Shape& shape, std::u16string_view cell, double otherwise) {
  return HasCell(shape, cell) ? shape.Cells(cell)->ResultNumber() : otherwise;
}

std::u16string CellOrEmpty(const ShapeRef& shape, std::u16string_view cell) {
  return HasCell(Required(shape), cell) ? shape->Cells(cell)->ResultText() : std::u16string();
}

std::u16string Unquoted(std::u16string_view text) {
  const size_t first = text.find_first_not_of(u'"');
  if (first == text.npos) return {};
  return std::u16string(text.substr(first, text.find_last_not_of(u'"') - first + 1));
}

std::u16string CellText(Shape& shape, std::u16string_view cell) {
  if (!HasCell(shape, cell)) return {};
  return Unquoted(shape.Cells(cell)->ResultText());
}

std::u16string TextFormula(std::u16string_view text) {
  return u"\"" + ReplaceAll(text, u"\"", u"\"\"") + u"\"";
}

}  // namespace shapeutil

namespace {

using shapeutil::HasCell;
using shapeutil::Required;

/// A cell that carries one property of a shape, and the row that makes it.
struct Property {
  std::u16string_view cell;  ///< its existence is the presence test
  int16_t section;
  std::u16string_view row;
  std::u16string_view value_cell;
};

constexpr Property kCompID{u"User.Comp", section::kUser, u"Comp", u"User.Comp"};
constexpr Property kCatID{u"User.Cat", section::kUser, u"Cat", u"User.Cat"};
constexpr Property kQty{u"Prop.Qty", section::kProp, u"Qty", u"Prop.Qty.Value"};
constexpr Property kTypeNo{u"User.Type", section::kUser, u"Type", u"User.Type"};
constexpr Property kPinSet{u"User.PinSet", section::kUser, u"PinSet", u"User.PinSet"};
constexpr Property kLocType{u"User.LocType", section::kUser, u"LocType", u"User.LocType"};

constexpr std::u16string_view kWireNameAction = u"Actions.Row_2.Action";

struct BlockRow {
  std::u16string_view row;
  std::u16string_view cell;
  std::u16string_view label;
};

/// One row per field of a catalogue record. Existing drawings spell the eleventh row as the
/// first of the two spellings.
constexpr std::array<BlockRow, 13> kPropertyBlock = {{
    {u"Name", u"Prop.Name", u"lblName"},
    {u"Desc", u"Prop.Desc", u"lblDesc"},
    {u"Brand", u"Prop.Brand", u"lblBrand"},
    {u"Rating", u"Prop.Rating", u"lblRating"},
    {u"Model", u"Prop.Model", u"lblModel"},
    {u"Order", u"Prop.Order", u"lblOrder"},
    {u"Supplier", u"Prop.Supplier", u"lblSupplier"},
    {u"Remarks", u"Prop.Remarks", u"lblRemarks"},
    {u"Price", u"Prop.Price", u"lblPrice"},
    {u"Layout", u"Prop.Layout", u"lblLayout"},
    {u"Layshape", u"Prop.LayShape", u"lblLayShape"},
    {u"Width", u"Prop.Width", u"lblWidth"},
    {u"Height", u"Prop.Height", u"lblHeight"},
}};

bool Has(const ShapeRef& shape, const Property& property) {
  return HasCell(Required(shape), property.cell);
}

/// The cell to write to, its row made when it is missing.
CellRef MadeCell(const ShapeRef& shape, const Property& property) {
  if (!Has(shape, property)) {
    shape->AddNamedRow(property.section, property.row, row_tag::kDefault);
  }
  return shape->Cells(property.value_cell);
}

double Number(const ShapeRef& shape, const Property& property) {
  return Has(shape, property) ? shape->Cells(property.value_cell)->ResultNumber() : 0;
}

void SetNumber(const ShapeRef& shape, const Property& property, int32_t number) {
  MadeCell(shape, property)->SetResultNumber(number);
}

std::u16string Text(const ShapeRef& shape, const Property& property) {
  if (!Has(shape, property)) return {};
  return shapeutil::Unquoted(shape->Cells(property.value_cell)->ResultText());
}

/// Callers may hand in the text with its quotes. Quotes inside are theirs to double: what they hand
/// in may be a formula of several texts.
void SetText(const ShapeRef& shape, const Property& property, std::u16string_view text) {
  if (text.empty()) text = u"\"\"";
  std::u16string quoted;
  if (!text.starts_with(u'"')) quoted += u'"';
  quoted += text;
  if (!text.ends_with(u'"')) quoted += u'"';
  MadeCell(shape, property)->SetFormula(quoted);
}

/// Lines of a cell's text, one for a missing cell.
int32_t Lines(Shape& shape, std::u16string_view cell) {
  int32_t lines = 1;
  for (const char16_t unit : shapeutil::CellText(shape, cell)) lines += unit == u'\n';
  return lines;
}

}  // namespace

bool clsLMisc::GotCompID(const ShapeRef& shpActive) { return Has(shpActive, kCompID); }
bool clsLMisc::GotCatID(const ShapeRef& shpActive) { return Has(shpActive, kCatID); }
bool clsLMisc::GotQty(const ShapeRef& shpActive) { return Has(shpActive, kQty); }
bool clsLMisc::GotProp(const ShapeRef& shpActive) {
  return HasCell(Required(shpActive), kPropertyBlock[0].cell);
}
bool clsLMisc::GotTypeNo(const ShapeRef& shpActive) { return Has(shpActive, kTypeNo); }
bool clsLMisc::CheckPinSet(const ShapeRef& shpActive) { return Has(shpActive, kPinSet); }
bool clsLMisc::GotLocType(const ShapeRef& shpActive) { return Has(shpActive, kLocType); }

std::u16string clsLMisc::CompIDStr(const ShapeRef& shpActive) { return Text(shpActive, kCompID); }
void clsLMisc::SetCompIDStr(const ShapeRef& shpActive, std::u16string_view v) {
  SetText(shpActive, kCompID, v);
}

std::u16string clsLMisc::QtyStr(const ShapeRef& shpActive) { return Text(shpActive, kQty); }
void clsLMisc::SetQtyStr(const ShapeRef& shpActive, std::u16string_view v) {
  SetText(shpActive, kQty, v);
}

int32_t clsLMisc::CatID(const ShapeRef& shpActive) { return ToInt32(Number(shpActive, kCatID)); }
void clsLMisc::SetCatID(const ShapeRef& shpActive, int32_t v) { SetNumber(shpActive, kCatID, v); }

int32_t clsLMisc::TypeNo(const ShapeRef& shpActive) { return ToInt32(Number(shpActive, kTypeNo)); }
void clsLMisc::SetTypeNo(const ShapeRef& shpActive, int32_t v) { SetNumber(shpActive, kTypeNo, v); }

int16_t clsLMisc::PinSet(const ShapeRef& shpActive) { return ToInt16(Number(shpActive, kPinSet)); }
void clsLMisc::SetPinSet(const ShapeRef& shpActive, int16_t v) { SetNumber(shpActive, kPinSet, v); }

int16_t clsLMisc::LocType(const ShapeRef& shpActive) {
  return ToInt16(Number(shpActive, kLocType));
}
void clsLMisc::SetLocType(const ShapeRef& shpActive, int16_t v) {
  SetNumber(shpActive, kLocType, v);
}

bool clsLMisc::HideWireName(const ShapeRef& shpActive) {
  if (!HasCell(Required(shpActive), kWireNameAction)) return false;
  return shpActive->Cells(kWireNameAction)->ResultNumber() != 0;
}

void clsLMisc::SetHideWireName(const ShapeRef& shpActive, bool v) {
  if (HideWireName(shpActive) == v) return;
  // A number, as the state is read: it needs no word that a localised formula could spell
  // otherwise.
  shpActive->Cells(kWireNameAction)->SetResultNumber(v ? 1 : 0);
}

void clsLMisc::CreateProp(const ShapeRef& shpActive) {
  Shape& shape = Required(shpActive);
  for (const BlockRow& block : kPropertyBlock) {
    if (!HasCell(shape, block.cell)) {
      shape.AddNamedRow(section::kProp, block.row, row_tag::kDefault);
    }
  }
}

void clsLMisc::ClearLabels(const ObjectRef& tForm) {
  Object& form = Required(tForm);
  for (const BlockRow& block : kPropertyBlock) {
    form.Get(block.label).AsObject()->Put(u"Caption", u"");
  }
}

bool clsLMisc::GotComponentShape(const DocumentRef& tDoc) {
  return shapeutil::ValueOr(false, [&] {
    const CollectionRef kinds = ToCollection(Required(tDoc).Get(u"colShapeRef"));
    const int32_t count = kinds->Count();
    for (int32_t position = 1; position <= count; ++position) {
      if (ToCollection(kinds->Item(position))->Count() > 0) return true;
    }
    return false;
  });
}

int16_t clsLMisc::GetMaxRows(const ShapeRef& shpActive) {
  return shapeutil::ValueOr(int16_t{1}, [&] {
    Shape& shape = Required(shpActive);
    const int32_t first = Lines(shape, u"Scratch.B1");
    const int32_t second = Lines(shape, u"Scratch.C1");
    return CheckedCast<int16_t>(first > second ? first : second);
  });
}

}  // namespace ohmwise
