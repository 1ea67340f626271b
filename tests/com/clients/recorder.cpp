#include "tests/com/clients/recorder.h"

#include <cstring>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/error_mapping.h"
#include "platform/com/objects.h"
#include "platform/com/variant.h"

namespace ohmwise::testing {

int64_t Recorder::live = 0;

Recorder& Recorder::On(std::u16string member, Answer answer) {
  members_.push_back({std::move(member), std::move(answer)});
  return *this;
}

Recorder& Recorder::Fail(std::u16string member, HRESULT result, EXCEPINFO exception) {
  members_.push_back({std::move(member), nullptr, result, exception});
  return *this;
}

HRESULT Recorder::QueryInterface(REFIID id, void** out) {
  *out = nullptr;
  if (id != IID_IUnknown && id != IID_IDispatch) return E_NOINTERFACE;
  *out = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG Recorder::Release() {
  const ULONG left = --count_;
  if (left == 0) delete this;
  return left;
}

HRESULT Recorder::GetTypeInfoCount(UINT* count) {
  *count = described ? 1 : 0;
  return S_OK;
}

HRESULT Recorder::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
  *info = nullptr;
  return DISP_E_BADINDEX;
}

HRESULT Recorder::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* id) {
  for (size_t at = 0; at < members_.size(); ++at) {
    if (!EqualNoCase(members_[at].name, com::Narrow(names[0]))) continue;
    *id = first_id_ + static_cast<DISPID>(at);
    return S_OK;
  }
  *id = DISPID_UNKNOWN;
  return DISP_E_UNKNOWNNAME;
}

namespace {

/// The value of an argument; of an array its values in one text.
Value ArgumentOf(const VARIANT& variant) {
  if (variant.vt != (VT_ARRAY | VT_VARIANT)) return com::FromVariant(variant);
  VARIANT* values = nullptr;
  LONG last = -1;
  SafeArrayGetUBound(variant.parray, 1, &last);
  com::Check(SafeArrayAccessData(variant.parray, reinterpret_cast<void**>(&values)));
  std::u16string text;
  for (LONG at = 0; at <= last; ++at) {
    text += (at == 0 ? u"{" : u"; ") + com::FromVariant(values[at]).ToText();
  }
  SafeArrayUnaccessData(variant.parray);
  return Value(text + u"}");
}

}  // namespace

HRESULT Recorder::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                         VARIANT* result, EXCEPINFO* exception, UINT*) {
  const DISPID at = id - first_id_;
  if (at < 0 || static_cast<size_t>(at) >= members_.size()) return DISP_E_MEMBERNOTFOUND;
  const Told member = members_[static_cast<size_t>(at)];
  const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  std::vector<Value> arguments;
  for (UINT number = parameters->cArgs; number-- > 0;) {
    arguments.push_back(ArgumentOf(parameters->rgvarg[number]));
  }
  if (log_) {
    std::u16string line = puts ? u"put " : u"";
    line += name_ + u"." + member.name + u"(";
    for (size_t number = 0; number < arguments.size(); ++number) {
      if (number > 0) line += u", ";
      const Value& argument = arguments[number];
      if (!argument.IsObject()) {
        line += argument.kind() == Value::Kind::kNull ? u"Null" : argument.ToText();
        continue;
      }
      const Ref<IDispatch> object = com::ToDispatch(argument.AsObjectOrNothing());
      // Only recorders come here.
      line += object ? u"[" + static_cast<Recorder*>(object.get())->name_ + u"]" : u"[Nothing]";
    }
    log_->push_back(line + u")");
  }
  if (FAILED(member.failure)) {
    if (exception) {
      *exception = member.exception;
      for (BSTR EXCEPINFO::*const text : {&EXCEPINFO::bstrSource, &EXCEPINFO::bstrDescription}) {
        if (member.exception.*text) exception->*text = SysAllocString(member.exception.*text);
      }
    }
    return member.failure;
  }
  try {
    const Value value = member.answer ? member.answer(arguments) : Value();
    if (result) com::ToVariant(value, result);
    return S_OK;
  } catch (const AutomationError& error) {
    if (exception) {
      *exception = {};
      exception->scode = com::ToHresult(error.number());
      exception->bstrDescription = com::ToBstr(error.description());
    }
    return DISP_E_EXCEPTION;
  }
}

StandIn::StandIn(const wchar_t* class_name, std::function<Ref<IDispatch>()> make)
    : make_(std::move(make)) {
  CLSID id;
  if (FAILED(CLSIDFromProgID(class_name, &id))) {
    CoCreateGuid(&id);
    wchar_t text[40];
    const int units = StringFromGUID2(id, text, 40);
    const std::wstring path = std::wstring(class_name) + L"\\CLSID";
    RegSetKeyValueW(HKEY_CLASSES_ROOT, path.c_str(), nullptr, REG_SZ, text,
                    static_cast<DWORD>(units) * sizeof(wchar_t));
  }
  com::Check(
      CoRegisterClassObject(id, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration_));
}

StandIn::~StandIn() { CoRevokeClassObject(registration_); }

HRESULT StandIn::QueryInterface(REFIID id, void** out) {
  *out = nullptr;
  if (id != IID_IUnknown && id != IID_IClassFactory) return E_NOINTERFACE;
  *out = static_cast<IClassFactory*>(this);
  return S_OK;
}

HRESULT StandIn::CreateInstance(IUnknown*, REFIID id, void** out) {
  return make_()->QueryInterface(id, out);
}

}  // namespace ohmwise::testing
