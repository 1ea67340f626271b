#include "platform/com/server/type_table.h"

#include <memory>

#include "base/error.h"
#include "platform/com/error_mapping.h"
#include "platform/com/lock.h"
#include "platform/com/server/module.h"

namespace ohmwise::com {
namespace {

struct TypeAttributes {
  explicit TypeAttributes(ITypeInfo* of) : info(of) { Check(info->GetTypeAttr(&data)); }
  ~TypeAttributes() { info->ReleaseTypeAttr(data); }
  TypeAttributes(const TypeAttributes&) = delete;
  TypeAttributes& operator=(const TypeAttributes&) = delete;
  ITypeInfo* info;
  TYPEATTR* data = nullptr;
};

struct FunctionDescription {
  FunctionDescription(ITypeInfo* of, UINT index) : info(of) {
    Check(info->GetFuncDesc(index, &data));
  }
  ~FunctionDescription() { info->ReleaseFuncDesc(data); }
  FunctionDescription(const FunctionDescription&) = delete;
  FunctionDescription& operator=(const FunctionDescription&) = delete;
  ITypeInfo* info;
  FUNCDESC* data = nullptr;
};

/// An automation type behind pointers; interfaces count as the objects they are.
VARTYPE Resolve(ITypeInfo* info, const TYPEDESC& type, int pointers = 0) {
  VARTYPE base = type.vt;
  if (type.vt == VT_PTR) return Resolve(info, *type.lptdesc, pointers + 1);
  if (type.vt == VT_USERDEFINED) {
    Ref<ITypeInfo> other;
    Check(info->GetRefTypeInfo(type.hreftype, Receive<ITypeInfo>(other)));
    const TypeAttributes attributes(other.get());
    base = attributes.data->guid == IID_IUnknown ? VT_UNKNOWN : VT_DISPATCH;
    --pointers;
  }
  if (pointers < 0 || pointers > 1) Raise(Err::kTypeMismatch);
  return static_cast<VARTYPE>(base | (pointers == 1 ? VT_BYREF : 0));
}

ParameterType Describe(ITypeInfo* info, const ELEMDESC& element) {
  ParameterType parameter;
  parameter.type = Resolve(info, element.tdesc);
  const PARAMDESC& description = element.paramdesc;
  parameter.optional = (description.wParamFlags & PARAMFLAG_FOPT) != 0;
  parameter.has_default = (description.wParamFlags & PARAMFLAG_FHASDEFAULT) != 0;
  if (parameter.has_default) {
    Check(VariantCopy(&parameter.otherwise.get(), &description.pparamdescex->varDefaultValue));
  }
  return parameter;
}

/// Names of a member and its parameters; the new value of a property put has none.
std::vector<std::u16string> NamesOf(ITypeInfo* info, DISPID id) {
  std::array<BSTR, kMostParameters + 1> texts{};
  UINT count = 0;
  Check(info->GetNames(id, texts.data(), static_cast<UINT>(texts.size()), &count));
  std::vector<std::u16string> names;
  for (UINT i = 0; i < count; ++i) {
    names.push_back(FromBstr(texts[i]));
    SysFreeString(texts[i]);
  }
  return names;
}

struct Tables {
  Lock mutex;
  std::unordered_map<const ClassEntry*, std::unique_ptr<TypeTable>> by_class;
};

Tables& AllTables() {
  static Tables tables;
  return tables;
}

}  // namespace

TypeTable::TypeTable(const ClassEntry& entry) {
  Ref<ITypeLib> library;
  const std::wstring path = ModulePath() + L"\\" + std::to_wstring(entry.type_library);
  Check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, Receive<ITypeLib>(library)));
  Check(library->GetTypeInfoOfGuid(*entry.iid, Receive<ITypeInfo>(dispatch_info_)));
  Check(library->GetTypeInfoOfGuid(*entry.clsid, Receive<ITypeInfo>(class_info_)));

  // A dual interface is described twice; the view with the table says where each member stands.
  HREFTYPE reference = 0;
  Ref<ITypeInfo> interface_info;
  Check(dispatch_info_->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference));
  Check(dispatch_info_->GetRefTypeInfo(reference, Receive<ITypeInfo>(interface_info)));
  ReadMembers(interface_info.get());
}

void TypeTable::ReadMembers(ITypeInfo* info) {
  const TypeAttributes attributes(info);
  for (UINT i = 0; i < attributes.data->cFuncs; ++i) {
    const FunctionDescription function(info, i);
    const FUNCDESC& description = *function.data;
    MemberType member;
    member.id = description.memid;
    member.kind = description.invkind;
    member.table_offset = static_cast<ULONG_PTR>(description.oVft);
    const std::vector<std::u16string> names = NamesOf(info, member.id);
    for (SHORT p = 0; p < description.cParams; ++p) {
      const ELEMDESC& element = description.lprgelemdescParam[p];
      ParameterType parameter = Describe(info, element);
      if (element.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) {
        member.returns = true;
        member.result = std::move(parameter);
        continue;
      }
      const auto name = static_cast<size_t>(p) + 1;
      if (name < names.size()) parameter.name = names[name];
      member.parameters.push_back(std::move(parameter));
    }
    if (member.parameters.size() >= kMostParameters) Raise(Err::kOverflow);
    if (!names.empty()) ids_.emplace(names[0], member.id);
    members_.push_back(std::move(member));
  }
}

const MemberType* TypeTable::Find(DISPID id, INVOKEKIND kind) const noexcept {
  for (const MemberType& member : members_) {
    if (member.id == id && member.kind == kind) return &member;
  }
  return nullptr;
}

bool TypeTable::Has(DISPID id) const noexcept {
  for (const MemberType& member : members_) {
    if (member.id == id) return true;
  }
  return false;
}

HRESULT TypeTable::FindNames(LPOLESTR* names, UINT count, DISPID* ids) const {
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  const auto found = ids_.find(Narrow(names[0]));
  if (found == ids_.end()) return DISP_E_UNKNOWNNAME;
  ids[0] = found->second;
  HRESULT result = S_OK;
  for (UINT i = 1; i < count; ++i) {
    for (const MemberType& member : members_) {
      if (member.id != ids[0] || ids[i] != DISPID_UNKNOWN) continue;
      for (size_t p = 0; p < member.parameters.size(); ++p) {
        if (EqualNoCase(member.parameters[p].name, Narrow(names[i]))) {
          ids[i] = static_cast<DISPID>(p);
        }
      }
    }
    if (ids[i] == DISPID_UNKNOWN) result = DISP_E_UNKNOWNNAME;
  }
  return result;
}

const TypeTable& TypesOf(const ClassEntry& entry) {
  Tables& tables = AllTables();
  const std::lock_guard lock(tables.mutex);
  std::unique_ptr<TypeTable>& table = tables.by_class[&entry];
  if (!table) table = std::make_unique<TypeTable>(entry);
  return *table;
}

void ForgetTypes() noexcept {
  Tables& tables = AllTables();
  const std::lock_guard lock(tables.mutex);
  tables.by_class.clear();
}

}  // namespace ohmwise::com
