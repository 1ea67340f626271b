#pragma once

// The headers of Windows, the same way everywhere in this folder. Included by sources and headers
// of platform/com and its tests only.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <ole2.h>
#include <oleauto.h>

#include "base/ref.h"

// Interfaces of the automation border have no destructor: Release ends an object.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// Texts pass between the two kinds of 16-bit unit by reinterpretation.
static_assert(sizeof(wchar_t) == sizeof(char16_t));

namespace ohmwise::com {

inline const wchar_t* Wide(const char16_t* text) noexcept {
  return reinterpret_cast<const wchar_t*>(text);
}
inline const char16_t* Narrow(const wchar_t* text) noexcept {
  return reinterpret_cast<const char16_t*>(text);
}

/// Receives an interface pointer whose count is the caller's: `call(Receive(ref))`.
template <class T>
class Receive {
 public:
  explicit Receive(Ref<T>& target) noexcept : target_(target) {}
  ~Receive() { target_ = Ref<T>::Adopt(object_); }
  Receive(const Receive&) = delete;
  Receive& operator=(const Receive&) = delete;
  operator T**() noexcept { return &object_; }  // NOLINT(google-explicit-constructor)
  operator void**() noexcept {                  // NOLINT(google-explicit-constructor)
    return reinterpret_cast<void**>(&object_);
  }

 private:
  Ref<T>& target_;
  T* object_ = nullptr;
};

/// The object's other interface; a null handle when it has none or there is no object.
template <class T>
Ref<T> Query(IUnknown* object) noexcept {
  Ref<T> found;
  if (object) static_cast<void>(object->QueryInterface(__uuidof(T), Receive<T>(found)));
  return found;
}

}  // namespace ohmwise::com
