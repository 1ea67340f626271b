#include "base/error.h"
#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "lang/clsLLang.h"
#include "shapeutil/clsLMisc.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

class LabelZoneTest : public DrawingTest {
 protected:
  clsLCrossRef index_;
};

TEST_F(LabelZoneTest, ZonesAndLabelsOfOtherTypesAreNotFiled) {
  TestDrawing& drawing = Open({{u"Page-1",
                                {{u"Zone", 123, u"", {}, {}},
                                 {u"Label", 125, u"K1", {}, {}},
                                 {u"Relay", 132, u"K1", {}, {}}}}});
  for (const char16_t* name : {u"Zone", u"Label", u"Relay", u"Zone", u"Label"}) {
    index_.AddLZone(drawing.Shape(name));
    index_.AddAutoLoc(drawing.Shape(name));
  }
  EXPECT_EQ(drawing.Names(u"colLZone", u"0"), u"Zone");
  EXPECT_EQ(drawing.Names(u"colAutoLoc", u"k1"), u"Label");
  EXPECT_EQ(drawing.Index(u"colLZone")->Count() + drawing.Index(u"colAutoLoc")->Count(), 2);
  index_.RemoveLZone(drawing.Shape(u"Zone"));
  index_.RemoveAutoLoc(drawing.Shape(u"Label"));
  EXPECT_EQ(drawing.Names(u"colLZone", u"0"), u"");
  EXPECT_EQ(drawing.Names(u"colAutoLoc", u"K1"), u"");
}

TEST_F(LabelZoneTest, AShapeLiesInTheFirstZoneThatHoldsIt) {
  const auto zone = [](std::u16string name, std::u16string x, std::u16string y) {
    return ShapeSpec{name,
                     123,
                     u"",
                     {{u"PinX", x},
                      {u"PinY", y},
                      {u"LocPinX", u"1"},
                      {u"LocPinY", u"1"},
                      {u"Width", u"2"},
                      {u"Height", u"2"}},
                     {}};
  };
  const auto at = [](std::u16string name, std::u16string x, std::u16string y) {
    return ShapeSpec{name, 132, u"K", {{u"PinX", x}, {u"PinY", y}}, {}};
  };
  const auto wire = [](std::u16string name, std::u16string x, std::u16string end) {
    return ShapeSpec{name,
                     0,
                     u"",
                     {{u"PinX", x},
                      {u"PinY", u"2"},
                      {u"BeginX", x},
                      {u"BeginY", u"2"},
                      {u"EndX", end},
                      {u"EndY", u"2"}},
                     {}};
  };
  TestDrawing& drawing = Open(
      {{u"Page-1",
        {zone(u"A", u"2", u"2"), zone(u"B", u"3", u"2"), at(u"inside both", u"2.5", u"2"),
         at(u"corner", u"1", u"1"), at(u"top", u"2", u"3"), at(u"in B", u"3.5", u"2"),
         at(u"right", u"4.01", u"2"), at(u"farther", u"4.03", u"2"), at(u"below", u"2", u"0.9"),
         wire(u"wire in A", u"1.2", u"1.8"), wire(u"wire out", u"1.2", u"4.5")}},
       {u"Page-2", {at(u"elsewhere", u"2", u"2")}}});
  clsLCrossRef index;  // gone before the drawing: it holds on to the last zone
  EXPECT_FALSE(index.GetLZShape());
  index.AddLZone(drawing.Shape(u"A"));
  index.AddLZone(drawing.Shape(u"B"));
  const struct {
    const char16_t* shape;
    bool hit;
    const char16_t* zone;  // last hit afterwards
  } rows[] = {
      {u"inside both", true, u"A"}, {u"right", false, u"A"},    {u"in B", true, u"B"},
      {u"elsewhere", false, u"B"},  {u"corner", true, u"A"},    {u"top", true, u"A"},
      {u"below", false, u"A"},      {u"wire out", false, u"A"}, {u"wire in A", true, u"A"},
      {u"A", true, u"B"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(index.LZoneHitTest(drawing.Shape(row.shape)), row.hit);
    EXPECT_EQ(index.GetLZShape()->Name(), row.zone);
  }
  // Half a grid step around the zone counts, and so does the reach of a control handle.
  drawing.SetCell(drawing.Page(u"Page-1")->PageSheet(), u"User.Grid", u"0.04");
  EXPECT_TRUE(index.LZoneHitTest(drawing.Shape(u"right")));
  EXPECT_FALSE(index.LZoneHitTest(drawing.Shape(u"farther")));
  EXPECT_FALSE(index.LZoneHitTest(drawing.Shape(u"below")));
  drawing.SetCell(drawing.Shape(u"A"), u"Controls.Row_1.Y", u"-0.2");
  EXPECT_TRUE(index.LZoneHitTest(drawing.Shape(u"below")));
}

class LocationLabelTest : public DrawingTest {
 protected:
  /// A label for K1 on "Page 1" with two places to show rows in, and targets on two pages.
  TestDrawing& OpenLabelled() {
    const auto relay = [](std::u16string name, std::u16string x, std::u16string y) {
      return ShapeSpec{name, 132, u"K1", {{u"PinX", x}, {u"PinY", y}}, {}};
    };
    const ShapeSpec place0{u"L0", 0, u"", {{u"HideText", u"0"}}, {}};
    const ShapeSpec place1{u"L1.77", 0, u"", {{u"HideText", u"0"}}, {}};
    TestDrawing& drawing =
        Open({{u"Page 1",
               {relay(u"Relay.1", u"3.5", u"2.5"), {u"Label", 125, u"K1", {}, {place0, place1}}}},
              {u"A/B's c", {relay(u"Main relay", u"-3.5", u"-2.5")}}});
    const ShapeRef sheet = drawing.document()->DocumentSheet();
    for (const auto& [name, formula] : {std::pair(u"A", u"0"),
                                        {u"B", u"1"},
                                        {u"C", u"0"},
                                        {u"D", u"1"},
                                        {u"Page", u"\"/\""},
                                        {u"Separator", u"\".\""}}) {
      drawing.SetCell(sheet, u"User.Location" + std::u16string(name), formula);
    }
    index_.ScanPage(drawing.Page(u"Page 1"), u"");
    index_.ScanPage(drawing.Page(u"A/B's c"), u"");
    return drawing;
  }
  std::u16string Result(std::u16string_view shape, std::u16string_view cell) {
    return drawing_->Shape(shape)->Cells(cell)->ResultText();
  }
  std::u16string Link(int16_t row) {
    return drawing_->Shape(u"Label")->CellsSRC(section::kHyperlink, row, 2)->ResultText();
  }
  clsLCrossRef index_;
};

TEST_F(LocationLabelTest, RowsReferToTargetsHereByNameAndElsewhereThroughTheirPage) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  index_.SetAutoLoc(label, u"K1");
  EXPECT_EQ(label->Cells(u"Scratch.D1")->Formula(),
            u"INT((ABS(Relay.1!PinY)-(TheDoc!User.LocationA*Scratch.X1))/"
            u"(TheDoc!User.LocationB*Scratch.X1))+1+IF(Relay.1!PinY<0,1,0)");
  const std::u16string page = u"Pages['A/B''s c']!";
  EXPECT_EQ(label->Cells(u"Scratch.X2")->Formula(),
            page + u"ThePage!DrawingScale/" + page + u"ThePage!PageScale");
  EXPECT_NE(label->Cells(u"Scratch.B2")->Formula().find(page + u"Sheet."), std::u16string::npos);
  EXPECT_EQ(Result(u"Label", u"Scratch.A1") + Result(u"Label", u"Scratch.B1") +
                Result(u"Label", u"Scratch.C1"),
            u"1D5");
  EXPECT_EQ(Result(u"Label", u"Scratch.A2") + Result(u"Label", u"Scratch.B2") +
                Result(u"Label", u"Scratch.C2"),
            u"2 - E-5");
  EXPECT_EQ(Link(0), u"Page%201/Relay.1");
  EXPECT_EQ(Result(u"Label", u"Hyperlink.Go1.Description"), u"T197 K1");
  EXPECT_EQ(Link(1), u"A%2fB's%20c/Main relay");
}

TEST_F(LocationLabelTest, RowsFollowTheirTargetsWithoutBeingWrittenAgain) {
  TestDrawing& drawing = OpenLabelled();
  index_.SetAutoLoc(drawing.Shape(u"Label"), u"K1");
  const struct {
    double x, y;
    const char16_t* shown;
  } rows[] = {{0.5, 0.5, u"B2"},
              {0.5, 24.5, u"Z2"},
              {8, 25.5, u"AA10"},
              {-0.5, 26.5, u"AB-2"},
              {1, -0.5, u" - C3"}};
  for (const auto& row : rows) {
    drawing.Move(drawing.Shape(u"Main relay"), row.x, row.y);
    EXPECT_EQ(Result(u"Label", u"Scratch.B2") + Result(u"Label", u"Scratch.C2"), row.shown);
  }
}

TEST_F(LocationLabelTest, ARemovedTargetShortensTheLabelAndHidesItsPlace) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  index_.SetAutoLoc(label, u"K1");
  EXPECT_EQ(Result(u"L1.77", u"HideText"), u"FALSE");
  index_.Remove(drawing.Shape(u"Relay.1"));
  EXPECT_EQ(label->RowCount(section::kScratch), 1);
  EXPECT_EQ(label->RowCount(section::kHyperlink), 1);
  EXPECT_EQ(Link(0), u"A%2fB's%20c/Main relay");
  EXPECT_EQ(Result(u"L0", u"HideText") + Result(u"L1.77", u"HideText"), u"FALSETRUE");
  index_.RemovePage(drawing.Page(u"A/B's c"));
  EXPECT_EQ(label->RowCount(section::kHyperlink), 0);
  EXPECT_EQ(Result(u"L0", u"HideText"), u"TRUE");
}

TEST_F(LocationLabelTest, ALabelIsFiledUnderItsTextAnew) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  label->SetText(u"K2");
  index_.SetAutoLoc(label, u"K2");
  EXPECT_EQ(drawing.Names(u"colAutoLoc", u"K1"), u"");
  EXPECT_EQ(drawing.Names(u"colAutoLoc", u"K2"), u"Label");
  const struct {
    const char16_t *reference, *text, *key;
    int16_t rows;
  } rows[] = {{u"k1", u"k1", u"K1", 2},
              {u"K1", u"k1", u"K1", 2},  // the same, case aside: nothing is written
              {u"K3", u"K3", u"K3", 0},
              {u"", u"K3", u"K3", 0}};
  std::u16string former = u"K2";
  for (const auto& row : rows) {
    index_.SyncAutoLoc(drawing.Index(u"colAutoLoc"), former, row.reference);
    EXPECT_EQ(label->Text(), row.text);
    EXPECT_EQ(drawing.Names(u"colAutoLoc", row.key), u"Label");
    if (former != row.key) {
      EXPECT_EQ(drawing.Names(u"colAutoLoc", former), u"");
    }
    EXPECT_EQ(label->RowCount(section::kHyperlink), row.rows);
    former = row.key;
  }
  // The last one of a reference that is renamed takes its labels along, and they let go of it when
  // it leaves under its new name.
  const ShapeRef relay = drawing.Shape(u"Relay.1");
  index_.SetAutoLoc(label, u"K1");
  relay->SetText(u"K7");
  index_.Remove(relay);
  relay->Cells(u"User.Ref")->SetFormula(u"\"K7\"");
  index_.Add(relay);
  index_.SyncAutoLoc(drawing.Index(u"colAutoLoc"), u"K7", u"K7");
  EXPECT_EQ(Link(0), u"Page%201/Relay.1");
  index_.Remove(relay);
  EXPECT_EQ(label->RowCount(section::kHyperlink), 0);
}

/// A host that lets nobody refer to text fields; notes in which order the parts of a label are
/// written: S scratch, L a place, H a link, with their numbers.
class RefusingHost : public embedded::ChangeObserver {
 public:
  void FormulaSet(const CellChange& change) override {
    const CellPlace& place = change.place;
    if (change.text.find(u"!Fields.Value") != change.text.npos) Raise(Err::kHost, u"no such cell");
    std::u16string part;
    if (place.cell.starts_with(u"Scratch.")) part = u"S" + place.cell.substr(9);
    if (place.cell == u"HideText") part = place.shape.substr(0, 2);
    if (place.cell.starts_with(u"Hyperlink.Go")) part = u"H" + place.cell.substr(12, 1);
    if (!part.empty() && !order.ends_with(part)) order += part;
  }
  void ResultChanged(const CellChange&) override {}
  std::u16string order;
};

TEST_F(LocationLabelTest, ALinkIsNamedAfterTheFieldUnlessTheHostRefusesThat) {
  TestDrawing& drawing = OpenLabelled();
  for (const char16_t* name : {u"Relay.1", u"Main relay"}) {
    drawing.Shape(name)->AddRow(section::kTextField, -2, row_tag::kDefault);
    drawing.Shape(name)->Cells(u"Fields.Value")->SetFormula(u"\"coil\"");
  }
  RefusingHost host;
  drawing.drawing().SetObserver(&host);
  index_.SetAutoLoc(drawing.Shape(u"Label"), u"K1");
  drawing.drawing().SetObserver(nullptr);
  EXPECT_EQ(Result(u"Label", u"Hyperlink.Go1.Description"), u"T197 K1");
  EXPECT_EQ(Result(u"Label", u"Hyperlink.Go2.Description"), u"T197 K1");
  EXPECT_EQ(Link(1), u"A%2fB's%20c/Main relay");
  EXPECT_EQ(host.order, u"S1L0H1S2L1H2") << "row by row";
  index_.SetAutoLoc(drawing.Shape(u"Label"), u"K1");
  EXPECT_EQ(Result(u"Label", u"Hyperlink.Go1.Description"), u"T197 coil");
  // Without a word for it the link has no description; it works all the same.
  OpenLabelled().host().texts[197] = kNoTextSentence;
  index_.SetAutoLoc(drawing_->Shape(u"Label"), u"K1");
  EXPECT_EQ(Result(u"Label", u"Hyperlink.Go1.Description"), u"");
  EXPECT_EQ(Link(0), u"Page%201/Relay.1");
}

TEST_F(LocationLabelTest, WhateverPagesAndShapesAreCalledTheFormulasResolve) {
  const std::u16string pages[] = {u"it's",         u"say \"hi\"", u"A]B[c",    u"a!b",
                                  u"Übersicht 水", u"A/B",        u"1st, 2nd", u" a ",
                                  u"{T}",          u"Sheet.1",    u"100%",     u"ThePage"};
  const std::u16string shapes[] = {u"Sheet.5", u"1K",  u"K 1",    u"it's",   u"a\"b",
                                   u"[x]",     u"a!b", u"Größe",  u"{i}{S}", u"K1.",
                                   u".K1",     u"-K1", u"TheDoc", u"PinX"};
  const auto spec = [](const std::u16string& name) {
    return ShapeSpec{name, 132, u"K1", {{u"PinX", u"2.6"}, {u"PinY", u"1.6"}}, {}};
  };
  std::vector<PageSpec> specs = {{u"Front", {{u"Label", 125, u"K1", {}, {}}}}};
  for (const std::u16string& shape : shapes) specs[0].shapes.push_back(spec(shape));
  for (const std::u16string& page : pages) specs.push_back({page, {spec(u"On " + page)}});
  TestDrawing& drawing = Open(specs);
  for (const PageSpec& page : specs) index_.ScanPage(drawing.Page(page.name), u"");
  const ShapeRef label = drawing.Shape(u"Label");
  index_.SetAutoLoc(label, u"K1");
  const auto check = [&](const char* when) {
    const std::vector<ShapeRef> targets = crossref::ShapesOf(drawing.Entry(u"colRefShape", u"K1"));
    ASSERT_EQ(targets.size(), std::size(shapes) + std::size(pages));
    for (size_t i = 0; i < targets.size(); ++i) {
      const std::u16string row = DecimalText(static_cast<int32_t>(i + 1));
      const std::string name = ToUtf8(targets[i]->Name()) + when;
      EXPECT_EQ(Result(u"Label", u"Scratch.A" + row),
                DecimalText(targets[i]->ContainingPage()->Index()))
          << name;
      EXPECT_EQ(Result(u"Label", u"Scratch.B" + row) + Result(u"Label", u"Scratch.C" + row), u"B4")
          << name;
      drawing.SetCell(label, u"User.Link", u"Hyperlink.Go" + row + u".SubAddress");
      EXPECT_TRUE(Same(SharedMisc().GetUserLinkShape(label), targets[i])) << name;
    }
  };
  check(" as written");
  // Pages change their names behind the label's back, into one another's.
  for (const std::u16string& page : pages) drawing.Page(page)->SetName(u"was " + page);
  for (size_t i = 0; i < std::size(pages); ++i) {
    drawing.Page(u"was " + pages[i])->SetName(pages[(i + 1) % std::size(pages)]);
  }
  check(" renamed");
}

TEST_F(LocationLabelTest, LocTypeChoosesWhatThePlacesShow) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  for (const char16_t* place : {u"L0", u"L1.77"}) {
    drawing.Shape(place)->AddRow(section::kTextField, -2, row_tag::kDefault);
  }
  const struct {
    int16_t type;
    const char16_t *first, *second;
  } rows[] = {
      {0, u"/1.D5", u"/2. - E-5"}, {1, u"D5", u" - E-5"},       {2, u"1", u"2"}, {3, u"", u""},
      {4, u"/1.D5", u"/2. - E-5"}, {-1, u"/1.D5", u"/2. - E-5"}};
  for (const auto& row : rows) {
    SharedMisc().SetLocType(label, row.type);
    index_.SetAutoLoc(label, u"K1");
    EXPECT_EQ(Result(u"L0", u"Fields.Value"), row.first) << row.type;
    EXPECT_EQ(Result(u"L1.77", u"Fields.Value"), row.second) << row.type;
  }
  EXPECT_EQ(drawing.Shape(u"L0")->Cells(u"Fields.Format")->Formula(), u"FIELDPICTURE(0)");
  drawing.Move(drawing.Shape(u"Main relay"), 1, 1);
  EXPECT_EQ(Result(u"L1.77", u"Fields.Value"), u"/2.C3");
  // A target with a text field is named after it; a place that is no longer needed shows nothing.
  drawing.Shape(u"Relay.1")->AddRow(section::kTextField, -2, row_tag::kDefault);
  drawing.Shape(u"Relay.1")->Cells(u"Fields.Value")->SetFormula(u"\"coil\"");
  index_.Remove(drawing.Shape(u"Main relay"));
  EXPECT_EQ(Result(u"L1.77", u"Fields.Value"), u"");
  EXPECT_EQ(Result(u"Label", u"Hyperlink.Go1.Description"), u"T197 coil");
}

TEST_F(LocationLabelTest, RowsBeyondThePlacesAreWrittenAndLeftoversGo) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  const PageRef page = drawing.Page(u"Page 1");
  label->AddNamedRow(section::kHyperlink, u"Manual", row_tag::kDefault);
  // Two more shapes of the reference than there are places.
  std::vector<ShapeRef> more = {drawing.Shape(u"L0"), drawing.Shape(u"L1.77")};
  for (const ShapeRef& shape : more) {
    drawing.SetCell(shape, u"User.Ref", u"\"K1\"");
    index_.Add(shape);
  }
  index_.SetAutoLoc(label, u"K1");
  EXPECT_EQ(label->RowCount(section::kScratch), 4);
  EXPECT_EQ(label->RowCount(section::kHyperlink), 5);
  EXPECT_TRUE(label->CellExists(u"Hyperlink.Go4", false));
  EXPECT_EQ(Result(u"L1.77", u"HideText"), u"FALSE");
  // Somebody took a link away by hand; the row behind it is a leftover all the same.
  label->DeleteRow(section::kHyperlink, 2);
  ASSERT_FALSE(label->CellExists(u"Hyperlink.Go2", false));
  for (const ShapeRef& shape : more) {
    crossref::RemoveKey(drawing.Entry(u"colRefShape", u"K1"), shape->UniqueID());
  }
  index_.Remove(drawing.Shape(u"Main relay"));
  EXPECT_EQ(label->RowCount(section::kHyperlink), 2);
  EXPECT_TRUE(label->CellExists(u"Hyperlink.Manual", false));
  EXPECT_TRUE(label->CellExists(u"Hyperlink.Go1", false));
  EXPECT_EQ(Result(u"L0", u"HideText") + Result(u"L1.77", u"HideText"), u"FALSETRUE");
  EXPECT_EQ(Result(u"Label", u"Scratch.B1") + Result(u"Label", u"Scratch.C1"), u"D5");
}

TEST_F(LocationLabelTest, AMissingGridIsMadeBeforeItIsReferredTo) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef sheet = drawing.document()->DocumentSheet();
  for (int16_t row = sheet->RowCount(section::kUser); row-- > 0;) {
    if (sheet->RowName(section::kUser, row) != u"LocationB") sheet->DeleteRow(section::kUser, row);
  }
  index_.SetAutoLoc(drawing.Shape(u"Label"), u"K1");
  EXPECT_EQ(sheet->Cells(u"User.LocationB")->Formula(), u"1");  // what is there stays
  EXPECT_EQ(sheet->Cells(u"User.LocationD")->Formula(), u"0.75");
  EXPECT_EQ(sheet->Cells(u"User.LocationPage")->ResultText(), u"/");
  EXPECT_EQ(Result(u"Label", u"Scratch.B1") + Result(u"Label", u"Scratch.C1"), u"C5");
}

}  // namespace
}  // namespace ohmwise::testing
