#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "tests/support/test_drawing.h"

namespace ohmwise {
namespace {

using testing::ShapeSpec;
using Text = std::u16string;

TEST(CableTextTest, CoresAreFieldsOfTheArrangeText) {
  clsLMisc misc;
  const struct {
    Text arrange;
    int32_t count;
    int32_t core;
    Text key_at;
    Text key;
    int32_t core_of;
  } rows[] = {
      {u"", 0, 0, u"", u"A", -1},           {u"", 0, 0, u"", u"", -1},
      {u"A", 1, 0, u"A", u"A", 0},          {u"A||C", 3, 1, u"", u"", 1},
      {u"W1||", 3, 2, u"", u"", 1},         {u"A| B |C", 3, 1, u" B ", u"B", 1},
      {u"A|B", 2, 2, u"", u" B ", 1},       {u"A|B", 2, -1, u"", u"b", -1},
      {u"A|B|B", 3, 2, u"B", u"B", 1},      {u"|A", 2, 0, u"", u"  ", 0},
      {u"A| B |C", 3, 1, u" B ", u"D", -1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(misc.GetCoreCount(row.arrange), row.count);
    EXPECT_EQ(misc.GetCoreKey(row.arrange, row.core), row.key_at);
    EXPECT_EQ(misc.GetCoreNo(row.arrange, row.key), row.core_of);
  }
}

TEST(CableTextTest, SettingACoreKeepsTheTextShort) {
  clsLMisc misc;
  const struct {
    Text arrange;
    int32_t core;
    Text key, result;
  } rows[] = {
      {u"", 0, u"W5", u"W5"},
      {u"W1|W2", 1, u"", u"W1"},
      {u"A|B", 4, u"X", u"A|B|||X"},
      {u"A|B|C", 2, u"", u"A|B"},
      {u"A||C", 2, u"", u"A"},
      {u"A||C", 1, u"B", u"A|B|C"},
      {u"A|B||", -1, u"X", u"A|B"},
      {u"A", 9, u"", u"A"},
      {u"", 0, u"", u""},
      {u"||", 0, u"", u""},
      {u" A |B", 1, u" C", u" A | C"},
      {u"A", 0, u"B", u"B"},
      {u"A|B", 1, u"C|D", u"A|C|D"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(misc.GetCoreArrange(row.arrange, row.core, row.key), row.result);
  }
  constexpr int32_t far = 1 << 24;
  EXPECT_EQ(misc.GetCoreArrange(u"A", far, u"X"), u"A" + Text(far, u'|') + u"X");
  EXPECT_EQ(misc.GetCoreArrange(u"A|", 2147483647, u""), u"A");
}

TEST(CableTextTest, NamesStandInTheFifthFieldOfTheCableText) {
  clsLMisc misc;
  EXPECT_EQ(misc.GetCoreNames(u"Cable|Brand|Model|3| L1, L2 ,PE |1.5"), u"L1, L2 ,PE");
  EXPECT_EQ(misc.GetCoreNames(u"||||"), u"");
  for (const Text& text : {Text(u""), Text(u"Cable|Brand|Model|3")}) {
    try {
      misc.GetCoreNames(text);
      ADD_FAILURE() << "too short a text was taken";
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kSubscript);
    }
  }
  const struct {
    Text names;
    int16_t core;
    Text name;
  } rows[] = {{u"L1, L2 ,PE", 1, u"L2"},
              {u"L1, L2 ,PE", 2, u"PE"},
              {u"L1, L2 ,PE", 3, u""},
              {u"L1, L2 ,PE", -1, u""},
              {u"", 0, u""},
              {u",b", 0, u""}};
  for (const auto& row : rows) EXPECT_EQ(misc.GetCoreName(row.names, row.core), row.name);
}

/// Two pages with four wires, and the master that holds the cables of the drawing.
class CableOnDrawingTest : public testing::DrawingTest {
 protected:
  void SetUp() override {
    DrawingTest::SetUp();
    const auto wire = [](Text name, Text net) {
      return ShapeSpec{std::move(name), 106, net, {{u"Scratch.B1", u"\"" + net + u"\""}}, {}};
    };
    Open({{u"Main", {wire(u"W1", u"101"), wire(u"W2", u"102")}},
          {u"It's \"2\"", {wire(u"W3", u"103"), wire(u"W4", u"104")}}},
         {u"CableProp"});
    cables_ = drawing_->document()->MasterAt(1)->PageSheet();
  }
  void TearDown() override {
    cables_ = nullptr;
    DrawingTest::TearDown();
  }

  void AddCable(std::u16string_view row, std::u16string_view cable, std::u16string_view arrange) {
    cables_->AddNamedRow(section::kUser, row, row_tag::kDefault);
    const Text cell = u"User." + Text(row);
    cables_->Cells(cell)->SetFormula(Quoted(cable));
    cables_->Cells(cell + u".Prompt")->SetFormula(Quoted(arrange));
  }
  static Text Quoted(std::u16string_view text) {
    return u"\"" + ReplaceAll(text, u"\"", u"\"\"") + u"\"";
  }
  Text Arrange(std::u16string_view row) {
    return cables_->Cells(u"User." + Text(row) + u".Prompt")->ResultText();
  }
  ShapeRef Wire(std::u16string_view name) { return drawing_->Shape(name); }

  clsLMisc misc_;
  ShapeRef cables_;
};

TEST_F(CableOnDrawingTest, TheArrangeFormulaShowsPageNumbers) {
  const struct {
    Text arrange, shown;
  } rows[] = {
      {u"", u""},
      {u"A|B", u"A|B"},
      {u"Main!W1", u"1!W1"},
      {u"Main!W1||It's \"2\"!W3|loose", u"1!W1||2!W3|loose"},
      {u"x|Main!W1|Main!W2", u"x|1!W1|1!W2"},
      {u"say \"hi\"|Main!a \"b\"", u"say \"hi\"|1!a \"b\""},
      {u"Gone!W1|!|a!b!c", u"Gone!W1|!|a!b!c"},
      {u"Main!W1|", u"1!W1|"},
      {u"\"", u"\""},
  };
  const ShapeRef shape = Wire(u"W1");
  for (const auto& row : rows) {
    const Text formula = misc_.ConvertCableArrange(row.arrange, drawing_->document());
    drawing_->SetCell(shape, u"User.Shown", formula);
    EXPECT_EQ(shape->Cells(u"User.Shown")->ResultText(), row.shown) << ToUtf8(formula);
  }
  EXPECT_EQ(misc_.ConvertCableArrange(u"Main!W1|\"", drawing_->document()),
            u"Pages[Main]!ThePage!User.PageNumber&\"!W1|\"\"\"");
  EXPECT_EQ(misc_.ConvertCableArrange(u"Main!W1", nullptr), u"\"Main!W1\"") << "raises nothing";
}

TEST_F(CableOnDrawingTest, AShapeShowsItsCable) {
  const ShapeRef wire = Wire(u"W2");
  AddCable(u"C1", u"Flex|Brand|F3|3|L1, N ,PE|1.5", u"102|" + wire->UniqueID());
  misc_.SetCableProp(wire, u"C1", 0);  // the shape itself, not another one of its net
  misc_.SetCableProp(wire, u"C1", 0);  // rows that are there serve again
  EXPECT_EQ(wire->RowCount(section::kProp), 2);
  EXPECT_EQ(wire->Cells(u"Prop.Name.Value")->ResultText(), u"C1");
  EXPECT_EQ(wire->Cells(u"Prop.Data.Value")->Formula(), u"Masters[CableProp]!ThePage!User.C1");
  EXPECT_EQ(wire->Cells(u"Prop.Data.Value")->ResultText(), u"Flex|Brand|F3|3|L1, N ,PE|1.5");
  EXPECT_EQ(wire->Cells(u"Prop.Data.Label")->ResultText(), u"N");

  AddCable(u"C2", u"short", u"");
  misc_.SetCableProp(Wire(u"W3"), u"C2", 4);
  EXPECT_EQ(Wire(u"W3")->Cells(u"Prop.Data.Label")->ResultText(), u"5") << "no names: the number";

  Open({{u"P", {{u"W", 106, u"", {}, {}}}}});
  misc_.SetCableProp(Wire(u"W"), u"C1", 0);
  EXPECT_EQ(Wire(u"W")->Cells(u"Prop.Name.Value")->ResultText(), u"C1") << "without the master";
}

TEST_F(CableOnDrawingTest, CablesOfAWireAreFoundOneAfterTheOther) {
  const ShapeRef wire = Wire(u"W1");
  AddCable(u"C1", u"", u"102|101");
  AddCable(u"C2", u"", u"103");
  AddCable(u"C3", u"", u"||" + wire->UniqueID());
  const struct {
    int32_t skip;
    Text row;
  } rows[] = {{0, u"C1"}, {1, u"C3"}, {2, u""}, {-5, u"C1"}};
  for (const auto& row : rows) EXPECT_EQ(misc_.SearchCableProp(wire, row.skip), row.row);
  EXPECT_EQ(misc_.SearchCableProp(nullptr, 0), u"");
  EXPECT_EQ(misc_.SearchCableProp(Wire(u"W4"), 0), u"");
}

TEST_F(CableOnDrawingTest, RemovingAWireFreesItsCores) {
  const ShapeRef wire = Wire(u"W1");
  AddCable(u"C1", u"a|b|c|3|L1,N,PE", u"101|102|" + wire->UniqueID());
  AddCable(u"C2", u"", u"103|101|104");
  misc_.SetCableProp(wire, u"C1", 0);
  misc_.RemoveCableCore(wire, u"C2");
  EXPECT_EQ(Arrange(u"C1"), u"101|102|" + wire->UniqueID());
  EXPECT_EQ(Arrange(u"C2"), u"103||104");
  EXPECT_EQ(wire->Cells(u"Prop.Name.Value")->ResultText(), u"C1");
  drawing_->SetCell(wire, u"User.c1", u"\"own row\"");
  misc_.RemoveCableCore(wire, u"C1");
  EXPECT_EQ(Arrange(u"C1"), u"|102");
  EXPECT_EQ(wire->Cells(u"Prop.Name.Value")->ResultText(), u"");
  EXPECT_EQ(wire->Cells(u"Prop.Data.Value")->ResultText(), u"");
  EXPECT_FALSE(wire->CellExists(u"User.C1", false));
  misc_.RemoveCableCore(wire, u"C9");
  misc_.RemoveCableCore(Wire(u"W2"), u"");
  EXPECT_EQ(Arrange(u"C1"), u"");
  EXPECT_THROW(misc_.RemoveCableCore(nullptr, u""), AutomationError);
}

TEST_F(CableOnDrawingTest, TheNextWireHoldsTheNextCoreInUse) {
  const ShapeRef first = Wire(u"W1");
  const CollectionRef net = MakeCollection();
  net->Add(Value(Wire(u"W4")), Wire(u"W4")->UniqueID());
  drawing_->Index(u"colUNetName")->Add(Value(net), u"104");
  AddCable(u"C1", u"", u"101||999|It's \"2\"!W3|" + Wire(u"W2")->UniqueID() + u"|104");
  const auto next = [&](std::u16string_view name) {
    const ShapeRef shape = misc_.GetNextWire(Wire(name));
    return shape ? shape->Name() : Text();
  };
  EXPECT_EQ(next(u"W1"), u"W3") << "past the empty core and the net that is gone";
  EXPECT_EQ(next(u"W2"), u"W4");
  EXPECT_EQ(next(u"W4"), u"");
  EXPECT_EQ(next(u"W3"), u"") << "its net is on no core";
  EXPECT_FALSE(misc_.GetNextWire(nullptr));
  AddCable(u"C2", u"", u"101|104");
  misc_.SetCableProp(first, u"C2", 0);
  EXPECT_EQ(next(u"W1"), u"W4") << "its own cable comes first";
}

}  // namespace
}  // namespace ohmwise
