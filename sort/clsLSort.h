#pragma once

#include <string_view>

#include "sort/sorted_insert.h"

namespace ohmwise {

/// Keeps a caller's collection of texts in the order of `clsLMisc::NetComp`.
class clsLSort {
 public:
  /// Inserts a text at its place; one that is present already (without regard to case) is left out
  /// unless duplicates are allowed. A failure changes nothing; it reaches
  /// the caller only after the key was found missing.
  void Add(std::u16string_view Data);
  /// Makes the collection the target; it stays the caller's.
  void SetDataSet(const CollectionRef& v) { target_.collection = v; }
  /// With duplicates items are stored without a key.
  void SetAllowDuplicates(bool v) { target_.allow_duplicates = v; }
  /// The order is descending until this is set to False.
  void SetDescending(bool v) { target_.ascending = !v; }

 private:
  sort::Target target_;
};

}  // namespace ohmwise
