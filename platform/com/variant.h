#pragma once

#include <string>
#include <string_view>

#include "base/value.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

/// Texts by length: a null BSTR is the empty text, zeros inside are kept.
std::u16string FromBstr(BSTR text);
std::u16string_view ViewOf(BSTR text) noexcept;
/// A new BSTR that the caller frees. Throws bad_alloc.
BSTR ToBstr(std::u16string_view text);
/// Replaces a text that belongs to a caller; leaves it alone when it is equal already.
void Assign(BSTR& target, std::u16string_view text);

/// A BSTR that frees itself.
class Bstr {
 public:
  Bstr() noexcept = default;
  explicit Bstr(std::u16string_view text) : text_(ToBstr(text)) {}
  ~Bstr() { SysFreeString(text_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  BSTR get() const noexcept { return text_; }
  /// The place itself, for in/out arguments.
  BSTR* place() noexcept { return &text_; }
  std::u16string str() const { return FromBstr(text_); }

 private:
  BSTR text_ = nullptr;
};

/// A VARIANT that clears itself.
class Variant {
 public:
  Variant() noexcept { VariantInit(&variant_); }
  explicit Variant(const Value& value);
  Variant(Variant&& other) noexcept : variant_(other.Detach()) {}
  Variant& operator=(Variant&& other) noexcept;
  ~Variant() { Clear(); }

  VARIANT& get() noexcept { return variant_; }
  const VARIANT& get() const noexcept { return variant_; }
  /// Empties it and gives the place for a result.
  VARIANT* Fresh() noexcept {
    Clear();
    return &variant_;
  }
  /// The content, which the caller clears.
  VARIANT Detach() noexcept;
  void Clear() noexcept {
    VariantClear(&variant_);
    VariantInit(&variant_);
  }

 private:
  VARIANT variant_;
};

/// The variant behind any number of VT_BYREF|VT_VARIANT.
const VARIANT& Dereferenced(const VARIANT& variant) noexcept;
/// True for an argument that was left out.
bool IsMissing(const VARIANT& variant) noexcept;

/// The value of a variant, through references. Numbers keep their types; a missing argument is
/// Empty; objects as `FromDispatch`. Raises 13 for what no value
/// holds (arrays, error codes, an object without automation).
Value FromVariant(const VARIANT& variant);
/// Writes a value into a variant that holds nothing yet.
void ToVariant(const Value& value, VARIANT* target);

}  // namespace ohmwise::com
