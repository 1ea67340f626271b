#pragma once

#include "platform/drawing.h"
#include "sort/sorted_insert.h"

namespace ohmwise {

/// Keeps a caller's collection of shapes in the order of their texts.
class clsLSortShapeText {
 public:
  /// Inserts a shape, keyed by its text. A failure changes nothing; it
  /// reaches the caller only after the key was found missing.
  void Add(const ShapeRef& Data);
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
