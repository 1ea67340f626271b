// Whichever allocation of the DLL fails, its client gets "out of memory" and nothing else, and the
// next call works.
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include "Ohmwise6.h"
#include "base/text.h"
#include "platform/com/error_mapping.h"
#include "platform/com/objects.h"
#include "tests/com/clients/failing_memory.h"
#include "tests/com/server/server.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {

namespace {

constexpr int32_t kOutOfMemory = 7;

class ServerMemoryTest : public DrawingTest {
 protected:
  void SetUp() override {
    DrawingTest::SetUp();
    server_->Make(L"clsLMisc");  // what the process and the thread need is there
  }
  void TearDown() override {
    DrawingTest::TearDown();
    EXPECT_TRUE(server_->CanUnload()) << "objects are alive at the end of the test";
    memory_.reset();
    server_.reset();
    EXPECT_FALSE(GetModuleHandleW(L"Ohmwise6.dll")) << "the DLL stays in memory";
  }

  using Step = std::function<int32_t()>;
  /// Runs a step again and again, each time with another allocation failing, until none fails.
  /// Returns how many there are.
  int64_t FailEach(const Step& step, bool later_too) {
    for (int64_t n = 1; n < 20000; ++n) {
      memory_->FailAt(n, later_too);
      const int32_t number = step();
      const bool failed = memory_->Stop();
      if (number != 0) {
        EXPECT_EQ(number, kOutOfMemory) << "allocation " << n;
      }
      if (!failed) {
        EXPECT_EQ(number, 0);
        return n - 1;
      }
    }
    ADD_FAILURE() << "there is no end";
    return 0;
  }

  std::optional<com::Server> server_{std::in_place};
  std::optional<FailingMemory> memory_{std::in_place, GetModuleHandleW(L"Ohmwise6.dll")};
};

TEST_F(ServerMemoryTest, CallsFailWithOutOfMemory) {
  for (const bool later_too : {false, true}) {
    SCOPED_TRACE(later_too);
    const auto table = server_->MakeTyped<_clsLMisc>(CLSID_clsLMisc, IID__clsLMisc);
    const Step steps[] = {
        [&] {
          com::Bstr list(u"\"a header that is longer than texts without memory of their own,A1\"");
          com::Bstr pin;
          SHORT number = 1;
          const HRESULT result = table->GetPin(list.place(), &number, pin.place());
          EXPECT_EQ(pin.str(), SUCCEEDED(result) ? u"A1" : u"");
          return SUCCEEDED(result) ? 0 : static_cast<int32_t>(com::ToNumber(result));
        },
        [&] {
          return com::Call(table.get(), L"SpinText",
                           {u"1 in the middle of a text of some length 9", int16_t{1}, int16_t{1}})
              .number;
        },
        [&] {
          const com::Outcome list = com::Call(table.get(), L"ConnectedToWires", {Value::Nothing()});
          if (list.number != 0) return list.number;
          IDispatch* const items = list.value.get().pdispVal;
          const com::Outcome added =
              com::Call(items, L"Add", {u"an item that needs memory", u"and its long key"});
          if (added.number != 0) return added.number;
          const com::Outcome walk = com::Get(items, L"_NewEnum");
          if (walk.number != 0) return walk.number;
          const auto items_of = com::Query<IEnumVARIANT>(walk.value.get().punkVal);
          com::Variant item;
          const HRESULT next = items_of->Next(1, item.Fresh(), nullptr);
          return SUCCEEDED(next) ? 0 : static_cast<int32_t>(com::ToNumber(next));
        },
        // With the host of the thread and the tables of types, which end with the last object.
        [&] {
          com::Server& server = *server_;
          for (const com::PublicClass& c : com::AllClasses()) {
            if (std::wstring_view(c.name) == L"clsLLang") continue;
            Ref<IDispatch> object;
            const HRESULT made =
                server.TryMake(c.clsid, IID_IDispatch, com::Receive<IDispatch>(object));
            if (FAILED(made)) return static_cast<int32_t>(com::ToNumber(made));
            const com::Outcome refused = com::Call(object.get(), L"NoSuchMember");
            if (refused.number != 438) return refused.number;
          }
          return 0;
        },
    };
    for (const Step& step : steps) {
      SCOPED_TRACE(&step - steps);
      EXPECT_GT(FailEach(step, later_too), 1);
    }
  }
}

TEST_F(ServerMemoryTest, AThreadWithoutMemoryIsRefused) {
  const auto first_call = [this] {
    Ref<IDispatch> object;
    const HRESULT made =
        server_->TryMake(CLSID_clsLMisc, IID_IDispatch, com::Receive<IDispatch>(object));
    if (FAILED(made)) return static_cast<int32_t>(com::ToNumber(made));
    return com::Call(object.get(), L"GetBeginNumber", {u"99999999999"}).number;
  };
  const auto on_a_thread = [&](int64_t failing) {
    int32_t number = 0;
    std::thread([&] {
      CoInitialize(nullptr);
      memory_->FailAt(failing, true);
      number = first_call();
      memory_->Stop();
      CoUninitialize();
    }).join();
    return number;
  };
  EXPECT_EQ(on_a_thread(1000), 6);
  int64_t n = 1;
  while (on_a_thread(n) == kOutOfMemory) ++n;
  EXPECT_GT(n, 3);
  EXPECT_EQ(first_call(), 6);
}

TEST_F(ServerMemoryTest, AScanThatRanOutOfMemoryCanBeRepeated) {
  PageSpec page{u"1", {}};
  for (const char16_t* reference : {u"K1", u"K2", u"K1"}) {
    ShapeSpec shape;
    shape.name = u"Coil." + DecimalText(static_cast<int32_t>(page.shapes.size()));
    shape.type = 132;
    shape.cells = {{u"User.Ref", u"\"" + std::u16string(reference) + u"\""}};
    shape.text = reference;
    page.shapes.push_back(std::move(shape));
  }
  Open({page});
  const Ref<IDispatch> index = server_->Make(L"clsLCrossRef");
  const Step scan = [&] {
    return com::Call(index.get(), L"ScanPage", {Value(drawing_->Page(u"1")), Value(u"")}).number;
  };
  for (const bool later_too : {false, true}) {
    EXPECT_GT(FailEach(scan, later_too), 50);
    EXPECT_EQ(drawing_->Names(u"colRefShape", u"K1"), u"Coil.0 Coil.2");
    EXPECT_EQ(drawing_->Names(u"colShapeRef", u"Coil"), u"Coil.1 Coil.0 Coil.2");
    drawing_->DeclareIndex();
  }
}

}  // namespace

}  // namespace ohmwise::testing
