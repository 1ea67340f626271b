#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/collection.h"

namespace ohmwise::sort {

/// What the five sorters have in common: the caller's collection and the two flags.
///
/// The order is descending until `SetDescending(false)` is called: the flag kept is "ascending",
/// and it starts false.
struct Target {
  CollectionRef collection;
  bool ascending = false;
  bool allow_duplicates = false;
};

/// One item on its way in.
struct NewItem {
  /// Text that orders the new item, asked for once.
  std::function<std::u16string()> sort_text;
  /// Key of the item, asked for where duplicates are not allowed.
  std::function<std::u16string()> key;
  /// What is stored.
  std::function<Value()> item;
  /// Text that orders an item stored already.
  std::function<std::u16string(const Value&)> stored_text;
};

/// How a sorter finds out that its key is present already.
enum class PresenceTest {
  kReadByKey,        ///< reading the item; failures after a missing key reach the caller
  kGotInCollection,  ///< as `clsLMisc` asks; only failures of asking reach the caller
};

/// Inserts at the sorted place by binary search with `NetComp`: an equal item goes before the equal
/// run in ascending order, after it in descending order. A key that is present already changes
/// nothing. A failure leaves the collection as it was; it is swallowed, except that with
/// `kReadByKey` it reaches the caller once the key was found missing (6 above 32767 items).
void SortedInsert(const Target& target, PresenceTest presence, const NewItem& item);

}  // namespace ohmwise::sort
