#pragma once

#include "base/collection.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

/// The keyed collection of the host runtime: the interface that a typed variable of a client asks
/// for. Optional arguments that are left out are error variants (DISP_E_PARAMNOTFOUND).
struct KeyedCollection : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE Item(VARIANT* index, VARIANT* item) = 0;
  virtual HRESULT STDMETHODCALLTYPE Add(VARIANT* item, VARIANT* key, VARIANT* before,
                                        VARIANT* after) = 0;
  virtual HRESULT STDMETHODCALLTYPE Count(LONG* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE Remove(VARIANT* index) = 0;
  virtual HRESULT STDMETHODCALLTYPE _NewEnum(IUnknown** enumerator) = 0;

 protected:
  ~KeyedCollection() = default;
};
inline constexpr GUID kKeyedCollection = {
    0xA4C46780, 0x499F, 0x101B, {0xBB, 0x78, 0x00, 0xAA, 0x00, 0x38, 0x3C, 0xBB}};

/// A keyed collection that comes in: one of our own is taken for what it is, a foreign one is
/// called through its dual interface or, without it, by name. Null gives Nothing; raises 13 for an
/// object of another kind.
CollectionRef AsCollection(IDispatch* object);
CollectionRef AsCollection(const ObjectRef& object);

}  // namespace ohmwise::com
