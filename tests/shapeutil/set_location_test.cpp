// Labels that show where another shape is.

#include <string>
#include <vector>

#include "platform/embedded/drawing/drawing.h"
#include "shapeutil/clsLMisc.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

using Text = std::u16string;

/// Notes which cells are written.
class WrittenCells : public embedded::ChangeObserver {
 public:
  void FormulaSet(const CellChange& change) override { cells.push_back(change.place.cell); }
  void ResultChanged(const CellChange&) override {}
  std::vector<Text> cells;
};

class SetLocationTest : public DrawingTest {
 protected:
  /// A label on page "Here" and relays on three pages, all at row B and column 4 of the grid.
  TestDrawing& OpenLabelled() {
    const auto relay = [](Text name) {
      return ShapeSpec{name, 132, u"K1", {{u"PinX", u"2.6"}, {u"PinY", u"1.6"}}, {}};
    };
    return Open({{u"Here", {{u"Label", 0, u"", {}, {}}, relay(u"Relay.1")}},
                 {u"Page-2", {relay(u"Relay.2")}},
                 {u"A/B's \"c\" {T}", {relay(u"Main \"relay\" {i}")}}});
  }
  Text Formula(std::u16string_view cell) {
    return drawing_->Shape(u"Label")->Cells(cell)->Formula();
  }
  Text Result(std::u16string_view cell) {
    return drawing_->Shape(u"Label")->Cells(cell)->ResultText();
  }
};

TEST_F(SetLocationTest, FormulasReferToTheTargetHereByItsNameAndElsewhereThroughItsPage) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  label->AddRow(section::kTextField, -2, row_tag::kDefault);
  const struct {
    const char16_t *target, *page, *reference, *shown, *link;
  } rows[] = {
      {u"Relay.1", u"Here", u"Relay.1", u"/1.B4", u"Here/Relay.1"},
      {u"Relay.2", u"Page-2", u"Pages[Page-2]!Relay.2", u"/2.B4", u"Page-2/Relay.2"},
      {u"Main \"relay\" {i}", u"'A/B''s \"c\" {T}'", u"Pages['A/B''s \"c\" {T}']!Sheet.4", u"/3.B4",
       u"A%2fB's%20\"c\"%20{T}/Main \"relay\" {i}"},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(SharedMisc().SetLocation(label, drawing.Shape(row.target), u"K\"1"));
    const Text page = u"Pages[" + Text(row.page) + u"]!ThePage!";
    const Text t = row.reference;
    EXPECT_EQ(Formula(u"Scratch.X1"), page + u"DrawingScale/" + page + u"PageScale");
    EXPECT_EQ(Formula(u"Scratch.A1"), u"FORMAT(" + page + u"User.PageNumber, \"0\")");
    EXPECT_EQ(Formula(u"Scratch.D1"), u"INT((ABS(" + t +
                                          u"!PinY)-(TheDoc!User.LocationA*Scratch.X1))/"
                                          u"(TheDoc!User.LocationB*Scratch.X1))+1+IF(" +
                                          t + u"!PinY<0,1,0)");
    EXPECT_EQ(Formula(u"Scratch.B1"),
              u"IF(" + t +
                  u"!PinY<0,\" - \",\"\")&IF(Scratch.D1<26,\"\",CHAR(64+INT(Scratch.D1/26)))&"
                  u"CHAR(65+MODULUS(Scratch.D1,26))");
    EXPECT_EQ(Formula(u"Scratch.C1"), u"FORMAT(IF(" + t + u"!PinX<0,-1,1)*(INT((ABS(" + t +
                                          u"!PinX)-(TheDoc!User.LocationC*Scratch.X1))/"
                                          u"(TheDoc!User.LocationD*Scratch.X1))+2),\"0\")");
    EXPECT_EQ(Result(u"Fields.Value"), row.shown);
    EXPECT_EQ(Result(u"User.Reference"), u"K\"1");
    EXPECT_EQ(Result(u"User.Link"), row.link);
    EXPECT_EQ(Result(u"Hyperlink.Go1.SubAddress"), row.link);
    EXPECT_EQ(Result(u"Hyperlink.Go1.Description"), u"T197 " + Text(row.shown));
    EXPECT_TRUE(Same(SharedMisc().GetUserLinkShape(label), drawing.Shape(row.target)));
  }
  EXPECT_EQ(Formula(u"Fields.Value"),
            u"TheDoc!User.LocationPage&Scratch.A1&TheDoc!User.LocationSeparator&Scratch.B1&"
            u"Scratch.C1");
  EXPECT_EQ(Formula(u"Fields.Format"), u"FIELDPICTURE(0)");
  EXPECT_EQ(label->RowCount(section::kScratch), 2);
  EXPECT_EQ(label->RowCount(section::kHyperlink), 1);
  // Without any of this code.
  drawing.Move(drawing.Shape(u"Main \"relay\" {i}"), -1.8, -2.5);
  EXPECT_EQ(Result(u"Fields.Value"), u"/3. - E-3");
  drawing.Page(u"A/B's \"c\" {T}")->SetName(u"Schütz / 'K1'");
  EXPECT_EQ(Result(u"User.Link"), u"Schütz%20%2f%20'K1'/Main \"relay\" {i}");
  EXPECT_TRUE(SharedMisc().GotLinkedShape(label));
  drawing.Page(u"Page-2")->Delete();
  EXPECT_EQ(Result(u"Fields.Value"), u"/2. - E-3");
}

TEST_F(SetLocationTest, CellsAreWrittenInOrder) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  drawing.SetCell(label, u"Scratch.X1", u"1");
  drawing.SetCell(label, u"Scratch.Y1", u"Relay.1!PinY");
  WrittenCells written;
  drawing.drawing().SetObserver(&written);
  ASSERT_TRUE(SharedMisc().SetLocation(label, drawing.Shape(u"Relay.2"), u"K1"));
  drawing.drawing().SetObserver(nullptr);
  const std::vector<Text> expected = {
      // what the formulas refer to comes first
      u"User.LocationA", u"User.LocationB",    u"User.LocationC",
      u"User.LocationD", u"User.LocationPage", u"User.LocationSeparator",
      u"User.PageName",  u"User.PageNumber",   u"Scratch.X1",
      u"Scratch.X2",     u"Scratch.Y1",        u"Scratch.A1",
      u"Scratch.B1",     u"Scratch.C1",        u"Scratch.D1",
      u"User.Reference", u"User.Link",         u"Hyperlink.Go1.SubAddress"};
  EXPECT_EQ(written.cells, expected);
  EXPECT_EQ(Formula(u"Scratch.Y1"), u"");
}

TEST_F(SetLocationTest, FailuresAreFalseAndLeaveTheLabel) {
  TestDrawing& drawing = OpenLabelled();
  const ShapeRef label = drawing.Shape(u"Label");
  const ShapeRef relay = drawing.Shape(u"Relay.2");
  const ShapeRef gone = drawing.Shape(u"Relay.1");
  gone->Delete();
  const std::pair<ShapeRef, ShapeRef> rows[] = {{nullptr, relay},
                                                {label, nullptr},
                                                {label, gone},
                                                {gone, relay},
                                                {label, drawing.document()->DocumentSheet()}};
  for (const auto& [from, to] : rows) EXPECT_FALSE(SharedMisc().SetLocation(from, to, u"K1"));
  EXPECT_EQ(label->RowCount(section::kScratch), 0);
  EXPECT_FALSE(label->CellExists(u"User.Link", false));
  // A name for the link is no reason to fail.
  drawing.host().language_database = false;
  label->AddRow(section::kTextField, -2, row_tag::kDefault);
  EXPECT_TRUE(SharedMisc().SetLocation(label, relay, u"K1"));
  EXPECT_EQ(Result(u"Hyperlink.Go1.SubAddress"), u"Page-2/Relay.2");
  EXPECT_EQ(Result(u"Hyperlink.Go1.Description"), u"");
}

}  // namespace
}  // namespace ohmwise::testing
