#pragma once

#include "sort/sorted_insert.h"

namespace ohmwise {

/// Keeps a caller's collection of objects in order, through records that describe them: each has
/// the late-bound members Data (the object to store), GetKey and GetData (its sort text).
class clsLOSort {
 public:
  /// Inserts `Obj.Data`. The record lends itself to read the sort texts of stored objects; its Data
  /// is what it was afterwards. A failure changes nothing; it reaches
  /// the caller only after the key was found missing.
  void Add(const ObjectRef& Obj);
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
