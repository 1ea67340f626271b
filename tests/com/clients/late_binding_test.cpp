#include "platform/com/late_binding.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "platform/com/collection_client.h"
#include "platform/com/drawing_clients.h"
#include "platform/com/moment.h"
#include "platform/com/objects.h"
#include "tests/com/clients/loopback/loopback.h"
#include "tests/com/clients/recorder.h"

namespace ohmwise {
namespace {

using com::Kind;
using com::LateBound;
using com::Member;
using testing::Recorder;

/// Number of what a step raises; 0 when it raises nothing.
template <class Step>
int32_t NumberOf(Step&& step) {
  try {
    step();
  } catch (const AutomationError& error) {
    return static_cast<int32_t>(error.number());
  }
  return 0;
}

class LateBindingTest : public ::testing::Test {
 protected:
  void SetUp() override { objects_at_start_ = LiveObjectCount(); }
  void TearDown() override {
    com::NoteEntry();  // what is remembered is let go
    EXPECT_EQ(LiveObjectCount(), objects_at_start_);
    EXPECT_EQ(Recorder::live, 0);
    EXPECT_EQ(testing::loopback::LiveObjects(), 0);
  }

 private:
  int64_t objects_at_start_ = 0;
};

HRESULT STDMETHODCALLTYPE FillInLater(EXCEPINFO* exception) {
  exception->scode = static_cast<HRESULT>(0x800A01C9);
  exception->bstrDescription = SysAllocString(L"told later");
  return S_OK;
}

TEST_F(LateBindingTest, FailuresArriveWithTheirNumberAndSentence) {
  EXCEPINFO by_result{}, by_code{}, deferred{};
  by_result.scode = static_cast<HRESULT>(0x86DB08A6);
  by_result.bstrDescription = const_cast<wchar_t*>(L"Unexpected end of file.");
  by_code.wCode = 1004;
  by_code.bstrDescription = const_cast<wchar_t*>(L"A host's own.");
  deferred.pfnDeferredFillIn = FillInLater;
  EXCEPINFO runtime{};
  runtime.scode = static_cast<HRESULT>(0x800A005B);
  const struct {
    const char* name;
    HRESULT result;
    EXCEPINFO exception;
    int32_t number;
    const char16_t* text;
  } kRows[] = {
      {"overflow", DISP_E_OVERFLOW, {}, 6, u"Overflow"},
      {"memory", E_OUTOFMEMORY, {}, 7, u"Out of memory"},
      {"index", DISP_E_BADINDEX, {}, 9, u"Subscript out of range"},
      {"type", DISP_E_TYPEMISMATCH, {}, 13, u"Type mismatch"},
      {"argument missing", DISP_E_PARAMNOTOPTIONAL, {}, 449, u"Argument not optional"},
      {"runtime's own", DISP_E_EXCEPTION, runtime, 91,
       u"Object variable or With block variable not set"},
      {"host's result", DISP_E_EXCEPTION, by_result, -2032465754, u"Unexpected end of file."},
      {"host's code", DISP_E_EXCEPTION, by_code, 1004, u"A host's own."},
      {"filled in later", DISP_E_EXCEPTION, deferred, 457, u"told later"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const Ref<Recorder> object = Recorder::Make(u"Thing", nullptr);
    object->Fail(u"State", row.result, row.exception);
    try {
      LateBound(Kind::kRecordset, object).Number(Member::kState);
      ADD_FAILURE() << "nothing was raised";
    } catch (const AutomationError& error) {
      EXPECT_EQ(static_cast<int32_t>(error.number()), row.number);
      EXPECT_EQ(error.description(), row.text);
    }
  }
}

TEST_F(LateBindingTest, IdentifiersAreSharedOnlyWhereNamesAreFixed) {
  // One implementation, two objects with other identifiers for their members.
  for (const bool described : {false, true}) {
    SCOPED_TRACE(described);
    const Ref<Recorder> first = Recorder::Make(u"First", nullptr, 1);
    const Ref<Recorder> second = Recorder::Make(u"Second", nullptr, described ? 50 : 1);
    first->described = second->described = described;
    first->On(u"Count", [](auto&) { return Value(int32_t{1}); });
    first->On(u"Name", [](auto&) { return Value(u"first"); });
    second->On(u"Name", [](auto&) { return Value(u"second"); });
    second->On(u"Count", [](auto&) { return Value(int32_t{2}); });
    // A kind for each round: an implementation is asked once per kind.
    const Kind kind = described ? Kind::kPages : Kind::kConnects;
    EXPECT_EQ(LateBound(kind, first).Number(Member::kCount), 1);
    LateBound other(kind, second);
    EXPECT_EQ(other.Number(Member::kCount), 2);
    EXPECT_EQ(other.Text(Member::kName), u"second");
    EXPECT_EQ(NumberOf([&] { other.Number(Member::kResultIU); }), 438);
    // What one object lacks, another one of its implementation may have.
    const Ref<Recorder> third = Recorder::Make(u"Third", nullptr);
    third->described = described;
    third->On(u"ResultIU", [](auto&) { return Value(2.5); });
    EXPECT_EQ(LateBound(kind, third).Real(Member::kResultIU), 2.5);
  }
}

TEST_F(LateBindingTest, ForeignObjectsGoOutAsTheyCameIn) {
  testing::CallLog log;
  const Ref<Recorder> thing = Recorder::Make(u"Thing", &log);
  thing->On(u"Data", nullptr);
  const ObjectRef wrapped = com::FromDispatch(thing.get());
  EXPECT_EQ(com::ToDispatch(wrapped).get(), thing.get());
  EXPECT_TRUE(Same(wrapped, com::FromDispatch(thing.get())));
  const Ref<Recorder> other = Recorder::Make(u"Other", &log);
  EXPECT_FALSE(Same(wrapped, com::FromDispatch(other.get())));
  wrapped->Put(u"data", Value(com::FromDispatch(other.get())));
  wrapped->Put(u"DATA", Value::Nothing());
  wrapped->Put(u"Data", Value::Null());
  EXPECT_EQ(log, (testing::CallLog{u"put Thing.Data([Other])", u"put Thing.Data([Nothing])",
                                   u"put Thing.Data(Null)"}));
  EXPECT_EQ(NumberOf([&] { wrapped->Get(u"Absent"); }), 438);

  EXPECT_FALSE(com::AsShape(static_cast<IDispatch*>(nullptr)));
  EXPECT_FALSE(com::AsCollection(static_cast<IDispatch*>(nullptr)));
  EXPECT_EQ(NumberOf([&] { com::AsShape(thing.get()); }), 13);
  EXPECT_EQ(NumberOf([&] { com::AsPage(thing.get()); }), 13);
  EXPECT_EQ(NumberOf([&] { com::AsDocument(thing.get()); }), 13);
  EXPECT_EQ(NumberOf([&] { com::AsCollection(thing.get()); }), 13);
  EXPECT_EQ(NumberOf([&] { com::AsShapes(thing.get()); }), 13);
}

/// Another interface pointer of an object, as a tear-off has it.
class Facet final : public IDispatch {
 public:
  explicit Facet(Ref<IDispatch> whole) : whole_(std::move(whole)) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
    return whole_->QueryInterface(id, out);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override {
    return whole_->GetTypeInfoCount(n);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT n, LCID l, ITypeInfo** i) override {
    return whole_->GetTypeInfo(n, l, i);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID r, LPOLESTR* n, UINT c, LCID l,
                                          DISPID* i) override {
    return whole_->GetIDsOfNames(r, n, c, l, i);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID i, REFIID r, LCID l, WORD f, DISPPARAMS* p, VARIANT* v,
                                   EXCEPINFO* e, UINT* u) override {
    if (const auto first = std::exchange(before_a_call, nullptr)) first();
    return whole_->Invoke(i, r, l, f, p, v, e, u);
  }
  void Become(Ref<IDispatch> whole) { whole_ = std::move(whole); }
  /// What the object does of its own when it is called next.
  std::function<void()> before_a_call;

 private:
  Ref<IDispatch> whole_;
};

TEST_F(LateBindingTest, OneObjectBehindTwoPointersIsTheSame) {
  const Ref<Recorder> thing = Recorder::Make(u"Thing", nullptr);
  Facet facet(thing);
  EXPECT_TRUE(Same(com::FromDispatch(thing.get()), com::FromDispatch(&facet)));
  com::NoteEntry();  // the facet ends here
}

TEST_F(LateBindingTest, AnEditedModuleMayCallBackWhileItIsCalled) {
  const auto module = [](DISPID first_id) {
    const Ref<Recorder> made = Recorder::Make(u"Module", nullptr, first_id);
    made->On(u"One", [](auto&) { return Value(int32_t{1}); });
    made->On(u"Two", [](auto&) { return Value(int32_t{2}); });
    return made;
  };
  Facet facet(module(1));
  const ObjectRef wrapped = com::FromDispatch(&facet);
  EXPECT_EQ(wrapped->Get(u"One").ToInt32() + wrapped->Get(u"Two").ToInt32(), 3);
  facet.Become(module(50));
  facet.before_a_call = [&] { EXPECT_EQ(wrapped->Get(u"One").ToInt32(), 1); };
  EXPECT_EQ(wrapped->Get(u"Two").ToInt32(), 2);
  com::NoteEntry();  // the facet ends here
}

TEST_F(LateBindingTest, AForeignCollectionKeepsOrderKeysAndNumbers) {
  for (const bool dual : {true, false}) {
    SCOPED_TRACE(dual ? "dual interface" : "by name");
    const CollectionRef list =
        com::AsCollection(testing::loopback::MakeForeignCollection(dual).get());
    list->Add(Value(u"b"), u"Key B");
    list->AddBefore(Value(u"a"), u"", 1);
    list->AddAfter(Value(int32_t{3}), std::nullopt, 2);
    list->Add(Value::Null());
    ASSERT_EQ(list->Count(), 4);
    EXPECT_EQ(list->Item(1).ToText(), u"a");
    EXPECT_EQ(list->Item(u"key b").ToText(), u"b");
    EXPECT_EQ(list->Item(u"").ToText(), u"a");
    EXPECT_EQ(list->Item(3).ToInt32(), 3);
    EXPECT_EQ(list->Item(4).kind(), Value::Kind::kNull);
    EXPECT_EQ(list->Get(u"count").ToInt32(), 4);
    EXPECT_EQ(NumberOf([&] { list->Item(u"absent"); }), 5);
    EXPECT_EQ(NumberOf([&] { list->Item(5); }), 9);
    EXPECT_EQ(NumberOf([&] { list->Remove(0); }), 9);
    EXPECT_EQ(NumberOf([&] { list->Add(Value(u"c"), u"KEY B"); }), 457);
    EXPECT_EQ(NumberOf([&] { list->AddBefore(Value(u"c"), std::nullopt, 9); }), 9);
    list->Remove(u"Key B");
    list->Remove(1);
    EXPECT_EQ(list->Count(), 2);
    // One of ours goes in and comes back as itself, a foreign one as the same object.
    const CollectionRef own = MakeCollection();
    const Ref<Recorder> foreign = Recorder::Make(u"Foreign", nullptr);
    list->Add(Value(own), u"own");
    list->Add(Value(com::FromDispatch(foreign.get())), u"foreign");
    EXPECT_EQ(list->Item(u"own").AsObject().get(), own.get());
    EXPECT_EQ(com::ToDispatch(list->Item(u"foreign").AsObject()).get(), foreign.get());
  }
}

}  // namespace
}  // namespace ohmwise
