#include <unistd.h>

#include "cli/terminal.h"

namespace ohmwise::cli {

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

}  // namespace ohmwise::cli
