#include <algorithm>

#include "base/error.h"
#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

class ReferenceIndexTest : public DrawingTest {
 protected:
  clsLCrossRef index_;
};

ShapeSpec Component(std::u16string name, std::u16string reference) {
  return {std::move(name), 132, reference, {{u"User.Ref", u"\"" + reference + u"\""}}, {}};
}

TEST_F(ReferenceIndexTest, KindEntriesDescendWhateverTheOrderOfRegistration) {
  TestDrawing& drawing = Open(
      {{u"Page-1",
        {Component(u"Relay.1", u"K1"), Component(u"Relay.2", u"K2"), Component(u"Relay.3", u"K3"),
         Component(u"Relay.10", u"K10"), Component(u"Lamp.7", u"H1")}}});
  std::vector<std::u16string> order = {u"Relay.1", u"Relay.10", u"Relay.2", u"Relay.3"};
  do {
    drawing.DeclareIndex();
    std::u16string tried;
    for (const std::u16string& name : order) {
      index_.Add(drawing.Shape(name));
      tried += name + u" ";
    }
    index_.Add(drawing.Shape(u"Lamp.7"));
    EXPECT_EQ(NamesOf(index_.GetRefs(drawing.Index(u"colShapeRef"), u"Relay.99")),
              u"Relay.10 Relay.3 Relay.2 Relay.1")
        << ToUtf8(tried);
    EXPECT_EQ(drawing.Names(u"colShapeRef", u"lamp"), u"Lamp.7");
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(ReferenceIndexTest, ReferenceEntriesKeepTheOrderOfRegistration) {
  TestDrawing& drawing = Open({{u"Page-1",
                                {Component(u"Contact.5", u"K1"), Component(u"Coil.1", u"K1"),
                                 Component(u"Contact.2", u"k1")}}});
  for (const char16_t* name : {u"Contact.5", u"Coil.1", u"Contact.2"}) {
    index_.Add(drawing.Shape(name));
  }
  EXPECT_EQ(NamesOf(index_.GetShapes(drawing.Index(u"colRefShape"), u"K1")),
            u"Contact.5 Coil.1 Contact.2");
  EXPECT_EQ(drawing.Index(u"colRefShape")->Count(), 1);
}

TEST_F(ReferenceIndexTest, AddingTwiceLeavesOneEntryAndARenamedShapeStillJoinsItsReference) {
  TestDrawing& drawing = Open({{u"Page-1", {Component(u"Relay.1", u"K1")}}});
  const ShapeRef relay = drawing.Shape(u"Relay.1");
  index_.Add(relay);
  index_.Add(relay);
  EXPECT_EQ(drawing.Names(u"colShapeRef", u"Relay"), u"Relay.1");
  EXPECT_EQ(drawing.Names(u"colRefShape", u"K1"), u"Relay.1");
  relay->Cells(u"User.Ref")->SetFormula(u"\"K2\"");
  index_.Add(relay);
  EXPECT_EQ(drawing.Names(u"colShapeRef", u"Relay"), u"Relay.1");
  EXPECT_EQ(drawing.Names(u"colRefShape", u"K2"), u"Relay.1");
}

TEST_F(ReferenceIndexTest, RemoveReadsTheReferenceAsItIsNowAndKeepsEmptyEntries) {
  TestDrawing& drawing =
      Open({{u"Page-1", {Component(u"Relay.1", u"K1"), Component(u"Relay.2", u"K2")}}});
  const ShapeRef first = drawing.Shape(u"Relay.1");
  index_.Add(first);
  index_.Add(drawing.Shape(u"Relay.2"));
  const CollectionRef references = drawing.Index(u"colRefShape");
  index_.Remove(first);
  ASSERT_TRUE(index_.GetShapes(references, u"K1"));
  EXPECT_EQ(index_.GetShapes(references, u"K1")->Count(), 0);
  EXPECT_FALSE(index_.RefExist(references, u"K1"));
  EXPECT_TRUE(index_.RefExist(references, u"k2"));
  EXPECT_EQ(drawing.Names(u"colShapeRef", u"Relay"), u"Relay.2");

  index_.Add(first);
  first->Cells(u"User.Ref")->SetFormula(u"\"K9\"");
  index_.Remove(first);  // looks under K9, which nobody has: the entry of K1 keeps the shape
  EXPECT_EQ(drawing.Names(u"colRefShape", u"K1"), u"Relay.1");
  EXPECT_EQ(drawing.Names(u"colShapeRef", u"Relay"), u"Relay.2");
}

TEST_F(ReferenceIndexTest, LookupsOfWhatIsNotThereGiveNothing) {
  TestDrawing& drawing = Open({{u"Page-1", {}}});
  const CollectionRef some = drawing.Index(u"colRefShape");
  some->Add(Value(u"no collection"), u"text");
  for (const CollectionRef& collection : {some, CollectionRef()}) {
    EXPECT_FALSE(index_.GetShapes(collection, u"K1"));
    EXPECT_FALSE(index_.GetShapes(collection, u"text"));
    EXPECT_FALSE(index_.GetAutoLoc(collection, u""));
    EXPECT_FALSE(index_.GetRefs(collection, u"Relay.1"));
    EXPECT_FALSE(index_.GetPageTerms(collection, 0));
    EXPECT_FALSE(index_.GetPageNets(collection, -7));
    EXPECT_FALSE(index_.RefExist(collection, u"K1"));
    EXPECT_FALSE(index_.RefExist(collection, u"text"));
  }
  EXPECT_EQ(some->Count(), 1);
  some->Add(Value(MakeCollection()), u"-7");
  EXPECT_TRUE(index_.GetPageNets(some, -7));
}

TEST_F(ReferenceIndexTest, ADocumentWithoutAMemberHasTheFeatureOff) {
  TestDrawing& drawing = Open({{u"Page-1", {Component(u"Relay.1", u"K1")}}});
  EXPECT_TRUE(index_.GotLZone(drawing.document()));
  EXPECT_TRUE(index_.GotAutoLoc(drawing.document()));
  drawing.document()->Put(u"colLZone", Value::Nothing());
  drawing.document()->Put(u"colAutoLoc", Value(u"text"));
  EXPECT_FALSE(index_.GotLZone(drawing.document()));
  EXPECT_FALSE(index_.GotAutoLoc(drawing.document()));
  EXPECT_FALSE(index_.GotLZone(nullptr));
  // Without the kinds nothing is registered at all; without labels a removal still works.
  const ShapeRef relay = drawing.Shape(u"Relay.1");
  index_.Add(relay);
  index_.Remove(relay);
  EXPECT_EQ(drawing.Names(u"colRefShape", u"K1"), u"");
  drawing.document()->Put(u"colShapeRef", Value::Nothing());
  drawing.document()->Put(u"colRefShape", Value(MakeCollection()));
  index_.Add(relay);
  EXPECT_EQ(drawing.Index(u"colRefShape")->Count(), 0);
}

TEST_F(ReferenceIndexTest, ADeadShapeInAnEntryEndsTheRegistrationAndNotTheCaller) {
  TestDrawing& drawing =
      Open({{u"Page-1", {Component(u"Relay.1", u"K1"), Component(u"Relay.2", u"K2")}}});
  index_.Add(drawing.Shape(u"Relay.1"));
  drawing.Shape(u"Relay.1")->Delete();
  index_.Add(drawing.Shape(u"Relay.2"));
  EXPECT_EQ(drawing.Entry(u"colShapeRef", u"Relay")->Count(), 1);
  EXPECT_EQ(drawing.Names(u"colRefShape", u"K2"), u"-");
  index_.Add(nullptr);
  index_.Remove(nullptr);
  index_.RemoveAll(nullptr);
}

TEST_F(ReferenceIndexTest, AFailureAtAnyCallLeavesSortedEntriesWithoutDuplicates) {
  TestDrawing& drawing = Open({{u"Page-1",
                                {Component(u"Relay.1", u"K1"), Component(u"Relay.2", u"K2"),
                                 Component(u"Relay.3", u"K3")}}});
  const auto calls_left = std::make_shared<int>();
  bool failed = true;
  for (int failing_call = 1; failed; ++failing_call) {
    ASSERT_LT(failing_call, 100);
    *calls_left = 0;
    const CollectionRef of_kind = MakeRef<Counted<FailingCollection>>(calls_left);
    const CollectionRef of_reference = MakeRef<Counted<FailingCollection>>(calls_left);
    for (const auto& [member, key, entry] : {std::tuple(u"colShapeRef", u"Relay", of_kind),
                                             std::tuple(u"colRefShape", u"K2", of_reference)}) {
      const CollectionRef top = MakeRef<Counted<FailingCollection>>(calls_left);
      top->Add(Value(entry), key);
      drawing.document()->Put(member, Value(top));
    }
    index_.Add(drawing.Shape(u"Relay.1"));
    index_.Add(drawing.Shape(u"Relay.3"));
    *calls_left = failing_call;
    index_.Add(drawing.Shape(u"Relay.2"));
    failed = *calls_left <= 0;
    *calls_left = 0;
    const std::u16string kinds = NamesOf(of_kind);
    const std::u16string references = NamesOf(of_reference);
    EXPECT_TRUE(kinds == u"Relay.3 Relay.1" || kinds == u"Relay.3 Relay.2 Relay.1")
        << failing_call << ToUtf8(kinds);
    EXPECT_EQ(kinds == u"Relay.3 Relay.2 Relay.1" && references == u"Relay.2", !failed)
        << failing_call;
    index_.Add(drawing.Shape(u"Relay.2"));
    EXPECT_EQ(NamesOf(of_kind), u"Relay.3 Relay.2 Relay.1") << failing_call;
    EXPECT_EQ(NamesOf(of_reference), u"Relay.2") << failing_call;
  }
}

TEST_F(ReferenceIndexTest, RemoveAllEmptiesTheIndexThatTheTypeBelongsTo) {
  const struct {
    int32_t type;
    const char16_t* member;
    const char16_t* key;
    const char16_t* second_member;
    const char16_t* second_key;
  } rows[] = {
      {132, u"colRefShape", u"K1", u"colShapeRef", u"Symbol"},
      {133, u"colRefShape", u"K1", u"colShapeRef", u"Symbol"},
      {1002, u"colRefShape", u"K1", u"colShapeRef", u"Symbol"},
      {1003, u"colRefShape", u"K1", u"colShapeRef", u"Symbol"},
      {1004, u"colRefShape", u"K1", u"colShapeRef", u"Symbol"},
      {113, u"colPageTerm", u"0", u"colPageTerm", u"0"},
      {114, u"colPageTerm", u"0", u"colPageTerm", u"0"},
      {106, u"colPageNet", u"0", u"colUNetName", u"K1"},
      {123, u"colLZone", u"0", u"colLZone", u"0"},
      {125, u"colAutoLoc", u"K1", u"colAutoLoc", u"K1"},
      {102, u"colOther", u"TBlock", u"colOther", u"TBlock"},
  };
  for (const auto& row : rows) {
    TestDrawing& drawing = Open(
        {{u"Page-1", {{u"Symbol.1", row.type, u"K1", {}, {}}, {u"Other.2", 107, u"K1", {}, {}}}}});
    index_.ScanPage(drawing.Page(u"Page-1"), u"");
    EXPECT_EQ(drawing.Names(row.member, row.key), u"Symbol.1") << row.type;
    EXPECT_EQ(drawing.Names(row.second_member, row.second_key), u"Symbol.1") << row.type;
    index_.RemoveAll(drawing.Shape(u"Other.2"));
    EXPECT_EQ(drawing.Names(row.member, row.key), u"Symbol.1") << row.type;
    index_.RemoveAll(drawing.Shape(u"Symbol.1"));
    index_.RemoveAll(drawing.Shape(u"Symbol.1"));  // a second time: nothing left, no failure
    EXPECT_EQ(drawing.Names(row.member, row.key), u"") << row.type;
    EXPECT_EQ(drawing.Names(row.second_member, row.second_key), u"") << row.type;
  }
}

}  // namespace
}  // namespace ohmwise::testing
