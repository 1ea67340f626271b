// The whole way: a client calls the DLL with objects of a foreign drawing program, and the DLL
// calls that program and its collections.
#include <chrono>
#include <functional>
#include <iostream>
#include <optional>
#include <utility>

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/objects.h"
#include "tests/com/clients/loopback/loopback.h"
#include "tests/com/server/server.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {

namespace {

ShapeSpec Component(std::u16string name, std::u16string text) {
  ShapeSpec shape;
  shape.name = std::move(name);
  shape.type = 132;
  shape.cells = {{u"User.Ref", u"\"" + text + u"\""}};
  shape.text = std::move(text);
  return shape;
}

/// A foreign object that does something of its own before it answers.
class Meddler final : public IDispatch {
 public:
  static Ref<IDispatch> Make(Ref<IDispatch> whole, std::function<void()> meddle) {
    return Ref<IDispatch>::Adopt(new Meddler(std::move(whole), std::move(meddle)));
  }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
    *out = nullptr;
    if (id != IID_IUnknown && id != IID_IDispatch) return E_NOINTERFACE;
    *out = this;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++count_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    return whole_->GetTypeInfoCount(count);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override {
    return whole_->GetIDsOfNames(iid, names, count, locale, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags,
                                   DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                   UINT* argument_error) override {
    meddle_();
    return whole_->Invoke(id, iid, locale, flags, arguments, result, exception, argument_error);
  }

 private:
  Meddler(Ref<IDispatch> whole, std::function<void()> meddle)
      : whole_(std::move(whole)), meddle_(std::move(meddle)) {}
  ~Meddler() = default;

  ULONG count_ = 1;
  Ref<IDispatch> whole_;
  std::function<void()> meddle_;
};

class WholeWayTest : public DrawingTest {
 protected:
  void SetUp() override {
    DrawingTest::SetUp();
    index_ = server_->Make(L"clsLCrossRef");
    ASSERT_TRUE(index_);
  }
  void TearDown() override {
    index_ = nullptr;
    DrawingTest::TearDown();
    EXPECT_TRUE(server_->CanUnload()) << "objects are alive at the end of the test";
    server_.reset();
    EXPECT_FALSE(GetModuleHandleW(L"Ohmwise6.dll")) << "the DLL stays in memory";
  }
  com::Outcome Scan(std::u16string_view page) {
    return com::Call(index_.get(), L"ScanPage", {Value(drawing_->Page(page)), Value(u"")});
  }

  std::optional<com::Server> server_{std::in_place};
  Ref<IDispatch> index_;
};

TEST_F(WholeWayTest, AnIndexIsFilledReadAndShortened) {
  Open({{u"1",
         {Component(u"Coil.1", u"K1"), Component(u"Contact.2", u"K1"), Component(u"Coil.3", u"K10"),
          Component(u"Coil.4", u"K9")}},
        {u"2", {Component(u"Contact.5", u"K9")}}});
  EXPECT_EQ(Scan(u"1").number, 0);
  EXPECT_EQ(Scan(u"2").number, 0);
  EXPECT_EQ(drawing_->Names(u"colRefShape", u"K1"), u"Coil.1 Contact.2");
  EXPECT_EQ(drawing_->Names(u"colShapeRef", u"Coil"), u"Coil.3 Coil.4 Coil.1");

  const Value references(drawing_->Index(u"colRefShape"));
  const com::Outcome shapes = com::Call(index_.get(), L"GetShapes", {references, Value(u"K9")});
  ASSERT_EQ(shapes.number, 0);
  EXPECT_EQ(NamesOf(ToCollection(com::FromVariant(shapes.value.get()))), u"Coil.4 Contact.5");
  const com::Outcome known = com::Get(index_.get(), L"RefExist", {references, Value(u"k10")});
  EXPECT_TRUE(com::FromVariant(known.value.get()).ToBoolean());

  EXPECT_EQ(com::Call(index_.get(), L"RemoveAll", {Value(drawing_->Shape(u"Coil.1"))}).number, 0);
  EXPECT_EQ(drawing_->Names(u"colRefShape", u"K1"), u"Contact.2");
  EXPECT_EQ(drawing_->Names(u"colShapeRef", u"Coil"), u"Coil.3 Coil.4");
}

TEST_F(WholeWayTest, TextsWrittenByOthersAreSeenByTheNextCall) {
  Open({{u"1", {Component(u"Coil.1", u"K1")}}});
  ASSERT_EQ(Scan(u"1").number, 0);
  drawing_->drawing().FindShape(u"1", u"Coil.1")->SetText(u"K2");
  drawing_->DeclareIndex();
  ASSERT_EQ(Scan(u"1").number, 0);
  EXPECT_EQ(drawing_->Names(u"colRefShape", u"K2"), u"Coil.1");
  EXPECT_EQ(drawing_->Shape(u"Coil.1")->Cells(u"User.Ref")->ResultText(), u"K2");
}

TEST_F(WholeWayTest, FailuresOfTheProgramReachTheClientUnchanged) {
  Open({{u"1", {}}, {u"2", {}}});
  const PageRef page = drawing_->Page(u"2");
  page->Delete();
  const com::Outcome outcome = com::Call(index_.get(), L"ScanPage", {Value(page), Value(u"")});
  EXPECT_EQ(outcome.number, static_cast<int32_t>(Err::kHost));
  EXPECT_EQ(outcome.description, u"The page has been deleted.");
  EXPECT_EQ(outcome.source, u"Loopback");
  EXPECT_EQ(com::Call(index_.get(), L"ScanPage", {Value::Nothing(), Value(u"")}).number, 91);
  const Value document(drawing_->document());
  EXPECT_EQ(com::Call(index_.get(), L"ScanPage", {document, Value(u"")}).number, 13);
}

TEST_F(WholeWayTest, AHandlerOfTheProgramMayCallInWhileAScanRuns) {
  Open({{u"1", {Component(u"Coil.1", u"K1"), Component(u"Coil.2", u"K2")}},
        {u"2", {Component(u"Coil.3", u"K3")}}});
  int calls = 0;
  const Ref<IDispatch> texts = server_->Make(L"clsLMisc");
  bool handling = false;
  const auto handle = [&] {
    if (std::exchange(handling, true)) return;  // asked by the handler itself
    ++calls;
    index_ = nullptr;  // the client's last count of the object that is running
    const Ref<IDispatch> other = server_->Make(L"clsLCrossRef");
    EXPECT_EQ(com::Call(other.get(), L"ScanPage", {Value(drawing_->Page(u"2")), Value(u"")}).number,
              0);
    EXPECT_EQ(com::Call(other.get(), L"ScanPage", {Value::Nothing(), Value(u"")}).number, 91);
    EXPECT_EQ(com::Call(texts.get(), L"GetMidText", {u"1K2"}).Text(), u"K");
    EXPECT_FALSE(server_->CanUnload());
    handling = false;
  };
  // The page is asked a few times, the list of an index at every shape.
  Ref<IDispatch> page = Meddler::Make(com::ToDispatch(drawing_->Page(u"1")), handle);
  const Ref<IDispatch> references = com::ToDispatch(drawing_->Index(u"colShapeRef"));
  const CollectionRef meddled = com::AsCollection(Meddler::Make(references, handle).get());
  drawing_->document()->Put(u"colShapeRef", Value(meddled));
  VARIANT skipped;
  VariantInit(&skipped);
  skipped.vt = VT_BSTR;
  skipped.bstrVal = nullptr;
  IDispatch* const running = index_.get();
  EXPECT_EQ(com::Invoke(running, L"ScanPage", DISPATCH_METHOD, {com::ByValue(page.get()), skipped})
                .number,
            0);
  EXPECT_GT(calls, 3);
  drawing_->document()->Put(u"colShapeRef", Value(com::AsCollection(references.get())));
  EXPECT_EQ(drawing_->Names(u"colRefShape", u"K2"), u"Coil.2");
  EXPECT_EQ(drawing_->Names(u"colShapeRef", u"Coil"), u"Coil.3 Coil.2 Coil.1");
}

TEST_F(WholeWayTest, ALongPageCostsTwelveCallsPerShape) {
  constexpr int32_t kShapes = 5000;
  PageSpec page{u"1", {}};
  for (int32_t n = 1; n <= kShapes; ++n) {
    page.shapes.push_back(Component(u"Kind" + DecimalText(n % 10) + u"." + DecimalText(n),
                                    u"K" + DecimalText(n * 1999 % 5003)));
  }
  Open({page});
  loopback::CurrentTraffic() = {};
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Scan(u"1").number, 0);
  const std::chrono::duration<double, std::milli> lasted = std::chrono::steady_clock::now() - start;
  const auto calls = static_cast<double>(loopback::CurrentTraffic().member_calls);
  std::cout << calls / kShapes << " calls per shape, " << lasted.count() << " ms\n";
  EXPECT_LE(calls / kShapes, 12.1);
  EXPECT_EQ(drawing_->Index(u"colRefShape")->Count(), kShapes);
}

}  // namespace

}  // namespace ohmwise::testing
