#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/collection.h"
#include "crossref/clsLCrossRef.h"
#include "platform/drawing.h"

namespace ohmwise::schematic {

/// An open drawing with the index of it. The drawing must be the active one of its application.
class IndexedDrawing {
 public:
  /// `before_scan` is called at the beginning of each scan: what the host has to mend.
  explicit IndexedDrawing(DocumentRef document, std::function<void()> before_scan = {})
      : document_(std::move(document)), before_scan_(std::move(before_scan)) {}

  const DocumentRef& document() const { return document_; }
  clsLCrossRef& index() { return index_; }
  /// A collection of the document's code module. Raises 438 when the module has none.
  CollectionRef Member(std::u16string_view name) const;
  /// Gives the document its empty collections and scans every foreground page in order. A shape
  /// that cannot be indexed is passed over and told by `failures`.
  void Scan();
  /// What could not be done with single shapes since the last scan began, each "page / shape: why".
  const std::vector<std::u16string>& failures() const { return failures_; }
  void AddFailure(const PageRef& page, const ShapeRef& shape, std::u16string_view why);
  std::vector<PageRef> ForegroundPages() const;

 private:
  void ScanPage(const PageRef& page);

  DocumentRef document_;
  std::function<void()> before_scan_;
  std::vector<std::u16string> failures_;
  clsLCrossRef index_;
};

/// The number that a page shows: its cell "User.PageNumber", else its position.
int32_t PageNumber(const PageRef& page);
/// The background page behind a page. Nothing without one.
PageRef BackPage(const PageRef& page);
/// The unique ID of a shape, "" while it has none; none is made.
std::u16string StoredUniqueID(const ShapeRef& shape);
/// Where a shape is in the location grid, "" for a shape off the grid. A grid that the drawing
/// lacks is made with its defaults.
std::u16string LocationOf(const ShapeRef& shape);

}  // namespace ohmwise::schematic
