#include <algorithm>

#include "tests/drawing/fixture.h"

namespace ohmwise::testing {
namespace {

/// A master of a group with one sub-shape, and an instance of it.
class InheritanceTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    auto style = std::make_unique<embedded::Sheet>();
    style->kind = embedded::SheetKind::kStyle;
    style->id = 3;
    build.Set(*style, "LineColor", "4");
    build.model.styles.push_back(std::move(style));

    auto& master = build.Master(2, "Relay");
    auto& base = build.Shape(master.contents, 5);
    base.line_style = 3;
    build.Set(base, "Width", "2");
    build.Set(base, "Height", "1", "Width/2");
    build.Set(base, "LocPinX", "1", "Width*0.5");
    build.User(base, "Ref", "K", {}, "STR");
    build.User(base, "Type", "1");
    build.User(base, "Sum", "3", "User.Type+2");
    for (uint32_t row : {0u, 1u, 2u}) {
      build.Row(base, "Scratch", row).cells = {build.Cell("A", std::to_string(row))};
    }
    build.Text(base, "K?\n");
    auto& part = build.Shape(master.contents, 6, "", &base);
    build.Set(part, "Width", "1", "Sheet.5!Width*0.5");

    auto& page = build.Page("Page-1");
    instance_ = &build.Instance(page.contents, 12, 2);
    build.Set(*instance_, "PinX", "3");
    build.Set(*instance_, "Height", "5", "Inh");
    build.Set(*instance_, "LocPinX", "0.25", "No Formula");
    build.User(*instance_, "type", "7");
    build.User(*instance_, "Own", "9");
    build.Row(*instance_, "Scratch", 1).deleted = true;
    part_ = &build.Shape(page.contents, 13, "", instance_);
    part_->master_shape = 6;
    Open();
  }
  ShapeRef Relay() { return Find(u"Page-1", u"Relay.12"); }

  embedded::Sheet* instance_ = nullptr;
  embedded::Sheet* part_ = nullptr;
};

TEST_F(InheritanceTest, EachCellFallsBackOnItsOwn) {
  const struct {
    const char16_t* cell;
    bool local;
    const char* text;
    const char* formula;
  } kRows[] = {
      {u"PinX", true, "3", "3"},
      {u"Width", false, "2", "2"},
      {u"Height", true, "5", "Width/2"},   // value here, formula inherited
      {u"LocPinX", true, "0.25", "0.25"},  // the formula is overridden
      {u"LineColor", false, "4", "4"},     // from the style
      {u"User.Ref", false, "K", "\"K\""},
      {u"User.Type", true, "7", "7"},            // one row whatever the case of its name
      {u"User.Sum", false, "9", "User.Type+2"},  // by the cells of the instance
      {u"User.Own", true, "9", "9"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(ToUtf8(row.cell));
    EXPECT_TRUE(Relay()->CellExists(row.cell, false));
    EXPECT_EQ(Relay()->CellExists(row.cell, true), row.local);
    EXPECT_EQ(Text(Relay()->Cells(row.cell)), row.text);
    EXPECT_EQ(FormulaOf(Relay()->Cells(row.cell)), row.formula);
  }
}

TEST_F(InheritanceTest, RowsOfTheMasterComeFirst) {
  ASSERT_EQ(Relay()->RowCount(section::kUser), 4);
  const char* kNames[] = {"Ref", "Type", "Sum", "Own"};
  for (int16_t i = 0; i < 4; ++i) EXPECT_EQ(ToUtf8(Relay()->RowName(section::kUser, i)), kNames[i]);
  // The deleted row is gone and the third moves up.
  ASSERT_EQ(Relay()->RowCount(section::kScratch), 2);
  EXPECT_EQ(Text(Relay()->CellsSRC(section::kScratch, 1, 2)), "2");
  EXPECT_EQ(Text(Relay()->Cells(u"Scratch.A2")), "2");
  EXPECT_FALSE(Relay()->CellExists(u"Scratch.A3", false));
}

TEST_F(InheritanceTest, EditsStayLocal) {
  Relay()->Cells(u"User.Ref")->SetFormula(u"\"K7\"");
  EXPECT_EQ(instance_->sections[0].rows.back().name, "Ref");
  EXPECT_TRUE(Relay()->CellExists(u"User.Ref", true));
  EXPECT_EQ(build.Row(*build.model.masters[0]->contents.shapes[0], "User", "Ref").cells[0].value,
            "K");
  // A constant over an inherited formula says so, or the formula would come back.
  Relay()->Cells(u"User.Sum")->SetFormula(u"40");
  EXPECT_EQ(build.Row(*instance_, "User", "Sum").cells[0].formula_state,
            embedded::FormulaState::kBlocked);
  EXPECT_EQ(FormulaOf(Relay()->Cells(u"User.Sum")), "40");
  // Deleting an inherited row hides it; adding it again brings the inherited cells back.
  Relay()->DeleteRow(section::kUser, 0);
  EXPECT_FALSE(Relay()->CellExists(u"User.Ref", false));
  EXPECT_TRUE(build.Row(*instance_, "User", "Ref").deleted);
  Relay()->AddNamedRow(section::kUser, u"Ref", 0);
  EXPECT_EQ(Text(Relay()->Cells(u"User.Ref")), "K");
}

TEST_F(InheritanceTest, InheritedFormulasFollowTheInstance) {
  Recorder recorder;
  drawing_->SetObserver(&recorder);
  Relay()->Cells(u"Width")->SetResultNumber(8);
  std::sort(recorder.results.begin(), recorder.results.end());
  EXPECT_EQ(recorder.results,
            (std::vector<std::string>{"Page-1/Relay.12/Height=4", "Page-1/Relay.12/Width=8",
                                      "Page-1/Sheet.13/Width=4"}));
  // The result is stored here, the formula stays the master's.
  ASSERT_EQ(part_->cells.size(), 1u);
  EXPECT_EQ(part_->cells[0].value, "4");
  EXPECT_EQ(part_->cells[0].formula_state, embedded::FormulaState::kInherited);
  EXPECT_TRUE(part_->cells_changed);
  EXPECT_TRUE(part_->contents->changed);
  EXPECT_FALSE(build.model.masters[0]->contents.changed);
}

TEST_F(InheritanceTest, WhatTheFileDoesNotStoreIsComputedWithTheCellsOfTheInstance) {
  auto& base = *build.model.masters[0]->contents.shapes[0];
  build.User(base, "Shown", "5", "TEXTWIDTH(TheText)+User.Type");
  build.User(base, "N0", "0", "User.Type");
  constexpr int kChain = 5000;
  for (int i = 1; i <= kChain; ++i) {
    build.User(base, "N" + std::to_string(i), "0", "User.N" + std::to_string(i - 1) + "+1");
  }
  build.Row(base, "Field", 0).cells = {build.Cell("Value", "3", "User.Sum")};
  base.text = {{{embedded::TextPiece::Kind::kField, 0, "3"}}};
  build.User(build.Shape(build.model.pages[0]->contents, 20, "Looking"), "Sum", "9",
             "Sheet.12!User.Sum");
  Open();
  EXPECT_EQ(Text(Relay()->Cells(u"User.N5000")), "5007");
  EXPECT_EQ(Text(Relay()->Cells(u"User.Shown")), "5") << "what cannot be evaluated is the master's";
  EXPECT_EQ(ToUtf8(Relay()->Text()), "9");
  EXPECT_FALSE(instance_->cells_changed) << "reading writes nothing";
  // A value that comes to agree with the master's has changed all the same.
  Relay()->Cells(u"User.Type")->SetFormula(u"1");
  EXPECT_EQ(Text(Find(u"Page-1", u"Looking")->Cells(u"User.Sum")), "3");
}

TEST_F(InheritanceTest, EditsOfTheMasterReachItsInstances) {
  const ShapeRef base = drawing_->document()->MasterAt(1)->Shapes()->Item(1);
  base->Cells(u"Width")->SetResultNumber(6);
  EXPECT_EQ(Text(Relay()->Cells(u"Width")), "6");
  EXPECT_EQ(Text(Relay()->Cells(u"Height")), "3");
  EXPECT_EQ(Text(Find(u"Page-1", u"Sheet.13")->Cells(u"Width")), "3");
}

TEST_F(InheritanceTest, TextComesFromTheMasterUntilSet) {
  EXPECT_EQ(ToUtf8(Relay()->Text()), "K?");
  Relay()->SetText(u"K9");
  EXPECT_EQ(ToUtf8(Relay()->Text()), "K9");
  ASSERT_TRUE(instance_->text.has_value());
  EXPECT_EQ(instance_->text->back().text, "K9\n");
  EXPECT_TRUE(instance_->text_changed);
  Relay()->SetText(u"");
  EXPECT_EQ(Relay()->Text(), u"");
}

TEST_F(InheritanceTest, FieldsShowTheCurrentResult) {
  using Kind = embedded::TextPiece::Kind;
  auto& field = build.Row(*instance_, "Field", 0);
  field.cells = {build.Cell("Value", "7", "User.Type"), build.Cell("Format", "0.00", {}, "STR")};
  instance_->text = {{{Kind::kCharacter, 0, ""},
                      {Kind::kLiteral, 0, "No. "},
                      {Kind::kField, 0, "7.00"},
                      {Kind::kLiteral, 0, " of 9\n"}}};
  Open();
  EXPECT_EQ(ToUtf8(Relay()->Text()), "No. 7.00 of 9");
  Relay()->Cells(u"User.Type")->SetFormula(u"8");
  EXPECT_EQ(ToUtf8(Relay()->Text()), "No. 8.00 of 9");
  Relay()->SetText(u"x");
  ASSERT_EQ(instance_->text->size(), 2u);
  EXPECT_EQ(instance_->text->front().kind, Kind::kCharacter);
  instance_->text = {{{Kind::kField, 0, "7.00"}, {Kind::kCharacter, 1, ""}}};
  Relay()->SetText(u"y");
  EXPECT_EQ(instance_->text->size(), 1u) << "formatting behind the field has nothing to stand on";
}

TEST_F(InheritanceTest, AFieldOfItsOwnGetsATextOfItsOwn) {
  using Kind = embedded::TextPiece::Kind;
  embedded::Sheet& coil = *build.model.masters[0]->contents.shapes[0];
  build.Row(coil, "Field", 0).cells = {build.Cell("Value", "?", "\"?\"", "STR")};
  coil.text = {{{Kind::kLiteral, 0, "at "}, {Kind::kField, 0, "?"}}};
  Open();
  Relay()->Cells(u"User.Type")->SetFormula(u"8");
  EXPECT_FALSE(instance_->text.has_value());
  Relay()->Cells(u"Fields.Value")->SetFormula(u"User.Type&\"C\"");
  ASSERT_TRUE(instance_->text.has_value());
  EXPECT_EQ(instance_->text->back().text, "8C");
  EXPECT_TRUE(instance_->text_changed);
  EXPECT_EQ(coil.text->back().text, "?");
  Relay()->Cells(u"User.Type")->SetFormula(u"9");
  EXPECT_EQ(instance_->text->back().text, "9C");
}

TEST_F(InheritanceTest, CircularMastersEnd) {
  auto& contents = build.model.masters[0]->contents;
  contents.shapes[0]->master = 2;  // the master's shape claims to be an instance of its own master
  contents.shapes[0]->master_shape = 6;
  Open();
  EXPECT_EQ(Text(Relay()->Cells(u"Width")), "2");
  // Two masters that are instances of each other: edits reach every sheet once.
  build.Instance(build.Master(8, "Eight").contents, 5, 9);
  build.Instance(build.Master(9, "Nine").contents, 5, 8);
  build.Instance(build.model.pages[0]->contents, 80, 8, "Loop");
  Open();
  const ShapeRef base = drawing_->document()->MasterAt(2)->Shapes()->Item(1);
  base->Cells(u"Width")->SetFormula(u"3");
  base->AddNamedRow(section::kUser, u"Row", 0);
  base->Cells(u"User.Row")->SetFormula(u"4");
  EXPECT_EQ(Text(Find(u"Page-1", u"Loop")->Cells(u"Width")), "3");
  EXPECT_EQ(Text(Find(u"Page-1", u"Loop")->Cells(u"User.Row")), "4");
  base->DeleteRow(section::kUser, 0);
  EXPECT_FALSE(Find(u"Page-1", u"Loop")->CellExists(u"User.Row", false));
}

}  // namespace
}  // namespace ohmwise::testing
