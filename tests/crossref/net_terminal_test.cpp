#include "crossref/clsLCrossRef.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

class NetTerminalTest : public DrawingTest {
 protected:
  clsLCrossRef index_;
};

ShapeSpec Net(std::u16string name, std::u16string text, std::u16string net_name) {
  return {std::move(name), 106, std::move(text), {{u"Scratch.B1", u"\"" + net_name + u"\""}}, {}};
}

TEST_F(NetTerminalTest, NetsAreFiledByPageInTextOrderAndByName) {
  TestDrawing& drawing = Open({{u"Page-1", {Net(u"N.1", u"L1", u"L1"), Net(u"N.2", u"L10", u"L1")}},
                               {u"Page-2",
                                {Net(u"N.3", u"L2", u"L2"),
                                 Net(u"N.4", u"L1", u"l1"),
                                 Net(u"N.5", u"L2", u"X"),
                                 {u"N.6", 107, u"L1", {{u"Scratch.B1", u"\"L1\""}}, {}}}}});
  for (const char16_t* name : {u"N.1", u"N.2", u"N.4", u"N.3", u"N.5", u"N.6"}) {
    index_.AddNet(drawing.Shape(name));
  }
  EXPECT_EQ(drawing.Names(u"colPageNet", u"0"), u"N.2 N.1");
  EXPECT_EQ(NamesOf(index_.GetPageNets(drawing.Index(u"colPageNet"), 10)), u"N.3 N.5 N.4");
  EXPECT_EQ(drawing.Names(u"colUNetName", u"L1"), u"N.1 N.2 N.4");

  // Filed on its page already, a net with a new name still joins the entry of that name.
  drawing.SetCell(drawing.Shape(u"N.5"), u"Scratch.B1", u"\"Y\"");
  index_.AddNet(drawing.Shape(u"N.5"));
  EXPECT_EQ(drawing.Names(u"colPageNet", u"10"), u"N.3 N.5 N.4");
  EXPECT_EQ(drawing.Names(u"colUNetName", u"Y"), u"N.5");

  index_.RemoveNet(drawing.Shape(u"N.4"));
  index_.RemoveNet(drawing.Shape(u"N.4"));
  EXPECT_EQ(drawing.Names(u"colPageNet", u"10"), u"N.3 N.5");
  EXPECT_EQ(drawing.Names(u"colUNetName", u"L1"), u"N.1 N.2");

  // One that cannot be compared with a dead net is filed nowhere.
  drawing.Shape(u"N.3")->Delete();
  index_.AddNet(drawing.Shape(u"N.4"));
  EXPECT_EQ(drawing.Entry(u"colPageNet", u"10")->Count(), 2);
  EXPECT_EQ(drawing.Names(u"colUNetName", u"L1"), u"N.1 N.2");
}

TEST_F(NetTerminalTest, ARemovedNetLeavesTheCableCoresThatNoOtherNetFills) {
  const struct {
    const char16_t* arrange;
    const char16_t* after_first;   // one of two nets named W1 is gone
    const char16_t* after_second;  // the name is free
  } rows[] = {
      {u"W1|W2|W3", u"W1|W2|W3", u"|W2|W3"},
      {u"W2| W1 ||W1", u"W2| W1 ||W1", u"W2"},
      {u"W10|w1", u"W10|w1", u"W10|w1"},
      {u"{first}|W2", u"|W2", u"|W2"},
      {u"", u"", u""},
  };
  for (const auto& row : rows) {
    TestDrawing& drawing =
        Open({{u"Page-1", {Net(u"N.1", u"W1", u"W1"), Net(u"N.2", u"W1", u"W1")}}}, {u"CableProp"});
    const ShapeRef first = drawing.Shape(u"N.1");
    std::u16string arrange = row.arrange;
    if (arrange.starts_with(u"{first}")) arrange.replace(0, 7, first->UniqueID());
    const ShapeRef cables = drawing.document()->MasterAt(1)->PageSheet();
    drawing.SetCell(cables, u"User.Cable1", u"\"\"");
    const CellRef prompt = cables->Cells(u"User.Cable1.Prompt");
    prompt->SetFormula(u"\"" + arrange + u"\"");
    index_.AddNet(first);
    index_.AddNet(drawing.Shape(u"N.2"));
    index_.RemoveNet(first);
    EXPECT_EQ(prompt->ResultText(), row.after_first);
    index_.RemoveNet(drawing.Shape(u"N.2"));
    EXPECT_EQ(prompt->ResultText(), row.after_second);
  }
}

TEST_F(NetTerminalTest, TerminalsAreFiledByPageAndFollowWhenDetected) {
  TestDrawing& drawing =
      Open({{u"Page-1",
             {{u"T.1", 113, u"1", {}, {}}, {u"T.2", 114, u"2", {}, {}}, {u"P", 112, u"", {}, {}}}},
            {u"Page-2", {{u"T.3", 113, u"3", {}, {}}}}});
  const CollectionRef terminals = drawing.Index(u"colPageTerm");
  for (const char16_t* name : {u"T.2", u"T.1", u"T.3", u"P"}) index_.AddTerm(drawing.Shape(name));
  EXPECT_EQ(NamesOf(index_.GetPageTerms(terminals, 0)), u"T.2 T.1");

  // T.3 filed on a page it has left.
  const ShapeRef moved = drawing.Shape(u"T.3");
  ToCollection(terminals->Item(u"10"))->Remove(moved->UniqueID());
  ToCollection(terminals->Item(u"0"))->Add(Value(moved), moved->UniqueID());
  index_.SetDisableTermScan(true);
  index_.DetectTerm(moved);
  EXPECT_EQ(drawing.Names(u"colPageTerm", u"0"), u"T.2 T.1 T.3");
  index_.SetDisableTermScan(false);
  index_.DetectTerm(moved);
  index_.DetectTerm(moved);
  index_.DetectTerm(drawing.Shape(u"P"));
  index_.DetectTerm(drawing.Shape(u"T.2"));  // where it is filed: the order stays
  EXPECT_EQ(drawing.Names(u"colPageTerm", u"0"), u"T.2 T.1");
  EXPECT_EQ(drawing.Names(u"colPageTerm", u"10"), u"T.3");

  index_.RemoveTerm(drawing.Shape(u"T.2"));
  EXPECT_EQ(drawing.Names(u"colPageTerm", u"0"), u"T.1");
}

}  // namespace
}  // namespace ohmwise::testing
