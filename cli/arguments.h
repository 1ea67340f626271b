#pragma once

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace ohmwise::cli {

/// Parses what the command was called with. Returns nothing when an action is to be run, else the
/// exit code: 0 after help, `kWrongUsage` after a sentence on standard error. An option without the
/// value it needs is refused instead of taking the next option for it.
std::optional<int> ParseArguments(CLI::App& app, int argc, char** argv);

/// "" for one of `known`, else a sentence without its full stop that names them and, where a word
/// is meant that is written nearly so, that one.
std::string CheckOneOf(const std::string& word, const std::vector<std::string>& known);

}  // namespace ohmwise::cli
