#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "tests/shapeutil/fake_shape.h"

namespace ohmwise {
namespace {

using testing::FakeShape;
using testing::Journal;
using Text = std::u16string;
using Texts = std::vector<Text>;

template <class Function>
int32_t ErrorOf(Function call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return static_cast<int32_t>(error.number());
  }
  return 0;
}

class ShapePropertyTest : public ::testing::Test {
 protected:
  ShapePropertyTest() = default;
  ~ShapePropertyTest() override {
    shape_ = nullptr;
    EXPECT_EQ(LiveObjectCount(), live_before_);
  }
  Ref<FakeShape> MakeShape(Text name) {
    auto shape = MakeRef<FakeShape>(&journal_);
    shape->name = std::move(name);
    return shape;
  }
  Ref<FakeShape> AddSub(const Ref<FakeShape>& group, Text name) {
    Ref<FakeShape> sub = MakeShape(std::move(name));
    sub->parent = group.get();
    sub->PutCell(u"Char.Color", u"0");
    sub->PutCell(u"HideText", u"");
    group->children->shapes.push_back(sub);
    return sub;
  }

  int64_t live_before_ = LiveObjectCount();
  Journal journal_;
  clsLMisc misc_;
  Ref<FakeShape> shape_ = MakeShape(u"Motor.12");
};

TEST_F(ShapePropertyTest, TextsAreStoredInQuotesAndReadWithoutThem) {
  const struct {
    Text value;
    Text stored;
    Text read;
  } rows[] = {
      {u"C12", u"\"C12\"", u"C12"},
      {u"\"C12\"", u"\"C12\"", u"C12"},
      {u"\"C12", u"\"C12\"", u"C12"},
      {u"C12\"", u"\"C12\"", u"C12"},
      {u"", u"\"\"", u""},
      {u"3\"\" pipe", u"\"3\"\" pipe\"", u"3\" pipe"},
      {u"=1", u"\"=1\"", u"=1"},
  };
  for (const auto& row : rows) {
    shape_ = MakeShape(u"Motor.12");
    journal_.entries.clear();
    EXPECT_EQ(misc_.CompIDStr(shape_), u"");
    EXPECT_EQ(misc_.QtyStr(shape_), u"");
    misc_.SetCompIDStr(shape_, row.value);
    misc_.SetQtyStr(shape_, row.value);
    EXPECT_EQ(journal_.entries, (Texts{u"AddNamedRow 242 Comp 0", u"User.Comp=" + row.stored,
                                       u"AddNamedRow 243 Qty 0", u"Prop.Qty.Value=" + row.stored}));
    EXPECT_EQ(misc_.CompIDStr(shape_), row.read);
    EXPECT_EQ(misc_.QtyStr(shape_), row.read);
  }
}

TEST_F(ShapePropertyTest, NumbersGetTheirRowOnceAndReadZeroWithoutIt) {
  EXPECT_EQ(
      misc_.CatID(shape_) + misc_.TypeNo(shape_) + misc_.PinSet(shape_) + misc_.LocType(shape_), 0);
  for (const int16_t number : {int16_t{7}, int16_t{-3}}) {
    misc_.SetCatID(shape_, number);
    misc_.SetTypeNo(shape_, number);
    misc_.SetPinSet(shape_, number);
    misc_.SetLocType(shape_, number);
    EXPECT_EQ(misc_.CatID(shape_), number);
    EXPECT_EQ(misc_.TypeNo(shape_), number);
    EXPECT_EQ(misc_.PinSet(shape_), number);
    EXPECT_EQ(misc_.LocType(shape_), number);
  }
  EXPECT_EQ(journal_.entries,
            (Texts{u"AddNamedRow 242 Cat 0", u"User.Cat=7", u"AddNamedRow 242 Type 0",
                   u"User.Type=7", u"AddNamedRow 242 PinSet 0", u"User.PinSet=7",
                   u"AddNamedRow 242 LocType 0", u"User.LocType=7", u"User.Cat=-3", u"User.Type=-3",
                   u"User.PinSet=-3", u"User.LocType=-3"}));
  shape_->PutCell(u"User.Type", u"2.5");
  EXPECT_EQ(misc_.TypeNo(shape_), 2);
  shape_->PutCell(u"User.PinSet", u"40000");
  EXPECT_EQ(ErrorOf([&] { misc_.PinSet(shape_); }), 6);
}

TEST_F(ShapePropertyTest, EachPresenceTestLooksAtItsOwnCell) {
  bool (clsLMisc::*const tests[])(const ShapeRef&) = {
      &clsLMisc::GotCompID, &clsLMisc::GotCatID,    &clsLMisc::GotQty,    &clsLMisc::GotProp,
      &clsLMisc::GotTypeNo, &clsLMisc::CheckPinSet, &clsLMisc::GotLocType};
  const Text cells[] = {u"User.Comp", u"User.Cat",    u"Prop.Qty",    u"Prop.Name",
                        u"User.Type", u"User.PinSet", u"User.LocType"};
  for (size_t present = 0; present < std::size(cells); ++present) {
    const Ref<FakeShape> shape = MakeShape(u"S");
    shape->PutCell(cells[present], u"");
    for (size_t i = 0; i < std::size(tests); ++i) {
      EXPECT_EQ((misc_.*tests[i])(shape), i == present) << i << " with " << ToUtf8(cells[present]);
    }
  }
  EXPECT_EQ(ErrorOf([&] { misc_.GotCompID(nullptr); }), 91);
}

TEST_F(ShapePropertyTest, AProtectedShapeRaisesTheHostsErrorAtEveryStep) {
  const auto fails_at = [&](size_t change, auto call) {
    shape_ = MakeShape(u"Motor.12");
    journal_.entries.clear();
    journal_.fail_at = change;
    const int32_t number = ErrorOf(call);
    EXPECT_EQ(journal_.entries.size(), change);
    journal_.fail_at = SIZE_MAX;
    return number == static_cast<int32_t>(Err::kHost);
  };
  for (const size_t change : {size_t{0}, size_t{1}}) {
    EXPECT_TRUE(fails_at(change, [&] { misc_.SetCompIDStr(shape_, u"1"); }));
    EXPECT_TRUE(fails_at(change, [&] { misc_.SetTypeNo(shape_, 1); }));
  }
  for (const size_t change : {size_t{0}, size_t{5}, size_t{12}}) {
    EXPECT_TRUE(fails_at(change, [&] { misc_.CreateProp(shape_); }));
  }
}

TEST_F(ShapePropertyTest, HideWireNameWritesOnlyAChange) {
  EXPECT_FALSE(misc_.HideWireName(shape_));
  misc_.SetHideWireName(shape_, false);
  EXPECT_EQ(ErrorOf([&] { misc_.SetHideWireName(shape_, true); }),
            static_cast<int32_t>(Err::kHost));
  shape_->PutCell(u"Actions.Row_2.Action", u"-1");
  EXPECT_TRUE(misc_.HideWireName(shape_));
  misc_.SetHideWireName(shape_, true);
  EXPECT_EQ(journal_.entries, Texts{});
  misc_.SetHideWireName(shape_, false);
  misc_.SetHideWireName(shape_, true);
  EXPECT_EQ(journal_.entries, (Texts{u"Actions.Row_2.Action=0", u"Actions.Row_2.Action=1"}));
}

TEST_F(ShapePropertyTest, CreatePropAddsTheMissingRowsInOrder) {
  shape_->PutCell(u"Prop.Name", u"\"kept\"");
  shape_->PutCell(u"Prop.Price", u"");
  misc_.CreateProp(shape_);
  Texts expected;
  for (const char16_t* row : {u"Desc", u"Brand", u"Rating", u"Model", u"Order", u"Supplier",
                              u"Remarks", u"Layout", u"Layshape", u"Width", u"Height"}) {
    expected.push_back(u"AddNamedRow 243 " + Text(row) + u" 0");
  }
  EXPECT_EQ(journal_.entries, expected);
  misc_.CreateProp(shape_);
  EXPECT_EQ(journal_.entries, expected);
  EXPECT_EQ(shape_->Cells(u"Prop.Name")->Formula(), u"\"kept\"");
}

TEST_F(ShapePropertyTest, MaxRowsIsTheLongerDescription) {
  EXPECT_EQ(misc_.GetMaxRows(shape_), 1);
  shape_->PutCell(u"Scratch.B1", u"\"a\nb\"");
  EXPECT_EQ(misc_.GetMaxRows(shape_), 2);
  shape_->PutCell(u"Scratch.C1", u"\"a\nb\nc\"");
  EXPECT_EQ(misc_.GetMaxRows(shape_), 3);
  shape_->PutCell(u"Scratch.C1", u"\"" + Text(40000, u'\n') + u"\"");
  EXPECT_EQ(misc_.GetMaxRows(shape_), 1);
}

TEST_F(ShapePropertyTest, PinSetCountIsTheLargestLastField) {
  EXPECT_EQ(misc_.GetPinSetCount(shape_), 0);
  shape_->AddPoint(185, u"\"1,a,b,c,d\"");  // not a row that carries names
  EXPECT_EQ(misc_.GetPinSetCount(shape_), 0);
  shape_->AddPoint(186, u"\"1,a,b,\"");
  EXPECT_EQ(misc_.GetPinSetCount(shape_), 2);
  shape_->AddPoint(187, u"1,a,b,c,,");
  EXPECT_EQ(misc_.GetPinSetCount(shape_), 4);
  shape_->AddPoint(186, u"");
  EXPECT_EQ(misc_.GetPinSetCount(shape_), 4);
}

TEST_F(ShapePropertyTest, SetPinsNamesAndColoursThePins) {
  shape_->AddPoint(186, u"\"1,A1,13\"");
  shape_->AddPoint(186, u"\"2,A2\"");
  for (const char16_t* name : {u"P0.5", u"P1", u"P", u"Px", u"L0", u"P 01"}) AddSub(shape_, name);
  shape_->PutCell(u"User.PinSet", u"2");
  misc_.SetPins(shape_);
  EXPECT_EQ(journal_.entries, (Texts{u"P0.5 Text=13", u"Char.Color=0", u"P1 Text=A2",
                                     u"Char.Color=0", u"P 01 Text=A2", u"Char.Color=0"}));
  journal_.entries.clear();
  shape_->PutCell(u"User.PinSet", u"3");
  misc_.SetPins(shape_);
  EXPECT_EQ(journal_.entries, (Texts{u"Char.Color=2", u"Char.Color=2", u"Char.Color=2"}));
  AddSub(shape_, u"P2");
  shape_->PutCell(u"User.PinSet", u"1");
  EXPECT_EQ(ErrorOf([&] { misc_.SetPins(shape_); }), static_cast<int32_t>(Err::kHost));
}

TEST_F(ShapePropertyTest, HiddenPinNamesGetTheirFormulaBack) {
  const Ref<FakeShape> pin = AddSub(shape_, u"P0");
  const Ref<FakeShape> label = AddSub(shape_, u"L0");
  for (const char16_t* former : {u"FALSE", u"IF(User.A>1,TRUE,FALSE)", u"IF(TRUE,FALSE,TRUE)"}) {
    pin->PutCell(u"HideText", former);
    misc_.HidePinNames(shape_);
    misc_.HidePinNames(shape_);
    EXPECT_EQ(pin->Cells(u"HideText")->Formula(), u"IF(TRUE,TRUE," + Text(former) + u")");
    misc_.ShowPinNames(shape_);
    misc_.ShowPinNames(shape_);
    EXPECT_EQ(pin->Cells(u"HideText")->Formula(), former);
  }
  pin->PutCell(u"HideText", u"if(TRUE, true, NOT(FALSE))");
  misc_.ShowPinNames(shape_);
  EXPECT_EQ(pin->Cells(u"HideText")->Formula(), u"NOT(FALSE)");
  EXPECT_EQ(label->Cells(u"HideText")->Formula(), u"");
}

/// A form that has the labels listed.
class FakeForm : public Counted<Object> {
 public:
  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (!labels.count(Text(member))) return Counted<Object>::Get(member, arguments);
    return Value(ObjectRef::Share(this));
  }
  void Put(std::u16string_view member, const Value& value, std::span<const Value>) override {
    written += Text(member) + u"=" + value.ToText() + u";";
  }
  std::set<Text> labels;
  Text written;
};

TEST_F(ShapePropertyTest, ClearLabelsNeedsAllThirteen) {
  const auto form = MakeRef<FakeForm>();
  const Texts labels = {u"lblName",     u"lblDesc",     u"lblBrand",   u"lblRating", u"lblModel",
                        u"lblOrder",    u"lblSupplier", u"lblRemarks", u"lblPrice",  u"lblLayout",
                        u"lblLayShape", u"lblWidth",    u"lblHeight"};
  form->labels = {labels.begin(), labels.end()};
  misc_.ClearLabels(form);
  Text expected;
  for (size_t i = 0; i < labels.size(); ++i) expected += u"Caption=;";
  EXPECT_EQ(form->written, expected);
  form->labels.erase(u"lblHeight");
  EXPECT_EQ(ErrorOf([&] { misc_.ClearLabels(form); }), 438);
}

class ConnectionTest : public ShapePropertyTest {};

TEST_F(ConnectionTest, WireEndsAreNamedAfterWhatTheyAreGluedTo) {
  const Ref<FakeShape> coil = MakeShape(u"Coil");
  coil->PutCell(u"User.Ref", u"\"K1\"");
  coil->PutCell(u"User.PinSet", u"1");
  coil->AddPoint(186, u"\"1,A1\"");
  coil->AddPoint(186, u"");
  const Ref<FakeShape> pin = AddSub(coil, u"P0");
  const Ref<FakeShape> lamp = MakeShape(u"Lamp.3");
  const struct {
    Ref<FakeShape> target;
    Text cell;
    Text expected;
  } rows[] = {
      {coil, u"Connections.X1", u"K1:A1"},
      {coil, u"Connections.X2", u"K1"},
      {coil, u"Connections.X9", u"K1"},
      {coil, u"PinX", u"K1"},
      {pin, u"PinX", u"K1"},
      {lamp, u"", u"Lamp.3"},
  };
  for (const auto& row : rows) {
    const Ref<FakeShape> wire = MakeShape(u"Wire");
    wire->one_d = true;
    FakeShape::Glue(*wire, u"EndX", *row.target, row.cell);
    journal_.entries.clear();
    misc_.DetectConnection(wire);
    misc_.DetectConnection(wire);
    EXPECT_EQ(journal_.entries,
              (Texts{u"AddNamedRow 242 End 0", u"User.End=\"" + row.expected + u"\""}));
    wire->connects = MakeCollection();
    misc_.DetectConnection(wire);
    EXPECT_EQ(wire->Cells(u"User.End")->Formula(), u"\"\"");
    row.target->from_connects = MakeCollection();
  }
}

TEST_F(ConnectionTest, WiresOfASymbolCountOnceAndGlueBothWays) {
  const Ref<FakeShape> pin = AddSub(shape_, u"P0");
  const Ref<FakeShape> wire = MakeShape(u"Wire");
  const Ref<FakeShape> label = MakeShape(u"Label");
  wire->one_d = true;
  FakeShape::Glue(*wire, u"BeginX", *shape_, u"PinX");
  FakeShape::Glue(*wire, u"EndX", *pin, u"PinX");
  FakeShape::Glue(*label, u"PinX", *shape_, u"PinX");
  EXPECT_TRUE(misc_.IsConnectedTo(wire, shape_));
  EXPECT_TRUE(misc_.IsConnectedTo(shape_, wire));
  EXPECT_FALSE(misc_.IsConnectedTo(wire, label));
  EXPECT_FALSE(misc_.IsConnectedTo(wire, nullptr));
  const CollectionRef wires = misc_.ConnectedToWires(shape_);
  ASSERT_EQ(wires->Count(), 1);
  EXPECT_TRUE(Same(wires->Item(u"{wire}").AsObject(), wire));
  EXPECT_EQ(misc_.ConnectedToWires(nullptr)->Count(), 0);
  for (const Ref<FakeShape>& each : {shape_, pin, wire, label}) {
    each->connects = MakeCollection();
    each->from_connects = MakeCollection();
  }
}

TEST_F(ConnectionTest, PresenceInCollectionsOfShapes) {
  const Ref<FakeShape> sub = AddSub(shape_, u"P0");
  const ShapesRef shapes = shape_->Shapes();
  EXPECT_TRUE(misc_.GotInSelection(shapes, sub));
  EXPECT_FALSE(misc_.GotInSelection(shapes, shape_));
  EXPECT_FALSE(misc_.GotInSelection(nullptr, sub));
  const CollectionRef selection = MakeCollection();
  selection->Add(sub);
  EXPECT_TRUE(misc_.GotInSelection(selection, sub));
  EXPECT_TRUE(misc_.ShapeExistInShapes(shapes, u"{P0}"));
  EXPECT_FALSE(misc_.ShapeExistInShapes(shapes, u"P0"));
  EXPECT_FALSE(misc_.ShapeExistInShapes(nullptr, u"{P0}"));
  EXPECT_TRUE(misc_.ShapeExist(shapes, u"P0"));
  EXPECT_TRUE(misc_.ShapeExist(shapes, int16_t{1}));
  EXPECT_FALSE(misc_.ShapeExist(shapes, 2.0));
  EXPECT_FALSE(misc_.ShapeExist(shapes, Value()));
  EXPECT_FALSE(misc_.ShapeExist(shapes, Value::Null()));
  EXPECT_FALSE(misc_.ShapeExist(nullptr, u"P0"));
}

TEST_F(ConnectionTest, LadderZoneHeightFollowsPinTurnAndControl) {
  EXPECT_EQ(misc_.GetLZCellV(shape_, 1), 0);
  shape_->PutCell(u"PinY", u"10");
  shape_->PutCell(u"Controls.Row_2.X", u"3");
  shape_->PutCell(u"Controls.Row_2.Y", u"5");
  EXPECT_DOUBLE_EQ(misc_.GetLZCellV(shape_, 2), 15);
  shape_->PutCell(u"Connections.X1", u"1");
  shape_->PutCell(u"Connections.Y1", u"4");
  EXPECT_DOUBLE_EQ(misc_.GetLZCellV(shape_, 2), 11);
  shape_->PutCell(u"Angle", u"1.5707963267948966");
  EXPECT_DOUBLE_EQ(misc_.GetLZCellV(shape_, 2), 12);
  EXPECT_EQ(misc_.GetLZCellV(shape_, 1), 0);
}

/// A collection that refuses additions, or to take them back.
class StubbornCollection : public Counted<Collection> {
 public:
  int32_t Count() override { return 1; }
  Value Item(int32_t) override { return {}; }
  Value Item(std::u16string_view) override { return {}; }
  void Add(const Value&, std::optional<std::u16string_view>) override {
    if (number != Err{0}) Raise(number);
  }
  void AddBefore(const Value&, std::optional<std::u16string_view>, int32_t) override {}
  void AddAfter(const Value&, std::optional<std::u16string_view>, int32_t) override {}
  void Remove(int32_t) override {}
  void Remove(std::u16string_view) override { Raise(Err::kPermissionDenied); }
  Err number = Err::kDuplicateKey;
};

TEST_F(ConnectionTest, GotInCollectionLeavesTheCollectionAsItWas) {
  EXPECT_FALSE(misc_.GotInCollection(nullptr, u"K1"));
  const CollectionRef collection = MakeCollection();
  EXPECT_FALSE(misc_.GotInCollection(collection, u"K1"));
  for (const char16_t* key : {u"K1", u"", u"K2"}) collection->Add(Value(key), key);
  for (const char16_t* key : {u"k1", u"", u"K2"}) {
    EXPECT_TRUE(misc_.GotInCollection(collection, key));
  }
  EXPECT_FALSE(misc_.GotInCollection(collection, u"K3"));
  ASSERT_EQ(collection->Count(), 3);
  EXPECT_EQ(collection->Item(1).ToText() + u"|" + collection->Item(2).ToText() + u"|" +
                collection->Item(3).ToText(),
            u"K1||K2");
  const auto stubborn = MakeRef<StubbornCollection>();
  EXPECT_TRUE(misc_.GotInCollection(stubborn, u"K1"));
  stubborn->number = Err::kTypeMismatch;
  EXPECT_FALSE(misc_.GotInCollection(stubborn, u"K1"));
  stubborn->number = Err{0};
  try {
    misc_.GotInCollection(stubborn, u"K1");
    ADD_FAILURE() << "an item was left behind";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kPermissionDenied);
    EXPECT_NE(error.description().find(u"\"K1\""), std::u16string::npos);
  }
}

TEST(LocationTextTest, RandomIdentifiersAndLocale) {
  clsLMisc misc;
  std::set<Text> seen;
  std::set<char16_t> used;
  for (int i = 0; i < 1000; ++i) {
    const Text text = misc.GetRndGUID();
    ASSERT_EQ(text.size(), 32u);
    used.insert(text.begin(), text.end());
    EXPECT_TRUE(seen.insert(text).second);
  }
  EXPECT_EQ(Text(used.begin(), used.end()), u"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ");
  EXPECT_EQ(misc.Locale(u"IF(A1,2,\"x\")"), u"IF(A1.2.\"x\")");
  EXPECT_EQ(misc.Locale(2.5), u"2.5");
  EXPECT_EQ(misc.Locale(Value()), u"");
  EXPECT_EQ(ErrorOf([&] { misc.Locale(Value::Null()); }), 94);
  EXPECT_EQ(ErrorOf([&] { misc.Locale(MakeCollection()); }), 13);
}

}  // namespace
}  // namespace ohmwise
