#include "platform/com/server/invoke.h"

#include <array>
#include <cstring>

#include "base/error.h"
#include "platform/com/error_mapping.h"
#include "platform/com/variant.h"

namespace ohmwise::com {
namespace {

constexpr WORD kPut = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;
constexpr int kNotGiven = -1;

bool HoldsObject(const VARIANT& variant) {
  const auto type = static_cast<VARTYPE>(Dereferenced(variant).vt & ~VT_BYREF);
  return type == VT_DISPATCH || type == VT_UNKNOWN;
}

const MemberType* Choose(const TypeTable& types, DISPID id, WORD flags, const DISPPARAMS& given) {
  const auto find = [&](INVOKEKIND kind) { return types.Find(id, kind); };
  const MemberType* member = nullptr;
  if (flags & kPut) {
    // Where the client leaves it open, objects are set and all else is assigned.
    const bool object = given.cArgs > 0 && HoldsObject(given.rgvarg[0]);
    const bool sets =
        (flags & kPut) == DISPATCH_PROPERTYPUTREF || ((flags & DISPATCH_PROPERTYPUTREF) && object);
    if (sets) member = find(INVOKE_PROPERTYPUTREF);
    if (!member && (flags & DISPATCH_PROPERTYPUT)) member = find(INVOKE_PROPERTYPUT);
    return member;
  }
  // Scripts do not tell a function from a property that takes arguments.
  if (flags & DISPATCH_METHOD) member = find(INVOKE_FUNC);
  if (!member) member = find(INVOKE_PROPERTYGET);
  if (!member && (flags & DISPATCH_PROPERTYGET)) member = find(INVOKE_FUNC);
  return member;
}

/// The value of one variant as `want` (no reference). Takes no reference to the source.
HRESULT Convert(const VARIANT& source, VARTYPE want, VARIANT* target) {
  Variant value;
  if (const HRESULT copied = VariantCopyInd(&value.get(), const_cast<VARIANT*>(&source));
      FAILED(copied)) {
    return copied;
  }
  const VARTYPE have = value.get().vt;
  if (want == VT_VARIANT || have == want) {
    *target = value.Detach();
    return S_OK;
  }
  if (want == VT_DISPATCH || want == VT_UNKNOWN) {
    if (have == VT_EMPTY || have == VT_ERROR) Raise(Err::kObjectRequired);
    if (have != VT_DISPATCH && have != VT_UNKNOWN) return DISP_E_TYPEMISMATCH;
    Ref<IDispatch> object;
    if (value.get().punkVal) {
      object = Query<IDispatch>(value.get().punkVal);
      if (!object) return DISP_E_TYPEMISMATCH;
    }
    target->vt = want;
    target->pdispVal = object.Detach();
    return S_OK;
  }
  if (have == VT_NULL) Raise(Err::kInvalidNull);
  return VariantChangeType(target, &value.get(), VARIANT_ALPHABOOL, want);
}

/// Frees what `target` refers to and stores the converted value there.
HRESULT StoreByReference(VARIANT& target, const VARIANT& value) {
  const auto type = static_cast<VARTYPE>(target.vt & ~VT_BYREF);
  Variant converted;
  if (const HRESULT result = Convert(value, type, &converted.get()); FAILED(result)) return result;
  VARIANT old;
  VariantInit(&old);
  const VARIANT fresh = converted.Detach();
  switch (type) {
    case VT_BSTR:
      old.bstrVal = std::exchange(*target.pbstrVal, fresh.bstrVal);
      old.vt = VT_BSTR;
      break;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      old.punkVal = std::exchange(*target.ppunkVal, fresh.punkVal);
      old.vt = VT_UNKNOWN;
      break;
    case VT_I1:
    case VT_UI1:
      *target.pbVal = fresh.bVal;
      break;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      *target.piVal = fresh.iVal;
      break;
    case VT_R8:
    case VT_DATE:
    case VT_CY:
    case VT_I8:
    case VT_UI8:
      *target.pllVal = fresh.llVal;
      break;
    default:
      *target.plVal = fresh.lVal;
      break;
  }
  VariantClear(&old);
  return S_OK;
}

/// The arguments of one call in the form that the member takes.
class Call {
 public:
  Call(const MemberType& member, DISPPARAMS& given) : member_(member), given_(given) {
    from_.fill(kNotGiven);
  }
  ~Call() {
    for (size_t i = 0; i < member_.parameters.size(); ++i) VariantClear(&values_[i]);
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  /// Which argument is for which parameter: named ones come first, the others last to first.
  HRESULT Order(UINT* argument_error) {
    const size_t count = member_.parameters.size();
    for (UINT i = 0; i < given_.cArgs; ++i) {
      size_t place = given_.cArgs - 1 - i;
      if (i < given_.cNamedArgs) {
        const DISPID name = given_.rgdispidNamedArgs[i];
        place = name == DISPID_PROPERTYPUT ? count - 1 : static_cast<size_t>(name);
      }
      if (place >= count || from_[place] != kNotGiven) {
        if (argument_error) *argument_error = i;
        return i < given_.cNamedArgs ? DISP_E_PARAMNOTFOUND : DISP_E_BADPARAMCOUNT;
      }
      from_[place] = static_cast<int>(i);
    }
    return S_OK;
  }

  HRESULT Prepare(UINT* argument_error) {
    for (size_t i = 0; i < member_.parameters.size(); ++i) {
      if (const HRESULT result = PrepareOne(i); FAILED(result)) {
        if (argument_error && from_[i] != kNotGiven) *argument_error = static_cast<UINT>(from_[i]);
        return result;
      }
    }
    return S_OK;
  }

  /// Calls and writes back; the member's own result.
  HRESULT Run(void* face, Variant& result) {
    auto count = static_cast<UINT>(member_.parameters.size());
    if (member_.returns) {
      types_[count] = member_.result.type;
      actual_[count].vt = member_.result.type;
      result.get().vt = VT_EMPTY;
      actual_[count].byref = member_.result.base() == VT_VARIANT
                                 ? static_cast<void*>(&result.get())
                                 : static_cast<void*>(&result.get().llVal);
      ++count;
    }
    std::array<VARIANT*, kMostParameters> pointers{};
    for (size_t i = 0; i < count; ++i) pointers[i] = &actual_[i];
    Variant returned;
    const HRESULT called = DispCallFunc(face, member_.table_offset, CC_STDCALL, VT_ERROR, count,
                                        types_.data(), pointers.data(), &returned.get());
    if (FAILED(called)) return called;
    const HRESULT outcome = returned.get().scode;
    returned.get().vt = VT_EMPTY;
    if (SUCCEEDED(outcome) && member_.returns && member_.result.base() != VT_VARIANT) {
      result.get().vt = member_.result.base();
    }
    WriteBack();
    return outcome;
  }

 private:
  HRESULT PrepareOne(size_t i) {
    const ParameterType& parameter = member_.parameters[i];
    const VARTYPE base = parameter.base();
    VARIANT* const given = from_[i] == kNotGiven ? nullptr : &given_.rgvarg[from_[i]];
    VARIANT& actual = actual_[i];
    types_[i] = actual.vt = parameter.type;
    if (given && given->vt == parameter.type && parameter.by_reference()) {
      actual = *given;  // the caller's own place
      return S_OK;
    }
    VARIANT& value = values_[i];
    HRESULT result = S_OK;
    if (!given || IsMissing(*given)) {
      if (!parameter.optional) return given ? DISP_E_PARAMNOTOPTIONAL : DISP_E_BADPARAMCOUNT;
      if (parameter.has_default) {
        result = Convert(parameter.otherwise.get(), base, &value);
      } else {
        value.vt = VT_ERROR;
        value.scode = DISP_E_PARAMNOTFOUND;
      }
    } else {
      result = Convert(*given, base, &value);
      if (parameter.by_reference() && (given->vt & VT_BYREF) && base != VT_VARIANT) {
        back_[i] = given;
        before_[i] = value.llVal;
      }
    }
    if (FAILED(result)) return result;
    if (base == VT_VARIANT) {
      if (parameter.by_reference()) {
        actual.pvarVal = &value;
      } else {
        actual = value;
      }
    } else if (parameter.by_reference()) {
      actual.byref = &value.llVal;
    } else {
      actual.llVal = value.llVal;
    }
    return S_OK;
  }

  /// Hands back what the member changed.
  void WriteBack() {
    for (size_t i = 0; i < member_.parameters.size(); ++i) {
      VARIANT& value = values_[i];
      if (!back_[i] || value.llVal == before_[i]) continue;
      VARIANT& target = const_cast<VARIANT&>(Dereferenced(*back_[i]));
      if (target.vt & VT_BYREF) {
        Check(StoreByReference(target, value));
      } else {
        std::swap(target, value);
      }
    }
  }

  const MemberType& member_;
  DISPPARAMS& given_;
  std::array<int, kMostParameters> from_;
  std::array<VARIANT, kMostParameters> values_{};  // empty where an argument is the caller's own
  std::array<VARIANT, kMostParameters> actual_{};
  std::array<VARTYPE, kMostParameters> types_{};
  std::array<VARIANT*, kMostParameters> back_{};
  std::array<LONGLONG, kMostParameters> before_{};
};

/// `object.List(2)`: the arguments are for the default member of what the property gives.
HRESULT InvokeDefault(const TypeTable& types, void* face, DISPID id, WORD flags,
                      DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                      UINT* argument_error) {
  Variant list;
  DISPPARAMS none{};
  const HRESULT got =
      InvokeMember(types, face, id, flags, &none, &list.get(), exception, argument_error);
  if (FAILED(got)) return got;
  if (list.get().vt != VT_DISPATCH || !list.get().pdispVal) return DISP_E_BADPARAMCOUNT;
  return list.get().pdispVal->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT,
                                     DISPATCH_PROPERTYGET | DISPATCH_METHOD, arguments, result,
                                     exception, argument_error);
}

}  // namespace

HRESULT InvokeMember(const TypeTable& types, void* face, DISPID id, WORD flags,
                     DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                     UINT* argument_error) {
  DISPPARAMS none{};
  DISPPARAMS& given = arguments ? *arguments : none;
  const MemberType* const member = Choose(types, id, flags, given);
  if (!member) return DISP_E_MEMBERNOTFOUND;
  if (member->parameters.empty() && given.cArgs > 0 && given.cNamedArgs == 0 && member->returns &&
      (member->result.IsObject() || member->result.base() == VT_VARIANT)) {
    return InvokeDefault(types, face, id, flags, arguments, result, exception, argument_error);
  }

  Call call(*member, given);
  if (const HRESULT ordered = call.Order(argument_error); FAILED(ordered)) return ordered;
  if (const HRESULT prepared = call.Prepare(argument_error); FAILED(prepared)) return prepared;
  Variant returned;
  const HRESULT outcome = call.Run(face, returned);
  if (FAILED(outcome)) return FillException(outcome, exception);
  if (result) *result = returned.Detach();
  return S_OK;
}

}  // namespace ohmwise::com
