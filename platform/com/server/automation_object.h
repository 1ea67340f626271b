#pragma once

#include <ocidl.h>

#include <atomic>

#include "platform/com/server/class_entry.h"
#include "platform/com/server/thread_host.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

class TypeTable;

/// What a client holds of an object of ours: the dual interface of its class, error information
/// and class information. The interface itself is a plain table of functions (see `ClassEntry`);
/// everything in it that is not the class's own comes here.
class AutomationObject final : public ISupportErrorInfo, public IProvideClassInfo {
 public:
  /// A new object of a class, its first count for the caller.
  static Ref<IDispatch> Create(const ClassEntry& entry);
  /// The face of an object that can be a value; null when it belongs to no class here.
  static Ref<IDispatch> MakeFace(const ObjectRef& object);
  /// The object behind an interface pointer of ours.
  static AutomationObject& Of(void* face) noexcept { return *static_cast<Face*>(face)->owner; }

  const ClassEntry& entry() const noexcept { return entry_; }
  template <class Contract>
  Contract& contract() noexcept {
    return *static_cast<Contract*>(contract_);
  }

  // IUnknown; the counts are the object's for all of its interfaces.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override;
  ULONG STDMETHODCALLTYPE AddRef() noexcept override;
  ULONG STDMETHODCALLTYPE Release() noexcept override;
  // IDispatch, by way of the class's table.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** out) noexcept;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) noexcept;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags,
                                   DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                   UINT* argument_error) noexcept;
  // ISupportErrorInfo and IProvideClassInfo.
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) noexcept override;
  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** out) noexcept override;

 private:
  /// Where interface pointers point to: the table first, as clients expect it.
  struct Face {
    const void* table;
    AutomationObject* owner;
  };

  AutomationObject(const ClassEntry& entry, void* contract);
  ~AutomationObject();
  IDispatch* dispatch() noexcept { return reinterpret_cast<IDispatch*>(&face_); }
  const TypeTable& Types();

  ThreadUse use_;  // first: the host outlives what it serves
  const ClassEntry& entry_;
  Face face_;
  void* contract_ = nullptr;
  const TypeTable* types_ = nullptr;
  std::atomic<ULONG> count_{1};
};

}  // namespace ohmwise::com
