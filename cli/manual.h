#pragma once

#include <string>

namespace CLI {
class App;
}

namespace ohmwise::cli {

/// Both read the commands and options that `app` has, so that they say what it takes.

/// The manual page, in the language of man(7).
std::string ManualPage(const CLI::App& app, const std::string& version);
/// A script for bash that completes commands, options and file names.
std::string BashCompletion(const CLI::App& app);

}  // namespace ohmwise::cli
