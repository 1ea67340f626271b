#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// Two calls in one function are two too many for the compilers to inline on their own; the
// comparison of wire names is a third faster with it.
#if defined(__GNUC__)
#define OHMWISE_ALWAYS_INLINE __attribute__((always_inline))
#else
#define OHMWISE_ALWAYS_INLINE
#endif

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
    std::copy_n(text.data(), text.size(), Resize(text.size()));
  }
  /// Makes room for `size` units, to be filled by the caller.
  char16_t* Resize(size_t size) {
    if (size > capacity_) {
      long_ = std::make_unique<char16_t[]>(size);
      capacity_ = size;
    }
    size_ = size;
    return size > kInline ? long_.get() : short_;
  }
  std::u16string_view view() const noexcept {
    return {size_ > kInline ? long_.get() : short_, size_};
  }

 private:
  static constexpr size_t kInline = 32;
  size_t size_ = 0;
  size_t capacity_ = kInline;
  std::unique_ptr<char16_t[]> long_;
  char16_t short_[kInline];
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

  /// A text that is not ok.
  static PackedText None() noexcept { return PackedText(kUnpacked); }

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
    return static_cast<size_t>(std::countr_zero(NonDigits() | kTopBit)) / 8;
  }
  size_t TrailingDigits() const noexcept {
    const auto digits = static_cast<size_t>(std::countl_zero(AtTop(NonDigits()) | 1)) / 8;
    return digits < size() ? digits : size();
  }
  /// Number in the first or last `digits` characters, -1 for none.
  int32_t LeadingNumber(size_t digits) const noexcept {
    return Number(Characters() << (8 * (kMaxSize - digits)) << 8) | NoneIf(digits);
  }
  int32_t TrailingNumber(size_t digits) const noexcept {
    return Number(AtTop(Characters()) & ~(~uint64_t{0} >> (8 * digits))) | NoneIf(digits);
  }
  /// Words in the order of those numbers, 0 for none: their digits, not their values, as they take
  /// no multiplication.
  uint64_t LeadingOrder(size_t digits) const noexcept {
    return DigitWord(Characters() << (8 * (kMaxSize - digits)) << 8) + (digits != 0);
  }
  uint64_t TrailingOrder(size_t digits) const noexcept {
    return DigitWord(AtTop(Characters()) & ~(~uint64_t{0} >> (8 * digits))) + (digits != 0);
  }
  /// What is left without the trailing, then the leading digits.
  PackedText Middle(size_t leading, size_t trailing) const noexcept {
    const size_t end = size() - trailing;
    const size_t first = leading < end ? leading : end;
    const size_t count = end - first;
    return PackedText((Characters() >> (8 * first) & ((uint64_t{1} << (8 * count)) - 1)) |
                      uint64_t{count} << 56);
  }

 private:
  static constexpr uint64_t kEach = 0x0101010101010101;
  static constexpr uint64_t kAllCharacters = ~kUnpacked;
  static constexpr uint64_t kTopBit = uint64_t{1} << 63;

  explicit PackedText(uint64_t word) noexcept : word_(word) {}

  static uint64_t Pack(std::u16string_view text) noexcept {
    const size_t size = text.size();
    if (size > kMaxSize) return kUnpacked;
    const char16_t* const at = text.data();
    uint64_t word = 0;
    uint64_t all = 0;
    // Overlapping reads meet the same characters at the same places.
    if (size >= 4) {
      const uint64_t head = Four(at);
      const uint64_t tail = Four(at + size - 4);
      all = head | tail;
      word = Narrowed(head) | Narrowed(tail) << (8 * (size - 4));
    } else if (size > 0) {
      const uint64_t middle = at[size / 2];
      const uint64_t last = at[size - 1];
      all = at[0] | middle | last;
      word = at[0] | middle << (8 * (size / 2)) | last << (8 * (size - 1));
    }
    return (all & 0xFF80FF80FF80FF80) == 0 ? word | uint64_t{size} << 56 : kUnpacked;
  }
  /// Four units, the first in the lowest bits (one load where the machine has this order).
  static uint64_t Four(const char16_t* at) noexcept {
    return uint64_t{at[0]} | uint64_t{at[1]} << 16 | uint64_t{at[2]} << 32 | uint64_t{at[3]} << 48;
  }
  /// The low bytes of four units side by side.
  static uint64_t Narrowed(uint64_t units) noexcept {
    units = (units | units >> 8) & 0x0000FFFF0000FFFF;
    return (units | units >> 16) & 0xFFFFFFFF;
  }
  static uint64_t ByteSwapped(uint64_t word) noexcept {
    word = (word >> 8 & 0x00FF00FF00FF00FF) | (word & 0x00FF00FF00FF00FF) << 8;
    word = (word >> 16 & 0x0000FFFF0000FFFF) | (word & 0x0000FFFF0000FFFF) << 16;
    return word >> 32 | word << 32;
  }
  /// All bits for no digits; the number read is then 0.
  static int32_t NoneIf(size_t digits) noexcept { return -static_cast<int32_t>(digits == 0); }
  static uint64_t DigitWord(uint64_t digits) noexcept { return ByteSwapped(digits & 0x0F * kEach); }
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
  OHMWISE_ALWAYS_INLINE explicit TextKey(std::u16string_view text) : packed_(text) {
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

  /// Leading number, middle text (readable as above) and trailing number of at most nine digits.
  struct Pieces {
    int32_t begin;
    int32_t end;
    const MiddleText* middle;
  };
  /// The three splitters in this order.
  Pieces Split(std::u16string_view text, const TextKey& key);

  /// Whether `Place` may be used. It does not end this.
  bool aligned() const noexcept { return aligned_; }
  /// Remembers what `Split` does and returns where; good until the second miss after this one.
  OHMWISE_ALWAYS_INLINE size_t Place(std::u16string_view text, const TextKey& key) {
    KeyRing& ring = rings_[kMiddles];
    const size_t known = ring.Find(key);
    if (known != KeyRing::kNoSlot) return known;
    const size_t slot = ring.next();
    if (!key.packed().ok()) FillLong(slot, text);
    plain_texts_[slot] = key.packed();
    ring.Add(key);
    return slot;
  }
  /// The remembered text itself where its pieces follow from it; else one that is not ok.
  PackedText PlainText(size_t slot) const noexcept { return plain_texts_[slot]; }
  Pieces PiecesAt(size_t slot) noexcept {
    Fill(slot);
    return {begin_numbers_[slot], end_numbers_[slot], &middles_[slot]};
  }

 private:
  /// The ring of the middle texts speaks for all while the caches are aligned: a middle text that
  /// somebody is looking at need not move when they become so.
  enum Cache : size_t { kMiddles, kBeginNumbers, kEndNumbers, kEndLengths, kCaches };

  /// Writes out the pieces of a slot of which only the text has been kept.
  void Fill(size_t slot) noexcept;
  void FillLong(size_t slot, std::u16string_view text);
  Pieces SplitApart(std::u16string_view text, const TextKey& key);

  size_t Find(Cache cache, const TextKey& key) noexcept;
  /// The slot that `AddAlone` will use; to be filled before.
  size_t NextSlot(Cache cache) const noexcept { return rings_[aligned_ ? kMiddles : cache].next(); }
  void AddAlone(Cache cache, const TextKey& key);
  void Align();

  bool aligned_ = true;
  size_t added_to_all_ = 0;
  std::array<KeyRing, kCaches> rings_;
  std::array<PackedText, KeyRing::kSlots> plain_texts_;  ///< only while aligned
  std::array<MiddleText, KeyRing::kSlots> middles_;
  std::array<int32_t, KeyRing::kSlots> begin_numbers_{};
  std::array<int32_t, KeyRing::kSlots> end_numbers_{};
  std::array<int32_t, KeyRing::kSlots> end_lengths_{};
};

}  // namespace ohmwise
