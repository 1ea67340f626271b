// What the clients remember of foreign objects, and when they ask again.
#include "platform/com/moment.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "platform/com/objects.h"
#include "tests/com/clients/loopback/loopback.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {

namespace {

class MomentTest : public DrawingTest {
 protected:
  void OpenPage() {
    Open({{u"1",
           {{u"A",
             132,
             u"K1",
             {{u"User.Ref", u"\"K1\""}, {u"Prop.Twice", u"User.Ref&User.Ref"}},
             {}},
            {u"B", 132, u"K2", {}, {}}}}});
  }
  /// The drawing's own handle: what is done through it, no client sees.
  ShapeRef Own(std::u16string_view name) { return drawing_->drawing().FindShape(u"1", name); }
  int64_t Calls(const char16_t* member) { return loopback::CurrentTraffic().by_member[member]; }
};

TEST_F(MomentTest, ResultsAreAskedForOncePerCallUntilSomethingIsWritten) {
  OpenPage();
  const ShapeRef shape = drawing_->Shape(u"A");
  const ShapeRef again = drawing_->Shape(u"A");
  com::NoteEntry();
  loopback::CurrentTraffic() = {};
  EXPECT_EQ(shape->Cells(u"Prop.Twice")->ResultText(), u"K1K1");
  EXPECT_EQ(shape->Cells(u"PROP.twice")->ResultText(), u"K1K1");
  EXPECT_EQ(shape->Text(), u"K1");
  EXPECT_EQ(shape->Text(), u"K1");
  EXPECT_EQ(Calls(u"Shape.CellsU"), 1);
  EXPECT_EQ(Calls(u"Cell.ResultStr"), 1);
  EXPECT_EQ(Calls(u"Characters.Text"), 1);

  // Our own writes, whichever handle they go through.
  again->Cells(u"User.Ref")->SetFormula(u"\"K7\"");
  EXPECT_EQ(shape->Cells(u"Prop.Twice")->ResultText(), u"K7K7");
  EXPECT_THROW(again->Cells(u"User.Ref")->SetFormula(u"(("), AutomationError);
  again->SetText(u"K8");
  EXPECT_EQ(shape->Text(), u"K8");

  // What others do is seen by the next call.
  Own(u"A")->Cells(u"User.Ref")->SetFormula(u"\"K9\"");
  Own(u"A")->SetText(u"K9");
  com::NoteEntry();
  EXPECT_EQ(shape->Cells(u"Prop.Twice")->ResultText(), u"K9K9");
  EXPECT_EQ(shape->Text(), u"K9");
}

TEST_F(MomentTest, CellsAreKeptWhileFormulasAreWrittenOneAfterTheOther) {
  OpenPage();
  const ShapeRef shape = drawing_->Shape(u"A");
  com::NoteEntry();
  loopback::CurrentTraffic() = {};
  for (const char16_t* formula : {u"1", u"2", u"3"}) {
    ASSERT_TRUE(shape->CellExists(u"User.Ref", false));
    shape->Cells(u"User.Ref")->SetFormula(formula);
    shape->Cells(u"PinX")->SetFormula(formula);
  }
  EXPECT_EQ(Calls(u"Shape.CellsU"), 2);
  EXPECT_EQ(Calls(u"Shape.CellExistsU"), 0);
  EXPECT_EQ(Calls(u"Cell.FormulaU"), 6);
}

TEST_F(MomentTest, NoCellOutlivesItsRowOrTheCallThatAskedForIt) {
  OpenPage();
  const ShapeRef shape = drawing_->Shape(u"A");
  const ShapeRef again = drawing_->Shape(u"A");
  ASSERT_TRUE(shape->CellExists(u"Prop.Twice", false));
  again->DeleteRow(section::kProp, 0);
  EXPECT_FALSE(shape->CellExists(u"Prop.Twice", false));

  com::NoteEntry();
  const int64_t before = loopback::LiveObjects();
  EXPECT_TRUE(shape->CellExists(u"User.Ref", false));
  EXPECT_EQ(loopback::LiveObjects(), before + 1);
  com::NoteEntry();
  EXPECT_EQ(loopback::LiveObjects(), before);
}

TEST_F(MomentTest, AMissingCellIsToldFromAShapeThatIsGone) {
  OpenPage();
  const ShapeRef shape = drawing_->Shape(u"B");
  EXPECT_FALSE(shape->CellExists(u"User.Absent", false));
  EXPECT_FALSE(shape->CellExists(u"User.Absent", true));
  Own(u"B")->Delete();
  com::NoteEntry();
  EXPECT_THROW(shape->CellExists(u"User.Absent", false), AutomationError);
  EXPECT_THROW(shape->Text(), AutomationError);
}

TEST_F(MomentTest, AnUntypedShapeAnswersByNameAsATypedOne) {
  OpenPage();
  const ShapeRef shape = drawing_->Shape(u"A");
  const auto* foreign = dynamic_cast<const com::Foreign*>(shape.get());
  ASSERT_TRUE(foreign);
  const ObjectRef untyped = com::WrapForeign(foreign->dispatch());
  EXPECT_TRUE(Same(untyped, shape));
  EXPECT_EQ(untyped->Get(u"text").ToText(), u"K1");
  EXPECT_EQ(untyped->Get(u"UniqueID").ToText(), shape->UniqueID());
  EXPECT_EQ(untyped->Get(u"NameU").ToText(), u"A");
}

}  // namespace

}  // namespace ohmwise::testing
