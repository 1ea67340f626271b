#pragma once

#include <cstddef>
#include <string_view>

namespace ohmwise::embedded {

/// Where messages and progress go: the standard error stream of the program.
class ErrorStream {
 public:
  /// True when a person looks at it.
  static bool IsTerminal();
  /// Width in columns; 80 when the terminal does not say.
  static size_t Width();
  /// Writes UTF-8 at once. Failures are dropped: there is nowhere to report them.
  static void Write(std::string_view text) noexcept;
};

}  // namespace ohmwise::embedded
