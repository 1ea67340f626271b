#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/changes.h"
#include "schematic/indexed_drawing.h"

namespace ohmwise::schematic {

enum class FindingLevel { kWarning, kError };

/// What a rule of the check says about a shape, or about a page when `shape` is empty.
struct Finding {
  std::string_view code;
  FindingLevel level = FindingLevel::kError;
  std::u16string page;
  int32_t page_number = 0;
  std::u16string shape;  ///< unique ID
  std::u16string name;   ///< of the shape on its page
  std::u16string reference;
  std::u16string location;
  std::u16string message;  ///< what is wrong, and what to do
};

struct CheckedDrawing {
  std::vector<Finding> findings;  ///< page by page, errors first
  size_t pages = 0;
  size_t symbols = 0;      ///< shapes that the index knows
  bool has_parts = false;  ///< some shape says which part of a catalogue it is
};

/// Scans a drawing that was just opened and collects what is wrong with it. The scan and the
/// rules change it in memory, so it is not to be saved afterwards. `changes` tells what they
/// change. `components` are the keys of a catalogue; part numbers are left alone without. Raises
/// what `ScanPage` raises.
CheckedDrawing CheckDrawing(IndexedDrawing& drawing, const ChangeRecord& changes,
                            const std::set<int32_t>* components);

}  // namespace ohmwise::schematic
