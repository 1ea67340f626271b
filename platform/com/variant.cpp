#include "platform/com/variant.h"

#include <new>
#include <utility>

#include "base/error.h"
#include "platform/com/error_mapping.h"
#include "platform/com/objects.h"

namespace ohmwise::com {

std::u16string_view ViewOf(BSTR text) noexcept {
  return text ? std::u16string_view(Narrow(text), SysStringLen(text)) : std::u16string_view();
}

std::u16string FromBstr(BSTR text) { return std::u16string(ViewOf(text)); }

BSTR ToBstr(std::u16string_view text) {
  const BSTR copy = SysAllocStringLen(Wide(text.data()), static_cast<UINT>(text.size()));
  if (!copy) throw std::bad_alloc();
  return copy;
}

void Assign(BSTR& target, std::u16string_view text) {
  if (ViewOf(target) == text) return;
  SysFreeString(std::exchange(target, ToBstr(text)));
}

Variant::Variant(const Value& value) {
  VariantInit(&variant_);
  ToVariant(value, &variant_);
}

Variant& Variant::operator=(Variant&& other) noexcept {
  VARIANT content = other.Detach();
  std::swap(variant_, content);
  VariantClear(&content);
  return *this;
}

VARIANT Variant::Detach() noexcept {
  const VARIANT content = variant_;
  VariantInit(&variant_);
  return content;
}

const VARIANT& Dereferenced(const VARIANT& variant) noexcept {
  const VARIANT* at = &variant;
  while (at->vt == (VT_BYREF | VT_VARIANT)) at = at->pvarVal;
  return *at;
}

bool IsMissing(const VARIANT& variant) noexcept {
  const VARIANT& v = Dereferenced(variant);
  return v.vt == VT_ERROR && v.scode == DISP_E_PARAMNOTFOUND;
}

namespace {

Value FromUnknown(IUnknown* object) {
  if (!object) return Value::Nothing();
  const Ref<IDispatch> dispatch = Query<IDispatch>(object);
  if (!dispatch) Raise(Err::kTypeMismatch);
  return Value(FromDispatch(dispatch.get()));
}

/// A number of a type without a counterpart; such variants own nothing.
class VariantNumber final : public Counted<ForeignNumber> {
 public:
  explicit VariantNumber(const VARIANT& number) : number_(number) {}
  std::u16string ToText() const override {
    const LCID form = number_.vt == VT_DATE ? LOCALE_USER_DEFAULT : LOCALE_INVARIANT;
    return FromBstr(As(VT_BSTR, form).get().bstrVal);
  }
  double ToDouble() const override { return As(VT_R8, LOCALE_INVARIANT).get().dblVal; }
  const VARIANT& number() const noexcept { return number_; }

 private:
  Variant As(VARTYPE type, LCID form) const {
    Variant converted;
    Check(VariantChangeTypeEx(&converted.get(), const_cast<VARIANT*>(&number_), form, 0, type));
    return converted;
  }
  VARIANT number_;
};

}  // namespace

Value FromVariant(const VARIANT& variant) {
  const VARIANT& v = Dereferenced(variant);
  if (v.vt & VT_BYREF) {
    Variant copy;
    Check(VariantCopyInd(&copy.get(), const_cast<VARIANT*>(&v)));
    return FromVariant(copy.get());
  }
  switch (v.vt) {
    case VT_EMPTY:
      return {};
    case VT_NULL:
      return Value::Null();
    case VT_BOOL:
      return Value(v.boolVal != VARIANT_FALSE);
    case VT_I2:
      return Value(static_cast<int16_t>(v.iVal));
    case VT_I4:
    case VT_INT:
      return Value(static_cast<int32_t>(v.lVal));
    case VT_R8:
      return Value(v.dblVal);
    case VT_I1:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_UINT:
    case VT_I8:
    case VT_UI8:
    case VT_R4:
    case VT_DATE:
    case VT_CY:
    case VT_DECIMAL:
      return Value(Ref<ForeignNumber>(MakeRef<VariantNumber>(v)));
    case VT_BSTR:
      return Value(FromBstr(v.bstrVal));
    case VT_DISPATCH:
      return Value(FromDispatch(v.pdispVal));
    case VT_UNKNOWN:
      return FromUnknown(v.punkVal);
    case VT_ERROR:
      if (v.scode == DISP_E_PARAMNOTFOUND) return {};
      break;
    default:
      break;
  }
  Raise(Err::kTypeMismatch);
}

void ToVariant(const Value& value, VARIANT* target) {
  VariantInit(target);
  switch (value.kind()) {
    case Value::Kind::kEmpty:
      break;
    case Value::Kind::kNull:
      target->vt = VT_NULL;
      break;
    case Value::Kind::kBoolean:
      target->boolVal = value.ToBoolean() ? VARIANT_TRUE : VARIANT_FALSE;
      target->vt = VT_BOOL;
      break;
    case Value::Kind::kInt16:
      target->iVal = value.ToInt16();
      target->vt = VT_I2;
      break;
    case Value::Kind::kInt32:
      target->lVal = value.ToInt32();
      target->vt = VT_I4;
      break;
    case Value::Kind::kDouble:
      target->dblVal = value.ToDouble();
      target->vt = VT_R8;
      break;
    case Value::Kind::kText:
      target->bstrVal = ToBstr(value.AsText());
      target->vt = VT_BSTR;
      break;
    case Value::Kind::kObject:
      target->pdispVal = ToDispatch(value.AsObjectOrNothing()).Detach();
      target->vt = VT_DISPATCH;
      break;
    case Value::Kind::kForeignNumber:  // nobody else makes one on this host
      *target = static_cast<const VariantNumber&>(value.AsForeignNumber()).number();
      break;
  }
}

}  // namespace ohmwise::com
