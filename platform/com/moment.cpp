#include "platform/com/moment.h"

namespace ohmwise::com {

namespace {

// From 1: nothing is good that was never kept.
thread_local uint64_t entries = 1;
thread_local uint64_t entries_and_changes = 1;
thread_local void (*forget_at_entry)() noexcept = nullptr;

}  // namespace

void NoteEntry() noexcept {
  ++entries;
  ++entries_and_changes;
  if (forget_at_entry) forget_at_entry();
}

void ForgetAtEntry(void (*forget)() noexcept) { forget_at_entry = forget; }

void NoteChange() noexcept { ++entries_and_changes; }

uint64_t Moment(Until until) noexcept {
  return until == Until::kEntry ? entries : entries_and_changes;
}

}  // namespace ohmwise::com
