#include <functional>

#include "Ohmwise6.h"
#include "base/text.h"
#include "platform/com/error_mapping.h"
#include "tests/com/server/server.h"

namespace ohmwise::com {
namespace {

/// How a client may pass an argument.
enum class Passing { kValue, kTypedReference, kVariantReference };
constexpr Passing kPassings[] = {Passing::kValue, Passing::kTypedReference,
                                 Passing::kVariantReference};

struct CallRow {
  const wchar_t* class_name;
  const wchar_t* member;
  std::vector<Value> arguments;
  std::u16string result;
  int32_t number = 0;
  std::vector<std::u16string> after = {};  ///< the arguments afterwards, when they change
};

using CallTest = ServerTest;

/// A number of one of the types that only clients have.
Value Typed(VARTYPE type, double number) {
  Variant as_double((Value(number))), typed;
  EXPECT_EQ(VariantChangeType(&typed.get(), &as_double.get(), 0, type), S_OK);
  return FromVariant(typed.get());
}

TEST_F(CallTest, ArgumentsAndResultsPassEveryWayThatClientsHave) {
  const int16_t one = 1, minus = -1, zero = 0;
  const CallRow rows[] = {
      {L"clsLMisc", L"GetBeginNumber", {u"12ab"}, u"12"},
      {L"clsLMisc", L"getbeginnumber", {u"ab"}, u"-1"},
      {L"clsLMisc", L"GetBeginNumber", {int32_t{77}}, u"77"},
      {L"clsLMisc", L"GetBeginNumber", {u"2147483648"}, u"", 6},
      {L"clsLMisc", L"GetBeginNumber", {Value::Null()}, u"", 94},
      {L"clsLMisc", L"GetBeginNumber", {}, u"", 450},
      {L"clsLMisc", L"GetBeginNumber", {u"1", u"2"}, u"", 450},
      {L"clsLMisc", L"GetBiginNumber", {u"1"}, u"", 438},
      {L"clsLMisc", L"GetEndNumber", {u"K123", minus}, u"123"},
      {L"clsLMisc", L"GetEndNumber", {u"K123", u"2"}, u"23"},
      {L"clsLMisc", L"GetEndNumber", {u"K123", 2.0}, u"23"},
      {L"clsLMisc", L"GetEndNumber", {u"K123", zero}, u"", 13},
      {L"clsLMisc", L"GetEndNumber", {u"K123", int16_t{-2}}, u"", 5},
      {L"clsLMisc", L"GetEndNumber", {u"K123", int32_t{40000}}, u"", 6},
      {L"clsLMisc", L"GetEndNumber", {u"K123", u"two"}, u"", 13},
      {L"clsLMisc", L"SpinText", {u"1K2", one, minus}, u"2K1"},
      {L"clsLMisc", L"NetComp", {u"K2", u"K10"}, u"-1"},
      {L"clsLMisc", L"GetPin", {u"\"h,A1,A2\"", int16_t{2}}, u"A2", 0, {u"h,A1,A2", u"2"}},
      {L"clsLMisc", L"GetPin", {u"h,A1", zero}, u"?"},
      {L"clsLMisc", L"GetCoreNo", {u"a|b|c", u"c"}, u"2"},
      {L"clsLMisc", L"GetCoreNames", {u"a,b"}, u"", 9},
      {L"clsLMisc", L"Locale", {1.5}, u"1.5"},
      {L"clsLMisc", L"Locale", {Typed(VT_R4, 0.1)}, u"0.1"},
      {L"clsLMisc", L"Locale", {Typed(VT_CY, 12.25)}, u"12.25"},
      {L"clsLMisc", L"Locale", {Typed(VT_UI1, 7)}, u"7"},
      {L"clsLMisc", L"Locale", {Typed(VT_DATE, 44189)}, u"12/24/2020"},
      {L"clsLMisc", L"GotCompID", {Value::Nothing()}, u"", 91},
      {L"clsLMisc", L"GotCompID", {u"shape"}, u"", 13},
      {L"clsLMisc", L"GotCompID", {Value()}, u"", 424},
      {L"clsLMisc", L"PageExist", {Value::Nothing(), u"Page-1"}, u"False"},
      {L"clsLCrossRef", L"GotLZone", {Value::Nothing()}, u"False"},
      {L"clsLCrossRef", L"ScanPage", {Value::Nothing(), u""}, u"", 91},
      {L"clsTBlockObj", L"GetKey", {}, u"", 91},
      {L"clsLDB", L"GetNextCompID", {}, u"", 91},
      {L"clsLSettings", L"RegRead", {u"never stored"}, u"0"},
      {L"clsLSettings", L"RegRead", {u"never stored", u"otherwise"}, u"otherwise"},
      {L"clsLSettings", L"RegRead", {u"never stored", Value()}, u""},
  };
  for (const CallRow& row : rows) {
    const Ref<IDispatch> object = server_.Make(row.class_name);
    for (const Passing passing : kPassings) {
      SCOPED_TRACE(ToUtf8(Narrow(row.member)) + ", passing " +
                   std::to_string(static_cast<int>(passing)));
      std::vector<Variant> places;
      for (const Value& value : row.arguments) places.emplace_back(value);
      std::vector<VARIANT> given;
      for (Variant& place : places) {
        VARIANT argument = place.get();
        if (passing == Passing::kTypedReference && argument.vt > VT_NULL) {
          argument.vt = static_cast<VARTYPE>(argument.vt | VT_BYREF);
          argument.byref = &place.get().llVal;
        } else if (passing == Passing::kVariantReference) {
          argument.vt = VT_BYREF | VT_VARIANT;
          argument.pvarVal = &place.get();
        }
        given.push_back(argument);
      }
      const Outcome outcome =
          Invoke(object.get(), row.member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, given);
      EXPECT_EQ(outcome.number, row.number);
      EXPECT_EQ(row.number == 0 ? outcome.Text() : u"", row.result);
      if (row.after.empty() || passing == Passing::kValue) continue;
      for (size_t i = 0; i < row.after.size(); ++i) {
        EXPECT_EQ(FromVariant(places[i].get()).ToText(), row.after[i]);
      }
    }
  }
}

TEST_F(CallTest, AValueThatComesBackHasTheTypeItHad) {
  const Ref<IDispatch> settings = server_.Make(L"clsLSettings");
  for (const VARTYPE type : {VT_R4, VT_CY, VT_DATE, VT_UI1, VT_DECIMAL, VT_I8}) {
    const Outcome read = Call(settings.get(), L"RegRead", {u"never stored", Typed(type, 7)});
    EXPECT_EQ(read.value.get().vt, type);
    EXPECT_EQ(FromVariant(read.value.get()).ToDouble(), 7);
  }
}

TEST_F(CallTest, WhatAFailedMemberChangedComesBack) {
  // The order, although the database is not open.
  const Ref<IDispatch> catalogue = server_.Make(L"clsLDB");
  Variant order(Value(u"Brand"));
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_BYREF | VT_VARIANT;
  argument.pvarVal = &order.get();
  EXPECT_EQ(Invoke(catalogue.get(), L"GetComponents", DISPATCH_METHOD, {argument}).number, 91);
  EXPECT_EQ(FromVariant(order.get()).ToText(), u" ORDER BY Brand");
}

TEST_F(CallTest, AReferenceOfAnotherTypeKeepsItsType) {
  const Ref<IDispatch> texts = server_.Make(L"clsLMisc");
  const Variant pins(Value(u"\"h,A1\""));
  int32_t number = 1;  // the member takes 16 bits
  VARIANT wide;
  VariantInit(&wide);
  wide.vt = VT_BYREF | VT_I4;
  wide.plVal = reinterpret_cast<LONG*>(&number);
  EXPECT_EQ(Invoke(texts.get(), L"GetPin", DISPATCH_METHOD, {pins.get(), wide}).Text(), u"A1");
  EXPECT_EQ(number, 1);
}

TEST_F(CallTest, WhatIsNoObjectCannotBeSet) {
  const Ref<IDispatch> sorter = server_.Make(L"clsLSort"), other = server_.Make(L"clsLCmpRec");
  constexpr WORD kEither = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;
  const Variant text(Value(u"list")), nothing(Value::Nothing()), empty;
  for (const WORD way : {WORD{DISPATCH_PROPERTYPUT}, WORD{DISPATCH_PROPERTYPUTREF}, kEither}) {
    SCOPED_TRACE(way);
    EXPECT_EQ(Invoke(sorter.get(), L"DataSet", way, {text.get()}).number, 13);
    EXPECT_EQ(Invoke(sorter.get(), L"DataSet", way, {empty.get()}).number, 424);
    EXPECT_EQ(PutObject(sorter.get(), L"DataSet", other.get(), way).number, 13);
    EXPECT_EQ(Invoke(sorter.get(), L"DataSet", way, {nothing.get()}).number, 0);
  }
  EXPECT_EQ(PutObject(other.get(), L"Qty", sorter.get()).number, 438);
}

TEST_F(CallTest, NamedArgumentsFindTheirPlace) {
  const Ref<IDispatch> texts = server_.Make(L"clsLMisc");
  LPOLESTR names[] = {const_cast<LPOLESTR>(L"GetEndNumber"), const_cast<LPOLESTR>(L"length"),
                      const_cast<LPOLESTR>(L"strText")};
  DISPID ids[3];
  ASSERT_EQ(texts->GetIDsOfNames(IID_NULL, names, 3, LOCALE_USER_DEFAULT, ids), S_OK);
  const Variant length(Value(int16_t{1})), text(Value(u"K12"));
  VARIANT given[] = {length.get(), text.get()};
  DISPPARAMS parameters{given, &ids[1], 2, 2};
  Variant result;
  ASSERT_EQ(texts->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                          result.Fresh(), nullptr, nullptr),
            S_OK);
  EXPECT_EQ(FromVariant(result.get()).ToText(), u"2");
  names[2] = const_cast<LPOLESTR>(L"nobody");
  EXPECT_EQ(texts->GetIDsOfNames(IID_NULL, names, 3, LOCALE_USER_DEFAULT, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(ids[2], DISPID_UNKNOWN);
}

TEST_F(CallTest, TheTableOfTheInterfaceServesCompiledClients) {
  const auto texts = server_.MakeTyped<_clsLMisc>(CLSID_clsLMisc, IID__clsLMisc);
  Bstr pins(u"\"h,A1,A2\""), pin;
  SHORT number = 1;
  EXPECT_EQ(texts->GetPin(pins.place(), &number, pin.place()), S_OK);
  EXPECT_EQ(pin.str(), u"A1");
  EXPECT_EQ(pins.str(), u"h,A1,A2");

  // A null text is the empty text, zeros inside count.
  Bstr none, zeros(std::u16string(u"7\0008", 3));
  LONG value = 0;
  EXPECT_EQ(texts->GetBeginNumber(none.place(), &value), S_OK);
  EXPECT_EQ(value, -1);
  EXPECT_EQ(texts->GetEndNumber(zeros.place(), &number, &value), S_OK);
  EXPECT_EQ(value, 8);
  EXPECT_EQ(texts->GetBeginNumber(nullptr, &value), E_POINTER);
  EXPECT_EQ(texts->GetBeginNumber(none.place(), nullptr), E_POINTER);
  IDispatch* nothing = nullptr;
  VARIANT_BOOL got = VARIANT_TRUE;
  EXPECT_EQ(texts->GotCompID(&nothing, &got), ToHresult(Err::kObjectNotSet));
  EXPECT_EQ(got, VARIANT_FALSE);

  const auto record = server_.MakeTyped<_clsLCmpRec>(CLSID_clsLCmpRec, IID__clsLCmpRec);
  Bstr name(u"Contactor"), read;
  FLOAT price = 0;
  EXPECT_EQ(record->put_Name(name.get()), S_OK);
  EXPECT_EQ(record->get_Name(read.place()), S_OK);
  EXPECT_EQ(record->put_Price(12.25f), S_OK);
  EXPECT_EQ(record->get_Price(&price), S_OK);
  EXPECT_EQ(read.str(), u"Contactor");
  EXPECT_EQ(price, 12.25f);
  // Slots and identifiers have the order of the columns.
  Ref<ITypeInfo> info;
  ASSERT_EQ(record->GetTypeInfo(0, LOCALE_USER_DEFAULT, Receive<ITypeInfo>(info)), S_OK);
  DISPID id = 0;
  for (const wchar_t* field :
       {L"Name", L"Desc", L"Brand", L"Rating", L"Model", L"Order", L"Supplier", L"Remarks",
        L"Price", L"Layout", L"LayShape", L"Width", L"Height", L"Qty", L"CompID"}) {
    auto* asked = const_cast<LPOLESTR>(field);
    MEMBERID found = 0;
    EXPECT_EQ(info->GetIDsOfNames(&asked, 1, &found), S_OK);
    EXPECT_EQ(found, ++id) << ToUtf8(Narrow(field));
  }

  const auto catalogue = server_.MakeTyped<_clsLDB>(CLSID_clsLDB, IID__clsLDB);
  Bstr order(u"Brand");
  Ref<IDispatch> records;
  EXPECT_EQ(catalogue->GetComponents(order.place(), Receive<IDispatch>(records)),
            ToHresult(Err::kObjectNotSet));
  EXPECT_EQ(order.str(), u" ORDER BY Brand");
}

TEST_F(CallTest, FailuresCarryNumberSentenceAndClass) {
  const Ref<IDispatch> texts = server_.Make(L"clsLMisc");
  const Outcome overflow = Call(texts.get(), L"GetBeginNumber", {u"99999999999"});
  EXPECT_EQ(overflow.number, 6);
  EXPECT_EQ(overflow.description, u"Overflow");
  EXPECT_EQ(overflow.source, u"Ohmwise6.clsLMisc");

  const auto typed = Query<ISupportErrorInfo>(texts.get());
  ASSERT_TRUE(typed);
  EXPECT_EQ(typed->InterfaceSupportsErrorInfo(IID__clsLMisc), S_OK);
  EXPECT_EQ(typed->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);

  const auto table = server_.MakeTyped<_clsLMisc>(CLSID_clsLMisc, IID__clsLMisc);
  Bstr text(u"K1"), source, description;
  SHORT length = 0;
  LONG value = 0;
  EXPECT_EQ(table->GetEndNumber(text.place(), &length, &value), ToHresult(Err::kTypeMismatch));
  Ref<IErrorInfo> error;
  ASSERT_EQ(GetErrorInfo(0, Receive<IErrorInfo>(error)), S_OK);
  error->GetSource(source.place());
  error->GetDescription(description.place());
  EXPECT_EQ(source.str(), u"Ohmwise6.clsLMisc");
  EXPECT_EQ(description.str(), u"Type mismatch");

  // Providers keep their own numbers; creating this class opens the language database.
  void* out = nullptr;
  EXPECT_LT(server_.TryMake(CLSID_clsLLang, IID_IDispatch, &out), 0);
  EXPECT_EQ(out, nullptr);
}

/// Every member of every class with arguments that nobody should pass.
TEST_F(CallTest, NoArgumentBringsAMemberDown) {
  VARIANT array;
  VariantInit(&array);
  array.vt = VT_ARRAY | VT_VARIANT;
  array.parray = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  VARIANT missing;
  VariantInit(&missing);
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  const Ref<IDispatch> other = server_.Make(L"clsLSort");
  const Variant values[] = {Variant(Value::Nothing()), Variant(Value::Null()), Variant(Value(u"x")),
                            Variant(Value(1e300)),     Variant(Value(-1)),     Variant()};
  std::vector<VARIANT> arguments{array, missing, ByValue(other.get())};
  for (const Variant& value : values) arguments.push_back(value.get());

  int calls = 0;
  for (const PublicClass& c : AllClasses()) {
    Ref<IDispatch> object;
    if (FAILED(server_.TryMake(c.clsid, IID_IDispatch, Receive<IDispatch>(object)))) continue;
    Ref<ITypeInfo> info;
    ASSERT_EQ(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, Receive<ITypeInfo>(info)), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    const UINT functions = attributes->cFuncs;
    info->ReleaseTypeAttr(attributes);
    for (UINT f = 0; f < functions; ++f) {
      FUNCDESC* function = nullptr;
      ASSERT_EQ(info->GetFuncDesc(f, &function), S_OK);
      BSTR name_text = nullptr;
      info->GetDocumentation(function->memid, &name_text, nullptr, nullptr, nullptr);
      const std::u16string name = FromBstr(name_text);
      SysFreeString(name_text);
      const auto kind = static_cast<WORD>(function->invkind);
      const auto parameters = static_cast<size_t>(function->cParams);
      info->ReleaseFuncDesc(function);
      // The members of IDispatch itself, and what waits for somebody to close a message box.
      if (function->memid >= 0x60000000 || name == u"OpenApp") continue;
      for (const VARIANT& argument : arguments) {
        const Outcome outcome = Invoke(object.get(), Wide(name.c_str()), kind,
                                       std::vector<VARIANT>(parameters, argument));
        EXPECT_NE(outcome.number, 51) << ToUtf8(name);
        EXPECT_EQ(outcome.result == DISP_E_EXCEPTION, !outcome.description.empty());
        ++calls;
      }
    }
  }
  EXPECT_GT(calls, 2000);
  VariantClear(&array);
}

}  // namespace
}  // namespace ohmwise::com
