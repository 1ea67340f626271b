#include <new>

#include "platform/com/error_mapping.h"
#include "platform/com/objects.h"
#include "platform/com/server/automation_object.h"
#include "platform/com/server/class_entry.h"
#include "platform/com/server/module.h"
#include "platform/com/server/registration.h"
#include "platform/com/server/thread_memory.h"
#include "platform/com/server/type_table.h"
#include "platform/com/windows.h"

namespace ohmwise::com {
namespace {

class Factory final : public IClassFactory {
 public:
  explicit Factory(const ClassEntry& entry) : entry_(entry) { LockModule(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
    *out = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++count_; }
  ULONG STDMETHODCALLTYPE Release() noexcept override {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid,
                                           void** out) noexcept override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    if (!PrepareThread()) return E_OUTOFMEMORY;
    try {
      return AutomationObject::Create(entry_)->QueryInterface(iid, out);
    } catch (...) {
      return LeaveWithError(*entry_.iid, entry_.source);
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) noexcept override {
    lock ? LockModule() : UnlockModule();
    return S_OK;
  }

 private:
  ~Factory() { UnlockModule(); }

  const ClassEntry& entry_;
  std::atomic<ULONG> count_{1};
};

HRESULT GetFactory(REFCLSID clsid, REFIID iid, void** out) noexcept {
  if (!PrepareThread()) return E_OUTOFMEMORY;
  for (const ClassEntry* entry : PublicClasses()) {
    if (*entry->clsid != clsid) continue;
    try {
      return Ref<IClassFactory>::Adopt(new Factory(*entry))->QueryInterface(iid, out);
    } catch (...) {
      return LeaveWithError(iid, entry->source);
    }
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

/// For machine and user alike: after a failure nothing is left behind.
HRESULT Registered(Registration scope) noexcept {
  if (!PrepareThread()) return E_OUTOFMEMORY;
  try {
    Register(scope);
    return S_OK;
  } catch (...) {
    Unregister(scope);
    return LeaveWithError(IID_IUnknown, u"Ohmwise6");
  }
}

}  // namespace
}  // namespace ohmwise::com

// The exported functions; their names are the system's.
extern "C" {

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    ohmwise::com::AddFaceMaker(&ohmwise::com::AutomationObject::MakeFace);
  } else if (reason == DLL_THREAD_DETACH) {
    ohmwise::com::ForgetThread();
  }
  return TRUE;
}

HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return ohmwise::com::GetFactory(clsid, iid, out);
}

HRESULT WINAPI DllCanUnloadNow() {
  if (ohmwise::com::ModuleInUse()) return S_FALSE;
  ohmwise::com::ForgetTypes();
  return S_OK;
}

HRESULT WINAPI DllRegisterServer() {
  return ohmwise::com::Registered(ohmwise::com::Registration::kMachine);
}

HRESULT WINAPI DllUnregisterServer() {
  ohmwise::com::Unregister(ohmwise::com::Registration::kMachine);
  return S_OK;
}

/// `regsvr32 /n /i:user`: for the current user alone, without rights on the machine.
HRESULT WINAPI DllInstall(BOOL install, LPCWSTR arguments) {
  using ohmwise::com::Registration;
  const bool user = arguments && _wcsicmp(arguments, L"user") == 0;
  if (!user && arguments && *arguments) return E_INVALIDARG;
  const Registration scope = user ? Registration::kUser : Registration::kMachine;
  if (install) return ohmwise::com::Registered(scope);
  ohmwise::com::Unregister(scope);
  return S_OK;
}
}
