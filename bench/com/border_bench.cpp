// Calls per second of one member, NetComp, from inside and over the automation border: through the
// table of the interface, through IDispatch with a known identifier, and by name each time.
#include <chrono>
#include <cstdio>

#include "Ohmwise6.h"
#include "platform/com/variant.h"
#include "platform/com/windows.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::com {
namespace {

template <class Step>
void Measure(const char* name, Step&& step) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  int64_t calls = 0;
  double seconds = 0;
  while (seconds < 1.0) {
    for (int i = 0; i < 1000; ++i) step();
    calls += 1000;
    seconds = std::chrono::duration<double>(Clock::now() - start).count();
  }
  std::printf("%-34s %12.0f /s\n", name, static_cast<double>(calls) / seconds);
}

VARIANT Reference(Bstr& text) {
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = VT_BYREF | VT_BSTR;
  variant.pbstrVal = text.place();
  return variant;
}

int Run(const char* path) {
  const HMODULE module = LoadLibraryA(path);
  if (!module) return std::printf("%s cannot be loaded\n", path), 1;
  const auto get = reinterpret_cast<decltype(&DllGetClassObject)>(
      reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
  Ref<IClassFactory> factory;
  if (FAILED(get(CLSID_clsLMisc, IID_IClassFactory, Receive<IClassFactory>(factory)))) return 1;
  Ref<_clsLMisc> texts;
  if (FAILED(factory->CreateInstance(nullptr, IID__clsLMisc, Receive<_clsLMisc>(texts)))) return 1;

  Bstr first(u"-K12"), second(u"-K112");
  clsLMisc inside;
  Measure("inside", [&] { inside.NetComp(ViewOf(first.get()), ViewOf(second.get())); });
  Measure("table of the interface", [&] {
    SHORT order = 0;
    texts->NetComp(first.place(), second.place(), &order);
  });
  auto* name = const_cast<LPOLESTR>(L"NetComp");
  DISPID id = DISPID_UNKNOWN;
  if (FAILED(texts->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id))) return 1;
  VARIANT arguments[] = {Reference(second), Reference(first)};
  DISPPARAMS given{arguments, nullptr, 2, 0};
  const auto invoke = [&] {
    VARIANT order;
    VariantInit(&order);
    texts->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &given, &order, nullptr,
                  nullptr);
  };
  Measure("IDispatch, identifier known", invoke);
  Measure("IDispatch, by name", [&] {
    texts->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    invoke();
  });
  Measure("creation and release", [&] {
    Ref<IDispatch> made;
    static_cast<void>(factory->CreateInstance(nullptr, IID_IDispatch, Receive<IDispatch>(made)));
  });
  return 0;
}

}  // namespace
}  // namespace ohmwise::com

int main(int count, char** arguments) {
  if (count != 2) return std::printf("border_bench DLL\n"), 2;
  CoInitialize(nullptr);
  const int result = ohmwise::com::Run(arguments[1]);
  CoUninitialize();
  return result;
}
