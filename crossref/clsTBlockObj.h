#pragma once

#include <span>
#include <string>
#include <string_view>

#include "base/ref.h"
#include "base/value.h"
#include "platform/drawing.h"

namespace ohmwise {

/// A title-block shape together with its key and its sort text.
///
/// Late-bound members: Data (get, put), GetKey, GetData; that is how the object sorter reads it.
class clsTBlockObj final : public Counted<Object> {
 public:
  ShapeRef Data() const { return data_; }
  void SetData(ShapeRef v) { data_ = std::move(v); }
  /// Text, "-", the language text for "group" and the group number. Gives the shape group 1 when it
  /// has none. Raises 91 without Data.
  std::u16string GetKey() const;
  /// The shape's text. Raises 91 without Data.
  std::u16string GetData() const;

  Value Get(std::u16string_view member, std::span<const Value> arguments = {}) override;
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments = {}) override;
  Value Call(std::u16string_view member, std::span<const Value> arguments = {}) override;

  /// Adds the cell "User.Group" with 1 when the shape has none.
  static void EnsureGroup(const ShapeRef& shape);

 private:
  ShapeRef data_;
};

}  // namespace ohmwise
