#include "crossref/clsLCrossRef.h"
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
  TestDrawing& drawing =
      Open({{u"Page-1",
             {zone(u"A", u"2", u"2"), zone(u"B", u"3", u"2"), at(u"inside both", u"2.5", u"2"),
              at(u"corner", u"1", u"1"), at(u"in B", u"3.5", u"2"), at(u"right", u"4.01", u"2"),
              at(u"below", u"2", u"0.9"), wire(u"wire in A", u"1.2", u"1.8"),
              wire(u"wire out", u"1.2", u"4.5")}},
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
      {u"elsewhere", false, u"B"},  {u"corner", true, u"A"},    {u"below", false, u"A"},
      {u"wire out", false, u"A"},   {u"wire in A", true, u"A"}, {u"A", true, u"B"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(index.LZoneHitTest(drawing.Shape(row.shape)), row.hit);
    EXPECT_EQ(index.GetLZShape()->Name(), row.zone);
  }
  // Half a grid step around the zone counts, and so does the reach of a control handle.
  drawing.SetCell(drawing.Page(u"Page-1")->PageSheet(), u"User.Grid", u"0.04");
  EXPECT_TRUE(index.LZoneHitTest(drawing.Shape(u"right")));
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
    drawing.drawing().Move(drawing.Shape(u"Main relay"), row.x, row.y);
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
  index_.SyncAutoLoc(drawing.Index(u"colAutoLoc"), u"K2", u"K1");
  EXPECT_EQ(label->RowCount(section::kHyperlink), 2);
}

}  // namespace
}  // namespace ohmwise::testing
