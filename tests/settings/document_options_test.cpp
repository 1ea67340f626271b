#include "base/error.h"
#include "base/text.h"
#include "settings/clsLSettings.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

class DocumentOptionsTest : public DrawingTest {
 protected:
  std::u16string Formula(const std::u16string& name) {
    const ShapeRef sheet = drawing_->document()->DocumentSheet();
    const std::u16string cell = u"User." + name;
    return sheet->CellExists(cell, false) ? sheet->Cells(cell)->Formula() : u"-";
  }
  clsLSettings settings_;
};

TEST_F(DocumentOptionsTest, ReadingMakesMissingCells) {
  const DocumentRef document = Open({{u"1", {}}}).document();
  EXPECT_EQ(Formula(u"LocationB"), u"-");
  EXPECT_EQ(settings_.LocationA(document), 1);
  EXPECT_EQ(settings_.LocationB(document), 0.75);
  EXPECT_EQ(settings_.LocationC(document), 1);
  EXPECT_EQ(settings_.LocationD(document), 0.75);
  EXPECT_EQ(settings_.LocationPage(document), u"/");
  EXPECT_EQ(settings_.LocationSeparator(document), u".");
  EXPECT_EQ(Formula(u"LocationA"), u"1");
  EXPECT_EQ(Formula(u"LocationB"), u"0.75");
  EXPECT_EQ(Formula(u"LocationPage"), u"\"/\"");
  EXPECT_EQ(Formula(u"LocationSeparator"), u"\".\"");
}

TEST_F(DocumentOptionsTest, WritesFormulasAndReadsThemBack) {
  const DocumentRef document = Open({{u"1", {}}}).document();
  const struct {
    double number;
    const char16_t* formula;
  } numbers[] = {
      {0.1, u"0.1"}, {-2.5, u"-2.5"}, {1e-7, u"0.0000001"}, {1e6, u"1000000"}, {0, u"0"}};
  for (const auto& row : numbers) {
    settings_.SetLocationC(document, row.number);
    EXPECT_EQ(Formula(u"LocationC"), row.formula);
    EXPECT_EQ(settings_.LocationC(document), row.number);
  }
  const struct {
    const char16_t *text, *formula, *read;
  } texts[] = {{u"-", u"\"-\"", u"-"},          {u"", u"\"\"", u""},
               {u"\"=\"", u"\"=\"", u"="},      {u"\"a\"\"b\"", u"\"a\"\"b\"", u"a\"b"},
               {u"\"n\"&1", u"\"n\"&1", u"n1"}, {u"1", u"\"1\"", u"1"}};
  for (const auto& row : texts) {
    settings_.SetLocationPage(document, row.text);
    EXPECT_EQ(Formula(u"LocationPage"), row.formula);
    EXPECT_EQ(settings_.LocationPage(document), row.read);
  }
}

TEST_F(DocumentOptionsTest, NumbersComeFromTheCellWhateverItsUnit) {
  TestDrawing& drawing = Open({{u"1", {}}});
  const ShapeRef sheet = drawing.document()->DocumentSheet();
  const struct {
    const char16_t* formula;
    std::optional<double> number;
  } rows[] = {{u"25.4 mm", 1.0}, {u"0 mm", 0.0},   {u"0", 0.0},   {u"\"0.8\"", 0.8},
              {u"2*3", 6.0},     {u"\"abc\"", {}}, {u"\"\"", {}}, {u"\"-\"", {}}};
  for (const auto& row : rows) {
    drawing.SetCell(sheet, u"User.LocationD", row.formula);
    std::optional<double> number;
    std::optional<Err> error;
    try {
      number = settings_.LocationD(drawing.document());
    } catch (const AutomationError& raised) {
      error = raised.number();
    }
    EXPECT_EQ(number, row.number) << ToUtf8(row.formula);
    EXPECT_EQ(error == Err::kTypeMismatch, !row.number) << ToUtf8(row.formula);
    EXPECT_EQ(Formula(u"LocationD"), row.formula);
  }
  drawing.host().numbers = {u',', u'.', u"kr"};
  drawing.SetCell(sheet, u"User.LocationD", u"\"0,75\"");
  EXPECT_EQ(settings_.LocationD(drawing.document()), 0.75);
}

TEST_F(DocumentOptionsTest, ARefusedValueLeavesTheCellAsItWas) {
  const DocumentRef document = Open({{u"1", {}}}).document();
  const auto write = [&] { settings_.SetLocationPage(document, u"a\"b"); };
  EXPECT_THROW(write(), AutomationError);
  EXPECT_EQ(Formula(u"LocationPage"), u"") << "the row stays";
  settings_.SetLocationPage(document, u"ab");
  EXPECT_THROW(write(), AutomationError);
  EXPECT_EQ(Formula(u"LocationPage"), u"\"ab\"");
  EXPECT_THROW(settings_.LocationA({}), AutomationError);
}

/// What a location label computes for a target, with the formulas that labels hold.
class LocationTest : public DocumentOptionsTest {
 protected:
  std::u16string LiveLocation(const std::u16string& page, bool simple) {
    const ShapeRef label = drawing_->Shape(u"Label");
    const std::u16string sheet = u"Pages[" + page + u"]!ThePage!";
    const std::u16string target = u"Pages[" + page + u"]!Target" + page;
    const std::pair<const char16_t*, std::u16string> cells[] = {
        {u"Scratch.X1", sheet + u"DrawingScale/" + sheet + u"PageScale"},
        {u"Scratch.A1", u"FORMAT(" + sheet + u"User.PageNumber, \"0\")"},
        {u"Scratch.D1",
         u"INT((ABS(T!PinY)-(TheDoc!User.LocationA*Scratch.X1))/"
         u"(TheDoc!User.LocationB*Scratch.X1))+1+IF(T!PinY<0,1,0)"},
        {u"Scratch.B1",
         u"IF(T!PinY<0,\" - \",\"\")&IF(Scratch.D1<26,\"\","
         u"CHAR(64+INT(Scratch.D1/26)))&CHAR(65+MODULUS(Scratch.D1,26))"},
        {u"Scratch.C1",
         u"FORMAT(IF(T!PinX<0,-1,1)*(INT((ABS(T!PinX)-(TheDoc!User.LocationC*"
         u"Scratch.X1))/(TheDoc!User.LocationD*Scratch.X1))+2),\"0\")"},
        {u"User.Full",
         u"TheDoc!User.LocationPage&Scratch.A1&TheDoc!User.LocationSeparator&"
         u"Scratch.B1&Scratch.C1"},
        {u"User.Simple", u"Scratch.B1&Scratch.C1"},
    };
    for (const auto& [cell, formula] : cells) {
      drawing_->SetCell(label, cell, ReplaceAll(formula, u"T!", target + u"!"));
    }
    return label->Cells(simple ? u"User.Simple" : u"User.Full")->ResultText();
  }
};

TEST_F(LocationTest, SaysWhatTheFormulasOfALabelSay) {
  const std::vector<std::pair<std::u16string, std::u16string>> pin = {{u"PinX", u"0"},
                                                                      {u"PinY", u"0"}};
  TestDrawing& drawing = Open({{u"Plain", {{u"TargetPlain", 0, u"", pin, {}}}},
                               {u"Scaled", {{u"TargetScaled", 0, u"", pin, {}}}},
                               {u"Labels", {{u"Label", 0, u"", {}, {}}}}});
  const ShapeRef scaled = drawing.Page(u"Scaled")->PageSheet();
  scaled->Cells(u"DrawingScale")->SetFormula(u"50 mm");
  scaled->Cells(u"PageScale")->SetFormula(u"10 mm");
  drawing.SetCell(drawing.Page(u"Plain")->PageSheet(), u"User.PageNumber", u"7");
  drawing.SetCell(scaled, u"User.PageNumber", u"2.5");
  const DocumentRef document = drawing.document();

  const struct {
    double a, b, c, d;
    const char16_t *page, *separator;
  } grids[] = {{1, 0.75, 1, 0.75, u"/", u"."},
               {56 / 25.4, 36 / 25.4, 43.5 / 25.4, 35 / 25.4, u"", u" : "},
               {0, 0.1, -1, 3, u"\"=\"\"P\"", u""},
               {1, 0, 1, 1, u"", u""},
               {1, 1, 1, 0, u"", u""}};
  const double places[] = {0,     1,     1.75,  2.5,   0.999, 1.7499999999, 0.25,
                           -0.25, -1,    -1.75, -2.5,  19.75, 20.5,         21.25,
                           40,    100.3, 1e-9,  -1e-9, -3e-9, 526,          600};
  int compared = 0;
  for (const auto& grid : grids) {
    settings_.SetLocationA(document, grid.a);
    settings_.SetLocationB(document, grid.b);
    settings_.SetLocationC(document, grid.c);
    settings_.SetLocationD(document, grid.d);
    settings_.SetLocationPage(document, grid.page);
    settings_.SetLocationSeparator(document, grid.separator);
    for (const char16_t* page : {u"Plain", u"Scaled"}) {
      const ShapeRef target = drawing.Shape(std::u16string(u"Target") + page);
      for (const double x : places) {
        for (const double y : {x, -x, 2 - x}) {
          target->Cells(u"PinX")->SetResultNumber(x);
          target->Cells(u"PinY")->SetResultNumber(y);
          const std::u16string live = LiveLocation(page, false);
          EXPECT_EQ(settings_.GetLocation(target), live) << x << ' ' << y << ToUtf8(page);
          EXPECT_EQ(settings_.GetLocation(target, true), LiveLocation(page, true));
          compared += live.empty() ? 0 : 1;
        }
      }
    }
  }
  EXPECT_GT(compared, 300);
  for (const char16_t* number : {u"\"A7\"", u"\"12\"", u"NA()", u"0"}) {
    drawing.SetCell(drawing.Page(u"Plain")->PageSheet(), u"User.PageNumber", number);
    EXPECT_EQ(settings_.GetLocation(drawing.Shape(u"TargetPlain")), LiveLocation(u"Plain", false))
        << ToUtf8(number);
  }
}

TEST_F(LocationTest, KnownPlaces) {
  TestDrawing& drawing =
      Open({{u"Plain", {{u"Target", 0, u"", {{u"PinX", u"0"}, {u"PinY", u"0"}}, {}}}}});
  const ShapeRef target = drawing.Shape(u"Target");
  const struct {
    double x, y;
    const char16_t* location;
  } rows[] = {{1, 0.25, u"/1.A2"},   {1.75, 1, u"/1.B3"},  {0, 0.25, u"/1.A0"},
              {-1, 0.25, u"/1.A-2"}, {1, -1, u"/1. - C2"}, {1, 19, u"/1.Z2"},
              {1, 19.75, u"/1.AA2"}, {1, 20.5, u"/1.AB2"}, {1, 39.25, u"/1.BA2"}};
  for (const auto& row : rows) {
    target->Cells(u"PinX")->SetResultNumber(row.x);
    target->Cells(u"PinY")->SetResultNumber(row.y);
    EXPECT_EQ(settings_.GetLocation(target), row.location) << row.x << ' ' << row.y;
  }
  target->Cells(u"PinY")->SetResultNumber(1e5);
  EXPECT_EQ(settings_.GetLocation(target), u"#VALUE!") << "beyond the last letter";
  settings_.SetLocationB(drawing.document(), 0);
  EXPECT_EQ(settings_.GetLocation(target), u"#DIV/0!");
  EXPECT_THROW(settings_.GetLocation({}), AutomationError);
}

}  // namespace
}  // namespace ohmwise::testing
