#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ohmwise::embedded {

/// A row of a section as it shows: the master's rows first, then local ones.
struct RowView {
  uint32_t key = 0;
  std::string_view name;  ///< "" for rows by index
};

/// The rows of a section in order. Rows are found by position and by key, added at the end and
/// taken out anywhere in logarithmic time, so that lists of ten thousand rows can be edited row by
/// row.
class RowList {
 public:
  RowList() = default;
  explicit RowList(std::vector<RowView> rows) : slots_(std::move(rows)), size_(slots_.size()) {}
  size_t size() const noexcept { return size_; }
  const RowView& operator[](size_t position) const noexcept { return slots_[Slot(position)]; }
  /// Position of the row with a key.
  std::optional<size_t> Find(uint32_t key);
  void Append(const RowView& row);
  void Erase(size_t position);
  /// One more than the greatest index of a row without a name, 0 when there is none.
  uint32_t FreeIndex();

 private:
  size_t Slot(size_t position) const noexcept;
  size_t Position(size_t slot) const noexcept;
  void Compact();

  std::vector<RowView> slots_;  ///< with gaps where rows were taken out
  size_t size_ = 0;
  std::vector<uint32_t> counts_;  ///< binary indexed tree over slots; empty while there is no gap
  std::unordered_map<uint32_t, size_t> places_;  ///< key → slot, of lists that are long
  std::set<uint32_t> indices_;                   ///< of rows without a name, once asked for
  bool places_ready_ = false;
  bool indices_ready_ = false;
};

}  // namespace ohmwise::embedded
