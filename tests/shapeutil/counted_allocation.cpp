// In a file of its own: where the compiler can inline the replacements into their callers, it
// mistakes them for a mismatched pair.
#include "tests/shapeutil/counted_allocation.h"

#include <cstdlib>
#include <new>

namespace {
thread_local int64_t allocations = 0;
}

namespace ohmwise::testing {
int64_t Allocations() noexcept { return allocations; }
}  // namespace ohmwise::testing

void* operator new(size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
