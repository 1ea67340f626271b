#include <algorithm>
#include <cmath>

#include "tests/drawing/fixture.h"

namespace ohmwise::testing {
namespace {

class RecalculationTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    for (const char* name : {"P 1", "P2"}) {
      auto& page = build.Page(name);
      for (uint32_t id : {1u, 2u, 3u}) {
        build.Shape(page.contents, id, "S" + std::to_string(id));
      }
    }
  }
  embedded::Sheet& Stored(size_t page, size_t shape) {
    return *build.model.pages[page]->contents.shapes[shape];
  }
  std::vector<std::string> ChangesOf(std::u16string_view page, std::u16string_view shape,
                                     std::u16string_view cell, std::u16string_view formula) {
    Recorder recorder;
    drawing_->SetObserver(&recorder);
    At(page, shape, cell)->SetFormula(formula);
    drawing_->SetObserver(nullptr);
    before_ = recorder.before;
    return recorder.results;
  }
  std::vector<std::string> before_;  ///< what `ChangesOf` replaced: the formula, then the results
};

TEST_F(RecalculationTest, OneChangeGoesRoundEverySheetOnceAndInOrder) {
  build.User(Stored(0, 0), "A", "1");
  build.User(Stored(0, 0), "B", "2", "User.A*2");
  build.User(Stored(0, 1), "C", "3", "S1!User.A+Sheet.1!User.B");
  build.User(Stored(1, 0), "D", "4", "Pages['P 1']!S2!User.C+1");
  build.User(build.model.pages[1]->sheet, "E", "5", "Pages[P 1]!Sheet.2!User.C+S1!User.D");
  build.User(build.model.sheet, "F", "6", "Pages[P2]!ThePage!User.E");
  build.User(Stored(1, 2), "G", "7", "TheDoc!User.F&\"/\"&ThePage!User.E");
  build.User(Stored(1, 2), "Apart", "8", "User.None");
  Open();
  EXPECT_EQ(ChangesOf(u"P 1", u"S1", u"User.A", u"10"),
            (std::vector<std::string>{"P 1/S1/User.A=10", "P 1/S1/User.B=20", "P 1/S2/User.C=30",
                                      "P2/S1/User.D=31", "P2//User.E=61", "//User.F=61",
                                      "P2/S3/User.G=61/61"}));
  EXPECT_FALSE(build.model.recalculate_on_open);
  // Nothing is recomputed when a result stays the same.
  EXPECT_TRUE(ChangesOf(u"P 1", u"S1", u"User.A", u"10").empty());
}

TEST_F(RecalculationTest, StoredValuesAreTrustedUntilSomethingChanges) {
  build.User(Stored(0, 0), "A", "1");
  build.User(Stored(0, 0), "B", "99", "User.A+1");
  Open();
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.B")), "99");
  EXPECT_EQ(ChangesOf(u"P 1", u"S1", u"User.A", u"5").back(), "P 1/S1/User.B=6");
  EXPECT_EQ(before_, (std::vector<std::string>{"1", "1", "99"}));
  ChangesOf(u"P 1", u"S1", u"User.B", u"User.A*2");
  EXPECT_EQ(before_, (std::vector<std::string>{"User.A+1", "6"}));
}

TEST_F(RecalculationTest, FormulasCanBeReplaced) {
  build.User(Stored(0, 0), "A", "1");
  build.User(Stored(0, 0), "B", "2");
  build.User(Stored(0, 0), "C", "1", "User.A");
  build.Set(Stored(1, 0), "PinX", "3", "Pages[P 1]!S3!User.Late*2");
  Open();
  ChangesOf(u"P 1", u"S1", u"User.C", u"User.B+100");
  EXPECT_EQ(ChangesOf(u"P 1", u"S1", u"User.A", u"7"),
            (std::vector<std::string>{"P 1/S1/User.A=7"}));
  EXPECT_EQ(ChangesOf(u"P 1", u"S1", u"User.B", u"3").back(), "P 1/S1/User.C=103");
  // A row that a formula of the file waited for.
  EXPECT_EQ(Text(At(u"P2", u"S1", u"PinX")), "3");
  Find(u"P 1", u"S3")->AddNamedRow(section::kUser, u"Late", 0);
  EXPECT_EQ(ChangesOf(u"P 1", u"S3", u"User.Late", u"4").back(), "P2/S1/PinX=8");
}

TEST_F(RecalculationTest, CirclesShowAnErrorAndCanBeOpenedAgain) {
  build.User(Stored(0, 0), "A", "1");
  build.User(Stored(0, 0), "B", "2", "User.A+1");
  build.User(Stored(0, 0), "C", "3", "User.B+1");
  build.User(Stored(0, 1), "D", "4", "S1!User.C+1");
  Open();
  ChangesOf(u"P 1", u"S1", u"User.A", u"User.C");
  for (const char16_t* cell : {u"User.A", u"User.B", u"User.C"}) {
    EXPECT_EQ(Text(At(u"P 1", u"S1", cell)), "#REF!");
  }
  EXPECT_EQ(Text(At(u"P 1", u"S2", u"User.D")), "#REF!");
  const auto& stored = build.Row(Stored(0, 1), "User", "D").cells[0];
  EXPECT_EQ(stored.error, "#REF!");
  ChangesOf(u"P 1", u"S1", u"User.A", u"10");
  EXPECT_EQ(Text(At(u"P 1", u"S2", u"User.D")), "13");
  EXPECT_EQ(stored.error, "");
  ChangesOf(u"P 1", u"S1", u"User.B", u"User.B+1");
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.C")), "#REF!");
}

TEST_F(RecalculationTest, WhatIsNotEvaluatedKeepsItsValue) {
  build.User(Stored(0, 0), "A", "1");
  build.User(Stored(0, 0), "B", "42", "TEXTWIDTH(TheText)+User.A");
  build.User(Stored(0, 0), "C", "43", "User.B+1");
  Open();
  EXPECT_EQ(ChangesOf(u"P 1", u"S1", u"User.A", u"9"),
            (std::vector<std::string>{"P 1/S1/User.A=9"}));
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.B")), "42");
  EXPECT_TRUE(build.model.recalculate_on_open);
  const auto& stored = build.Row(Stored(0, 0), "User", "C").cells[0];
  At(u"P 1", u"S1", u"User.C")->SetFormula(u"1/0");
  EXPECT_EQ(stored.error, "#DIV/0!");
  At(u"P 1", u"S1", u"User.C")->SetFormula(u"TEXTWIDTH(TheText)");
  EXPECT_EQ(stored.error, "");
}

TEST_F(RecalculationTest, TextsThatDoubleEndInAnError) {
  auto& shape = Stored(0, 0);
  build.User(shape, "T0", "", {}, "STR");
  for (int i = 1; i < 40; ++i) {
    const std::string before = "User.T" + std::to_string(i - 1);
    build.User(shape, "T" + std::to_string(i), "", before + "&" + before, "STR");
  }
  // Many long ones are too much together.
  build.User(shape, "Letter", "", {}, "STR");
  build.User(shape, "Last", "", "ISERRVALUE(User.L1399)");
  for (int i = 0; i < 1400; ++i) {
    build.User(shape, "L" + std::to_string(i), "", "REPT(User.Letter,65536)", "STR");
  }
  Open();
  At(u"P 1", u"S1", u"User.T0")->SetFormula(u"\"abc\"");
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.T14")).size(), 3u << 14);
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.T39")), "#VALUE!");
  At(u"P 1", u"S1", u"User.Letter")->SetFormula(u"\"x\"");
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.L0")).size(), 65536u);
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.Last")), "TRUE");
}

TEST_F(RecalculationTest, ResultsKeepTheUnitOfTheCellWhenTheyHaveNone) {
  build.User(Stored(0, 0), "N", "1");
  const struct {
    const char *unit, *formula, *text, *stored_unit;
  } rows[] = {{"MM", "User.N*1", "76.2 mm", "MM"},
              {"DEG", "User.N", "171.8873 deg", "DEG"},
              {"", "User.N*2", "6", ""},
              {"MM", "User.N*1 in", "3 in", "IN"},
              {"STR", "User.N*1", "3", ""},
              {"MM", "User.N&\"x\"", "3x", "STR"},
              {"MM", "User.N>2", "TRUE", "BOOL"},
              {"BOOL", "User.N+0", "3", ""},
              {"", "PNT(User.N,1)", "PNT(3,1)", "PNT"},
              {"MM", "User.N/0", "#DIV/0!", "MM"}};
  for (size_t i = 0; i < std::size(rows); ++i) {
    build.User(Stored(0, 0), "R" + std::to_string(i), "1", rows[i].formula, rows[i].unit);
  }
  Open();
  At(u"P 1", u"S1", u"User.N")->SetFormula(u"3");
  for (size_t i = 0; i < std::size(rows); ++i) {
    const std::string name = "R" + std::to_string(i);
    EXPECT_EQ(Text(At(u"P 1", u"S1", FromUtf8("User." + name))), rows[i].text) << rows[i].formula;
    EXPECT_EQ(build.Row(Stored(0, 0), "User", name).cells[0].unit, rows[i].stored_unit)
        << rows[i].formula;
  }
}

TEST_F(RecalculationTest, TextsAndNamesOfTheShapeAreFollowed) {
  build.User(Stored(0, 0), "T", "", "SHAPETEXT(TheText)", "STR");
  build.Text(Stored(0, 0), "K1\n");
  Open();
  Find(u"P 1", u"S1")->SetText(u"K2");
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.T")), "K2");
}

TEST_F(RecalculationTest, GluedEndsFollowTheSymbol) {
  auto& relay = Stored(0, 0);
  build.Set(relay, "PinX", "4");
  build.Set(relay, "PinY", "5");
  build.Set(relay, "Width", "2");
  build.Set(relay, "Height", "2");
  build.Set(relay, "LocPinX", "1", "Width*0.5");
  build.Set(relay, "LocPinY", "1", "Height*0.5");
  build.Set(relay, "Angle", "0");
  build.Row(relay, "Connection", 0).cells = {build.Cell("X", "2", "Width*1"),
                                             build.Cell("Y", "1.5")};
  auto& wire = Stored(0, 1);
  for (const char* cell : {"BeginX", "BeginY", "EndX", "EndY"}) build.Set(wire, cell, "0");
  build.Set(wire, "Width", "0", "SQRT((EndX-BeginX)^2+(EndY-BeginY)^2)");
  Open();
  drawing_->Glue(Find(u"P 1", u"S2"), u"EndX", Find(u"P 1", u"S1"), 0);
  EXPECT_EQ(FormulaOf(At(u"P 1", u"S2", u"EndY")),
            "PAR(PNT(Sheet.1!Connections.X1,Sheet.1!Connections.Y1))");
  EXPECT_DOUBLE_EQ(At(u"P 1", u"S2", u"EndX")->ResultNumber(), 5);
  drawing_->Move(Find(u"P 1", u"S1"), 2, 4);
  EXPECT_DOUBLE_EQ(At(u"P 1", u"S2", u"EndX")->ResultNumber(), 3);
  EXPECT_DOUBLE_EQ(At(u"P 1", u"S2", u"EndY")->ResultNumber(), 4.5);
  EXPECT_DOUBLE_EQ(At(u"P 1", u"S2", u"Width")->ResultNumber(), std::hypot(3, 4.5));
  const struct {
    const char16_t *cell, *formula;
    double x, y;
  } turns[] = {{u"Angle", u"90 deg", 1.5, 5}, {u"FlipX", u"TRUE", 1.5, 3},
               {u"FlipY", u"TRUE", 2.5, 3},   {u"FlipX", u"FALSE", 2.5, 5},
               {u"LocPinY", u"2", 1.5, 5},    {u"Angle", u"0 deg", 3, 4.5}};
  for (const auto& turn : turns) {
    At(u"P 1", u"S1", turn.cell)->SetFormula(turn.formula);
    EXPECT_NEAR(At(u"P 1", u"S2", u"EndX")->ResultNumber(), turn.x, 1e-12) << ToUtf8(turn.cell);
    EXPECT_NEAR(At(u"P 1", u"S2", u"EndY")->ResultNumber(), turn.y, 1e-12) << ToUtf8(turn.cell);
  }
  EXPECT_EQ(Find(u"P 1", u"S2")->Connects()->Count(), 1);
  // Glued elsewhere, an end leaves where it was; the other end stays.
  for (const uint32_t row : {0u, 1u}) {
    build.Row(Stored(0, 2), "Connection", row).cells = {build.Cell("X", "0"), build.Cell("Y", "0")};
  }
  drawing_->Glue(Find(u"P 1", u"S2"), u"BeginX", Find(u"P 1", u"S1"), 0);
  drawing_->Glue(Find(u"P 1", u"S2"), u"BeginX", Find(u"P 1", u"S3"), 1);
  EXPECT_EQ(Find(u"P 1", u"S2")->Connects()->Count(), 2);
  EXPECT_EQ(Find(u"P 1", u"S3")->FromConnects()->Count(), 1);
  const embedded::StoredConnect& connect = build.model.pages[0]->contents.connects.back();
  EXPECT_EQ(connect.from_part, 9);
  EXPECT_EQ(connect.to_part, 101);
  EXPECT_EQ(connect.to_cell, "Connections.X2");
  EXPECT_NE(Refusal([&] { drawing_->Glue(Find(u"P 1", u"S2"), u"EndX", Find(u"P 1", u"S3"), 2); }),
            "");
  EXPECT_EQ(Find(u"P 1", u"S1")->FromConnects()->Count(), 1);
  // The end stays where it was when its symbol goes.
  Find(u"P 1", u"S1")->Delete();
  EXPECT_EQ(FormulaOf(At(u"P 1", u"S2", u"EndX")), "3");
  EXPECT_EQ(FormulaOf(At(u"P 1", u"S2", u"BeginX")),
            "PAR(PNT(Sheet.3!Connections.X2,Sheet.3!Connections.Y2))");
  EXPECT_EQ(Find(u"P 1", u"S2")->Connects()->Count(), 1);
}

TEST_F(RecalculationTest, MovesAreRedirectedOrRefused) {
  auto& shape = Stored(0, 0);
  build.User(shape, "Held", "1");
  build.Set(shape, "PinX", "1", "SETATREF(User.Held)");
  build.Set(shape, "PinY", "1", "GUARD(1)");
  // A length is kept in whole steps, whoever sets it.
  build.User(shape, "Step", "2");
  build.Set(shape, "Width", "2", "SETATREF(User.Step,SETATREFEVAL(INT(SETATREFEXPR(0)+0.5)))");
  build.User(shape, "Twice", "2");
  build.Set(shape, "Height", "2",
            "SETATREF(User.Twice,SETATREFEVAL(SETATREFEXPR((1+2)*2)+MAX(1,LEN(\")\"))))");
  Open();
  At(u"P 1", u"S1", u"Height")->SetFormula(u"4");
  EXPECT_EQ(FormulaOf(At(u"P 1", u"S1", u"User.Twice")), "5");
  At(u"P 1", u"S1", u"Width")->SetFormula(u"4.75");
  EXPECT_EQ(FormulaOf(At(u"P 1", u"S1", u"User.Step")), "5");
  EXPECT_NE(Refusal([&] { drawing_->Move(Find(u"P 1", u"S1"), 7, 7); }).find("GUARD"),
            std::string::npos);
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.Held")), "1");
  drawing_->Move(Find(u"P 1", u"S1"), 7, 1);
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"User.Held")), "7");
  EXPECT_EQ(Text(At(u"P 1", u"S1", u"PinX")), "7");
}

TEST_F(RecalculationTest, AgreesWithRecomputingEverything) {
  // Cells in a row where each may look back at random ones; edits at random places.
  uint32_t seed = 12345;
  const auto random = [&](uint32_t bound) {
    seed = seed * 1664525u + 1013904223u;
    return (seed >> 8) % bound;
  };
  constexpr uint32_t kCells = 60;
  std::vector<int64_t> base(kCells);
  std::vector<std::vector<uint32_t>> looks(kCells);
  const auto place = [](uint32_t i) { return std::pair{i % 2, (i / 2) % 3}; };
  for (uint32_t i = 0; i < kCells; ++i) {
    std::string formula = "0";
    for (uint32_t k = 0; i > 0 && k < random(4); ++k) {
      const uint32_t j = random(i);
      looks[i].push_back(j);
      const auto [page, shape] = place(j);
      formula += std::string("+Pages[") + (page == 0 ? "P 1" : "P2") + "]!S" +
                 std::to_string(shape + 1) + "!User.N" + std::to_string(j);
    }
    const auto [page, shape] = place(i);
    build.User(Stored(page, shape), "N" + std::to_string(i), "0",
               looks[i].empty() ? std::nullopt : std::optional<std::string_view>(formula));
  }
  Open();
  for (int edit = 0; edit < 40; ++edit) {
    uint32_t target = random(kCells);
    while (!looks[target].empty()) target = random(kCells);
    base[target] = random(1000);
    const auto name = [&](uint32_t i) { return FromUtf8("User.N" + std::to_string(i)); };
    const auto cell = [&](uint32_t i) {
      const auto [page, shape] = place(i);
      return At(page == 0 ? u"P 1" : u"P2", FromUtf8("S" + std::to_string(shape + 1)), name(i));
    };
    cell(target)->SetResultNumber(static_cast<double>(base[target]));
    std::vector<int64_t> expected(kCells);
    for (uint32_t i = 0; i < kCells; ++i) {
      expected[i] = base[i];
      for (const uint32_t j : looks[i]) expected[i] += expected[j];
      ASSERT_EQ(cell(i)->ResultNumber(), static_cast<double>(expected[i])) << edit << " " << i;
    }
  }
}

}  // namespace
}  // namespace ohmwise::testing
