#include "tests/drawing/fixture.h"

namespace ohmwise::testing {
namespace {

class HandlesTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    auto& page = build.Page("P");
    auto& shape = build.Shape(page.contents, 3, "S");
    build.Text(shape, "hello\n");
    build.model.full_path = "/drawings/Plan A.vsdx";
    Open();
  }
};

TEST_F(HandlesTest, LateBoundMembersAnswerByName) {
  const ShapeRef shape = Find(u"P", u"S");
  const Object& same = *shape;
  EXPECT_EQ(shape->Get(u"text").AsText(), u"hello");
  EXPECT_EQ(shape->Get(u"ID").ToInt32(), 3);
  EXPECT_EQ(shape->Get(u"ContainingPageID").ToInt32(), 0);
  EXPECT_EQ(shape->Get(u"ContainingPage").AsObject()->Get(u"NAME").AsText(), u"P");
  EXPECT_TRUE(shape->Get(u"ContainingPage")
                  .AsObject()
                  ->Get(u"Shapes")
                  .AsObject()
                  ->Get(u"Item", std::vector<Value>{Value(1)})
                  .AsObject()
                  ->SameAs(same));
  EXPECT_EQ(shape->Get(u"Document").AsObject()->Get(u"Pages").AsObject()->Get(u"Count").ToInt32(),
            1);
  EXPECT_TRUE(shape->Get(u"Application").IsNothing());
  shape->Put(u"Text", Value(u"new"));
  EXPECT_EQ(shape->Text(), u"new");
  try {
    shape->Get(u"Nonsense");
    FAIL() << "an unknown member must raise";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kUnsupportedMember);
  }
}

TEST_F(HandlesTest, CodeModuleMembersMustBeDeclared) {
  const DocumentRef document = drawing_->document();
  try {
    document->Get(u"colRefShape");
    FAIL() << "an undeclared member must raise";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kUnsupportedMember);
  }
  const CollectionRef collection = MakeCollection();
  collection->Add(Value(Find(u"P", u"S")), u"key");
  document->Put(u"colRefShape", Value(collection));
  EXPECT_TRUE(Same(drawing_->document()->Get(u"COLREFSHAPE").AsObject(), collection));
  EXPECT_EQ(document->Name(), u"Plan A.vsdx");
  EXPECT_EQ(document->Path(), u"/drawings/");
}

TEST_F(HandlesTest, HandlesOutliveTheDrawingButRaise) {
  const ShapeRef shape = Find(u"P", u"S");
  const CellRef cell = shape->Cells(u"PinX");
  const DocumentRef document = drawing_->document();
  const ShapesRef shapes = document->Pages()->Item(1)->Shapes();
  drawing_.reset();
  EXPECT_NE(Refusal([&] { shape->Name(); }), "");
  EXPECT_NE(Refusal([&] { cell->SetResultNumber(1); }), "");
  EXPECT_NE(Refusal([&] { document->Name(); }), "");
  EXPECT_NE(Refusal([&] { shapes->Count(); }), "");
  // The model can be opened again.
  Open();
  EXPECT_EQ(Find(u"P", u"S")->Text(), u"hello");
}

TEST_F(HandlesTest, EqualHandlesMeanTheSameSheet) {
  EXPECT_TRUE(Same(Find(u"P", u"S"), Find(u"P", u"Sheet.3")));
  EXPECT_TRUE(Same(Find(u"P", u""), drawing_->document()->Pages()->Item(1)->PageSheet()));
  EXPECT_FALSE(Same(Find(u"P", u"S"), Find(u"P", u"")));
  const DocumentRef document = drawing_->document();
  EXPECT_TRUE(Same(document->Pages(), drawing_->document()->Pages()));
  EXPECT_TRUE(Same(document->Pages()->Item(1), Find(u"P", u"S")->ContainingPage()));
  auto& contents = build.model.pages[0]->contents;
  for (const char* end : {"BeginX", "EndX"}) {
    contents.connects.push_back({3, 3, end, "PinX", {}, {}});
  }
  const CollectionRef from = Find(u"P", u"S")->Connects();
  EXPECT_TRUE(
      from->Item(1).AsObject()->SameAs(*Find(u"P", u"S")->FromConnects()->Item(1).AsObject()));
  EXPECT_FALSE(from->Item(1).AsObject()->SameAs(*from->Item(2).AsObject()));
  EXPECT_EQ(Find(u"P", u"")->ContainingPageID(), 0);
  EXPECT_EQ(Find(u"", u"")->ContainingPageID(), -1);
}

TEST_F(HandlesTest, TheApplicationKnowsOpenDrawings) {
  ModelBuilder other;
  other.model.full_path = "B.vsdx";
  ApplicationRef application;
  {
    embedded::Workspace workspace;
    application = workspace.application();
    EXPECT_FALSE(application->ActiveDocument());
    workspace.Attach(*drawing_);
    {
      embedded::Drawing second(other.model);
      workspace.Attach(second);
      EXPECT_EQ(application->ActiveDocument()->Name(), u"Plan A.vsdx");
      workspace.Activate(second);
      EXPECT_EQ(application->ActiveDocument()->Name(), u"B.vsdx");
      EXPECT_TRUE(Same(application->DocumentNamed(u"plan a.VSDX"), drawing_->document()));
    }
    EXPECT_EQ(application->ActiveDocument()->Name(), u"Plan A.vsdx");
    EXPECT_NE(Refusal([&] { application->DocumentNamed(u"B.vsdx"); }), "");
    EXPECT_TRUE(Same(Find(u"P", u"S")->Application(), application));
  }
  EXPECT_FALSE(application->ActiveDocument());
  EXPECT_FALSE(Find(u"P", u"S")->Application());
}

}  // namespace
}  // namespace ohmwise::testing
