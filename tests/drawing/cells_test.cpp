#include "platform/embedded/drawing/cell_names.h"
#include "tests/drawing/fixture.h"

namespace ohmwise::testing {
namespace {

/// One shape with a row of every kind.
class CellNameTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    auto& page = build.Page("Page-1");
    auto& shape = build.Shape(page.contents, 7, "Relay");
    build.Set(shape, "PinX", "4.25");
    shape.cells.push_back(build.Cell("Height", "1.23456789", {}, "MM"));
    build.User(shape, "Ref", "K1", {}, "STR");
    build.Row(shape, "User", "Ref").cells.push_back(build.Cell("Prompt", "reference", {}, "STR"));
    auto& prop = build.Row(shape, "Property", "Name");
    prop.cells = {build.Cell("Value", "Motor", {}, "STR"), build.Cell("Label", "Name", {}, "STR"),
                  build.Cell("Verify", "1", {}, "BOOL")};
    build.Row(shape, "Hyperlink", "Go1").cells = {build.Cell("Description", "to 2", {}, "STR"),
                                                  build.Cell("SubAddress", "P2", {}, "STR")};
    for (uint32_t row : {0u, 1u}) {
      build.Row(shape, "Scratch", row).cells = {build.Cell("X", row == 0 ? "10" : "11"),
                                                build.Cell("A", row == 0 ? "20" : "21"),
                                                build.Cell("D", row == 0 ? "30" : "31")};
    }
    build.Row(shape, "Control", "Row_1").cells = {build.Cell("X", "1.5"), build.Cell("Y", "2.5"),
                                                  build.Cell("Prompt", "drag me", {}, "STR")};
    build.Row(shape, "Actions", "Row_1").cells = {build.Cell("Menu", "One", {}, "STR")};
    build.Row(shape, "Actions", "Second").cells = {build.Cell("Menu", "Two", {}, "STR"),
                                                   build.Cell("Action", "0")};
    auto& first = build.Row(shape, "Connection", 0);
    first.type = "Connection";
    first.cells = {build.Cell("X", "0.1"), build.Cell("Y", "0.2"), build.Cell("DirX", "-1")};
    auto& named = build.Row(shape, "Connection", "East");
    named.type = "ConnectionABCD";
    named.cells = {build.Cell("X", "0.3"), build.Cell("Y", "0.4"),
                   build.Cell("D", "A1,A2", {}, "STR")};
    build.Row(shape, "Character", 0).cells = {build.Cell("Color", "2")};
    build.Row(shape, "Character", 1).cells = {build.Cell("Color", "3")};
    build.Row(shape, "Field", 0).cells = {build.Cell("Value", "K1", {}, "STR")};
    auto& geometry = build.Section(shape, "Geometry", 0);
    geometry.cells = {build.Cell("NoFill", "1", {}, "BOOL")};
    geometry.rows.emplace_back().index = 1;
    geometry.rows.back().cells = {build.Cell("X", "7"), build.Cell("Y", "8")};
    Open();
  }
};

TEST_F(CellNameTest, SpellingsReachTheSameCell) {
  const struct {
    const char16_t* spelling;
    const char* name;
    const char* text;
  } kRows[] = {
      {u"pinx", "PinX", "4.25"},
      {u"User.Ref", "User.Ref", "K1"},
      {u"USER.REF.VALUE", "User.Ref", "K1"},
      {u"User.Ref.Prompt", "User.Ref.Prompt", "reference"},
      {u"Prop.Name", "Prop.Name", "Motor"},
      {u"Prop.Name.Ask", "Prop.Name.Verify", "TRUE"},
      {u"Hyperlink.Go1", "Hyperlink.Go1.Description", "to 2"},
      {u"Hyperlink.Go1.SubAddress", "Hyperlink.Go1.SubAddress", "P2"},
      {u"Scratch.A1", "Scratch.A1", "20"},
      {u"Scratch.D2", "Scratch.D2", "31"},
      {u"Controls.Row_1", "Controls.Row_1.X", "1.5"},
      {u"Controls.Y1", "Controls.Row_1.Y", "2.5"},
      {u"Controls.Row_1.Tip", "Controls.Row_1.Prompt", "drag me"},
      {u"Actions.Row_2.Menu", "Actions.Second.Menu", "Two"},
      {u"Actions.Menu[2]", "Actions.Second.Menu", "Two"},
      {u"Actions.Row_2.Action", "Actions.Second.Action", "0"},
      {u"Connections.X1", "Connections.X1", "0.1"},
      {u"Connections.Row_1.A", "Connections.DirX1", "-1"},
      {u"Connections.Y2", "Connections.East.Y", "0.4"},
      {u"Connections.East.D", "Connections.East.D", "A1,A2"},
      {u"Char.Color", "Char.Color", "2"},
      {u"Char.Color[2]", "Char.Color[2]", "3"},
      {u"Fields.Value", "Fields.Value", "K1"},
      {u"Geometry1.NoFill", "Geometry1.NoFill", "TRUE"},
      {u"Geometry1.Y1", "Geometry1.Y1", "8"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(ToUtf8(row.spelling));
    const CellRef cell = At(u"Page-1", u"Relay", row.spelling);
    EXPECT_EQ(ToUtf8(cell->Name()), row.name);
    EXPECT_EQ(Text(cell), row.text);
  }
}

TEST_F(CellNameTest, UnknownNamesDoNotExist) {
  const ShapeRef shape = Find(u"Page-1", u"Relay");
  for (const char16_t* name :
       {u"", u".", u"User.", u"User.None", u"User.Ref.Label", u"Scratch.A3", u"Scratch.E1",
        u"Nonsense", u"Nonsense.A1", u"Geometry2.X1", u"Geometry1.X9", u"Char.Color[3]",
        u"Connections.West.X", u"PageWidth", u"BeginX", u"Hyperlink.Go2"}) {
    EXPECT_FALSE(shape->CellExists(name, false)) << ToUtf8(name);
    EXPECT_NE(Refusal([&] { shape->Cells(name); }), "") << ToUtf8(name);
  }
  EXPECT_TRUE(shape->CellExists(u"HideText", false));
  EXPECT_FALSE(shape->CellExists(u"HideText", true));
  EXPECT_EQ(Text(shape->Cells(u"HideText")), "FALSE");
  EXPECT_TRUE(Find(u"Page-1", u"")->CellExists(u"PageWidth", false));
}

TEST_F(CellNameTest, NumbersReachTheSameCell) {
  const ShapeRef shape = Find(u"Page-1", u"Relay");
  const struct {
    int16_t section, row, column;
    const char* name;
  } kRows[] = {
      {section::kObject, 1, 0, "PinX"},
      {section::kObject, 17, 5, "HideText"},
      {section::kUser, 0, 1, "User.Ref.Prompt"},
      {section::kProp, 0, 2, "Prop.Name.Label"},
      {section::kHyperlink, 0, 2, "Hyperlink.Go1.SubAddress"},
      {section::kScratch, 1, 5, "Scratch.D2"},
      {section::kConnectionPoints, 1, 5, "Connections.East.D"},
      {section::kControls, 0, 8, "Controls.Row_1.Prompt"},
      {section::kActions, 1, 3, "Actions.Second.Action"},
      {section::kTextField, 0, 0, "Fields.Value"},
      {section::kCharacter, 1, 1, "Char.Color[2]"},
      {section::kFirstGeometry, 0, 0, "Geometry1.NoFill"},
      {section::kFirstGeometry, 1, 1, "Geometry1.Y1"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(ToUtf8(shape->CellsSRC(row.section, row.row, row.column)->Name()), row.name);
  }
  EXPECT_FALSE(shape->CellsSRCExists(section::kScratch, 2, 0, false));
  EXPECT_FALSE(shape->CellsSRCExists(section::kUser, 0, 9, false));
  EXPECT_EQ(shape->RowCount(section::kActions), 2);
  EXPECT_EQ(shape->RowType(section::kConnectionPoints, 1), row_tag::kConnectionPointNamed);
  EXPECT_EQ(ToUtf8(shape->RowName(section::kActions, 1)), "Second");
}

TEST_F(CellNameTest, ConstantsKeepTheirKind) {
  const struct {
    const char16_t* formula;
    const char* text;
    double number;
    const char* value;
    const char* unit;
  } kRows[] = {
      {u"12.5", "12.5", 12.5, "12.5", ""},   {u"=\"a \"\"b\"\"\"", "a \"b\"", 0, "a \"b\"", "STR"},
      {u"2 in", "2 in", 2, "2", "IN"},       {u"TRUE", "TRUE", 1, "1", "BOOL"},
      {u"\"\"", "", 0, "", "STR"},           {u"", "", 0, "", ""},
      {u"25.4 mm", "25.4 mm", 1, "1", "MM"},
  };
  const CellRef cell = At(u"Page-1", u"Relay", u"User.Ref");
  auto& stored = build.Row(*build.model.pages[0]->contents.shapes[0], "User", "Ref").cells[0];
  for (const auto& row : kRows) {
    SCOPED_TRACE(ToUtf8(row.formula));
    cell->SetFormula(row.formula);
    EXPECT_EQ(Text(cell), row.text);
    EXPECT_NEAR(cell->ResultNumber(), row.number, 1e-12);
    EXPECT_EQ(stored.value, row.value);
    EXPECT_EQ(stored.unit, row.unit);
    EXPECT_TRUE(stored.changed);
  }
  cell->SetResultNumber(0.125);
  EXPECT_EQ(FormulaOf(cell), "0.125");
  cell->SetFormula(u"1+2");
  EXPECT_EQ(stored.formula, "1+2");
  EXPECT_EQ(stored.value, "3");
}

TEST_F(CellNameTest, MeasuresFromTheFileKeepAllTheirDigitsAsFormulas) {
  const CellRef cell = At(u"Page-1", u"Relay", u"Height");
  EXPECT_EQ(Text(cell), "31.358 mm");
  EXPECT_EQ(FormulaOf(cell), "31.358024406 mm");
  cell->SetFormula(FromUtf8(FormulaOf(cell)));
  EXPECT_DOUBLE_EQ(cell->ResultNumber(), 1.23456789);
}

TEST_F(CellNameTest, RefusalsNameTheCellAndThePlace) {
  const CellRef cell = At(u"Page-1", u"Relay", u"User.Ref");
  const std::string sentence = Refusal([&] { cell->SetFormula(u"1+(2"); });
  EXPECT_NE(sentence.find("Page-1 / Relay / User.Ref"), std::string::npos) << sentence;
  EXPECT_NE(sentence.find("character 5"), std::string::npos) << sentence;
  const struct {
    const char16_t* formula;
    const char* missing;
  } kNowhere[] = {
      {u"1+Scratch.A3", "cell \"Scratch.A3\""},
      {u"Sheet.7!User.None", "cell \"User.None\""},
      {u"ThePage!BeginX", "cell \"ThePage!BeginX\""},
      {u"SETATREF(Motor!PinX)", "shape \"Motor\""},
      {u"Pages[Page-1]!Sheet.9!PinX", "shape \"Sheet.9\""},
      {u"TEXTWIDTH(Pages[Two]!PageWidth)", "page \"Two\""},
      {u"Masters[M]!Sheet.1!PinX", "master \"M\""},
      {u"Styles[Thick]!LineWeight", "style \"Thick\""},
  };
  for (const auto& row : kNowhere) {
    EXPECT_EQ(Refusal([&] { cell->SetFormula(row.formula); }),
              "Page-1 / Relay / User.Ref: the formula refers to the " + std::string(row.missing) +
                  ", which is not there.");
  }
  EXPECT_EQ(Text(cell), "K1");
  cell->SetFormula(u"GUARD(7)");
  EXPECT_NE(Refusal([&] { cell->SetFormula(u"8"); }).find("GUARD"), std::string::npos);
  EXPECT_NE(Refusal([&] { cell->SetResultNumber(8); }).find("GUARD"), std::string::npos);
  EXPECT_EQ(Text(cell), "7");
}

TEST_F(CellNameTest, RowsAreAddedAndRemoved) {
  const ShapeRef shape = Find(u"Page-1", u"Relay");
  EXPECT_EQ(shape->AddNamedRow(section::kUser, u"Group", 0), 1);
  EXPECT_TRUE(shape->CellExists(u"User.Group", true));
  EXPECT_EQ(Text(shape->Cells(u"User.Group")), "");
  for (const char16_t* name : {u"group", u"a b", u"1a", u"0", u"9", u"a.b", u"a!", u"\"", u"[a"}) {
    EXPECT_NE(Refusal([&] { shape->AddNamedRow(section::kUser, name, 0); }), "") << ToUtf8(name);
  }
  for (const int16_t place : {int16_t{-1}, int16_t{3}, int16_t{-3}}) {
    EXPECT_NE(Refusal([&] { shape->AddRow(section::kScratch, place, 0); }), "") << place;
  }
  EXPECT_EQ(shape->AddRow(section::kScratch, 2, 0), 2);
  shape->Cells(u"Scratch.B3")->SetFormula(u"\"x\"");
  EXPECT_EQ(Text(shape->CellsSRC(section::kScratch, 2, 3)), "x");
  // Rows by number and by name count together.
  EXPECT_EQ(shape->AddRow(section::kConnectionPoints, -2, 0), 2);
  auto& stored = *build.model.pages[0]->contents.shapes[0];
  EXPECT_EQ(build.Section(stored, "Connection").rows.back().index, 2u);
  EXPECT_EQ(shape->AddRow(section::kControls, -2, 0), 1);
  EXPECT_TRUE(shape->CellExists(u"Controls.Row_2.X", true));
  shape->DeleteRow(section::kUser, 0);
  EXPECT_FALSE(shape->CellExists(u"User.Ref", false));
  EXPECT_TRUE(shape->CellExists(u"User.Group", false));
  EXPECT_NE(Refusal([&] { shape->DeleteRow(section::kUser, 1); }), "");
}

TEST(NameTableTest, NamesThatDifferInCaseAloneAreOneName) {
  const struct {
    const char* first;
    const char* second;
    bool same;
  } kNames[] = {
      {"Relay_7", "rELAY_7", true},
      {"K\u00E4fer", "K\u00C4FER", true},
      {"\u0420\u0435\u043B\u0435 1", "\u0440\u0415\u041B\u0415 1", true},
      {"\u0420\u0435\u043B\u0435", "\u041A\u043B\u044E\u0447", false},
      {"\u5F00\u5173", "\u7EE7\u7535", false},
      {"", "a", false},
  };
  embedded::NameTable names;
  for (const auto& row : kNames) {
    EXPECT_EQ(names.Intern(row.first) == names.Intern(row.second), row.same) << row.first;
  }
  // Letters outside ASCII that fold into it, if any do: the table agrees with the comparison.
  for (const char* letter : {"\u212A", "\u017F", "\u0130", "\u0131"}) {
    for (const char* plain : {"k", "K", "s", "S", "i", "I"}) {
      EXPECT_EQ(names.Intern(letter) == names.Intern(plain), embedded::SameName(letter, plain));
    }
  }
}

}  // namespace
}  // namespace ohmwise::testing
