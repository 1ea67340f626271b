#include "shapeutil/splitter_cache.h"

#include <limits>

#include "platform/conversion.h"
#include "platform/error.h"
#include "platform/text.h"

namespace ohmwise {
namespace {

bool IsDigit(char16_t unit) noexcept { return unit >= u'0' && unit <= u'9'; }

size_t LeadingDigits(std::u16string_view text) noexcept {
  size_t count = 0;
  while (count < text.size() && IsDigit(text[count])) ++count;
  return count;
}

size_t TrailingDigits(std::u16string_view text) noexcept {
  size_t count = 0;
  while (count < text.size() && IsDigit(text[text.size() - count - 1])) ++count;
  return count;
}

int32_t DigitsToInt32(std::u16string_view digits) {
  if (digits.empty()) Raise(Err::kTypeMismatch);
  int64_t number = 0;
  for (const char16_t digit : digits) {
    number = number * 10 + (digit - u'0');
    if (number > std::numeric_limits<int32_t>::max()) Raise(Err::kOverflow);
  }
  return static_cast<int32_t>(number);
}

}  // namespace

void TextKey::FoldAny(std::u16string_view text) {
  char16_t* folded = folded_.Resize(text.size());
  uint32_t all = 0;
  uint64_t hash = 0xCBF29CE484222325;
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t unit = text[i];
    // The table may fold a letter from outside ASCII onto an ASCII one, of either case.
    if (unit >= 0x80) unit = FoldCase(text[i]);
    unit = FoldAscii(unit);
    all |= unit;
    folded[i] = static_cast<char16_t>(unit);
    hash = (hash ^ unit) * 0x100000001B3;
  }
  if (text.size() <= kPacked && all < 0x80) {
    tag_ = uint64_t{text.size()} << 56;
    for (size_t i = 0; i < text.size(); ++i) tag_ |= uint64_t{folded[i]} << (8 * i);
    return;
  }
  tag_ = kHashed | (hash >> 8);
}

int32_t SplitterCaches::AddBeginNumber(std::u16string_view text, const TextKey& key) {
  const size_t digits = LeadingDigits(text);
  return begin_numbers_.Add(key, digits == 0 ? -1 : DigitsToInt32(text.substr(0, digits)));
}

int32_t SplitterCaches::AddEndNumber(std::u16string_view text, const TextKey& key, int16_t length) {
  const size_t digits = TrailingDigits(text);
  size_t kept = digits;
  int32_t number = -1;
  if (digits > 0) {
    if (length < -1) Raise(Err::kInvalidCall);
    if (length != -1) kept = std::min(digits, static_cast<size_t>(length));
    number = DigitsToInt32(text.substr(text.size() - kept));
  }
  // Both caches or neither: a text too long for 32 bits of length must not fail in between.
  const int32_t kept_length = CheckedCast<int32_t>(kept);
  end_numbers_.Add(key, number);
  if (!end_lengths_.Find(key)) end_lengths_.Add(key, kept_length);
  return number;
}

std::u16string_view SplitterCaches::AddMidText(std::u16string_view text, const TextKey& key) {
  text.remove_suffix(TrailingDigits(text));
  text.remove_prefix(LeadingDigits(text));
  return mid_texts_.Add(key, text).view();
}

int16_t SplitterCaches::EndFormat(std::u16string_view text, const TextKey& key) {
  if (const int32_t* known = end_lengths_.Find(key)) return CheckedCast<int16_t>(*known);
  const int16_t digits = CheckedCast<int16_t>(TrailingDigits(text));
  end_lengths_.Add(key, int32_t{digits});
  return digits;
}

}  // namespace ohmwise
