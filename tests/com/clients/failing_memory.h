#pragma once

#include <cstdint>

#include "platform/com/windows.h"

namespace ohmwise::testing {

/// Lets allocations of a loaded module fail, those of one thread: the entries of the module's
/// import table lead here while this lives.
class FailingMemory {
 public:
  explicit FailingMemory(HMODULE module);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  /// From now on the n-th allocation of this thread fails, and every later one when asked.
  void FailAt(int64_t n, bool later_too);
  /// Ends that. True when an allocation has failed.
  bool Stop();

 private:
  void Redirect(bool here);

  BYTE* module_;
};

}  // namespace ohmwise::testing
