#include "shapeutil/splitter_cache.h"

#include <algorithm>
#include <limits>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"

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

int32_t BeginNumberOf(std::u16string_view text) {
  const size_t digits = LeadingDigits(text);
  return digits == 0 ? -1 : DigitsToInt32(text.substr(0, digits));
}

std::u16string_view MiddleOf(std::u16string_view text) noexcept {
  text.remove_suffix(TrailingDigits(text));
  text.remove_prefix(LeadingDigits(text));
  return text;
}

struct TrailingNumber {
  int32_t number;
  int32_t length;  // of the digits that were kept
};

TrailingNumber TrailingNumberOf(std::u16string_view text, int16_t length) {
  const size_t digits = TrailingDigits(text);
  if (digits == 0) return {-1, 0};
  if (length < -1) Raise(Err::kInvalidCall);
  const size_t kept = length == -1 ? digits : std::min(digits, static_cast<size_t>(length));
  return {DigitsToInt32(text.substr(text.size() - kept)), CheckedCast<int32_t>(kept)};
}

/// Comparing looks at the last nine digits, which always fit 32 bits.
constexpr int16_t kComparedDigits = 9;

}  // namespace

void TextKey::FoldAny(std::u16string_view text) {
  char16_t* folded = folded_.Resize(text.size());
  uint64_t hash = 0xCBF29CE484222325;
  for (size_t i = 0; i < text.size(); ++i) {
    char16_t unit = text[i];
    // The table may fold a letter from outside ASCII onto an ASCII one, of either case.
    if (unit >= 0x80) unit = FoldCase(unit);
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + (u'a' - u'A'));
    folded[i] = unit;
    hash = (hash ^ unit) * 0x100000001B3;
  }
  const PackedText packed(folded_.view());
  tag_ = packed.ok() ? packed.word() : PackedText::kUnpacked | hash >> 8;
}

std::u16string MiddleText::Text() const {
  if (!packed_.ok()) return std::u16string(long_.view());
  std::u16string text;
  for (size_t i = 0; i < packed_.size(); ++i) text += packed_[i];
  return text;
}

int32_t MiddleText::CompareLong(const MiddleText& other) const noexcept {
  const auto unpacked = [](const MiddleText& text, std::array<char16_t, PackedText::kMaxSize>& to) {
    if (!text.packed_.ok()) return text.long_.view();
    for (size_t i = 0; i < text.packed_.size(); ++i) to[i] = text.packed_[i];
    return std::u16string_view(to.data(), text.packed_.size());
  };
  std::array<char16_t, PackedText::kMaxSize> left;
  std::array<char16_t, PackedText::kMaxSize> right;
  const int order = unpacked(*this, left).compare(unpacked(other, right));
  return (order > 0) - (order < 0);
}

KeyRing& KeyRing::operator=(const KeyRing& other) {
  for (size_t slot = 0; slot < kSlots; ++slot) {
    if (other.tags_[slot] >= PackedText::kUnpacked) texts_[slot] = other.texts_[slot];
  }
  marks_ = other.marks_;
  next_ = other.next_;
  tags_ = other.tags_;
  return *this;
}

int32_t SplitterCaches::BeginNumber(std::u16string_view text, const TextKey& key) {
  const size_t known = Find(kBeginNumbers, key);
  if (known != KeyRing::kNoSlot) return begin_numbers_[known];
  const int32_t number = BeginNumberOf(text);
  begin_numbers_[NextSlot(kBeginNumbers)] = number;
  AddAlone(kBeginNumbers, key);
  return number;
}

int32_t SplitterCaches::EndNumber(std::u16string_view text, const TextKey& key, int16_t length) {
  const size_t known = Find(kEndNumbers, key);
  if (known != KeyRing::kNoSlot) return end_numbers_[known];
  const TrailingNumber end = TrailingNumberOf(text, length);
  end_numbers_[NextSlot(kEndNumbers)] = end.number;
  AddAlone(kEndNumbers, key);
  if (Find(kEndLengths, key) == KeyRing::kNoSlot) {
    end_lengths_[NextSlot(kEndLengths)] = end.length;
    AddAlone(kEndLengths, key);
  }
  return end.number;
}

const MiddleText& SplitterCaches::MidText(std::u16string_view text, const TextKey& key) {
  const size_t known = Find(kMiddles, key);
  if (known != KeyRing::kNoSlot) return middles_[known];
  const size_t slot = NextSlot(kMiddles);
  middles_[slot].Assign(MiddleOf(text));
  AddAlone(kMiddles, key);
  return middles_[slot];
}

int16_t SplitterCaches::EndFormat(std::u16string_view text, const TextKey& key) {
  const size_t known = Find(kEndLengths, key);
  if (known != KeyRing::kNoSlot) return CheckedCast<int16_t>(end_lengths_[known]);
  const int16_t digits = CheckedCast<int16_t>(TrailingDigits(text));
  end_lengths_[NextSlot(kEndLengths)] = digits;
  AddAlone(kEndLengths, key);
  return digits;
}

SplitterCaches::Pieces SplitterCaches::Split(std::u16string_view text, const TextKey& key) {
  return aligned_ ? PiecesAt(Place(text, key)) : SplitApart(text, key);
}

void SplitterCaches::Fill(size_t slot) noexcept {
  const PackedText& plain = plain_texts_[slot];
  if (!plain.ok()) return;
  const size_t leading = plain.LeadingDigits();
  const size_t trailing = plain.TrailingDigits();
  middles_[slot].Assign(plain.Middle(leading, trailing));
  begin_numbers_[slot] = plain.LeadingNumber(leading);
  end_numbers_[slot] = plain.TrailingNumber(trailing);
  end_lengths_[slot] = static_cast<int32_t>(trailing);
}

void SplitterCaches::FillLong(size_t slot, std::u16string_view text) {
  begin_numbers_[slot] = BeginNumberOf(text);
  middles_[slot].Assign(MiddleOf(text));
  const TrailingNumber end = TrailingNumberOf(text, kComparedDigits);
  end_numbers_[slot] = end.number;
  end_lengths_[slot] = end.length;
}

SplitterCaches::Pieces SplitterCaches::SplitApart(std::u16string_view text, const TextKey& key) {
  const bool in_none =
      Find(kMiddles, key) == KeyRing::kNoSlot && Find(kBeginNumbers, key) == KeyRing::kNoSlot &&
      Find(kEndNumbers, key) == KeyRing::kNoSlot && Find(kEndLengths, key) == KeyRing::kNoSlot;
  const size_t added_before = added_to_all_;
  const int32_t begin = BeginNumber(text, key);
  const MiddleText& middle = MidText(text, key);
  const int32_t end = EndNumber(text, key, kComparedDigits);
  if (in_none) {
    added_to_all_ = added_before + 1;
    if (added_to_all_ == KeyRing::kCapacity) Align();
  }
  return {begin, end, &middle};
}

size_t SplitterCaches::Find(Cache cache, const TextKey& key) noexcept {
  if (!aligned_) return rings_[cache].Find(key);
  const size_t slot = rings_[kMiddles].Find(key);
  if (slot != KeyRing::kNoSlot) Fill(slot);
  return slot;
}

void SplitterCaches::AddAlone(Cache cache, const TextKey& key) {
  if (aligned_) {
    for (size_t age = 1; age <= KeyRing::kCapacity; ++age) Fill(rings_[kMiddles].SlotAt(age));
    for (size_t other = kMiddles + 1; other < kCaches; ++other) rings_[other] = rings_[kMiddles];
    aligned_ = false;
  }
  added_to_all_ = 0;
  rings_[cache].Add(key);
}

void SplitterCaches::Align() {
  const auto move = [this](Cache cache, std::array<int32_t, KeyRing::kSlots>& results) {
    const std::array<int32_t, KeyRing::kSlots> former = results;
    for (size_t age = 1; age <= KeyRing::kCapacity; ++age) {
      results[rings_[kMiddles].SlotAt(age)] = former[rings_[cache].SlotAt(age)];
    }
  };
  move(kBeginNumbers, begin_numbers_);
  move(kEndNumbers, end_numbers_);
  move(kEndLengths, end_lengths_);
  plain_texts_.fill(PackedText::None());
  aligned_ = true;
}

}  // namespace ohmwise
