#pragma once

#include <cstdint>

namespace ohmwise::testing {

/// Number of `operator new` calls of this thread so far.
int64_t Allocations() noexcept;

}  // namespace ohmwise::testing
