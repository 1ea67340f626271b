#include "tests/com/server/server.h"

#include <algorithm>
#include <utility>

#include "Ohmwise6.h"
#include "base/text.h"
#include "platform/com/error_mapping.h"
#include "platform/com/objects.h"

namespace ohmwise::com {
namespace {

#define OHMWISE_PUBLIC_CLASS(name) \
  { L## #name, CLSID_##name, IID__##name }
const PublicClass kClasses[] = {
    OHMWISE_PUBLIC_CLASS(clsLCrossRef),      OHMWISE_PUBLIC_CLASS(clsTBlockObj),
    OHMWISE_PUBLIC_CLASS(clsLMisc),          OHMWISE_PUBLIC_CLASS(clsLDB),
    OHMWISE_PUBLIC_CLASS(clsLCmpRec),        OHMWISE_PUBLIC_CLASS(clsLLayShape),
    OHMWISE_PUBLIC_CLASS(clsLSettings),      OHMWISE_PUBLIC_CLASS(clsLLang),
    OHMWISE_PUBLIC_CLASS(clsLMssg),          OHMWISE_PUBLIC_CLASS(clsLSort),
    OHMWISE_PUBLIC_CLASS(clsLOSort),         OHMWISE_PUBLIC_CLASS(clsLSortComp),
    OHMWISE_PUBLIC_CLASS(clsLSortShapeText), OHMWISE_PUBLIC_CLASS(clsLSortLayShape),
    OHMWISE_PUBLIC_CLASS(clsLExport)};
#undef OHMWISE_PUBLIC_CLASS

}  // namespace

std::span<const PublicClass> AllClasses() { return kClasses; }

Server::Server() : module_(LoadLibraryA(OHMWISE_SERVER)) {
  EXPECT_TRUE(module_) << OHMWISE_SERVER << " cannot be loaded: " << GetLastError();
}

Server::~Server() { FreeLibrary(module_); }

HRESULT Server::TryMake(const CLSID& clsid, const IID& iid, void** out) const {
  const auto get = Function<decltype(&DllGetClassObject)>("DllGetClassObject");
  Ref<IClassFactory> factory;
  const HRESULT result = get(clsid, IID_IClassFactory, Receive<IClassFactory>(factory));
  return SUCCEEDED(result) ? factory->CreateInstance(nullptr, iid, out) : result;
}

Ref<IDispatch> Server::Make(const wchar_t* class_name) const {
  Ref<IDispatch> object;
  for (const PublicClass& c : kClasses) {
    if (std::wstring_view(c.name) != class_name) continue;
    EXPECT_EQ(TryMake(c.clsid, IID_IDispatch, Receive<IDispatch>(object)), S_OK);
  }
  EXPECT_TRUE(object) << ToUtf8(Narrow(class_name));
  return object;
}

Outcome Invoke(IDispatch* object, const wchar_t* member, WORD flags,
               std::vector<VARIANT> arguments) {
  Outcome outcome;
  DISPID id = DISPID_UNKNOWN;
  auto* name = const_cast<LPOLESTR>(member);
  outcome.result = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
  if (SUCCEEDED(outcome.result)) {
    std::reverse(arguments.begin(), arguments.end());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS given{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
      given.cNamedArgs = 1;
      given.rgdispidNamedArgs = &put;
    }
    EXCEPINFO exception{};
    outcome.result = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &given,
                                    outcome.value.Fresh(), &exception, nullptr);
    if (outcome.result == DISP_E_EXCEPTION) {
      Bstr source, description;
      *source.place() = exception.bstrSource;
      *description.place() = exception.bstrDescription;
      outcome.source = source.str();
      outcome.description = description.str();
      outcome.number = static_cast<int32_t>(ToNumber(exception.scode));
      return outcome;
    }
  }
  if (FAILED(outcome.result)) outcome.number = static_cast<int32_t>(ToNumber(outcome.result));
  return outcome;
}

namespace {

Outcome InvokeWith(IDispatch* object, const wchar_t* member, WORD flags,
                   const std::vector<Value>& arguments) {
  std::vector<Variant> variants;
  for (const Value& value : arguments) variants.emplace_back(value);
  std::vector<VARIANT> plain;
  for (const Variant& variant : variants) plain.push_back(variant.get());
  return Invoke(object, member, flags, plain);
}

}  // namespace

Outcome Call(IDispatch* object, const wchar_t* member, const std::vector<Value>& arguments) {
  return InvokeWith(object, member, DISPATCH_METHOD, arguments);
}

Outcome Get(IDispatch* object, const wchar_t* member, const std::vector<Value>& arguments) {
  return InvokeWith(object, member, DISPATCH_PROPERTYGET, arguments);
}

Outcome Put(IDispatch* object, const wchar_t* member, const Value& value) {
  return InvokeWith(object, member, DISPATCH_PROPERTYPUT, {value});
}

VARIANT ByValue(IDispatch* object) {
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = VT_DISPATCH;
  variant.pdispVal = object;
  return variant;
}

Outcome PutObject(IDispatch* object, const wchar_t* member, IDispatch* value, WORD flags) {
  return Invoke(object, member, flags, {ByValue(value)});
}

}  // namespace ohmwise::com
