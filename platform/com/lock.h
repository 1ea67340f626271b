#pragma once

#include <mutex>

#include "platform/com/windows.h"

namespace ohmwise::com {

/// The system's own lock, for std::lock_guard. std::mutex takes memory when it is locked first, and
/// must work where none is left.
class Lock {
 public:
  void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
  void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
};

}  // namespace ohmwise::com
