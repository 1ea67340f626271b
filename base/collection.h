#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/value.h"

namespace ohmwise {

/// The keyed collection of the host runtime: values in order, positions from 1, each with an
/// optional text key that is unique without regard to case.
///
/// Implementations: base/keyed_collection.cpp (headless host and server), com/ (a foreign one).
/// Late-bound members: Count, Item(Index or Key), Add(Item, Key, Before, After), Remove(Index or
/// Key); Before and After take a position or a key, and raise 5 when both are given.
class Collection : public Object {
 public:
  virtual int32_t Count() = 0;

  /// Item at a position. Raises 9 when it is below 1 or above the count.
  virtual Value Item(int32_t position) = 0;
  /// Item under a key. Raises 5 when no item has it.
  virtual Value Item(std::u16string_view key) = 0;

  /// Whether an item has a key, where a collection can tell without being changed; no answer from a
  /// foreign one.
  virtual std::optional<bool> HasKey(std::u16string_view) { return std::nullopt; }

  /// Appends. Raises 457 when the key is present; the collection is unchanged then. No key
  /// (nullopt) and an empty key are different: "" is a key.
  virtual void Add(const Value& item, std::optional<std::u16string_view> key = std::nullopt) = 0;
  /// Inserts before or after the item at a position. Raises 457 as above, 9 for a bad position.
  virtual void AddBefore(const Value& item, std::optional<std::u16string_view> key,
                         int32_t position) = 0;
  virtual void AddAfter(const Value& item, std::optional<std::u16string_view> key,
                        int32_t position) = 0;

  /// Raises 9 for a bad position, 5 for a missing key.
  virtual void Remove(int32_t position) = 0;
  virtual void Remove(std::u16string_view key) = 0;
};
using CollectionRef = Ref<Collection>;

/// A new, empty collection of our own.
CollectionRef MakeCollection();

}  // namespace ohmwise
