#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/value.h"

namespace ohmwise {

/// One entry of the list of layout shapes that a component can take: universal name, text shown,
/// position in the list and component type number.
///
/// Late-bound members carry the same names; assigning them converts as the runtime does (13 where a
/// value does not convert, 6 out of range).
class clsLLayShape final : public Counted<Object> {
 public:
  /// The record in a value. Raises 13 for another kind of object, 424 or 91 without one.
  static Ref<clsLLayShape> From(const Value& value);

  const std::u16string& NameU() const noexcept { return name_u_; }
  void SetNameU(std::u16string v) { name_u_ = std::move(v); }
  const std::u16string& Prompt() const noexcept { return prompt_; }
  void SetPrompt(std::u16string v) { prompt_ = std::move(v); }
  int32_t Index() const noexcept { return index_; }
  void SetIndex(int32_t v) noexcept { index_ = v; }
  int32_t TypeNo() const noexcept { return type_no_; }
  void SetTypeNo(int32_t v) noexcept { type_no_ = v; }

  Value Get(std::u16string_view member, std::span<const Value> arguments = {}) override;
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments = {}) override;

 private:
  std::u16string name_u_;
  std::u16string prompt_;
  int32_t index_ = 0;
  int32_t type_no_ = 0;
};

}  // namespace ohmwise
