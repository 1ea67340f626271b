#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "base/ref.h"

namespace ohmwise {

class Value;

/// Late-bound access by member name (names compare without case).
///
/// Everything that can sit in a `Value` is an `Object`: drawing objects, collections, records,
/// foreign automation objects.
class Object {
 public:
  virtual void AddRef() noexcept = 0;
  virtual void Release() noexcept = 0;

  /// Reads a property, or calls a function that returns a value. Raises 438 for an unknown member.
  virtual Value Get(std::u16string_view member, std::span<const Value> arguments = {});
  /// Assigns a property (an object value is assigned by reference). Raises 438 for an unknown one.
  virtual void Put(std::u16string_view member, const Value& value,
                   std::span<const Value> arguments = {});
  /// Calls a method. Raises 438 for an unknown one.
  virtual Value Call(std::u16string_view member, std::span<const Value> arguments = {});

  /// True when both handles mean the same object; the default compares addresses.
  virtual bool SameAs(const Object& other) const noexcept { return this == &other; }

 protected:
  virtual ~Object() = default;  // only Release() destroys
};
using ObjectRef = Ref<Object>;

inline bool Same(const ObjectRef& a, const ObjectRef& b) noexcept {
  if (!a || !b) return !a && !b;
  return a->SameAs(*b);
}

/// A number of a type that only the automation runtime has (Single, Currency, Date, Byte, Decimal,
/// 64 bits). It keeps that type on its way through the library and converts as the runtime does:
/// numbers get a point, a date the form of the host's user.
class ForeignNumber {
 public:
  virtual void AddRef() noexcept = 0;
  virtual void Release() noexcept = 0;
  virtual std::u16string ToText() const = 0;
  virtual double ToDouble() const = 0;  ///< a date in days since 30 December 1899

 protected:
  virtual ~ForeignNumber() = default;
};

/// An automation variant. Empty (never assigned), Null (a database null), Nothing (an object
/// reference that refers to no object) and "" are four different things.
class Value {
 public:
  enum class Kind {
    kEmpty,
    kNull,
    kBoolean,
    kInt16,
    kInt32,
    kDouble,
    kText,
    kObject,
    kForeignNumber
  };
  struct NullTag {
    friend bool operator==(NullTag, NullTag) = default;
  };

  Value() noexcept = default;
  static Value Null() noexcept { return Value(Data(NullTag{})); }
  static Value Nothing() noexcept { return Value(Data(ObjectRef())); }
  // Implicit from what an automation client may pass.
  Value(bool v) noexcept : data_(v) {}                        // NOLINT
  Value(int16_t v) noexcept : data_(v) {}                     // NOLINT
  Value(int32_t v) noexcept : data_(v) {}                     // NOLINT
  Value(double v) noexcept : data_(v) {}                      // NOLINT
  Value(std::u16string v) noexcept : data_(std::move(v)) {}   // NOLINT
  Value(std::u16string_view v) : data_(std::u16string(v)) {}  // NOLINT
  Value(const char16_t* v) : data_(std::u16string(v)) {}      // NOLINT
  Value(ObjectRef v) noexcept : data_(std::move(v)) {}        // NOLINT
  explicit Value(Ref<ForeignNumber> v) noexcept : data_(std::move(v)) {}
  template <class T>
  requires std::is_convertible_v<T*, Object*> Value(Ref<T> v)
  noexcept : data_(ObjectRef(std::move(v))) {}  // NOLINT

  Kind kind() const noexcept { return static_cast<Kind>(data_.index()); }
  bool IsObject() const noexcept { return kind() == Kind::kObject; }
  bool IsText() const noexcept { return kind() == Kind::kText; }
  /// True for an object value that refers to nothing.
  bool IsNothing() const noexcept { return IsObject() && !std::get<ObjectRef>(data_); }

  /// The object; raises 424 when the value is no object, 91 when it is Nothing.
  const ObjectRef& AsObject() const;
  /// The object or a null handle; raises 424 when the value is no object.
  const ObjectRef& AsObjectOrNothing() const;
  /// The stored text without conversion; raises 13 when the value is no text.
  const std::u16string& AsText() const;

  /// The number; raises 13 when the value is of another kind.
  const ForeignNumber& AsForeignNumber() const;

  /// Conversions of the runtime (CStr, CInt, CLng, CDbl, CBool): Empty is "" / 0 / False; 94 for
  /// Null; 13 where there is no conversion; 6 out of range. Halves round to even.
  std::u16string ToText() const;
  int16_t ToInt16() const;
  int32_t ToInt32() const;
  double ToDouble() const;
  bool ToBoolean() const;

 private:
  using Data = std::variant<std::monostate, NullTag, bool, int16_t, int32_t, double, std::u16string,
                            ObjectRef, Ref<ForeignNumber>>;
  explicit Value(Data data) noexcept : data_(std::move(data)) {}
  Data data_;
};

}  // namespace ohmwise
