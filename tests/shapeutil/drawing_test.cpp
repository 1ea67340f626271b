// The shape operations on drawings of the headless host.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/error.h"
#include "shapeutil/clsLMisc.h"
#include "tests/support/test_drawing.h"

namespace ohmwise {
namespace {

using testing::ShapeSpec;
using testing::TestDrawing;
using Text = std::u16string;

ShapeSpec Plain(Text name, std::vector<ShapeSpec> children = {}) {
  return {std::move(name), 0, u"", {}, std::move(children)};
}

/// Adds a connection point that carries pin names.
void AddPoint(const ShapeRef& shape, std::u16string_view list) {
  const int16_t row = shape->AddRow(section::kConnectionPoints, -2, row_tag::kConnectionPoint);
  shape->CellsSRC(section::kConnectionPoints, row, 5)->SetFormula(list);
}

TEST(MiscOnDrawingTest, PropertiesComeBackAsSet) {
  TestDrawing drawing({{u"P1", {Plain(u"Motor.1")}}});
  clsLMisc misc;
  const ShapeRef shape = drawing.Shape(u"Motor.1");
  EXPECT_FALSE(misc.GotCompID(shape));
  misc.SetCompIDStr(shape, u"C-12");
  EXPECT_TRUE(misc.GotCompID(shape));
  EXPECT_EQ(misc.CompIDStr(shape), u"C-12");
  EXPECT_EQ(shape->Cells(u"User.Comp")->Formula(), u"\"C-12\"");
  misc.SetCompIDStr(shape, u"");
  EXPECT_EQ(misc.CompIDStr(shape), u"");
  EXPECT_EQ(shape->Cells(u"User.Comp")->Formula(), u"\"\"");
  EXPECT_THROW(misc.SetCompIDStr(shape, u"3\" pipe"), AutomationError);
  misc.SetQtyStr(shape, u"2 m");
  EXPECT_EQ(misc.QtyStr(shape), u"2 m");
  misc.SetCatID(shape, 70000);
  EXPECT_EQ(misc.CatID(shape), 70000);
  misc.SetTypeNo(shape, 1002);
  EXPECT_EQ(misc.TypeNo(shape), 1002);
  misc.SetLocType(shape, -1);
  EXPECT_EQ(misc.LocType(shape), -1);
  misc.CreateProp(shape);
  misc.CreateProp(shape);
  EXPECT_TRUE(misc.GotProp(shape));
  EXPECT_EQ(shape->RowCount(section::kProp), 14);  // the quantity and the block
  shape->AddRow(section::kActions, -2, row_tag::kDefault);
  EXPECT_FALSE(misc.HideWireName(shape));
  if (!shape->CellExists(u"Actions.Row_2.Action", false)) {
    shape->AddRow(section::kActions, -2, row_tag::kDefault);
  }
  misc.SetHideWireName(shape, true);
  EXPECT_TRUE(misc.HideWireName(shape));
  shape->Cells(u"User.Type")->SetFormula(u"GUARD(102)");
  EXPECT_EQ(misc.TypeNo(shape), 102);
  EXPECT_THROW(misc.SetTypeNo(shape, 106), AutomationError);
}

TEST(MiscOnDrawingTest, PinsShowTheNamesOfTheSelectedSet) {
  TestDrawing drawing({{u"P1", {Plain(u"Coil", {Plain(u"P0"), Plain(u"P1.7")})}}});
  clsLMisc misc;
  const ShapeRef coil = drawing.Shape(u"Coil");
  AddPoint(coil, u"\"1,A1,13,\"");
  AddPoint(coil, u"\"2,A2\"");
  EXPECT_EQ(misc.GetPinSetCount(coil), 2);
  misc.SetPinSet(coil, 2);
  misc.SetPins(coil);
  EXPECT_EQ(drawing.Shape(u"P0")->Text(), u"13");
  EXPECT_EQ(drawing.Shape(u"P1.7")->Text(), u"A2");
  EXPECT_EQ(drawing.Shape(u"P0")->Cells(u"Char.Color")->ResultNumber(), 0);
  misc.SetPinSet(coil, 3);
  misc.SetPins(coil);
  EXPECT_EQ(drawing.Shape(u"P0")->Text(), u"13");
  EXPECT_EQ(drawing.Shape(u"P0")->Cells(u"Char.Color")->ResultNumber(), 2);

  const CellRef hide = drawing.Shape(u"P0")->Cells(u"HideText");
  EXPECT_EQ(hide->ResultNumber(), 0);
  misc.HidePinNames(coil);
  EXPECT_EQ(hide->ResultNumber(), 1);
  misc.ShowPinNames(coil);
  EXPECT_EQ(hide->ResultNumber(), 0);
}

TEST(MiscOnDrawingTest, PagesAndShapesAreFoundByEveryName) {
  TestDrawing drawing({{u"Main circuit", {Plain(u"K1")}}, {u"P2", {}}});
  clsLMisc misc;
  const DocumentRef document = drawing.document();
  EXPECT_TRUE(misc.PageExist(document, u"Main circuit"));
  EXPECT_FALSE(misc.PageExist(document, u"P3"));
  EXPECT_FALSE(misc.PageExist(nullptr, u"P2"));
  const PageRef page = drawing.Page(u"Main circuit");
  const ShapeRef shape = drawing.Shape(u"K1");
  const Text uid = shape->UniqueID();
  EXPECT_TRUE(misc.ShapeExist(page->Shapes(), u"K1"));
  EXPECT_TRUE(misc.ShapeExist(page->Shapes(), uid));
  EXPECT_TRUE(misc.ShapeExist(page->Shapes(), int32_t{1}));
  EXPECT_FALSE(misc.ShapeExist(page->Shapes(), int32_t{2}));
  EXPECT_TRUE(misc.ShapeExistInShapes(page->Shapes(), uid));
  EXPECT_TRUE(misc.GotInSelection(page->Shapes(), drawing.Shape(u"K1")));

  misc.CheckPageName(page);
  EXPECT_EQ(page->PageSheet()->Cells(u"User.PageName")->ResultText(), u"Main circuit");
  page->PageSheet()->Cells(u"User.PageName")->SetFormula(u"\"kept\"");
  misc.CheckPageName(page);
  EXPECT_EQ(page->PageSheet()->Cells(u"User.PageName")->Formula(), u"\"kept\"");

  EXPECT_FALSE(misc.GotComponentShape(document));  // the code module has no such member
  drawing.DeclareIndex();
  const CollectionRef kind = MakeCollection();
  drawing.Index(u"colShapeRef")->Add(Value(kind), u"K");
  EXPECT_FALSE(misc.GotComponentShape(document));
  kind->Add(Value(shape), uid);
  EXPECT_TRUE(misc.GotComponentShape(document));
}

TEST(MiscOnDrawingTest, LinksLeadToPagesWithBlanksAndSlashes) {
  TestDrawing drawing({{u"A 1/2", {Plain(u"K1"), Plain(u"K2")}},
                       {u"P2", {Plain(u"L1")}},
                       {u"%25%20 ", {Plain(u"M1")}}});
  clsLMisc misc;
  const ShapeRef label = drawing.Shape(u"L1");
  EXPECT_FALSE(misc.GotLinkedShape(label));
  const struct {
    Text link;
    Text target;
  } rows[] = {{u"\"A%201%2f2/K1\"", u"K1"}, {u"\"A%201%2F2/K2\"", u"K2"}, {u"\"L1\"", u"L1"},
              {u"\"A 1/2/K1\"", u"K1"},     {u"\"A%201%2f2/K9\"", u""},   {u"\"A 1/K1\"", u""},
              {u"\"%25%20%20/M1\"", u"M1"}, {u"\"%25%20 /M1\"", u"M1"},   {u"\"\"", u""}};
  for (const auto& row : rows) {
    drawing.SetCell(label, u"User.Link", row.link);
    const ShapeRef target = misc.GetUserLinkShape(label);
    EXPECT_EQ(target ? target->Name() : u"", row.target);
    EXPECT_EQ(misc.GotLinkedShape(label), !row.target.empty());
  }
}

TEST(MiscOnDrawingTest, GluedWiresKnowTheirEnds) {
  ShapeSpec line = Plain(u"W1");
  line.cells = {{u"BeginX", u"0"}, {u"BeginY", u"0"}, {u"EndX", u"1"}, {u"EndY", u"1"}};
  TestDrawing drawing({{u"P1", {Plain(u"K1"), line}}});
  clsLMisc misc;
  const ShapeRef coil = drawing.Shape(u"K1");
  const ShapeRef wire = drawing.Shape(u"W1");
  ASSERT_TRUE(wire->OneD());
  drawing.SetCell(coil, u"User.Ref", u"\"K7\"");
  misc.SetPinSet(coil, 1);
  AddPoint(coil, u"\"1,A1\"");
  drawing.Glue(wire, u"EndX", coil, 0);
  misc.DetectConnection(wire);
  EXPECT_EQ(wire->Cells(u"User.End")->ResultText(), u"K7:A1");
  EXPECT_FALSE(wire->CellExists(u"User.Begin", false));
  EXPECT_TRUE(misc.IsConnectedTo(coil, wire));
  EXPECT_EQ(testing::NamesOf(misc.ConnectedToWires(coil)), u"W1");
}

}  // namespace
}  // namespace ohmwise
