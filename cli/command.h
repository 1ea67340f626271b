#pragma once

#include <functional>
#include <string>

#include "platform/embedded/files/atomic_file.h"

namespace CLI {
class App;
}

namespace ohmwise::cli {

class AddIn;

/// What every sub-command takes.
struct CommonOptions {
  std::string drawing;
  bool json = false;
  bool save = false;
  std::string output;
  bool in_place = false;

  void AddTo(CLI::App& command);
  /// Saves where the options say; nothing when they don't. Returns the path written, "" for none.
  std::string Finish(AddIn& add_in) const;
};

/// `--retry`, which `main` looks at, and `--in-place`: for every sub-command that saves drawings.
void AddSavingFlags(CLI::App& command, bool& in_place);
embedded::Writing WritingOf(bool in_place);

/// Thrown to end the command with an exit code of its own; a sentence goes to standard error.
struct Exit {
  int code = 0;
  std::string sentence;
};

/// What --csv-raw does, wherever a .csv can be written.
inline constexpr const char* kCsvRawHelp =
    "For programs: write texts such as =A1-K1 into a .csv as they are, not\n"
    "in the form =\"…\" that spreadsheets show as text";

/// The exit code of what cannot be asked for like that.
inline constexpr int kWrongUsage = 2;

/// The parsed sub-command leaves here what is to be done.
using Action = std::function<void()>;

void AddIndexCommand(CLI::App& app, Action& action);
void AddCellCommand(CLI::App& app, Action& action);
void AddTextCommand(CLI::App& app, Action& action);
void AddMoveCommand(CLI::App& app, Action& action);
void AddLabelsCommand(CLI::App& app, Action& action);
void AddPageCommand(CLI::App& app, Action& action);
void AddReportCommand(CLI::App& app, Action& action);
void AddSettingsCommand(CLI::App& app, Action& action);
void AddCatalogueCommand(CLI::App& app, Action& action);
void AddAssignCommand(CLI::App& app, Action& action);
void AddCheckCommand(CLI::App& app, Action& action);
void AddDiffCommand(CLI::App& app, Action& action);
void AddRenumberCommand(CLI::App& app, Action& action);

}  // namespace ohmwise::cli
