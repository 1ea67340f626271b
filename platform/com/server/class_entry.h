#pragma once

#include <concepts>
#include <span>
#include <type_traits>

#include "base/value.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

/// What is known of a class that automation clients see.
struct ClassEntry {
  const CLSID* clsid;
  const IID* iid;
  const char16_t* source;  ///< the name that clients create it by; the source of its errors
  int type_library;        ///< number of the resource
  const void* table;       ///< entries of the dual interface
  /// A new object behind the face, counted or not.
  void* (*make)();
  void (*end)(void* contract) noexcept;
  /// For classes whose objects can be values: the object, and the way back (null for others).
  Object* (*as_object)(void* contract) noexcept;
  void* (*from_object)(Object* object) noexcept;
};

template <class Contract>
void* MakeContract() {
  if constexpr (std::is_abstract_v<Contract>) {
    return nullptr;
  } else {
    return new Contract;
  }
}

template <class Contract>
constexpr ClassEntry DescribeClass(const CLSID& clsid, const IID& iid, const char16_t* source,
                                   const void* table, void* (*make)() = &MakeContract<Contract>,
                                   int library = 1) {
  if constexpr (std::derived_from<Contract, Object>) {
    return {&clsid,
            &iid,
            source,
            library,
            table,
            make,
            [](void* contract) noexcept { static_cast<Contract*>(contract)->Release(); },
            [](void* contract) noexcept -> Object* { return static_cast<Contract*>(contract); },
            [](Object* object) noexcept -> void* { return dynamic_cast<Contract*>(object); }};
  } else {
    return {&clsid,
            &iid,
            source,
            library,
            table,
            make,
            [](void* contract) noexcept { delete static_cast<Contract*>(contract); },
            nullptr,
            nullptr};
  }
}

/// The classes that clients create by name.
std::span<const ClassEntry* const> PublicClasses();
/// The automation collection; made by the library, never by clients.
const ClassEntry& CollectionClass();

}  // namespace ohmwise::com
