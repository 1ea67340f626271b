#pragma once

namespace ohmwise::cli {

/// True when a person looks at standard output (terminal_posix.cpp).
bool OutputIsTerminal();

}  // namespace ohmwise::cli
