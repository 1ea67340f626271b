#pragma once

#include <cmath>
#include <limits>
#include <span>
#include <string_view>
#include <type_traits>

#include "base/error.h"
#include "base/text.h"
#include "base/value.h"

namespace ohmwise::catalogue {

/// Late-bound access to one field of a record class.
template <class Record>
struct RecordField {
  std::u16string_view name;
  Value (*get)(const Record&) = nullptr;
  void (*put)(Record&, const Value&) = nullptr;

  RecordField(std::u16string_view field_name, const RecordField& access)
      : name(field_name), get(access.get), put(access.put) {}
  RecordField(Value (*getter)(const Record&), void (*putter)(Record&, const Value&))
      : get(getter), put(putter) {}
};

/// A value as the type of a field, by the runtime's conversions. A Single raises 6 beyond its
/// range.
template <class T>
T FieldValue(const Value& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value.ToBoolean();
  } else if constexpr (std::is_same_v<T, int32_t>) {
    return value.ToInt32();
  } else if constexpr (std::is_same_v<T, float>) {
    const double number = value.ToDouble();
    if (std::abs(number) > static_cast<double>(std::numeric_limits<float>::max())) {
      Raise(Err::kOverflow);
    }
    return static_cast<float>(number);
  } else {
    return value.ToText();
  }
}

namespace detail {
template <class Class, class T>
Class ClassOf(T (Class::*)() const noexcept);
template <class Class, class T>
std::remove_cvref_t<T> TypeOf(T (Class::*)() const noexcept);
}  // namespace detail

/// The accessors of a property pair as a field.
template <auto Getter, auto Setter, class Record = decltype(detail::ClassOf(Getter)),
          class T = decltype(detail::TypeOf(Getter))>
RecordField<Record> FieldOf() {
  return {[](const Record& record) {
            if constexpr (std::is_same_v<T, float>) {
              return Value(static_cast<double>((record.*Getter)()));
            } else {
              return Value((record.*Getter)());
            }
          },
          [](Record& record, const Value& value) { (record.*Setter)(FieldValue<T>(value)); }};
}

template <class Record>
const RecordField<Record>* FindField(std::span<const RecordField<Record>> fields,
                                     std::u16string_view name) {
  for (const RecordField<Record>& field : fields) {
    if (EqualNoCase(field.name, name)) return &field;
  }
  return nullptr;
}

}  // namespace ohmwise::catalogue
