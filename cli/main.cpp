#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/manual.h"
#include "cli/output.h"
#include "platform/embedded/files/atomic_file.h"

namespace {

constexpr int kFailure = 1;

// What is told last: a drawing that is saved stays saved when something fails after it.
std::vector<std::string> saved, remarks;

void NoteFiles() {
  ohmwise::embedded::OnSave().saved = [](const std::string& path) {
    if (std::find(saved.begin(), saved.end(), path) == saved.end()) saved.push_back(path);
  };
  ohmwise::embedded::OnSave().remark = [](const std::string& text) { remarks.push_back(text); };
}

void TellRemarks() {
  for (const std::string& text : remarks) ohmwise::cli::Complain(text);
}

int Fail(std::string sentence, bool tells_files = true) {
  TellRemarks();
  for (size_t i = 0; tells_files && i < saved.size(); ++i) {
    sentence += (i == 0 ? " Saved before that: \"" : ", \"") + saved[i] + '"';
    if (i + 1 == saved.size()) sentence += '.';
  }
  ohmwise::cli::Complain(sentence);
  return kFailure;
}

// Commands print after they have saved, so that they can be done again from the beginning.
void Do(const ohmwise::cli::Action& action, bool retry) {
  constexpr int kAttempts = 100;
  for (int attempt = 1;; ++attempt) {
    try {
      return action();
    } catch (const ohmwise::embedded::FileChanged&) {
      if (!retry || attempt == kAttempts) throw;
    }
  }
}

int Run(int argc, char** argv) {
  CLI::App app{
      "Cross-reference index of electrical drawings, without the drawing program.\n"
      "\nExit codes: 0 done, 1 failure, 2 wrong usage; diff and check have their own."};
  app.name("ohmwise");
  const std::string version = "ohmwise " OHMWISE_VERSION;
  app.set_version_flag("--version", version);
  app.require_subcommand(1, 1);
  ohmwise::cli::Action action;
  ohmwise::cli::AddIndexCommand(app, action);
  ohmwise::cli::AddCellCommand(app, action);
  ohmwise::cli::AddTextCommand(app, action);
  ohmwise::cli::AddMoveCommand(app, action);
  ohmwise::cli::AddLabelsCommand(app, action);
  ohmwise::cli::AddPageCommand(app, action);
  ohmwise::cli::AddReportCommand(app, action);
  ohmwise::cli::AddSettingsCommand(app, action);
  ohmwise::cli::AddCatalogueCommand(app, action);
  ohmwise::cli::AddAssignCommand(app, action);
  ohmwise::cli::AddCheckCommand(app, action);
  ohmwise::cli::AddDiffCommand(app, action);
  ohmwise::cli::AddRenumberCommand(app, action);
  // For packages, which ask the finished command for them.
  const std::string_view only = argc == 2 ? argv[1] : "";
  if (only == "--manual-page") {
    std::cout << ohmwise::cli::ManualPage(app, version);
  } else if (only == "--bash-completion") {
    std::cout << ohmwise::cli::BashCompletion(app);
  } else {
    if (const auto code = ohmwise::cli::ParseArguments(app, argc, argv)) return *code;
    NoteFiles();
    const CLI::Option* const retry = app.get_subcommands().front()->get_option_no_throw("--retry");
    Do(action, retry != nullptr && retry->count() > 0);
  }
  if (!std::cout.flush()) return Fail("the output could not be written.");
  TellRemarks();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const ohmwise::cli::Exit& exit) {
    if (!exit.sentence.empty()) Fail(exit.sentence, false);
    return exit.code;
  } catch (const std::exception& error) {
    return Fail(ohmwise::cli::SentenceOf(error));
  }
}
