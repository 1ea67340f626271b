#include <memory>
#include <utility>

#include "base/code_page.h"
#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {
namespace {

int32_t Step(int32_t number, int16_t step) {
  return CheckedCast<int32_t>(int64_t{number} + int64_t{step});
}

/// At least `width` digits; the sign is not counted.
std::u16string PaddedText(int32_t number, int64_t width) {
  std::u16string text = DecimalText(number);
  const size_t sign = number < 0 ? 1 : 0;
  const auto digits = static_cast<int64_t>(text.size() - sign);
  if (digits < width) text.insert(sign, static_cast<size_t>(width - digits), u'0');
  return text;
}

/// The matching of the trimming operations is one character against the whole `trim`, so only a
/// text of one character ever matches.
bool Matches(char16_t unit, std::u16string_view trim) noexcept {
  return trim.size() == 1 && trim[0] == unit;
}

std::u16string_view TrimLeft(std::u16string_view text, std::u16string_view trim, int16_t limit) {
  for (int32_t removed = 0; limit < 1 || removed < limit; ++removed) {
    if (text.empty() || !Matches(text.front(), trim)) break;
    text.remove_prefix(1);
  }
  return text;
}

std::u16string_view TrimRight(std::u16string_view text, std::u16string_view trim, int16_t limit) {
  for (int32_t removed = 0; limit < 1 || removed < limit; ++removed) {
    if (text.empty() || !Matches(text.back(), trim)) break;
    text.remove_suffix(1);
  }
  return text;
}

using Pieces = SplitterCaches::Pieces;

// In sorting order.
constexpr uint64_t kTextClass = 0;
constexpr uint64_t kMixedClass = 1;
constexpr uint64_t kNumberClass = 2;

// Class, leading number, middle and trailing number order every class: the pieces that a class does
// not look at are equal within it, and a missing number sorts below all others. They are compared
// all together, without branches, as no two texts of a list go the same way.
int16_t Decision(int32_t head, int32_t middle, int32_t end, bool undecided) {
  const int32_t order = 4 * head + 2 * middle + end;
  if (order != 0) return order < 0 ? -1 : 1;
  // Equal mixed texts without a trailing number: the sorting wants a decision.
  return undecided ? -1 : 0;
}

template <class T>
int32_t Compare(T a, T b) noexcept {
  return (a > b) - (a < b);
}

int16_t NetOrder(PackedText first, PackedText second) {
  const auto class_of = [](const PackedText& text, size_t leading, size_t trailing) {
    const bool has_number = (leading | trailing) != 0;
    return kTextClass + has_number + (has_number & (leading == text.size()));
  };
  const size_t leading1 = first.LeadingDigits();
  const size_t leading2 = second.LeadingDigits();
  const size_t trailing1 = first.TrailingDigits();
  const size_t trailing2 = second.TrailingDigits();
  const uint64_t class1 = class_of(first, leading1, trailing1);
  const uint64_t class2 = class_of(second, leading2, trailing2);
  return Decision(Compare(class1 << 60 | first.LeadingOrder(leading1),
                          class2 << 60 | second.LeadingOrder(leading2)),
                  Compare(first.Middle(leading1, trailing1).SortWord(),
                          second.Middle(leading2, trailing2).SortWord()),
                  Compare(first.TrailingOrder(trailing1), second.TrailingOrder(trailing2)),
                  class1 == kMixedClass && trailing1 == 0);
}

int16_t NetOrder(const Pieces& first, const Pieces& second) {
  const auto class_of = [](const Pieces& pieces) {
    if (pieces.begin == -1 && pieces.end == -1) return kTextClass;
    return pieces.middle->empty() && pieces.begin == pieces.end ? kNumberClass : kMixedClass;
  };
  const uint64_t class1 = class_of(first);
  const auto head = [](uint64_t net_class, int32_t begin) {
    return net_class << 32 | (static_cast<uint32_t>(begin) + 1);
  };
  return Decision(Compare(head(class1, first.begin), head(class_of(second), second.begin)),
                  first.middle->Compare(*second.middle), Compare(first.end, second.end),
                  class1 == kMixedClass && first.end == -1);
}

thread_local clsLMisc* shared_misc = nullptr;

}  // namespace

clsLMisc& SharedMisc() {
  if (!shared_misc) {
    auto made = std::make_unique<clsLMisc>();
    AtHostEnd([] { delete std::exchange(shared_misc, nullptr); });
    shared_misc = made.release();
  }
  return *shared_misc;
}

int32_t clsLMisc::GetBeginNumber(std::u16string_view strText) {
  return caches_.BeginNumber(strText, TextKey(strText));
}

int32_t clsLMisc::GetEndNumber(std::u16string_view strText, int16_t Length) {
  return caches_.EndNumber(strText, TextKey(strText), Length);
}

std::u16string clsLMisc::GetMidText(std::u16string_view strText) {
  return caches_.MidText(strText, TextKey(strText)).Text();
}

int16_t clsLMisc::GetEndFormat(std::u16string_view strText) {
  return caches_.EndFormat(strText, TextKey(strText));
}

std::u16string clsLMisc::IncrementLastLetter(std::u16string_view s) {
  if (s.empty()) Raise(Err::kInvalidCall);
  std::u16string next(s.substr(0, s.size() - 1));
  const char16_t last = s.back();
  if (last == u'z') return next + u"aa";
  if (last == u'Z') return next + u"AA";
  next += AnsiCharacter(AnsiCode(last) + 1);
  return next;
}

std::u16string clsLMisc::SpinText(std::u16string_view strText, int16_t BeginStep, int16_t EndStep) {
  if (BeginStep == 0 && EndStep == 0) return std::u16string(strText);
  const TextKey key(strText);
  const int32_t new_begin = Step(caches_.BeginNumber(strText, key), BeginStep);
  std::u16string middle = caches_.MidText(strText, key).Text();
  const int32_t end = caches_.EndNumber(strText, key, -1);
  const int32_t new_end = Step(end, EndStep);

  if (middle.empty()) {
    if (BeginStep != 0) return DecimalText(new_begin);
    return PaddedText(new_end, caches_.EndFormat(strText, key));
  }
  std::u16string prefix = new_begin < 0 ? std::u16string() : DecimalText(new_begin);
  if (end >= 0) {
    // A remembered middle text may differ in case from this one; it is then nowhere, position 0.
    const size_t found = strText.find(middle);
    const int64_t position = found == strText.npos ? 0 : static_cast<int64_t>(found) + 1;
    const int64_t width =
        static_cast<int64_t>(strText.size()) - position - static_cast<int64_t>(middle.size()) + 1;
    return prefix + middle + PaddedText(new_end, width);
  }
  for (int16_t step = 0; step < EndStep; ++step) middle = IncrementLastLetter(middle);
  return prefix + middle;
}

int16_t clsLMisc::NetComp(std::u16string_view Str1, std::u16string_view Str2) {
  // Both texts are split before anything is decided: what the caches hold afterwards, and which
  // text overflows, must not depend on the outcome.
  const TextKey key1(Str1);
  const TextKey key2(Str2);
  if (caches_.aligned()) {
    const size_t first = caches_.Place(Str1, key1);
    const size_t second = caches_.Place(Str2, key2);
    const PackedText plain1 = caches_.PlainText(first);
    const PackedText plain2 = caches_.PlainText(second);
    if (plain1.ok() && plain2.ok()) return NetOrder(plain1, plain2);
    return NetOrder(caches_.PiecesAt(first), caches_.PiecesAt(second));
  }
  const Pieces first = caches_.Split(Str1, key1);
  const Pieces second = caches_.Split(Str2, key2);
  return NetOrder(first, second);
}

std::u16string clsLMisc::Trim(std::u16string_view tStr, std::u16string_view TrimChar) {
  return std::u16string(TrimRight(TrimLeft(tStr, TrimChar, 0), TrimChar, 0));
}

std::u16string clsLMisc::LTrim(std::u16string_view tStr, std::u16string_view TrimChar,
                               int16_t NumChar) {
  return std::u16string(TrimLeft(tStr, TrimChar, NumChar));
}

std::u16string clsLMisc::RTrim(std::u16string_view tStr, std::u16string_view TrimChar,
                               int16_t NumChar) {
  return std::u16string(TrimRight(tStr, TrimChar, NumChar));
}

std::u16string clsLMisc::GetPin(std::u16string& PinStr, int16_t PinNo) {
  if (PinNo < 1) return u"?";
  PinStr = Trim(PinStr, u"\"");
  std::u16string_view rest = PinStr;
  std::u16string_view last_named;
  for (int16_t field = 0;; ++field) {
    const size_t comma = rest.find(u',');
    const std::u16string_view name = TrimSpaces(rest.substr(0, comma));
    if (field > 0) {
      if (!name.empty()) last_named = name;
      if (field == PinNo) return name.empty() ? u"?" : std::u16string(name);
    }
    if (comma == rest.npos) break;
    rest.remove_prefix(comma + 1);
  }
  return last_named.empty() ? u"?" : std::u16string(last_named);
}

std::u16string clsLMisc::GetNameU(std::u16string_view NameU) {
  return std::u16string(NameU.substr(0, NameU.find(u'.')));
}

}  // namespace ohmwise
