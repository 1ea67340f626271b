#include "base/error.h"
#include "crossref/clsLCrossRef.h"
#include "crossref/clsTBlockObj.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

class TitleBlockTest : public DrawingTest {
 protected:
  Err Failure(void (clsLCrossRef::*member)(const ShapeRef&), std::u16string_view shape) {
    try {
      (index_.*member)(drawing_->Shape(shape));
    } catch (const AutomationError& error) {
      return error.number();
    }
    return Err{};
  }
  std::u16string Group(std::u16string_view shape) {
    return drawing_->Shape(shape)->Cells(u"User.Group")->Formula();
  }
  clsLCrossRef index_;
};

ShapeSpec Frame(std::u16string name, std::u16string text, std::u16string group = u"") {
  ShapeSpec spec{std::move(name), 102, std::move(text), {}, {}};
  if (!group.empty()) spec.cells = {{u"User.Group", std::move(group)}};
  return spec;
}

TEST_F(TitleBlockTest, EqualTextsGetGroupsInOrderOfRegistrationAndTheIndexDescends) {
  TestDrawing& drawing =
      Open({{u"Page-1",
             {Frame(u"F1", u"Sheet 1"), Frame(u"F2", u"Sheet 2"), Frame(u"F3", u"Sheet 1"),
              Frame(u"F4", u"Sheet 1", u"3"), Frame(u"F5", u"Sheet 1")}}});
  for (const char16_t* name : {u"F1", u"F2", u"F3", u"F4", u"F5"}) {
    index_.AddTBlock(drawing.Shape(name));
  }
  EXPECT_EQ(NamesOf(index_.GetTBlock(drawing.document())), u"F2 F1 F3 F4 F5");
  EXPECT_EQ(Group(u"F1") + Group(u"F3") + Group(u"F4") + Group(u"F5"), u"1234");
  EXPECT_EQ(ToShape(drawing.TitleBlocks()->Item(u"Sheet 1-T1662"))->Name(), u"F3");

  index_.AddTBlock(drawing.Shape(u"F3"));  // registered under its key already
  EXPECT_EQ(Group(u"F3"), u"2");
  EXPECT_EQ(drawing.TitleBlocks()->Count(), 5);
  index_.RemoveTBlock(drawing.Shape(u"F1"));
  EXPECT_EQ(NamesOf(drawing.TitleBlocks()), u"F2 F3 F4 F5");
}

TEST_F(TitleBlockTest, GroupsBeyondTheirRangeAndStaleKeysFail) {
  TestDrawing& drawing = Open({{u"Page-1",
                                {Frame(u"Last", u"A", u"32767"), Frame(u"Over", u"A", u"32767"),
                                 Frame(u"Huge", u"B", u"32768"), Frame(u"Text", u"B", u"\"x\"")}}});
  EXPECT_EQ(Failure(&clsLCrossRef::AddTBlock, u"Last"), Err{});
  EXPECT_EQ(Failure(&clsLCrossRef::AddTBlock, u"Over"), Err::kOverflow);
  EXPECT_EQ(Failure(&clsLCrossRef::AddTBlock, u"Huge"), Err::kOverflow);
  EXPECT_EQ(Failure(&clsLCrossRef::AddTBlock, u"Text"), Err::kTypeMismatch);
  EXPECT_EQ(NamesOf(drawing.TitleBlocks()), u"Last");
  EXPECT_EQ(Failure(&clsLCrossRef::RemoveTBlock, u"Over"), Err{});  // the same key as Last
  EXPECT_EQ(Failure(&clsLCrossRef::AddTBlock, u"Last"), Err{});
  drawing.Shape(u"Last")->SetText(u"renamed");
  EXPECT_EQ(Failure(&clsLCrossRef::RemoveTBlock, u"Last"), Err::kInvalidCall);
  index_.RemoveAll(drawing.Shape(u"Last"));
  EXPECT_EQ(drawing.TitleBlocks()->Count(), 1);
}

TEST_F(TitleBlockTest, ADocumentWithoutTheIndexIsLeftAlone) {
  TestDrawing& drawing = Open({{u"Page-1", {Frame(u"F1", u"A")}}});
  const auto expect_off = [&] {
    EXPECT_FALSE(index_.GetTBlock(drawing.document()));
    EXPECT_EQ(Failure(&clsLCrossRef::AddTBlock, u"F1"), Err{});
    EXPECT_EQ(Failure(&clsLCrossRef::RemoveTBlock, u"F1"), Err{});
    EXPECT_FALSE(drawing.Shape(u"F1")->CellExists(u"User.Group", false));
  };
  drawing.Index(u"colOther")->Remove(u"TBlock");
  expect_off();
  drawing.document()->Put(u"colOther", Value::Nothing());
  expect_off();
  EXPECT_FALSE(index_.GetTBlock(nullptr));
}

TEST_F(TitleBlockTest, WithoutALanguageDatabaseNoKeyCanBeMade) {
  TestDrawing& drawing = Open({{u"Page-1", {Frame(u"F1", u"A")}}});
  drawing.host().language_database = false;
  EXPECT_EQ(Failure(&clsLCrossRef::AddTBlock, u"F1"), Err::kProvider);
  EXPECT_EQ(drawing.TitleBlocks()->Count(), 0);
}

TEST_F(TitleBlockTest, TheRecordAnswersByName) {
  TestDrawing& drawing = Open({{u"Page-1", {Frame(u"F1", u"A", u"4")}}});
  const Ref<clsTBlockObj> record = MakeRef<clsTBlockObj>();
  Object& late_bound = *record;
  EXPECT_TRUE(late_bound.Get(u"Data").IsNothing());
  EXPECT_THROW(late_bound.Get(u"GetKey"), AutomationError);
  late_bound.Put(u"data", Value(drawing.Shape(u"F1")));
  EXPECT_EQ(late_bound.Get(u"getkey").AsText(), u"A-T1664");
  EXPECT_EQ(late_bound.Call(u"GetData").AsText(), u"A");
  EXPECT_THROW(late_bound.Put(u"GetKey", Value(u"A")), AutomationError);
  late_bound.Put(u"Data", Value::Nothing());
  EXPECT_FALSE(record->Data());
}

}  // namespace
}  // namespace ohmwise::testing
