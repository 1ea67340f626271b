#pragma once

#include <exception>

namespace ohmwise::cli {

/// Thrown by `Interrupt::Check` after SIGINT or SIGTERM.
class Interrupted : public std::exception {
 public:
  const char* what() const noexcept override { return "interrupted"; }
};

/// While it lives, the first SIGINT or SIGTERM is only noted, so that the work ends between two
/// steps and every file is whole. The second one ends the program as usual.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Throws `Interrupted` when a signal was noted.
  static void Check();
  /// Ends the program by the signal that was noted, so that a shell sees it.
  [[noreturn]] static void Die();
};

}  // namespace ohmwise::cli
