#include "base/text.h"
#include "platform/com/error_mapping.h"
#include "tests/com/server/server.h"

namespace ohmwise::com {
namespace {

constexpr IID kCollectionInterface = {
    0xA4C46780, 0x499F, 0x101B, {0xBB, 0x78, 0x00, 0xAA, 0x00, 0x38, 0x3C, 0xBB}};

class ServedCollectionTest : public ServerTest {
 protected:
  /// An empty collection of the library: the wires at no shape.
  Ref<IDispatch> MakeList() {
    const Ref<IDispatch> shapes = server_.Make(L"clsLMisc");
    const Outcome made = Call(shapes.get(), L"ConnectedToWires", {Value::Nothing()});
    EXPECT_EQ(made.value.get().vt, VT_DISPATCH);
    return Ref<IDispatch>::Share(made.value.get().pdispVal);
  }

  /// The texts of the items, walked as For Each does.
  static std::u16string Walk(IDispatch* list) {
    std::u16string all;
    const Outcome made = Get(list, L"_NewEnum");
    EXPECT_EQ(made.value.get().vt, VT_UNKNOWN);
    const auto items = Query<IEnumVARIANT>(made.value.get().punkVal);
    Variant item;
    while (items && items->Next(1, item.Fresh(), nullptr) == S_OK) {
      all += FromVariant(item.get()).ToText() + u" ";
    }
    return all;
  }
};

TEST_F(ServedCollectionTest, IsTheCollectionOfTheHostRuntime) {
  const Ref<IDispatch> list = MakeList();
  Ref<IUnknown> typed;
  EXPECT_EQ(list->QueryInterface(kCollectionInterface, Receive<IUnknown>(typed)), S_OK);

  const Value none;
  struct Row {
    const wchar_t* member;
    std::vector<Value> arguments;
    int32_t number;
    std::u16string items;  ///< afterwards
  };
  const Row rows[] = {
      {L"Add", {u"b"}, 0, u"b "},
      {L"Add", {u"c", u"key"}, 0, u"b c "},
      {L"Add", {u"a", none, int32_t{1}}, 0, u"a b c "},
      {L"Add", {u"x", none, none, u"KEY"}, 0, u"a b c x "},
      {L"Add", {u"y", u"Key"}, 457, u"a b c x "},
      {L"Add", {u"y", int32_t{5}}, 13, u"a b c x "},
      {L"Add", {u"y", none, int32_t{1}, int32_t{2}}, 5, u"a b c x "},
      {L"Add", {u"y", none, int32_t{9}}, 9, u"a b c x "},
      {L"Item", {u"key"}, 0, u"a b c x "},
      {L"Item", {u"no key"}, 5, u"a b c x "},
      {L"Item", {int32_t{0}}, 9, u"a b c x "},
      {L"Item", {int32_t{5}}, 9, u"a b c x "},
      {L"Item", {Value::Null()}, 94, u"a b c x "},
      {L"Item", {}, 450, u"a b c x "},
      {L"Remove", {u"none"}, 5, u"a b c x "},
      {L"Remove", {u"KEY"}, 0, u"a b x "},
      {L"Remove", {int32_t{1}}, 0, u"b x "},
      {L"Remove", {int32_t{3}}, 9, u"b x "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(ToUtf8(Narrow(row.member)));
    EXPECT_EQ(Call(list.get(), row.member, row.arguments).number, row.number);
    EXPECT_EQ(Walk(list.get()), row.items);
  }
  EXPECT_EQ(Get(list.get(), L"Count").Text(), u"2");

  // The default member, as a script's list(2) asks for it.
  Variant second(Value(int32_t{2})), found;
  DISPPARAMS arguments{&second.get(), nullptr, 1, 0};
  EXPECT_EQ(list->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                         &arguments, found.Fresh(), nullptr, nullptr),
            S_OK);
  EXPECT_EQ(FromVariant(found.get()).ToText(), u"x");
}

TEST_F(ServedCollectionTest, EnumeratorsSkipResetAndClone) {
  const Ref<IDispatch> list = MakeList();
  for (const char16_t* text : {u"a", u"b", u"c"}) Call(list.get(), L"Add", {text});
  const auto walk = Query<IEnumVARIANT>(Get(list.get(), L"_NewEnum").value.get().punkVal);
  ASSERT_TRUE(walk);
  EXPECT_EQ(walk->Skip(1), S_OK);
  Ref<IEnumVARIANT> clone;
  ASSERT_EQ(walk->Clone(Receive<IEnumVARIANT>(clone)), S_OK);
  VARIANT items[3];
  ULONG fetched = 0;
  EXPECT_EQ(clone->Next(3, items, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 2u);
  EXPECT_EQ(FromVariant(items[0]).ToText(), u"b");
  for (ULONG i = 0; i < fetched; ++i) VariantClear(&items[i]);
  EXPECT_EQ(walk->Skip(5), S_FALSE);
  EXPECT_EQ(walk->Reset(), S_OK);
  EXPECT_EQ(walk->Next(1, items, nullptr), S_OK);
  EXPECT_EQ(FromVariant(items[0]).ToText(), u"a");
  VariantClear(&items[0]);
}

TEST_F(ServedCollectionTest, ObjectsKeepTheirIdentityOnBothWays) {
  const Ref<IDispatch> list = MakeList();
  const Ref<IDispatch> index = server_.Make(L"clsLCrossRef");
  // A collection of ours that goes in and out, and one inside another.
  EXPECT_EQ(Invoke(index.get(), L"GetRefShapes", DISPATCH_METHOD, {ByValue(list.get())})
                .value.get()
                .pdispVal,
            list.get());
  const Ref<IDispatch> inner = MakeList();
  Invoke(list.get(), L"Add", DISPATCH_METHOD, {ByValue(inner.get())});
  EXPECT_EQ(Call(list.get(), L"Item", {int32_t{1}}).value.get().pdispVal, inner.get());
  Call(list.get(), L"Remove", {int32_t{1}});

  // Records go through a sorter into the collection and come back as themselves.
  const Ref<IDispatch> sorter = server_.Make(L"clsLSortComp");
  EXPECT_EQ(PutObject(sorter.get(), L"DataSet", list.get()).number, 0);
  EXPECT_EQ(Put(sorter.get(), L"Descending", Value(false)).number, 0);
  const Ref<IDispatch> pump = server_.Make(L"clsLCmpRec"), fan = server_.Make(L"clsLCmpRec");
  Put(pump.get(), L"Name", u"Pump");
  Put(fan.get(), L"Name", u"Fan");
  for (IDispatch* record : {pump.get(), fan.get()}) {
    EXPECT_EQ(Invoke(sorter.get(), L"Add", DISPATCH_METHOD, {ByValue(record)}).number, 0);
  }
  EXPECT_EQ(Call(list.get(), L"Item", {int32_t{1}}).value.get().pdispVal, fan.get());
  EXPECT_EQ(Call(list.get(), L"Item", {int32_t{2}}).value.get().pdispVal, pump.get());
  EXPECT_EQ(Invoke(sorter.get(), L"Add", DISPATCH_METHOD, {ByValue(list.get())}).number, 13);
  EXPECT_EQ(Call(sorter.get(), L"GetDataString", {Value::Nothing()}).number, 91);
}

TEST_F(ServedCollectionTest, ARecordOutlivesItsLastClient) {
  const Ref<IDispatch> list = MakeList();
  {
    const Ref<IDispatch> record = server_.Make(L"clsLLayShape");
    Put(record.get(), L"NameU", u"LayRect");
    Invoke(list.get(), L"Add", DISPATCH_METHOD, {ByValue(record.get())});
  }
  const Outcome found = Call(list.get(), L"Item", {int32_t{1}});
  ASSERT_EQ(found.value.get().vt, VT_DISPATCH);
  EXPECT_EQ(Get(found.value.get().pdispVal, L"NameU").Text(), u"LayRect");
}

TEST_F(ServedCollectionTest, PropertiesOfObjectsTakeSetAndAssignment) {
  const Ref<IDispatch> list = MakeList();
  struct Row {
    WORD flags;
    int32_t number;
  };
  for (const Row& row : {Row{DISPATCH_PROPERTYPUTREF, 0}, Row{DISPATCH_PROPERTYPUT, 0},
                         Row{DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF, 0}}) {
    const Ref<IDispatch> sorter = server_.Make(L"clsLSort");
    EXPECT_EQ(PutObject(sorter.get(), L"DataSet", list.get(), row.flags).number, row.number);
    EXPECT_EQ(Call(sorter.get(), L"Add", {u"K1"}).number, 0);
  }
  EXPECT_EQ(Walk(list.get()), u"K1 ");
  const Ref<IDispatch> sorter = server_.Make(L"clsLSort");
  EXPECT_EQ(Get(sorter.get(), L"Descending").number, 438);  // write-only
  EXPECT_EQ(Put(sorter.get(), L"Descending", u"maybe").number, 13);
}

}  // namespace
}  // namespace ohmwise::com
