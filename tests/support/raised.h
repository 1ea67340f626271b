#pragma once

#include <cstdint>

#include "base/error.h"

namespace ohmwise::testing {

/// Number of the error that a step raises; 0 when it raises none.
template <class Step>
int32_t ErrorOf(Step&& step) {
  try {
    step();
    return 0;
  } catch (const AutomationError& error) {
    return static_cast<int32_t>(error.number());
  }
}

}  // namespace ohmwise::testing
