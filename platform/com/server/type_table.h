#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/text.h"
#include "platform/com/server/class_entry.h"
#include "platform/com/variant.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

/// One parameter as the type library describes it. `type` is an automation type; by reference where
/// VT_BYREF is set.
struct ParameterType {
  VARTYPE type = VT_EMPTY;
  bool optional = false;
  bool has_default = false;
  Variant otherwise;  ///< the default
  std::u16string name;

  VARTYPE base() const noexcept { return static_cast<VARTYPE>(type & ~VT_BYREF); }
  bool by_reference() const noexcept { return (type & VT_BYREF) != 0; }
  bool IsObject() const noexcept { return base() == VT_DISPATCH || base() == VT_UNKNOWN; }
};

struct MemberType {
  DISPID id = 0;
  INVOKEKIND kind = INVOKE_FUNC;
  ULONG_PTR table_offset = 0;
  std::vector<ParameterType> parameters;
  bool returns = false;
  ParameterType result;
};

/// Most parameters of a member, the result included.
inline constexpr size_t kMostParameters = 16;

/// The members of one class, read from the type library once.
class TypeTable {
 public:
  explicit TypeTable(const ClassEntry& entry);

  const Ref<ITypeInfo>& dispatch_info() const noexcept { return dispatch_info_; }
  const Ref<ITypeInfo>& class_info() const noexcept { return class_info_; }
  /// The member of a kind; null when there is none.
  const MemberType* Find(DISPID id, INVOKEKIND kind) const noexcept;
  bool Has(DISPID id) const noexcept;
  /// IDispatch::GetIDsOfNames: a member and its parameters, without regard to case.
  HRESULT FindNames(LPOLESTR* names, UINT count, DISPID* ids) const;

 private:
  struct Folded {
    size_t operator()(std::u16string_view name) const noexcept { return HashNoCase(name); }
    bool operator()(std::u16string_view a, std::u16string_view b) const noexcept {
      return EqualNoCase(a, b);
    }
  };
  void ReadMembers(ITypeInfo* interface_info);

  Ref<ITypeInfo> dispatch_info_, class_info_;
  std::vector<MemberType> members_;
  std::unordered_map<std::u16string, DISPID, Folded, Folded> ids_;
};

/// The table of a class, made on first use and kept until `ForgetTypes`. Raises what reading the
/// type library raises.
const TypeTable& TypesOf(const ClassEntry& entry);
/// Lets go of all tables. Only while no object is alive.
void ForgetTypes() noexcept;

}  // namespace ohmwise::com
