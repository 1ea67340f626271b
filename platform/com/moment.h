#pragma once

#include <cstdint>
#include <utility>

namespace ohmwise::com {

// What has been read from foreign objects may be remembered for as long as nobody can have changed
// it: while one call into the library lasts on its thread, and no event of the program runs.

/// A call into the library begins, or other code has had its chance: events ran, a message box was
/// shown, rows or objects went.
void NoteEntry() noexcept;
/// A formula, a text or a name was written: results may be others now.
void NoteChange() noexcept;

/// One call into the library: nothing is remembered from before it, nor beyond it.
struct LibraryCall {
  LibraryCall() noexcept { NoteEntry(); }
  ~LibraryCall() { NoteEntry(); }
  LibraryCall(const LibraryCall&) = delete;
  LibraryCall& operator=(const LibraryCall&) = delete;
};

/// Registers a function that lets go of foreign objects which were only remembered; run at every
/// entry of this thread. There is room for a few; one that is registered already is not run twice.
void ForgetAtEntry(void (*forget)() noexcept);

/// How long something may be remembered.
enum class Until { kEntry, kChange };

/// Number of the present moment of this thread: of its entries, or of its entries and changes.
uint64_t Moment(Until until) noexcept;

/// Notes at the end of a call that something has changed: what the program's own event handlers
/// read meanwhile is not to be trusted either.
struct ChangeNote {
  ChangeNote() = default;
  ~ChangeNote() { NoteChange(); }
  ChangeNote(const ChangeNote&) = delete;
  ChangeNote& operator=(const ChangeNote&) = delete;
};
struct EntryNote {
  EntryNote() = default;
  ~EntryNote() { NoteEntry(); }
  EntryNote(const EntryNote&) = delete;
  EntryNote& operator=(const EntryNote&) = delete;
};

/// Something remembered.
template <class T, Until kUntil>
class Remembered {
 public:
  bool good() const noexcept { return at_ == Moment(kUntil); }
  const T& value() const noexcept { return value_; }
  const T& Keep(T value) {
    value_ = std::move(value);
    at_ = Moment(kUntil);
    return value_;
  }

 private:
  uint64_t at_ = 0;
  T value_{};
};

}  // namespace ohmwise::com
