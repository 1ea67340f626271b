#pragma once

#include <string>

#include "catalogue/clsLCmpRec.h"
#include "sort/sorted_insert.h"

namespace ohmwise {

/// Keeps a caller's collection of component records in the order of their data strings.
class clsLSortComp {
 public:
  /// Inserts a record. A failure changes nothing; it reaches the caller only
  /// after the key was found missing.
  void Add(const Ref<clsLCmpRec>& Data);
  /// Name, Desc, Brand, Rating, Model, Order, Supplier and Price without separators. Raises 91
  /// without a record.
  std::u16string GetDataString(const Ref<clsLCmpRec>& Data);
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
