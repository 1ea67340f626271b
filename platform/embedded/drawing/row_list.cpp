#include "platform/embedded/drawing/row_list.h"

#include <algorithm>
#include <bit>

namespace ohmwise::embedded {
namespace {

constexpr uint32_t kGap = 0xFFFFFFFFu;  // no row has this key
constexpr size_t kShortList = 12;       // searched one by one

size_t LowBit(size_t number) { return number & (~number + 1); }

}  // namespace

size_t RowList::Slot(size_t position) const noexcept {
  if (counts_.empty()) return position;
  size_t slot = 0;
  for (size_t step = std::bit_floor(counts_.size()); step != 0; step /= 2) {
    if (slot + step > counts_.size() || counts_[slot + step - 1] > position) continue;
    slot += step;
    position -= counts_[slot - 1];
  }
  return slot;
}

size_t RowList::Position(size_t slot) const noexcept {
  if (counts_.empty()) return slot;
  size_t position = 0;
  for (; slot != 0; slot -= LowBit(slot)) position += counts_[slot - 1];
  return position;
}

std::optional<size_t> RowList::Find(uint32_t key) {
  if (!places_ready_ && slots_.size() > kShortList) {
    places_ready_ = true;
    for (size_t slot = 0; slot < slots_.size(); ++slot) {
      if (slots_[slot].key != kGap) places_.emplace(slots_[slot].key, slot);
    }
  }
  if (places_ready_) {
    const auto found = places_.find(key);
    if (found == places_.end()) return std::nullopt;
    return Position(found->second);
  }
  for (size_t slot = 0; slot < slots_.size(); ++slot) {
    if (slots_[slot].key == key) return Position(slot);
  }
  return std::nullopt;
}

void RowList::Append(const RowView& row) {
  if (places_ready_) places_.emplace(row.key, slots_.size());
  if (indices_ready_ && row.name.empty()) indices_.insert(row.key);
  slots_.push_back(row);
  ++size_;
  if (counts_.empty()) return;
  const size_t end = slots_.size();
  uint32_t count = 1;
  for (size_t part = 1; part < LowBit(end); part *= 2) count += counts_[end - part - 1];
  counts_.push_back(count);
}

void RowList::Erase(size_t position) {
  const size_t slot = Slot(position);
  RowView& row = slots_[slot];
  if (places_ready_) places_.erase(row.key);
  if (indices_ready_ && row.name.empty()) indices_.erase(row.key);
  row = {kGap, {}};
  --size_;
  if (position == size_) {
    while (!slots_.empty() && slots_.back().key == kGap) slots_.pop_back();
    if (!counts_.empty()) counts_.resize(slots_.size());
    return;
  }
  if (counts_.empty()) {
    counts_.assign(slots_.size(), 1);
    for (size_t at = 1; at <= counts_.size(); ++at) {
      const size_t above = at + LowBit(at);
      if (above <= counts_.size()) counts_[above - 1] += counts_[at - 1];
    }
  }
  for (size_t at = slot + 1; at <= counts_.size(); at += LowBit(at)) --counts_[at - 1];
  if (size_ < slots_.size() / 2) Compact();
}

void RowList::Compact() {
  std::erase_if(slots_, [](const RowView& row) { return row.key == kGap; });
  counts_.clear();
  places_.clear();
  places_ready_ = false;
}

uint32_t RowList::FreeIndex() {
  if (!indices_ready_) {
    indices_ready_ = true;
    for (const RowView& row : slots_) {
      if (row.key != kGap && row.name.empty()) indices_.insert(row.key);
    }
  }
  return indices_.empty() ? 0 : *indices_.rbegin() + 1;
}

}  // namespace ohmwise::embedded
