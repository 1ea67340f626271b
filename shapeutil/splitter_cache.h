#pragma once

#include <array>
#include <bit>
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

/// Up to seven ASCII characters in one word, the first in the lowest byte and their number in the
/// highest. Nearly all wire names are such texts; working on all characters at once saves the
/// mispredicted ends of one loop after another.
class PackedText {
 public:
  static constexpr size_t kMaxSize = 7;
  /// Word of a text that is longer or not ASCII.
  static constexpr uint64_t kUnpacked = uint64_t{0xFF} << 56;

  PackedText() noexcept = default;
  explicit PackedText(std::u16string_view text) noexcept : word_(Pack(text)) {}

  bool ok() const noexcept { return word_ < kUnpacked; }
  uint64_t word() const noexcept { return word_; }
  size_t size() const noexcept { return static_cast<size_t>(word_ >> 56); }
  char16_t operator[](size_t index) const noexcept {
    return static_cast<char16_t>(word_ >> (8 * index) & 0xFF);
  }
  /// Letters in lower case; only for a packed text.
  PackedText Folded() const noexcept {
    // Bit 7 of a byte tells whether it reaches "A", and whether it passes "Z".
    const uint64_t characters = Characters();
    const uint64_t upper = (characters + 0x3F * kEach) & ~(characters + 0x25 * kEach);
    return PackedText(word_ | (upper & 0x80 * kEach & kAllCharacters) >> 2);
  }
  /// The word in the order of code units: unsigned, shorter before longer.
  uint64_t SortWord() const noexcept { return ByteSwapped(word_); }

  /// Lengths of the digit runs at both ends; only for a packed text.
  size_t LeadingDigits() const noexcept {
    return static_cast<size_t>(std::countr_zero(NonDigits())) / 8;
  }
  size_t TrailingDigits() const noexcept {
    const auto free = static_cast<size_t>(std::countl_zero(AtTop(NonDigits()))) / 8;
    return free < size() ? free : size();
  }
  /// Number in the first or last `digits` characters, -1 for none.
  int32_t LeadingNumber(size_t digits) const noexcept {
    return digits == 0 ? -1 : Number(Characters() << (8 * (8 - digits)));
  }
  int32_t TrailingNumber(size_t digits) const noexcept {
    return digits == 0 ? -1 : Number(AtTop(Characters()) & ~(~uint64_t{0} >> (8 * digits)));
  }
  PackedText Middle(size_t first, size_t count) const noexcept {
    return PackedText((Characters() >> (8 * first) & ((uint64_t{1} << (8 * count)) - 1)) |
                      uint64_t{count} << 56);
  }

 private:
  static constexpr uint64_t kEach = 0x0101010101010101;
  static constexpr uint64_t kAllCharacters = ~kUnpacked;

  explicit PackedText(uint64_t word) noexcept : word_(word) {}

  static uint64_t Pack(std::u16string_view text) noexcept {
    const size_t size = text.size();
    if (size > kMaxSize) return kUnpacked;
    const char16_t* const at = text.data();
    uint64_t all = 0;
    uint64_t word = uint64_t{size} << 56;
    // Overlapping reads meet the same characters at the same places.
    if (size >= 4) {
      const char16_t* const end = at + size - 4;
      all = uint64_t{at[0]} | at[1] | at[2] | at[3] | end[0] | end[1] | end[2] | end[3];
      word |= Four(at) | Four(end) << (8 * (size - 4));
    } else if (size > 0) {
      all = uint64_t{at[0]} | at[size / 2] | at[size - 1];
      word |= uint64_t{at[0]} | uint64_t{at[size / 2]} << (8 * (size / 2)) |
              uint64_t{at[size - 1]} << (8 * (size - 1));
    }
    return all < 0x80 ? word : kUnpacked;
  }
  static uint64_t Four(const char16_t* at) noexcept {
    return uint64_t{at[0]} | uint64_t{at[1]} << 8 | uint64_t{at[2]} << 16 | uint64_t{at[3]} << 24;
  }
  static uint64_t ByteSwapped(uint64_t word) noexcept {
    word = (word >> 8 & 0x00FF00FF00FF00FF) | (word & 0x00FF00FF00FF00FF) << 8;
    word = (word >> 16 & 0x0000FFFF0000FFFF) | (word & 0x0000FFFF0000FFFF) << 16;
    return word >> 32 | word << 32;
  }
  /// Value of eight digits, the last in the highest byte; zero bytes count as "0".
  static int32_t Number(uint64_t digits) noexcept {
    digits = (digits & 0x0F * kEach) * ((10 << 8) + 1) >> 8 & 0x00FF00FF00FF00FF;
    digits = digits * ((100 << 16) + 1) >> 16 & 0x0000FFFF0000FFFF;
    return static_cast<int32_t>(digits * ((uint64_t{10000} << 32) + 1) >> 32);
  }

  uint64_t Characters() const noexcept { return word_ & kAllCharacters; }
  /// Bit 7 of every byte that holds no digit, those behind the text included.
  uint64_t NonDigits() const noexcept {
    return ((Characters() ^ 0x30 * kEach) + 0x76 * kEach) & 0x80 * kEach;
  }
  /// Moves the last character into the highest byte.
  uint64_t AtTop(uint64_t characters) const noexcept {
    return characters << (8 * (kMaxSize - size())) << 8;
  }

  uint64_t word_ = 0;
};

/// A cache key: the text without its case. A folded text that can be packed is its own key; the tag
/// of any other is a hash, marked as such, beside the folded text.
class TextKey {
 public:
  explicit TextKey(std::u16string_view text) : packed_(text) {
    if (packed_.ok()) {
      tag_ = packed_.Folded().word();
    } else {
      FoldAny(text);
    }
  }

  /// The text itself, when it can be packed.
  const PackedText& packed() const noexcept { return packed_; }
  uint64_t tag() const noexcept { return tag_; }
  bool exact() const noexcept { return tag_ < PackedText::kUnpacked; }
  /// The folded text; empty when the tag is exact.
  std::u16string_view folded() const noexcept { return folded_.view(); }

  /// Tag of a slot that holds nothing; no text has it.
  static constexpr uint64_t kNone = uint64_t{0xFE} << 56;

 private:
  void FoldAny(std::u16string_view text);

  PackedText packed_;
  uint64_t tag_;
  InlineText folded_;
};

/// A middle text, packed where it can be.
class MiddleText {
 public:
  void Assign(PackedText text) noexcept { packed_ = text; }
  void Assign(std::u16string_view text) {
    packed_ = PackedText(text);
    if (!packed_.ok()) long_.Assign(text);
  }
  bool empty() const noexcept { return packed_.ok() && packed_.size() == 0; }
  std::u16string Text() const;
  /// Order of the code units: -1, 0 or 1.
  int32_t Compare(const MiddleText& other) const noexcept {
    if (!packed_.ok() || !other.packed_.ok()) return CompareLong(other);
    const uint64_t left = packed_.SortWord();
    const uint64_t right = other.packed_.SortWord();
    return (left > right) - (left < right);
  }

 private:
  int32_t CompareLong(const MiddleText& other) const noexcept;

  PackedText packed_;
  InlineText long_;
};

/// The keys of a first-in first-out cache of six entries, each in a slot of its own.
///
/// Two slots more than entries: the result in a slot stays readable until the second `Add` after
/// the lookup, so that both sides of a comparison can be held.
class KeyRing {
 public:
  static constexpr size_t kSlots = 8;
  static constexpr size_t kNoSlot = kSlots;

  KeyRing() noexcept {
    for (uint64_t& tag : tags_) tag = TextKey::kNone;
  }
  KeyRing(const KeyRing& other) : KeyRing() { *this = other; }
  KeyRing& operator=(const KeyRing& other);

  /// Slot of the entry, or `kNoSlot`. Never changes the order.
  size_t Find(const TextKey& key) const noexcept {
    // One byte per slot tells the few that may match, so a miss costs a handful of instructions.
    const uint64_t differing = marks_ ^ kEach * Mark(key);
    uint64_t candidates = (differing - kEach) & ~differing & (0x80 * kEach);
    for (; candidates != 0; candidates &= candidates - 1) {
      const auto slot = static_cast<size_t>(std::countr_zero(candidates)) / 8;
      if (tags_[slot] != key.tag()) continue;
      if (key.exact() || texts_[slot].view() == key.folded()) return slot;
    }
    return kNoSlot;
  }

  /// The slot that the next `Add` fills; no entry uses it.
  size_t next() const noexcept { return next_; }
  /// Slot of the entry that was added `age` entries ago (from 1, the newest).
  size_t SlotAt(size_t age) const noexcept { return (next_ + kSlots - age) % kSlots; }

  /// Adds a key that is not there; a seventh drives the oldest out. Unchanged when this throws.
  void Add(const TextKey& key) {
    const size_t slot = next_;
    if (!key.exact()) texts_[slot].Assign(key.folded());
    marks_ = (marks_ & ~(uint64_t{0xFF} << (8 * slot))) | Mark(key) << (8 * slot);
    tags_[slot] = key.tag();
    tags_[SlotAt(kCapacity)] = TextKey::kNone;
    next_ = (slot + 1) % kSlots;
  }

  static constexpr size_t kCapacity = 6;

 private:
  static constexpr uint64_t kEach = 0x0101010101010101;

  static uint64_t Mark(const TextKey& key) noexcept { return key.tag() * 0x9E3779B97F4A7C15 >> 56; }

  uint64_t marks_ = 0;
  size_t next_ = 0;
  std::array<uint64_t, kSlots> tags_;
  std::array<InlineText, kSlots> texts_;
};

/// The four remembering splitters behind the text operations of `clsLMisc`. Each takes the key of
/// its text, so that a caller that splits one text several times folds it once.
///
/// Comparing fills all four caches alike. As long as nothing else has filled one of them, they hold
/// the same texts in the same order, and one ring of keys serves all ("aligned"). A single splitter
/// that adds an entry parts them; six entries in a row that went into all four align them again.
class SplitterCaches {
 public:
  int32_t BeginNumber(std::u16string_view text, const TextKey& key);
  int32_t EndNumber(std::u16string_view text, const TextKey& key, int16_t length);
  /// Readable until the second miss after this one.
  const MiddleText& MidText(std::u16string_view text, const TextKey& key);
  int16_t EndFormat(std::u16string_view text, const TextKey& key);

  /// Leading number, middle text and trailing number of at most nine digits, in this order.
  struct Pieces {
    int32_t begin;
    int32_t end;
    const MiddleText* middle;
  };
  Pieces Split(std::u16string_view text, const TextKey& key) {
    if (!aligned_) return SplitApart(text, key);
    KeyRing& ring = rings_[kMiddles];
    size_t slot = ring.Find(key);
    if (slot == KeyRing::kNoSlot) {
      slot = ring.next();
      Fill(slot, text, key);
      ring.Add(key);
    }
    return {begin_numbers_[slot], end_numbers_[slot], &middles_[slot]};
  }

 private:
  /// The ring of the middle texts speaks for all while the caches are aligned: a middle text that
  /// somebody is looking at need not move when they become so.
  enum Cache : size_t { kMiddles, kBeginNumbers, kEndNumbers, kEndLengths, kCaches };

  void Fill(size_t slot, std::u16string_view text, const TextKey& key) {
    const PackedText& packed = key.packed();
    if (!packed.ok()) return FillLong(slot, text);
    const size_t leading = packed.LeadingDigits();
    const size_t trailing = packed.TrailingDigits();
    const size_t left = packed.size() - trailing;
    const size_t first = leading < left ? leading : left;
    middles_[slot].Assign(packed.Middle(first, left - first));
    begin_numbers_[slot] = packed.LeadingNumber(leading);
    end_numbers_[slot] = packed.TrailingNumber(trailing);
    end_lengths_[slot] = static_cast<int32_t>(trailing);
  }
  void FillLong(size_t slot, std::u16string_view text);
  Pieces SplitApart(std::u16string_view text, const TextKey& key);

  size_t Find(Cache cache, const TextKey& key) const noexcept {
    return rings_[aligned_ ? kMiddles : cache].Find(key);
  }
  /// The slot that `AddAlone` will use; to be filled before.
  size_t NextSlot(Cache cache) const noexcept { return rings_[aligned_ ? kMiddles : cache].next(); }
  void AddAlone(Cache cache, const TextKey& key);
  void Align();

  bool aligned_ = true;
  size_t added_to_all_ = 0;
  std::array<KeyRing, kCaches> rings_;
  std::array<MiddleText, KeyRing::kSlots> middles_;
  std::array<int32_t, KeyRing::kSlots> begin_numbers_{};
  std::array<int32_t, KeyRing::kSlots> end_numbers_{};
  std::array<int32_t, KeyRing::kSlots> end_lengths_{};
};

}  // namespace ohmwise
