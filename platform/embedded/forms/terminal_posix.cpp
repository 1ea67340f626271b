#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/embedded/forms/terminal.h"

namespace ohmwise::embedded {

bool ErrorStream::IsTerminal() { return isatty(STDERR_FILENO) == 1; }

size_t ErrorStream::Width() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

void ErrorStream::Write(std::string_view text) noexcept {
  while (!text.empty()) {
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<size_t>(written));
  }
}

}  // namespace ohmwise::embedded
