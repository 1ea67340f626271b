#include <functional>

#include "tests/drawing/fixture.h"

namespace ohmwise::testing {
namespace {

std::u16string Number(int64_t number) { return FromUtf8(std::to_string(number)); }

/// A label with rows of location formulas beside a shape that looks at one of them.
class RowsTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    auto& page = build.Page("Page-1");
    auto& master = build.Master(2, "Label");
    auto& base = build.Shape(master.contents, 5);
    for (uint32_t row : {0u, 1u, 2u}) {
      build.Row(base, "Connection", row).cells = {build.Cell("X", std::to_string(row))};
    }
    build.Instance(page.contents, 1, 2, "Label");
    build.Shape(page.contents, 2, "Other");
    build.Shape(build.Page("Page-2").contents, 3, "Far");
  }
  ShapeRef Label() { return Find(u"Page-1", u"Label"); }
  /// Adds rows whose X counts 1, 2 … and whose Y doubles it.
  void AddScratch(int rows) {
    const ShapeRef label = Label();
    for (int i = 1; i <= rows; ++i) {
      const int16_t row = label->AddRow(section::kScratch, -2, 0);
      EXPECT_EQ(row, label->RowCount(section::kScratch) - 1);
      const std::u16string number = Number(row + 1);
      label->Cells(u"Scratch.X" + number)->SetFormula(Number(i));
      label->Cells(u"Scratch.Y" + number)->SetFormula(u"2*Scratch.X" + number);
    }
  }
  std::string Shown(std::u16string_view cell) { return Text(Label()->Cells(cell)); }
  /// X of every row.
  std::string Column() {
    std::string all;
    const ShapeRef label = Label();
    for (int16_t i = 0; i < label->RowCount(section::kScratch); ++i) {
      all += ToUtf8(label->CellsSRC(section::kScratch, i, 0)->ResultText()) + " ";
    }
    return all;
  }
  /// Opens what is stored a second time, as a program that reads it would.
  void Reopen() { Open(); }
};

TEST_F(RowsTest, ReferencesFollowTheirRowWhenOneBeforeItGoes) {
  Open();
  AddScratch(20);
  const struct {
    std::u16string_view page, shape, formula;
    const char* after;
    const char* text;
  } kCells[] = {
      {u"Page-1", u"Other", u"Label!Scratch.X4+1", "Label!Scratch.X4+1", "5"},
      {u"Page-1", u"Other", u"\"Scratch.X9\"&Sheet.1!Scratch.x9",
       "\"Scratch.X9\"&Sheet.1!Scratch.x8", "Scratch.X99"},
      {u"Page-2", u"Far", u"Pages[Page-1]!Label!Scratch.Y5+1", "REF()+1", "#REF!"},
      {u"Page-2", u"Far", u"Pages[Page-1]!Label!Scratch.Y20-Pages[Page-1]!Label!Scratch.X10",
       "Pages[Page-1]!Label!Scratch.Y19-Pages[Page-1]!Label!Scratch.X9", "30"},
      {u"Page-2", u"Far", u"IF(Pages[Page-1]!Label!Scratch.X5>4,1,2)", "IF(REF()>4,1,2)", "#REF!"},
      {u"Page-1", u"Label", u"Scratch.X6+Scratch.X4", "Scratch.X5+Scratch.X4", "10"},
      {u"Page-2", u"Far",
       u"LEN(\"it's X6\")+'Far'!PinX+Pages['Page-1']!'Label'!Scratch.Row_6.X+"
       u"Pages[Page-1]!Label!Scratch.X[6]",
       "LEN(\"it's X6\")+'Far'!PinX+Pages['Page-1']!'Label'!Scratch.Row_5.X+"
       "Pages[Page-1]!Label!Scratch.X[5]",
       "19"},
  };
  std::vector<CellRef> cells;
  for (size_t i = 0; i < std::size(kCells); ++i) {
    const ShapeRef shape = Find(kCells[i].page, kCells[i].shape);
    shape->AddNamedRow(section::kUser, u"R" + Number(static_cast<int64_t>(i)), 0);
    cells.push_back(shape->Cells(u"User.R" + Number(static_cast<int64_t>(i))));
    cells.back()->SetFormula(kCells[i].formula);
  }
  Label()->DeleteRow(section::kScratch, 4);
  for (int round = 0; round < 2; ++round) {
    for (size_t i = 0; i < std::size(kCells); ++i) {
      const CellRef cell =
          At(kCells[i].page, kCells[i].shape, u"User.R" + Number(static_cast<int64_t>(i)));
      EXPECT_EQ(FormulaOf(cell), kCells[i].after);
      EXPECT_EQ(Text(cell), kCells[i].text);
    }
    EXPECT_EQ(Shown(u"Scratch.Y5"), "12");
    EXPECT_EQ(FormulaOf(Label()->Cells(u"Scratch.Y5")), "2*Scratch.X5");
    Label()->Cells(u"Scratch.X9")->SetFormula(u"10");  // still alive, wherever it is now
    cells.clear();
    Reopen();
  }
  Label()->Cells(u"Scratch.X9")->SetFormula(u"11");
  EXPECT_EQ(Text(At(u"Page-2", u"Far", u"User.R3")), "29");
}

TEST_F(RowsTest, AddedAndDeletedRowsKeepTheirOrderWhenReadAgain) {
  Open();
  AddScratch(40);
  const ShapeRef label = Label();
  std::vector<std::string> expected;
  for (int i = 1; i <= 40; ++i) expected.push_back(std::to_string(i));
  // From the middle, the beginning and the end, with new rows in between.
  for (int step = 0; step < 60; ++step) {
    const size_t at = static_cast<size_t>(step * 7) % expected.size();
    if (step % 3 == 2) {
      AddScratch(1);
      expected.emplace_back("1");
    } else {
      label->DeleteRow(section::kScratch, static_cast<int16_t>(at));
      expected.erase(expected.begin() + static_cast<ptrdiff_t>(at));
    }
    std::string all;
    for (const std::string& number : expected) all += number + " ";
    ASSERT_EQ(Column(), all) << step;
    ASSERT_EQ(Shown(u"Scratch.Y" + Number(static_cast<int64_t>(expected.size()))),
              std::to_string(2 * std::stoi(expected.back())));
  }
  const std::string before = Column();
  Reopen();
  EXPECT_EQ(Column(), before);
}

TEST_F(RowsTest, NamesAreFreeAgainAfterDeletion) {
  Open();
  const ShapeRef label = Label();
  for (int i = 0; i < 30; ++i) {
    EXPECT_EQ(label->AddNamedRow(section::kHyperlink, u"Go" + Number(i), 0), i);
  }
  EXPECT_NE(Refusal([&] { label->AddNamedRow(section::kHyperlink, u"gO7", 0); }), "");
  label->Cells(u"Hyperlink.Go7.SubAddress")->SetFormula(u"\"x\"");
  label->DeleteRow(section::kHyperlink, 7);
  EXPECT_FALSE(label->CellExists(u"Hyperlink.Go7.SubAddress", false));
  EXPECT_EQ(ToUtf8(label->RowName(section::kHyperlink, 7)), "Go8");
  EXPECT_EQ(label->AddNamedRow(section::kHyperlink, u"Go7", 0), 29);
  EXPECT_EQ(Shown(u"Hyperlink.Go7.SubAddress"), "");
  EXPECT_EQ(ToUtf8(label->RowName(section::kHyperlink, 29)), "Go7");
  EXPECT_NE(Refusal([&] { label->RowName(section::kHyperlink, 30); }), "");
}

TEST_F(RowsTest, InheritedRowsAreHiddenAndComeBackInTheirPlace) {
  Open();
  const ShapeRef label = Label();
  for (int i = 0; i < 20; ++i) label->AddRow(section::kConnectionPoints, -2, 0);
  ASSERT_EQ(label->RowCount(section::kConnectionPoints), 23);
  label->DeleteRow(section::kConnectionPoints, 1);
  EXPECT_EQ(label->RowCount(section::kConnectionPoints), 22);
  EXPECT_EQ(Shown(u"Connections.X2"), "2");
  Reopen();
  EXPECT_EQ(Label()->RowCount(section::kConnectionPoints), 22);
  EXPECT_EQ(Shown(u"Connections.X2"), "2");
  EXPECT_EQ(build.Row(*build.model.masters[0]->contents.shapes[0], "Connection", 1).deleted, false);
}

TEST_F(RowsTest, MoreRowsThanNumbersCanCountAreRefused) {
  auto& sheet = *build.model.pages[0]->contents.shapes[0];
  auto& section = build.Section(sheet, "Scratch");
  section.rows.resize(32767);
  for (uint32_t i = 0; i < 32767; ++i) section.rows[i].index = i;
  Open();
  EXPECT_EQ(Label()->RowCount(section::kScratch), 32767);
  EXPECT_NE(Refusal([&] { Label()->AddRow(section::kScratch, -2, 0); }).find("32767"),
            std::string::npos);
  EXPECT_EQ(Label()->RowCount(section::kScratch), 32767);
  Label()->DeleteRow(section::kScratch, 32766);
  EXPECT_EQ(Label()->AddRow(section::kScratch, -2, 0), 32766);
  section.rows.emplace_back().index = 40000;  // a file may hold more
  Reopen();
  EXPECT_NE(Refusal([&] { Label()->RowCount(section::kScratch); }).find("32768"),
            std::string::npos);
}

/// What the engine looks at for one step must not grow with the rows that are there.
TEST_F(RowsTest, WorkOfAnEditDoesNotGrowWithTheList) {
  Open();
  const auto work = [&](const std::function<void()>& step) {
    const embedded::WorkCount before = drawing_->work();
    step();
    return drawing_->work().rows - before.rows + drawing_->work().cells - before.cells;
  };
  const auto add = [&](int rows) {
    for (int i = 0; i < rows; ++i) {
      const int16_t row = Label()->AddRow(section::kScratch, -2, 0);
      const std::u16string number = Number(row + 1);
      const std::u16string name = u"Go" + number;
      Label()->Cells(u"Scratch.X" + number)->SetFormula(u"ThePage!PageScale+TheDoc!User.V");
      Label()->Cells(u"Scratch.D" + number)->SetFormula(u"Scratch.X" + number + u"*2");
      Label()->AddNamedRow(section::kHyperlink, name, 0);
      Label()->Cells(u"Hyperlink." + name + u".SubAddress")->SetFormula(u"Scratch.D" + number);
      Label()->CellExists(u"Scratch.A" + number, true);
      Label()->RowName(section::kHyperlink, row);
    }
  };
  const auto write_again = [&](int rows) {
    for (int row = 1; row <= rows; ++row) {
      Label()->Cells(u"Scratch.X" + Number(row))->SetFormula(u"TheDoc!User.V*" + Number(row));
    }
  };
  const auto remove = [&](int rows) {
    for (int i = 0; i < rows; ++i) {
      const int16_t last = static_cast<int16_t>(Label()->RowCount(section::kScratch) - 1);
      Label()->DeleteRow(section::kHyperlink, last);
      Label()->DeleteRow(section::kScratch, last);
    }
  };
  Find(u"", u"")->AddNamedRow(section::kUser, u"V", 0);
  add(100);
  const uint64_t add_short = work([&] { add(100); });
  const uint64_t write_short = work([&] { write_again(100); });
  add(2000);
  EXPECT_LE(work([&] { add(100); }), add_short * 11 / 10);
  EXPECT_LE(work([&] { write_again(100); }), write_short * 11 / 10 + 2500);
  const uint64_t remove_long = work([&] { remove(1000); }) / 10;
  remove(1000);
  EXPECT_LE(remove_long, work([&] { remove(100); }) * 3 / 2);
  EXPECT_EQ(Label()->RowCount(section::kScratch), 200);
}

}  // namespace
}  // namespace ohmwise::testing
