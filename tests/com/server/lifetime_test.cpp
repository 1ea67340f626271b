#include <ocidl.h>
#include <psapi.h>

#include <atomic>
#include <thread>
#include <vector>

#include "base/text.h"
#include "tests/com/server/server.h"

namespace ohmwise::com {
namespace {

size_t PrivateBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PagefileUsage;
}

using LifetimeTest = ServerTest;

TEST_F(LifetimeTest, TheServerStaysWhileSomethingIsHeld) {
  EXPECT_TRUE(server_.CanUnload());
  {
    Ref<IUnknown> held;
    {
      const Ref<IDispatch> texts = server_.Make(L"clsLMisc");
      EXPECT_FALSE(server_.CanUnload());
      const Outcome list = Call(texts.get(), L"ConnectedToWires", {Value::Nothing()});
      held = Ref<IUnknown>::Share(Get(list.value.get().pdispVal, L"_NewEnum").value.get().punkVal);
    }
    EXPECT_FALSE(server_.CanUnload());  // the enumerator alone
  }
  EXPECT_TRUE(server_.CanUnload());

  Ref<IClassFactory> factory;
  const auto get = server_.Function<decltype(&DllGetClassObject)>("DllGetClassObject");
  ASSERT_EQ(get(AllClasses()[0].clsid, IID_IClassFactory, Receive<IClassFactory>(factory)), S_OK);
  EXPECT_FALSE(server_.CanUnload());
  factory = nullptr;
  EXPECT_TRUE(server_.CanUnload());
  void* out = this;
  EXPECT_EQ(get(IID_IUnknown, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(out, nullptr);
}

TEST_F(LifetimeTest, EveryInterfaceIsOfOneObject) {
  for (const PublicClass& c : AllClasses()) {
    SCOPED_TRACE(ToUtf8(Narrow(c.name)));
    Ref<IUnknown> object;
    if (std::wstring_view(c.name) == L"clsLLang") continue;  // needs its database
    ASSERT_EQ(server_.TryMake(c.clsid, c.iid, Receive<IUnknown>(object)), S_OK);
    const auto identity = Query<IUnknown>(object.get());
    EXPECT_EQ(Query<IUnknown>(Query<ISupportErrorInfo>(object.get()).get()).get(), identity.get());
    const auto described = Query<IProvideClassInfo>(object.get());
    ASSERT_TRUE(described);
    EXPECT_EQ(Query<IUnknown>(described.get()).get(), identity.get());
    Ref<ITypeInfo> info;
    ASSERT_EQ(described->GetClassInfo(Receive<ITypeInfo>(info)), S_OK);
    Bstr name;
    info->GetDocumentation(MEMBERID_NIL, name.place(), nullptr, nullptr, nullptr);
    EXPECT_EQ(name.str(), Narrow(c.name));
    Ref<IUnknown> none;
    EXPECT_EQ(object->QueryInterface(IID_IPersist, Receive<IUnknown>(none)), E_NOINTERFACE);
  }
}

TEST_F(LifetimeTest, TenThousandObjectsLeaveNothingBehind) {
  const auto round = [&](int count) {
    for (int i = 0; i < count; ++i) {
      const PublicClass& c = AllClasses()[static_cast<size_t>(i) % AllClasses().size()];
      if (std::wstring_view(c.name) == L"clsLLang") continue;
      Ref<IDispatch> object;
      ASSERT_EQ(server_.TryMake(c.clsid, IID_IDispatch, Receive<IDispatch>(object)), S_OK);
      if (std::wstring_view(c.name) == L"clsLMisc") {
        Call(object.get(), L"GetBeginNumber", {u"99999999999"});
        Call(object.get(), L"ConnectedToWires", {Value::Nothing()});
      }
    }
  };
  round(1000);
  const size_t before = PrivateBytes();
  round(10000);
  const size_t after = PrivateBytes();
  EXPECT_LT(after, before + 128 * 1024);
}

TEST_F(LifetimeTest, EachThreadHasItsOwnHost) {
  const Ref<IDispatch> here = server_.Make(L"clsLMisc");
  std::u16string there;
  std::thread([&] {
    CoInitialize(nullptr);
    {
      const Ref<IDispatch> texts = server_.Make(L"clsLMisc");
      there = Call(texts.get(), L"NetComp", {u"K10", u"K9"}).Text();
    }
    CoUninitialize();
  }).join();
  EXPECT_EQ(there, u"1");
  EXPECT_EQ(Call(here.get(), L"NetComp", {u"K9", u"K10"}).Text(), u"-1");
}

TEST_F(LifetimeTest, ApartmentsMakeObjectsAtTheSameTime) {
  constexpr int kThreads = 4, kRounds = 200;
  std::atomic<int> ready{0}, wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      CoInitialize(nullptr);
      for (++ready; ready < kThreads;) std::this_thread::yield();
      for (int round = 0; round < kRounds; ++round) {
        for (const PublicClass& c : AllClasses()) {
          if (std::wstring_view(c.name) == L"clsLLang") continue;
          Ref<IDispatch> object;
          if (FAILED(server_.TryMake(c.clsid, IID_IDispatch, Receive<IDispatch>(object)))) ++wrong;
          if (Call(object.get(), L"NoSuchMember").number != 438) ++wrong;
          if (std::wstring_view(c.name) != L"clsLMisc") continue;
          if (Call(object.get(), L"GetBeginNumber", {u"99999999999"}).number != 6) ++wrong;
          const Outcome list = Call(object.get(), L"ConnectedToWires", {Value::Nothing()});
          if (Get(list.value.get().pdispVal, L"Count").Text() != u"0") ++wrong;
        }
      }
      CoUninitialize();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(UnloadTest, TheServerComesAndGoes) {
  CoInitialize(nullptr);
  const std::wstring name = L"Ohmwise6.dll";
  for (int i = 0; i < 5; ++i) {
    {
      Server server;
      std::thread([&] {
        CoInitialize(nullptr);
        {
          const Ref<IDispatch> texts = server.Make(L"clsLMisc");
          EXPECT_EQ(Call(texts.get(), L"GetBeginNumber", {u"5"}).Text(), u"5");
        }
        CoUninitialize();
      }).join();
      {
        // An object that is not the library's, with all that is remembered of such objects.
        const Ref<IDispatch> texts = server.Make(L"clsLMisc"), foreign = server.Make(L"clsLSort");
        EXPECT_NE(Invoke(texts.get(), L"CompIDStr", DISPATCH_PROPERTYGET, {ByValue(foreign.get())})
                      .number,
                  0);
        EXPECT_EQ(Call(texts.get(), L"GetMidText", {u"1K2"}).Text(), u"K");
      }
      EXPECT_TRUE(server.CanUnload());
    }
    EXPECT_EQ(GetModuleHandleW(name.c_str()), nullptr)
        << "the runtime keeps a DLL loaded for every thread that has a thread_local object with a "
           "destructor: keep a pointer and end the object with the host (platform/host.h)";
  }
  CoUninitialize();
}

}  // namespace
}  // namespace ohmwise::com
