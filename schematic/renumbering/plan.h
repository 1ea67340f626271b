#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ohmwise::schematic {

/// A reference or a wire name that a drawing has, and where the shape is that it is placed by.
struct NumberedName {
  std::u16string text;
  int32_t page = 0;         ///< position among the pages, from 1
  int32_t page_number = 0;  ///< as the page shows it
  std::u16string page_name;
  double row = 0;           ///< of the location grid, growing from the top of the page
  double column = 0;        ///< of the location grid, growing to the right
  double x = 0, y = 0;      ///< inches on the page
  bool is_fixed = false;    ///< marked to keep its number
  bool is_selected = true;  ///< on a page that is to be renumbered
};

enum class NameKind { kReference, kWire };

/// Why a name keeps its number.
enum class KeptReason {
  kMarked,     ///< the mark on one of its shapes
  kNoNumber,   ///< it ends in no number, or in one of more than nine digits
  kQualifier,  ///< names of others are placed under it ("=A1" of "=A1-K3")
  kConductor,  ///< L1, L2 and L3 name the line conductors of a supply (IEC 60445)
};

struct RenumberPlan {
  struct Renaming {
    size_t name = 0;  ///< index of the name
    std::u16string text;
  };
  struct Kept {
    size_t name = 0;
    KeptReason reason = KeptReason::kNoNumber;
  };
  std::vector<Renaming> renamings;  ///< in reading order, parts behind what they are parts of
  std::vector<Kept> kept;           ///< in reading order; names outside the patterns are not told
};

/// Sentence that refuses a pattern, "" for one that can be used.
std::u16string RefusedPattern(std::u16string_view pattern);

/// Gives names new numbers in reading order: page by page, on a page by rows of the grid from the
/// top, in a row from the left.
///
/// Names are told apart by what is before their last number ("K" of K12, "=A1-K" of =A1-K3) and
/// each sort counts from 1, stepped as `SpinText` steps an end; leading zeros stay. With patterns
/// only names change that have the letters and signs of one of them (digits set aside); their first
/// text is the pattern, in which "{page}" stands for the number of the page, so that counting
/// begins anew on each page. Numbers of names that keep theirs are stepped over, and so are the
/// texts in `reserved`. Case does not count.
///
/// References that go on behind another one with a point or a colon are parts of it (K1.2 of K1):
/// they follow it and keep what is behind it. A mark on a part keeps the whole.
///
/// Raises 5 when two patterns are for the same names, and when a pattern arrives at a name of a
/// page that is not selected, which is more likely a slip than meant.
RenumberPlan PlanNumbers(const std::vector<NumberedName>& names,
                         const std::vector<std::u16string>& patterns,
                         const std::vector<std::u16string>& reserved, NameKind kind);

}  // namespace ohmwise::schematic
