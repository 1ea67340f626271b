#include <regex>

#include "platform/embedded/drawing/formula.h"
#include "tests/drawing/fixture.h"

namespace ohmwise::testing {
namespace {

class StructureTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    build.Page("Frame", true);  // background pages stand where they are in the file
    build.Page("One");
    build.Page("Two");
    for (auto& page : build.model.pages) {
      build.User(page->sheet, "Name", std::string(page->name), "PAGENAME()", "STR");
      build.User(page->sheet, "No", "0", "PAGENUMBER()&\"/\"&PAGECOUNT()", "STR");
    }
    build.User(build.Shape(build.model.pages[2]->contents, 1, "Away"), "X", "5");
    auto& looking = build.Shape(build.model.pages[1]->contents, 1, "Looking");
    build.User(looking, "X", "5", "Pages[Two]!Away!User.X");
    build.User(looking, "Words", "", "\"Pages[Two]!\"&Pages[Two]!PageWidth", "STR");
    Open();
  }
};

TEST_F(StructureTest, ForegroundPagesComeFirst) {
  const PagesRef pages = drawing_->document()->Pages();
  ASSERT_EQ(pages->Count(), 3);
  EXPECT_EQ(ToUtf8(pages->Item(1)->Name()), "One");
  EXPECT_EQ(ToUtf8(pages->Item(3)->Name()), "Frame");
  EXPECT_EQ(pages->Item(u"frame")->Index(), 3);
  EXPECT_NE(Refusal([&] { pages->Item(4); }), "");
  EXPECT_NE(Refusal([&] { pages->Item(u"Three"); }).find("Three"), std::string::npos);
}

TEST_F(StructureTest, NumbersOfPagesAreRightHoweverTheyWereStored) {
  build.User(*build.model.pages[2]->contents.shapes[0], "No", "old", "\"page \"&ThePage!User.No",
             "STR");
  Open();
  EXPECT_EQ(Text(At(u"Two", u"Away", u"User.No")), "page 2/2");
  EXPECT_EQ(Text(At(u"Frame", u"", u"User.No")), "0") << "that of the page in front";
}

TEST_F(StructureTest, FormulasFollowARenamedPage) {
  const PageRef two = drawing_->document()->Pages()->Item(u"Two");
  build.model.pages[0]->name = "Rahmen";  // known by its universal name, too
  for (const char16_t* taken : {u"one", u"", u"frame", u"rahmen"}) {
    EXPECT_NE(Refusal([&] { two->SetName(taken); }), "") << ToUtf8(taken);
  }
  two->SetName(u"Motor / 2");
  EXPECT_EQ(FormulaOf(At(u"One", u"Looking", u"User.X")), "Pages['Motor / 2']!Away!User.X");
  EXPECT_EQ(FormulaOf(At(u"One", u"Looking", u"User.Words")),
            "\"Pages[Two]!\"&Pages['Motor / 2']!PageWidth");
  EXPECT_EQ(Text(At(u"Motor / 2", u"", u"User.Name")), "Motor / 2");
  At(u"Motor / 2", u"Away", u"User.X")->SetFormula(u"6");
  EXPECT_EQ(Text(At(u"One", u"Looking", u"User.X")), "6");
  // A formula entered later finds the page under its new name.
  At(u"One", u"Looking", u"PinX")->SetFormula(u"Pages['Motor / 2']!Away!User.X");
  EXPECT_EQ(At(u"One", u"Looking", u"PinX")->ResultNumber(), 6);
}

/// Formulas of one drawing under the names of a page and a shape, made at random from a seed.
class NamedFormulas {
 public:
  NamedFormulas(uint32_t seed, std::string page, std::string shape)
      : seed_(seed), page_(std::move(page)), shape_(std::move(shape)) {}

  static constexpr int kCount = 12;

  void Build(ModelBuilder& build) {
    auto& page = build.Page(page_);
    build.Page("Elsewhere");
    build.Set(page.sheet, "PageWidth", "1");
    build.User(build.Shape(page.contents, 1, shape_), "X", "1");
    build.User(build.Shape(page.contents, 2, "Motor 5\" pipe"), "X", "1");
    for (auto& model : build.model.pages) {
      auto& sheet = build.Shape(model->contents, 3, "Looking");
      for (int i = 0; i < kCount; ++i) {
        build.User(sheet, "F" + std::to_string(i), "0", Formula(model.get() == &page));
      }
    }
  }

 private:
  uint32_t Random(uint32_t bound) {
    seed_ = seed_ * 1664525u + 1013904223u;
    return (seed_ >> 8) % bound;
  }
  /// Brackets need no quotes around a name, but what is in it may.
  std::string PageName() {
    const bool bare = Random(2) == 0;
    return bare && page_.find_first_of("]['!\"") == std::string::npos ? page_
                                                                      : embedded::QuoteName(page_);
  }
  std::string Piece(bool here) {
    const std::string page = "Pages[" + PageName() + "]!";
    switch (Random(here ? 9 : 6)) {
      case 0:
        return page + embedded::QuoteName(shape_) + "!User.X";
      case 1:
        return page + "Sheet.1!User.X";
      case 2:
        return page + "ThePage!PageWidth";
      case 3:
        return "IF(" + page + "PageWidth>2," + Piece(here) + ",\"Pages[\"\"]!'\")";
      case 4:
        return "MAX(" + Piece(here) + " , " + page + "'Motor 5\" pipe'!User.X)";
      case 5:
        return "LEN(" + embedded::QuoteText("Pages[One]!" + std::to_string(Random(100))) + ")";
      case 6:
        return embedded::QuoteName(shape_) + "!User.X";
      case 7:
        return "'Motor 5\" pipe'!User.X";
      default:
        return "(Sheet.2!User.X*" + embedded::QuoteName(shape_) + "!User.X)";
    }
  }
  std::string Formula(bool here) {
    std::string formula = Piece(here);
    for (uint32_t more = Random(4); more > 0; --more)
      formula += (more % 2 ? "+" : "&") + Piece(here);
    return formula;
  }

  uint32_t seed_;
  std::string page_, shape_;
};

TEST_F(StructureTest, RenamedDrawingsComputeAsThoseWrittenWithTheNewNames) {
  const char* const kNames[] = {"One",      "P [1]", "it's",      "a!b",
                                "5\" pipe", " x ",   "Übersicht", "Row 1 Rack 2",
                                "Sheet.7",  "IF",    "[x]",       "动态.22"};
  for (uint32_t seed = 0; seed < 60; ++seed) {
    const auto name = [&](uint32_t step) { return kNames[(seed * 5 + step) % std::size(kNames)]; };
    ModelBuilder renamed, written;
    NamedFormulas(seed, name(0), name(3)).Build(renamed);
    NamedFormulas(seed, name(7), name(4)).Build(written);
    {
      embedded::Drawing drawing(renamed.model);
      drawing.Rename(drawing.FindShape(FromUtf8(name(0)), FromUtf8(name(3))), FromUtf8(name(4)));
      drawing.document()->Pages()->Item(FromUtf8(name(0)))->SetName(FromUtf8(name(7)));
    }
    embedded::Drawing a(renamed.model), b(written.model);
    const std::u16string page = FromUtf8(name(7));
    for (embedded::Drawing* drawing : {&a, &b}) {
      for (const auto& [shape, cell] : {std::pair{u"Sheet.1", u"User.X"},
                                        {u"Motor 5\" pipe", u"User.X"},
                                        {u"", u"PageWidth"}}) {
        drawing->FindShape(page, shape)
            ->Cells(cell)
            ->SetFormula(FromUtf8(std::to_string(seed + 2)));
      }
    }
    for (const std::u16string& at : {page, std::u16string(u"Elsewhere")}) {
      for (int i = 0; i < NamedFormulas::kCount; ++i) {
        const std::u16string cell = u"User.F" + FromUtf8(std::to_string(i));
        const CellRef left = a.FindShape(at, u"Looking")->Cells(cell);
        const CellRef right = b.FindShape(at, u"Looking")->Cells(cell);
        ASSERT_EQ(Text(left), Text(right)) << FormulaOf(left) << " for " << FormulaOf(right);
        ASSERT_EQ(Text(left).find("#REF!"), std::string::npos) << FormulaOf(left);
      }
    }
  }
  build.Shape(build.model.pages[1]->contents, 9, "Taken");
  Open();
  EXPECT_NE(Refusal([&] { drawing_->Rename(Find(u"One", u"Looking"), u""); }), "");
  EXPECT_NE(Refusal([&] { drawing_->Rename(Find(u"One", u"Looking"), u"taken"); }), "");
}

TEST_F(StructureTest, PagesComeAndGo) {
  const PageRef two = drawing_->document()->Pages()->Item(u"Two");
  const ShapeRef away = Find(u"Two", u"Away");
  const CellRef cell = away->Cells(u"User.X");
  EXPECT_EQ(drawing_->AddPage(u"Three", false)->ID(), 9);
  EXPECT_EQ(Text(At(u"Two", u"", u"User.No")), "2/3");
  EXPECT_EQ(drawing_->document()->Pages()->Item(u"Frame")->Index(), 4);
  two->Delete();
  EXPECT_EQ(Text(At(u"One", u"", u"User.No")), "1/2");
  EXPECT_EQ(Text(At(u"One", u"Looking", u"User.X")), "#REF!");
  EXPECT_EQ(FormulaOf(At(u"One", u"Looking", u"User.X")), "REF()");
  EXPECT_EQ(FormulaOf(At(u"One", u"Looking", u"User.Words")), "\"Pages[Two]!\"&REF()");
  EXPECT_NE(Refusal([&] { two->Name(); }), "");
  EXPECT_NE(Refusal([&] { away->Text(); }), "");
  EXPECT_NE(Refusal([&] { cell->ResultText(); }), "");
  EXPECT_NE(Refusal([&] { Find(u"Two", u""); }).find("Two"), std::string::npos);
  embedded::PageModel& one = *build.model.pages[1];
  one.back_page = build.model.pages[0]->id;
  drawing_->document()->Pages()->Item(u"Frame")->Delete();
  EXPECT_FALSE(one.back_page);
  EXPECT_TRUE(one.attributes_changed) << "the file must forget it, too";
}

TEST_F(StructureTest, ShapesGoWithTheirGroup) {
  auto& contents = build.model.pages[1]->contents;
  auto& group = build.Shape(contents, 20, "Group");
  build.User(build.Shape(contents, 21, "Inner", &group), "X", "1");
  build.User(*contents.shapes[0], "Inner", "1",
             "IF(Sheet.21!User.X>0,Inner!User.X,Looking!User.X)");
  build.User(*contents.shapes[0], "Cut", "1",
             "'Inner'!User.X&\"'Inner'!User.X\"&Pages['One']!'Inner'!User.X&Sheet.21!NAME( 1 )");
  Open();
  const ShapeRef inner = Find(u"One", u"Inner");
  EXPECT_EQ(ToUtf8(inner->ParentShape()->Name()), "Group");
  EXPECT_EQ(Find(u"One", u"Group")->Shapes()->Count(), 1);
  Find(u"One", u"Group")->Delete();
  EXPECT_NE(Refusal([&] { inner->Name(); }), "");
  EXPECT_EQ(Text(At(u"One", u"Looking", u"User.Inner")), "#REF!");
  EXPECT_EQ(FormulaOf(At(u"One", u"Looking", u"User.Inner")), "IF(REF()>0,REF(),Looking!User.X)");
  EXPECT_EQ(FormulaOf(At(u"One", u"Looking", u"User.Cut")), "REF()&\"'Inner'!User.X\"&REF()&REF()");
  EXPECT_EQ(drawing_->document()->Pages()->Item(u"One")->Shapes()->Count(), 1);
  EXPECT_TRUE(group.erased);
}

TEST_F(StructureTest, DroppedInstancesHoldTheTreeOfTheirMaster) {
  auto& master = build.Master(4, "Motor");
  auto& base = build.Shape(master.contents, 5);
  build.Set(base, "Width", "2");
  build.User(base, "Page", "", "PAGENAME()", "STR");
  auto& part = build.Shape(master.contents, 9, "", &base);
  build.Set(part, "Width", "2", "Sheet.5!Width");
  auto& line = build.Shape(build.Master(6, "Wire").contents, 1);
  for (const char* cell : {"BeginX", "BeginY"}) build.Set(line, cell, "1");
  for (const char* cell : {"EndX", "EndY"}) build.Set(line, cell, "3");
  build.Set(line, "PinX", "2", "(BeginX+EndX)/2");
  build.Set(line, "PinY", "2", "(BeginY+EndY)/2");
  Open();
  const PageRef one = drawing_->document()->Pages()->Item(u"One");
  const ShapeRef motor = drawing_->Drop(one, u"motor", 3, 4);
  EXPECT_EQ(ToUtf8(motor->Name()), "Motor.2");
  EXPECT_EQ(motor->Cells(u"PinY")->ResultNumber(), 4);
  EXPECT_EQ(Text(motor->Cells(u"User.Page")), "One");
  ASSERT_EQ(motor->Shapes()->Count(), 1);
  motor->Cells(u"Width")->SetResultNumber(7);
  EXPECT_EQ(motor->Shapes()->Item(1)->Cells(u"Width")->ResultNumber(), 7);
  motor->Delete();
  EXPECT_EQ(ToUtf8(drawing_->Drop(one, u"Motor", 0, 0)->Name()), "Motor.4");
  EXPECT_NE(Refusal([&] { drawing_->Drop(one, u"None", 0, 0); }), "");
  const ShapeRef wire = drawing_->Drop(one, u"Wire", 5, 4);
  const std::pair<const char16_t*, double> kEnds[] = {{u"BeginX", 4}, {u"BeginY", 3}, {u"EndX", 6},
                                                      {u"EndY", 5},   {u"PinX", 5},   {u"PinY", 4}};
  for (const auto& [cell, number] : kEnds) {
    EXPECT_EQ(wire->Cells(cell)->ResultNumber(), number) << ToUtf8(cell);
  }
}

TEST_F(StructureTest, UniqueIdsAreMadeOnce) {
  const ShapeRef shape = Find(u"One", u"Looking");
  const std::string id = ToUtf8(shape->UniqueID());
  EXPECT_TRUE(std::regex_match(
      id, std::regex("\\{[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\}")));
  EXPECT_EQ(ToUtf8(shape->UniqueID()), id);
  EXPECT_TRUE(build.model.pages[1]->contents.shapes[0]->attributes_changed);
  EXPECT_TRUE(Same(Find(u"One", FromUtf8(id)), shape));
  EXPECT_NE(Find(u"Two", u"Away")->UniqueID(), shape->UniqueID());
}

TEST_F(StructureTest, RepeatedUniqueIdsAreSeparated) {
  build.model.pages[1]->contents.shapes[0]->unique_id = "{0A5C0DE1-0003-4000-8000-00000000000A}";
  embedded::Sheet& later = *build.model.pages[2]->contents.shapes[0];
  later.unique_id = "{0a5c0de1-0003-4000-8000-00000000000a}";
  const auto repeated = drawing_->SeparateUniqueIds();
  ASSERT_EQ(repeated.size(), 1u);
  EXPECT_EQ(repeated[0].page + u"/" + repeated[0].shape, u"Two/Away");
  EXPECT_EQ(repeated[0].first_page + u"/" + repeated[0].first_shape, u"One/Looking");
  EXPECT_NE(later.unique_id.substr(0, 9), "{0a5c0de1");
  EXPECT_TRUE(later.attributes_changed);
  EXPECT_TRUE(drawing_->SeparateUniqueIds().empty());
}

TEST_F(StructureTest, NamesThatSeveralShapesHaveLeadToNone) {
  auto& contents = build.model.pages[1]->contents;
  build.Shape(contents, 7, "Looking");
  build.Shape(contents, 5, "Away", &build.Shape(contents, 6, "Group"));
  build.Shape(contents, 8, "Away");
  Open();
  const ShapesRef shapes = drawing_->document()->Pages()->Item(u"One")->Shapes();
  EXPECT_NE(Refusal([&] { shapes->Item(u"Looking"); }).find("Several"), std::string::npos);
  EXPECT_NE(Refusal([&] { Find(u"One", u"looking"); }).find("Sheet.1"), std::string::npos);
  EXPECT_EQ(Find(u"One", u"Sheet.7")->ID(), 7);
  EXPECT_EQ(Find(u"One", u"Away")->ID(), 8);  // before the one inside a group
  Recorder recorder;
  drawing_->SetObserver(&recorder);
  for (const char16_t* shape : {u"Sheet.7", u"Sheet.5", u"Sheet.8"}) {
    Find(u"One", shape)->Cells(u"PinX")->SetFormula(u"1");
  }
  EXPECT_EQ(recorder.formulas, (std::vector<std::string>{"One/Sheet.7/PinX=1", "One/Sheet.5/PinX=1",
                                                         "One/Away/PinX=1"}));
  drawing_->SetObserver(nullptr);
}

TEST_F(StructureTest, NamesFollowMasterAndNumber) {
  auto& master = build.Master(4, "Dynamic connector");
  master.name = "Verbinder";
  auto& contents = build.model.pages[1]->contents;
  build.Instance(contents, 30, 4);
  build.Instance(contents, 31, 4, "Wire.31");
  build.Shape(contents, 32);
  auto& hidden = build.Shape(contents, 0xFFFFFFFFu);
  hidden.deleted_in_master = true;
  Open();
  const ShapesRef shapes = drawing_->document()->Pages()->Item(u"One")->Shapes();
  ASSERT_EQ(shapes->Count(), 4);
  const struct {
    int32_t position;
    const char* name;
    const char* name_u;
  } kRows[] = {{2, "Verbinder.30", "Dynamic connector.30"},
               {3, "Wire.31", "Wire.31"},
               {4, "Sheet.32", "Sheet.32"}};
  for (const auto& row : kRows) {
    EXPECT_EQ(ToUtf8(shapes->Item(row.position)->Name()), row.name);
    EXPECT_EQ(ToUtf8(shapes->Item(row.position)->NameU()), row.name_u);
    EXPECT_TRUE(Same(shapes->Item(FromUtf8(row.name_u)), shapes->Item(row.position)));
  }
  EXPECT_TRUE(Same(shapes->Item(u"sheet.30"), shapes->Item(2)));
  build.User(build.Shape(contents, 20, "twice"), "X", "the earliest in drawing order", {}, "STR");
  build.User(build.Shape(contents, 19, "Twice"), "X", "the lowest number", {}, "STR");
  Open();
  At(u"One", u"Looking", u"User.Words")->SetFormula(u"TWICE!User.X");
  EXPECT_EQ(Text(At(u"One", u"Looking", u"User.Words")), "the earliest in drawing order");
  EXPECT_NE(Refusal([&] { shapes->Item(5); }), "");
  EXPECT_NE(Refusal([&] { shapes->Item(u"Sheet.99"); }), "");
}

}  // namespace
}  // namespace ohmwise::testing
