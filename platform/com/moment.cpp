#include "platform/com/moment.h"

#include <cstddef>
#include <iterator>

namespace ohmwise::com {

namespace {

// Nothing here has a destructor: one that waits for the end of its thread keeps the library in
// memory until then.

// From 1: nothing is good that was never kept.
thread_local uint64_t entries = 1;
thread_local uint64_t entries_and_changes = 1;
thread_local void (*forget_at_entry[4])() noexcept = {};
thread_local size_t forget_count = 0;

}  // namespace

void NoteEntry() noexcept {
  ++entries;
  ++entries_and_changes;
  for (size_t at = 0; at < forget_count; ++at) forget_at_entry[at]();
}

void ForgetAtEntry(void (*forget)() noexcept) {
  for (size_t at = 0; at < forget_count; ++at) {
    if (forget_at_entry[at] == forget) return;
  }
  if (forget_count < std::size(forget_at_entry)) forget_at_entry[forget_count++] = forget;
}

void NoteChange() noexcept { ++entries_and_changes; }

uint64_t Moment(Until until) noexcept {
  return until == Until::kEntry ? entries : entries_and_changes;
}

}  // namespace ohmwise::com
