#pragma once

#include "catalogue/clsLLayShape.h"
#include "sort/sorted_insert.h"

namespace ohmwise {

/// Keeps a caller's collection of layout shapes in the order of their universal names.
class clsLSortLayShape {
 public:
  /// Inserts a record, keyed by its universal name. Failures are swallowed and change nothing.
  void Add(const Ref<clsLLayShape>& Data);
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
