#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ohmwise {

/// Where a cell is, as a person names it. `page` "" is the document sheet, `shape` "" a page sheet.
struct CellPlace {
  std::u16string page;
  std::u16string shape;
  std::u16string cell;  ///< "Text" for the text of a shape
};

/// A cell that was set, or whose result changed.
struct CellChange {
  CellPlace place;
  /// What was there; none for the formula of a cell that the shape had not of its own.
  std::optional<std::u16string> before;
  std::u16string text;  ///< the formula set, or the new result
};

/// Each place once, where it came first, with the text it had first and the text it got last; none
/// whose text is what it was: cells are also set to what they are.
std::vector<CellChange> NetChanges(const std::vector<CellChange>& noticed);

/// What a host noticed while a drawing was worked on.
class ChangeRecord {
 public:
  /// Cells whose result is another than when the drawing was opened, each once with its first and
  /// its last result, in the order of their first change.
  virtual std::vector<CellChange> ChangedResults() const = 0;

 protected:
  ~ChangeRecord() = default;
};

}  // namespace ohmwise
