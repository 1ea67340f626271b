#include "base/value.h"

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"

namespace ohmwise {

Value Object::Get(std::u16string_view member, std::span<const Value>) {
  Raise(Err::kUnsupportedMember,
        std::u16string(StandardText(Err::kUnsupportedMember)) + u": " + std::u16string(member));
}
void Object::Put(std::u16string_view member, const Value&, std::span<const Value>) {
  Raise(Err::kUnsupportedMember,
        std::u16string(StandardText(Err::kUnsupportedMember)) + u": " + std::u16string(member));
}
Value Object::Call(std::u16string_view member, std::span<const Value>) {
  Raise(Err::kUnsupportedMember,
        std::u16string(StandardText(Err::kUnsupportedMember)) + u": " + std::u16string(member));
}

const ObjectRef& Value::AsObjectOrNothing() const {
  if (!IsObject()) Raise(Err::kObjectRequired);
  return std::get<ObjectRef>(data_);
}
const ObjectRef& Value::AsObject() const {
  const ObjectRef& object = AsObjectOrNothing();
  if (!object) Raise(Err::kObjectNotSet);
  return object;
}
const std::u16string& Value::AsText() const {
  if (!IsText()) Raise(Err::kTypeMismatch);
  return std::get<std::u16string>(data_);
}

const ForeignNumber& Value::AsForeignNumber() const {
  if (kind() != Kind::kForeignNumber) Raise(Err::kTypeMismatch);
  return *std::get<Ref<ForeignNumber>>(data_);
}

std::u16string Value::ToText() const {
  switch (kind()) {
    case Kind::kEmpty:
      return {};
    case Kind::kNull:
      Raise(Err::kInvalidNull);
    case Kind::kBoolean:
      return std::get<bool>(data_) ? u"True" : u"False";
    case Kind::kInt16:
      return DecimalText(int32_t{std::get<int16_t>(data_)});
    case Kind::kInt32:
      return DecimalText(std::get<int32_t>(data_));
    case Kind::kDouble:
      return DoubleText(std::get<double>(data_));
    case Kind::kText:
      return std::get<std::u16string>(data_);
    case Kind::kForeignNumber:
      return AsForeignNumber().ToText();
    case Kind::kObject:
      break;
  }
  if (IsNothing()) Raise(Err::kObjectNotSet);
  Raise(Err::kTypeMismatch);
}

double Value::ToDouble() const {
  switch (kind()) {
    case Kind::kEmpty:
      return 0;
    case Kind::kNull:
      Raise(Err::kInvalidNull);
    case Kind::kBoolean:
      return std::get<bool>(data_) ? -1 : 0;
    case Kind::kInt16:
      return std::get<int16_t>(data_);
    case Kind::kInt32:
      return std::get<int32_t>(data_);
    case Kind::kDouble:
      return std::get<double>(data_);
    case Kind::kText:
      return TextToDouble(std::get<std::u16string>(data_));
    case Kind::kForeignNumber:
      return AsForeignNumber().ToDouble();
    case Kind::kObject:
      break;
  }
  if (IsNothing()) Raise(Err::kObjectNotSet);
  Raise(Err::kTypeMismatch);
}

int16_t Value::ToInt16() const {
  if (kind() == Kind::kText) return TextToInt16(std::get<std::u16string>(data_));
  return ohmwise::ToInt16(ToDouble());
}
int32_t Value::ToInt32() const { return ohmwise::ToInt32(ToDouble()); }
bool Value::ToBoolean() const {
  if (kind() == Kind::kText) return TextToBoolean(std::get<std::u16string>(data_));
  return ToDouble() != 0;
}

}  // namespace ohmwise
