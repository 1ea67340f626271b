// The whole way: a client calls the DLL with objects of a foreign drawing program, and the DLL
// calls that program and its collections.
#include <chrono>
#include <iostream>
#include <optional>
#include <utility>

#include <gtest/gtest.h>

#include "platform/com/objects.h"
#include "platform/error.h"
#include "platform/text.h"
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
