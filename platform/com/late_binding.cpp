#include "platform/com/late_binding.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <limits>

#include <dispex.h>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/error_mapping.h"
#include "platform/com/lock.h"

namespace ohmwise::com {

namespace {

constexpr size_t kMembers = static_cast<size_t>(Member::kMemberCount);
constexpr DISPID kNotLookedUp = std::numeric_limits<DISPID>::min();
constexpr Err kCannotCreate{429};
/// A process meets a few kinds of a few implementations; more than this many are not remembered.
constexpr size_t kMostTables = 256;

const wchar_t* NameOf(Member member) {
  static constexpr const wchar_t* kNames[] = {
#define OHMWISE_COM_NAME(name) L"" #name,
      OHMWISE_COM_MEMBERS(OHMWISE_COM_NAME)
#undef OHMWISE_COM_NAME
  };
  static_assert(std::size(kNames) == kMembers);
  return kNames[static_cast<size_t>(member)];
}

[[noreturn]] void RaiseUnknownMember(std::u16string_view name) {
  Raise(Err::kUnsupportedMember,
        std::u16string(StandardText(Err::kUnsupportedMember)) + u": " + std::u16string(name));
}

/// Objects of one implementation begin with the same pointer to its functions.
const void* ImplementationOf(IDispatch* object) {
  return *reinterpret_cast<const void* const*>(object);
}

/// A type description fixes the names of all objects of an implementation; script objects have
/// names of their own each. All objects of other processes have one implementation here, their
/// proxy's: those of one kind come from one program, and an identifier that another one does not
/// know is looked up again.
bool HasFixedMembers(IDispatch* object) {
  UINT descriptions = 0;
  if (FAILED(object->GetTypeInfoCount(&descriptions)) || descriptions == 0) return false;
  return !Query<IDispatchEx>(object);
}

}  // namespace

struct MemberTable {
  MemberTable(const void* type, Kind of) : implementation(type), kind(of) {
    for (auto& id : ids) id.store(kNotLookedUp, std::memory_order_relaxed);
  }
  const void* implementation;
  Kind kind;
  bool shared = false;
  std::array<std::atomic<DISPID>, kMembers> ids;  // DISPID_UNKNOWN: there is no such member
};

namespace {

/// Every table of the process; they are only ever added, since objects point into them.
struct SharedTables {
  MemberTable* Find(Kind kind, const void* implementation) {
    for (MemberTable& table : tables) {
      if (table.implementation == implementation && table.kind == kind) return &table;
    }
    return nullptr;
  }
  Lock mutex;
  std::deque<MemberTable> tables;
};

/// The table of a kind and an implementation; null when its objects have their own.
MemberTable* SharedTable(Kind kind, IDispatch* object) {
  if (kind == Kind::kOther) return nullptr;
  static SharedTables all;
  const void* const implementation = ImplementationOf(object);
  {
    const std::lock_guard lock(all.mutex);
    if (MemberTable* table = all.Find(kind, implementation)) return table->shared ? table : nullptr;
    if (all.tables.size() >= kMostTables) return nullptr;
  }
  // Asked without the lock: the object may be of another process and call back meanwhile.
  const bool fixed = HasFixedMembers(object);
  const std::lock_guard lock(all.mutex);
  MemberTable* table = all.Find(kind, implementation);
  if (!table) {
    table = &all.tables.emplace_back(implementation, kind);
    table->shared = fixed;
  }
  return table->shared ? table : nullptr;
}

}  // namespace

void Fill(VARIANT& target, std::u16string_view text) {
  target.bstrVal = ToBstr(text);
  target.vt = VT_BSTR;
}
void Fill(VARIANT& target, int16_t number) noexcept {
  target.vt = VT_I2;
  target.iVal = number;
}
void Fill(VARIANT& target, int32_t number) noexcept {
  target.vt = VT_I4;
  target.lVal = number;
}
void Fill(VARIANT& target, double number) noexcept {
  target.vt = VT_R8;
  target.dblVal = number;
}
void Fill(VARIANT& target, bool flag) noexcept {
  target.vt = VT_BOOL;
  target.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
}
void Fill(VARIANT& target, const Value& value) { ToVariant(value, &target); }
void Fill(VARIANT& target, IDispatch* object) noexcept {
  target.vt = VT_DISPATCH;
  target.pdispVal = object;
  if (object) object->AddRef();
}
void Fill(VARIANT& target, const VARIANT& content) {
  Check(VariantCopy(&target, const_cast<VARIANT*>(&content)));
}
void Fill(VARIANT& target, Omitted) noexcept {
  target.vt = VT_ERROR;
  target.scode = DISP_E_PARAMNOTFOUND;
}

LateBound::LateBound(Kind kind, Ref<IDispatch> object)
    : object_(std::move(object)), kind_(kind), table_(SharedTable(kind, object_.get())) {
  if (!table_) extended_ = Query<IDispatchEx>(object_.get());
}

LateBound::~LateBound() = default;

bool LateBound::Has(Member member) { return Known(member) != DISPID_UNKNOWN; }

bool LateBound::Answers(Member member) {
  DISPID id = DISPID_UNKNOWN;
  return SUCCEEDED(LookUp(NameOf(member), id));
}

HRESULT LateBound::LookUp(const wchar_t* name, DISPID& id) {
  if (extended_) {
    return extended_->GetDispID(Bstr(Narrow(name)).get(), fdexNameCaseInsensitive, &id);
  }
  LPOLESTR names = const_cast<LPOLESTR>(name);
  return object_->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
}

DISPID LateBound::Known(Member member) {
  if (!table_ && !own_) own_ = std::make_unique<MemberTable>(nullptr, kind_);
  std::atomic<DISPID>& known = (table_ ? table_ : own_.get())->ids[static_cast<size_t>(member)];
  DISPID id = known.load(std::memory_order_relaxed);
  if (id != kNotLookedUp) return id;
  const HRESULT result = LookUp(NameOf(member), id);
  if (result == DISP_E_UNKNOWNNAME || result == DISP_E_MEMBERNOTFOUND) {
    id = DISPID_UNKNOWN;
    if (table_) return id;  // another object of this implementation may have it
  } else {
    Check(result);
  }
  known.store(id, std::memory_order_relaxed);
  return id;
}

void LateBound::LeaveSharedTable() {
  table_ = nullptr;
  own_ = std::make_unique<MemberTable>(nullptr, kind_);
  extended_ = Query<IDispatchEx>(object_.get());
}

HRESULT LateBound::TryInvoke(DISPID id, WORD flags, std::span<Variant> arguments, Variant& result,
                             EXCEPINFO& exception) {
  static_assert(sizeof(Variant) == sizeof(VARIANT));
  DISPID put = DISPID_PROPERTYPUT;
  const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  DISPPARAMS parameters{arguments.empty() ? nullptr : &arguments[0].get(), puts ? &put : nullptr,
                        static_cast<UINT>(arguments.size()), puts ? 1u : 0u};
  VARIANT* const place = puts ? nullptr : result.Fresh();
  if (extended_) {
    return extended_->InvokeEx(id, LOCALE_USER_DEFAULT, flags, &parameters, place, &exception,
                               nullptr);
  }
  return object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, place, &exception,
                         nullptr);
}

Variant LateBound::Invoke(Member member, WORD flags, std::span<Variant> arguments) {
  Variant result;
  for (;;) {
    const DISPID id = Known(member);
    if (id == DISPID_UNKNOWN) RaiseUnknownMember(Narrow(NameOf(member)));
    EXCEPINFO exception{};
    const HRESULT outcome = TryInvoke(id, flags, arguments, result, exception);
    if (SUCCEEDED(outcome)) return result;
    if (outcome != DISP_E_MEMBERNOTFOUND || !table_) RaiseInvokeFailure(outcome, exception);
    LeaveSharedTable();
  }
}

Variant LateBound::InvokeNamed(std::u16string_view member, WORD flags,
                               std::span<Variant> arguments) {
  Variant result;
  for (bool again = true;; again = false) {
    // Copied: what is called may call back, and change the list of the known members.
    const auto found = FindNamed(member);
    const bool known = found != named_.end();
    DISPID id = known ? found->id : DISPID_UNKNOWN;
    if (!known) {
      std::u16string name(member);
      const HRESULT result_of_name = LookUp(Wide(name.c_str()), id);
      if (result_of_name == DISP_E_UNKNOWNNAME) RaiseUnknownMember(member);
      Check(result_of_name);
      if (FindNamed(member) == named_.end()) named_.push_back({std::move(name), id});
    }
    EXCEPINFO exception{};
    HRESULT outcome = TryInvoke(id, flags, arguments, result, exception);
    if (outcome == DISP_E_MEMBERNOTFOUND && flags == DISPATCH_PROPERTYPUTREF) {
      outcome = TryInvoke(id, DISPATCH_PROPERTYPUT, arguments, result, exception);
    }
    if (SUCCEEDED(outcome)) return result;
    // A code module that was edited has other identifiers.
    if (outcome != DISP_E_MEMBERNOTFOUND || !known || !again) {
      RaiseInvokeFailure(outcome, exception);
    }
    if (const auto stale = FindNamed(member); stale != named_.end() && stale->id == id) {
      named_.erase(stale);
    }
  }
}

std::vector<LateBound::NamedMember>::iterator LateBound::FindNamed(std::u16string_view member) {
  return std::ranges::find(named_, member, &NamedMember::name);
}

namespace {

std::vector<Variant> InCallOrder(std::span<const Value> arguments) {
  std::vector<Variant> variants;
  variants.reserve(arguments.size() + 1);
  for (size_t at = arguments.size(); at-- > 0;) variants.emplace_back(arguments[at]);
  return variants;
}

}  // namespace

Value LateBound::GetNamed(std::u16string_view member, std::span<const Value> arguments) {
  std::vector<Variant> variants = InCallOrder(arguments);
  return FromVariant(InvokeNamed(member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, variants).get());
}

void LateBound::PutNamed(std::u16string_view member, const Value& value,
                         std::span<const Value> arguments) {
  std::vector<Variant> variants = InCallOrder(arguments);
  variants.emplace(variants.begin(), value);
  InvokeNamed(member, value.IsObject() ? DISPATCH_PROPERTYPUTREF : DISPATCH_PROPERTYPUT, variants);
}

Value LateBound::CallNamed(std::u16string_view member, std::span<const Value> arguments) {
  return GetNamed(member, arguments);
}

Ref<IDispatch> LateBound::TakeObject(Variant result) {
  VARIANT& variant = result.get();
  if (variant.vt == VT_DISPATCH) {
    VARIANT content = result.Detach();
    return Ref<IDispatch>::Adopt(content.pdispVal);
  }
  if (variant.vt == VT_EMPTY) return nullptr;
  if (variant.vt != VT_UNKNOWN) Raise(Err::kObjectRequired);
  if (!variant.punkVal) return nullptr;
  Ref<IDispatch> object = Query<IDispatch>(variant.punkVal);
  if (!object) Raise(Err::kTypeMismatch);
  return object;
}

bool SameObject(IUnknown* a, IUnknown* b) noexcept {
  if (a == b) return true;
  if (!a || !b) return false;
  const Ref<IUnknown> first = Query<IUnknown>(a);
  const Ref<IUnknown> second = Query<IUnknown>(b);
  return first && first.get() == second.get();
}

Ref<IDispatch> CreateByName(const wchar_t* name) {
  CLSID id;
  HRESULT result = CLSIDFromProgID(name, &id);
  Ref<IDispatch> object;
  if (SUCCEEDED(result)) {
    result = CoCreateInstance(id, nullptr, CLSCTX_ALL, IID_IDispatch, Receive<IDispatch>(object));
  }
  if (FAILED(result) || !object) {
    Raise(kCannotCreate, u"The object \"" + std::u16string(Narrow(name)) +
                             u"\" cannot be created: is its program installed?");
  }
  return object;
}

}  // namespace ohmwise::com
