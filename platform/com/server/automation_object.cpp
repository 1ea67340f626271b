#include "platform/com/server/automation_object.h"

#include "platform/com/error_mapping.h"
#include "platform/com/objects.h"
#include "platform/com/server/invoke.h"
#include "platform/com/server/type_table.h"

namespace ohmwise::com {

AutomationObject::AutomationObject(const ClassEntry& entry, void* contract)
    : entry_(entry), face_{entry.table, this}, contract_(contract ? contract : entry.make()) {
  if (!entry_.as_object) return;
  try {
    NoteFace(entry_.as_object(contract_), dispatch());
  } catch (...) {
    if (!contract) entry_.end(contract_);
    throw;
  }
}

AutomationObject::~AutomationObject() {
  if (entry_.as_object) ForgetFace(entry_.as_object(contract_));
  entry_.end(contract_);
}

Ref<IDispatch> AutomationObject::Create(const ClassEntry& entry) {
  return Ref<IDispatch>::Adopt((new AutomationObject(entry, nullptr))->dispatch());
}

Ref<IDispatch> AutomationObject::MakeFace(const ObjectRef& object) {
  const auto make = [&](const ClassEntry& entry) -> Ref<IDispatch> {
    void* const contract = entry.from_object ? entry.from_object(object.get()) : nullptr;
    if (!contract) return nullptr;
    const auto face = Ref<IDispatch>::Adopt((new AutomationObject(entry, contract))->dispatch());
    ObjectRef(object).Detach();  // the count of the face
    return face;
  };
  for (const ClassEntry* entry : PublicClasses()) {
    if (Ref<IDispatch> face = make(*entry)) return face;
  }
  return make(CollectionClass());
}

HRESULT AutomationObject::QueryInterface(REFIID iid, void** out) noexcept {
  if (!out) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == *entry_.iid) {
    *out = &face_;
  } else if (iid == IID_ISupportErrorInfo) {
    *out = static_cast<ISupportErrorInfo*>(this);
  } else if (iid == IID_IProvideClassInfo) {
    *out = static_cast<IProvideClassInfo*>(this);
  } else {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG AutomationObject::AddRef() noexcept { return ++count_; }

ULONG AutomationObject::Release() noexcept {
  const ULONG left = --count_;
  if (left == 0) {
    // While it ends, the object may hand itself out once more and get it back.
    count_ = 1;
    delete this;
  }
  return left;
}

const TypeTable& AutomationObject::Types() {
  if (!types_) types_ = &TypesOf(entry_);
  return *types_;
}

HRESULT AutomationObject::GetTypeInfoCount(UINT* count) noexcept {
  if (!count) return E_POINTER;
  *count = 1;
  return S_OK;
}

HRESULT AutomationObject::GetTypeInfo(UINT index, LCID, ITypeInfo** out) noexcept {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  try {
    *out = Ref<ITypeInfo>(Types().dispatch_info()).Detach();
    return S_OK;
  } catch (...) {
    return LeaveWithError(IID_IDispatch, entry_.source);
  }
}

HRESULT AutomationObject::GetClassInfo(ITypeInfo** out) noexcept {
  if (!out) return E_POINTER;
  *out = nullptr;
  try {
    *out = Ref<ITypeInfo>(Types().class_info()).Detach();
    return S_OK;
  } catch (...) {
    return LeaveWithError(IID_IProvideClassInfo, entry_.source);
  }
}

HRESULT AutomationObject::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID,
                                        DISPID* ids) noexcept {
  if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (!names || !ids || count == 0) return E_INVALIDARG;
  try {
    return Types().FindNames(names, count, ids);
  } catch (...) {
    return LeaveWithError(IID_IDispatch, entry_.source);
  }
}

HRESULT AutomationObject::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* arguments,
                                 VARIANT* result, EXCEPINFO* exception,
                                 UINT* argument_error) noexcept {
  if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  const auto held = Ref<IUnknown>::Share(dispatch());
  try {
    return InvokeMember(Types(), &face_, id, flags, arguments, result, exception, argument_error);
  } catch (...) {
    return FillException(LeaveWithError(*entry_.iid, entry_.source), exception);
  }
}

HRESULT AutomationObject::InterfaceSupportsErrorInfo(REFIID iid) noexcept {
  return iid == *entry_.iid || iid == IID_IDispatch ? S_OK : S_FALSE;
}

}  // namespace ohmwise::com
