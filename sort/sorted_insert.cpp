#include "sort/sorted_insert.h"

#include "base/conversion.h"
#include "base/error.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::sort {
namespace {

struct Place {
  int16_t position = 0;
  bool before = false;
};

/// Positions are 16-bit and all three neighbours are compared anew on every pass: the comparison
/// remembers texts, so leaving one out could change its answers.
Place FindPlace(const Target& target, const NewItem& item, std::u16string_view text,
                int32_t count) {
  const auto compare = [&](int16_t position) {
    return SharedMisc().NetComp(text, item.stored_text(target.collection->Item(position)));
  };
  int16_t low = 1;
  int16_t high = CheckedCast<int16_t>(count);
  for (;;) {
    const int16_t at_low = compare(low);
    const int16_t at_high = compare(high);
    if (low == high) return {low, target.ascending ? at_low <= 0 : at_low > 0};
    if (low + 1 == high) {
      const bool before_low = target.ascending ? at_low < 1 : at_low > 0;
      const bool before_high = target.ascending ? at_high < 1 : at_high > 0;
      if (before_low) return {low, true};
      return {high, before_high};
    }
    const auto middle = static_cast<int16_t>(low + (high - low) / 2);
    const bool lower_half = (compare(middle) < 1) == target.ascending;
    (lower_half ? high : low) = middle;
  }
}

void Insert(const Target& target, const NewItem& item, std::optional<std::u16string> key,
            int32_t count) {
  const std::optional<std::u16string_view> view =
      key ? std::optional<std::u16string_view>(*key) : std::nullopt;
  if (count == 0) {
    target.collection->Add(item.item(), view);
    return;
  }
  const std::u16string text = item.sort_text();
  const Place place = FindPlace(target, item, text, count);
  if (place.before) {
    target.collection->AddBefore(item.item(), view, place.position);
  } else {
    target.collection->AddAfter(item.item(), view, place.position);
  }
}

}  // namespace

void SortedInsert(const Target& target, PresenceTest presence, const NewItem& item) {
  bool raises = false;
  try {
    if (!target.collection) Raise(Err::kObjectNotSet);
    const int32_t count = target.collection->Count();
    std::optional<std::u16string> key;
    if (!target.allow_duplicates) {
      key = item.key();
      if (count == 0) {
        // Nothing to look for; a failure of the insertion is swallowed in every sorter.
      } else if (presence == PresenceTest::kGotInCollection) {
        raises = true;  // only where the collection keeps what it was asked with
        if (SharedMisc().GotInCollection(target.collection, *key)) return;
        raises = false;
      } else {
        try {
          target.collection->Item(*key);
          return;
        } catch (const AutomationError&) {
          raises = true;
        }
      }
    }
    Insert(target, item, std::move(key), count);
  } catch (const AutomationError&) {
    if (raises) throw;
  }
}

}  // namespace ohmwise::sort
