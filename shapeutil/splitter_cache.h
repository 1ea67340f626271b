#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ohmwise {

/// A text that needs no heap up to 32 code units.
class InlineText {
 public:
  InlineText() noexcept {}  // NOLINT(modernize-use-equals-default): leaves the buffer untouched
  InlineText(const InlineText& other) { Assign(other.view()); }
  InlineText& operator=(const InlineText& other) {
    Assign(other.view());
    return *this;
  }

  void Assign(std::u16string_view text) {
    char16_t* to = Resize(text.size());
    for (size_t i = 0; i < text.size(); ++i) to[i] = text[i];
  }
  /// Makes room for `size` units, to be filled by the caller.
  char16_t* Resize(size_t size) {
    if (size > kInline) long_.resize(size);
    size_ = size;
    return size > kInline ? long_.data() : short_;
  }
  std::u16string_view view() const noexcept {
    return {size_ > kInline ? long_.data() : short_, size_};
  }

 private:
  static constexpr size_t kInline = 32;
  size_t size_ = 0;
  char16_t short_[kInline];
  std::u16string long_;
};

/// A cache key: the text without its case.
///
/// Nearly all wire names have at most seven ASCII characters; folded and packed into one word they
/// are their own key. The word of any other text is a hash, marked as such, beside the folded text.
class TextKey {
 public:
  explicit TextKey(std::u16string_view text) {
    if (text.size() <= kPacked) {
      uint64_t tag = uint64_t{text.size()} << 56;
      uint32_t all = 0;
      for (size_t i = 0; i < text.size(); ++i) {
        const uint32_t unit = text[i];
        all |= unit;
        tag |= uint64_t{FoldAscii(unit)} << (8 * i);
      }
      if (all < 0x80) {
        tag_ = tag;
        return;
      }
    }
    FoldAny(text);
  }

  uint64_t tag() const noexcept { return tag_; }
  bool exact() const noexcept { return tag_ < kHashed; }
  /// The folded text; empty when the tag is exact.
  std::u16string_view folded() const noexcept { return folded_.view(); }

  /// Tag of a slot that holds nothing; no text has it.
  static constexpr uint64_t kNone = uint64_t{0xFE} << 56;

 private:
  static constexpr size_t kPacked = 7;
  static constexpr uint64_t kHashed = uint64_t{0xFF} << 56;

  static uint32_t FoldAscii(uint32_t unit) noexcept {
    return unit + (static_cast<uint32_t>(unit - u'A' < 26) << 5);
  }
  void FoldAny(std::u16string_view text);

  uint64_t tag_;
  InlineText folded_;
};

/// Six results under texts compared without regard to case; the oldest makes room.
///
/// A lookup never changes the order. Two slots more than entries: what `Find` or `Add` returned
/// stays readable until the second `Add` after it, so both sides of a comparison can be held.
template <class Result>
class SplitterCache {
 public:
  /// The entry, or null.
  const Result* Find(const TextKey& key) const noexcept {
    for (size_t slot = 0; slot < kSlots; ++slot) {
      if (tags_[slot] != key.tag()) continue;
      if (key.exact() || texts_[slot].view() == key.folded()) return &results_[slot];
    }
    return nullptr;
  }

  /// Appends a result for a text that has none. Unchanged when this throws.
  template <class Source>
  const Result& Add(const TextKey& key, const Source& source) {
    const size_t slot = (oldest_ + count_) % kSlots;
    if (!key.exact()) texts_[slot].Assign(key.folded());
    Store(results_[slot], source);
    if (count_ == kCapacity) {
      tags_[oldest_] = TextKey::kNone;
      oldest_ = (oldest_ + 1) % kSlots;
    } else {
      ++count_;
    }
    tags_[slot] = key.tag();
    return results_[slot];
  }

 private:
  static constexpr size_t kCapacity = 6;
  static constexpr size_t kSlots = 8;

  static void Store(int32_t& to, int32_t from) noexcept { to = from; }
  static void Store(InlineText& to, std::u16string_view from) { to.Assign(from); }
  static constexpr std::array<uint64_t, kSlots> NoTags() {
    std::array<uint64_t, kSlots> tags{};
    for (uint64_t& tag : tags) tag = TextKey::kNone;
    return tags;
  }

  std::array<uint64_t, kSlots> tags_ = NoTags();
  std::array<Result, kSlots> results_{};
  std::array<InlineText, kSlots> texts_;
  size_t oldest_ = 0;
  size_t count_ = 0;
};

/// The four remembering splitters behind the text operations of `clsLMisc`. Each takes the key of
/// its text, so that a caller that splits one text several times folds it once.
class SplitterCaches {
 public:
  int32_t BeginNumber(std::u16string_view text, const TextKey& key) {
    const int32_t* known = begin_numbers_.Find(key);
    return known ? *known : AddBeginNumber(text, key);
  }
  int32_t EndNumber(std::u16string_view text, const TextKey& key, int16_t length) {
    const int32_t* known = end_numbers_.Find(key);
    return known ? *known : AddEndNumber(text, key, length);
  }
  /// Readable until the second miss after this one.
  std::u16string_view MidText(std::u16string_view text, const TextKey& key) {
    const InlineText* known = mid_texts_.Find(key);
    return known ? known->view() : AddMidText(text, key);
  }
  int16_t EndFormat(std::u16string_view text, const TextKey& key);

 private:
  int32_t AddBeginNumber(std::u16string_view text, const TextKey& key);
  int32_t AddEndNumber(std::u16string_view text, const TextKey& key, int16_t length);
  std::u16string_view AddMidText(std::u16string_view text, const TextKey& key);

  SplitterCache<int32_t> begin_numbers_;
  SplitterCache<int32_t> end_numbers_;
  SplitterCache<InlineText> mid_texts_;
  SplitterCache<int32_t> end_lengths_;
};

}  // namespace ohmwise
